#pragma once

#include "host/api/HostApi.h"

#include <cstddef>
#include <string>

namespace velorin {

struct DrawList;
struct FrameParams;

// Keeps what the next frame of an instance is made of, as JSON, for those who look in from outside.
class Capture {
public:
    // `group` 0 to 4: of the particles.
    void Arm(PF_Handle instance, bool particles, bool draws, std::size_t group);
    [[nodiscard]] bool armed() const { return armed_; }
    [[nodiscard]] PF_Handle instance() const { return instance_; } // its sequence data
    // Each call replaces what the one before has kept.
    void KeepParticles(const FrameParams& params);
    void KeepDraws(const DrawList& list);
    void Disarm() { armed_ = false; }

    // Arrays; "null" when nothing was kept.
    [[nodiscard]] const std::string& particles() const { return particles_; }
    [[nodiscard]] const std::string& draws() const { return draws_; }

private:
    bool armed_ = false, wantParticles_ = false, wantDraws_ = false;
    PF_Handle instance_ = nullptr;
    std::size_t group_ = 0;
    std::string particles_ = "null", draws_ = "null";
};

} // namespace velorin
