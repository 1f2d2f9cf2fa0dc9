#include "host/Capture.h"

#include "core/Introspect.h"

namespace velorin {

void Capture::Arm(PF_Handle instance, bool particles, bool draws, std::size_t group) {
    armed_ = particles || draws;
    wantParticles_ = particles;
    wantDraws_ = draws;
    instance_ = instance;
    group_ = group;
    particles_ = draws_ = "null";
}

void Capture::KeepParticles(const FrameParams& params) {
    if (wantParticles_) particles_ = ParticlesJson(params, group_);
}

void Capture::KeepDraws(const DrawList& list) {
    if (wantDraws_) draws_ = DrawsJson(list);
}

} // namespace velorin
