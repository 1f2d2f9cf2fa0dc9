#include "core/LookStage.h"

#include "core/Replicator.h"
#include "core/SinCos.h"

#include <cmath>

namespace velorin {
namespace {

bool IsZero(Point3 v) {
    return v.x == 0 && v.y == 0 && v.z == 0;
}

constexpr float kTraceLimit = 1e-5f;

} // namespace

LookStage::LookStage(const GroupParams& group, Point3 cameraPosition)
    : group_(group),
      camera_(cameraPosition),
      shape_(ToMatrix(group.rotation)),
      scale_(group.scale * group.shapeScale),
      baseSize_(group.shapeUnit * group.particleSize),
      hasSpread_(!IsZero(group.rotationRandom)),
      hasRandomize_(!IsZero(group.rotationRandomize)),
      turns_(group.particleRotation != Quaternion{}),
      turnsWithShape_(group.orientation != Orientation::FaceCamera && group.rotation != Quaternion{}),
      random_(group.lookSeed) {
}

void LookStage::Run(std::span<Particle> particles) {
    const std::size_t count = particles.size();
    Place(particles);
    DrawSizes(particles);
    Direct(particles);
    Look(count);
    if (hasSpread_) Spread(count);
    if (hasRandomize_) Randomize(count);
    if (turns_) TurnBefore(group_.particleRotation, count);
    if (turnsWithShape_) TurnAfter(group_.rotation, count);
    for (std::size_t i = 0; i < count; ++i)
        particles[i].rotation = {rotation_.x[i], rotation_.y[i], rotation_.z[i], rotation_.w[i]};
}

void LookStage::Place(std::span<Particle> particles) {
    for (Particle& particle : particles) {
        particle.index = index_++;
        particle.target = 0;
        particle.animationKey = 0;
        particle.position = TransformDirection(particle.position * scale_, shape_) + group_.position;
    }
}

void LookStage::Draws(std::size_t draw, std::size_t count, Row& bits) const {
    const Random::Jump jump = Random::JumpOf(draw + 1);
    for (std::size_t i = 0; i < count; ++i)
        bits[i] = static_cast<float>(static_cast<std::int32_t>(jump.Bits(states_[i])));
}

void LookStage::DrawSizes(std::span<Particle> particles) {
    const Random::Jump all = Random::JumpOf(kDraws);
    std::uint32_t state = random_.state();
    for (std::size_t i = 0; i < particles.size(); ++i) {
        states_[i] = state;
        state = all.From(state);
    }
    random_ = Random(state);

    Row draws;
    Draws(kSizeDraw, particles.size(), draws);
    for (std::size_t i = 0; i < particles.size(); ++i) {
        const float factor = 1 - draws[i] * Random::kUnit * group_.particleSizeRandom;
        particles[i].size = group_.sizeAxes * (factor * baseSize_);
    }
}

// Directions of unit length; zero stays zero.
void LookStage::Direct(std::span<const Particle> particles) {
    const bool toCamera = group_.orientation == Orientation::FaceCamera;
    const bool fixed = group_.orientation == Orientation::Fixed;
    for (std::size_t i = 0; i < particles.size(); ++i) {
        const Point3 d = toCamera ? particles[i].position - camera_
                         : fixed  ? Point3{0, 0, 1}
                                  : particles[i].normal;
        direction_.x[i] = d.x, direction_.y[i] = d.y, direction_.z[i] = d.z;
    }
    Vectors& d = direction_;
    for (std::size_t i = 0; i < particles.size(); ++i) {
        const float length = std::sqrt(d.x[i] * d.x[i] + d.y[i] * d.y[i] + d.z[i] * d.z[i]);
        const float inverse = 1 / (length > 0 ? length : 1);
        d.x[i] *= inverse, d.y[i] *= inverse, d.z[i] *= inverse;
    }
}

// LookRotation by its first branch for all; those that need another are done again.
void LookStage::Look(std::size_t count) {
    Row traces;
    Quaternions& q = rotation_;
    for (std::size_t i = 0; i < count; ++i) {
        const float dx = direction_.x[i], dy = direction_.y[i], dz = direction_.z[i];
        const float level = std::sqrt(dx * dx + dz * dz); // length of Y x direction
        const float inverse = 1 / level;
        const float sx = dz * inverse, sz = -dx * inverse; // the side axis; its y is 0
        const float ux = dy * sz, uy = dz * sx - dx * sz, uz = -(dy * sx);
        const float trace = 1 + sx + uy + dz;
        const float f = 0.5f / std::sqrt(trace);
        q.x[i] = (dy - uz) * f;
        q.y[i] = (sz - dx) * f;
        q.z[i] = ux * f;
        q.w[i] = 0.25f / f;
        traces[i] = level > 0 ? trace : 0;
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (traces[i] > kTraceLimit) continue;
        const Quaternion r = LookRotation({direction_.x[i], direction_.y[i], direction_.z[i]});
        q.x[i] = r.x, q.y[i] = r.y, q.z[i] = r.z, q.w[i] = r.w;
    }
}

void LookStage::Spread(std::size_t count) {
    Row* const axes[3] = {&angles_.x, &angles_.y, &angles_.z};
    const float range[3] = {group_.rotationRandom.x * 2, group_.rotationRandom.y * 2,
                            group_.rotationRandom.z * 2};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        Row& angles = *axes[axis];
        Draws(kSpreadDraw + axis, count, angles);
        for (std::size_t i = 0; i < count; ++i) angles[i] = (angles[i] * Random::kUnit - 0.5f) * range[axis];
    }
    TurnBefore(count);
}

void LookStage::Randomize(std::size_t count) {
    Row* const axes[3] = {&angles_.x, &angles_.y, &angles_.z};
    const float step[3] = {group_.rotationRandomize.x, group_.rotationRandomize.y,
                           group_.rotationRandomize.z};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const Random::Jump jump = Random::JumpOf(kRandomizeDraw + axis + 1);
        Row& angles = *axes[axis];
        for (std::size_t i = 0; i < count; ++i)
            angles[i] =
                static_cast<float>(static_cast<std::int32_t>(jump.Bits(states_[i]) % 3600)) * step[axis];
    }
    TurnBefore(count);
}

// rotation = (quaternion of the Euler angles) * rotation
void LookStage::TurnBefore(std::size_t count) {
    Row sx, cx, sy, cy, sz, cz;
    for (Row* const row : {&angles_.x, &angles_.y, &angles_.z})
        for (std::size_t i = 0; i < count; ++i) (*row)[i] /= 2;
    SinCos(angles_.x.data(), sx.data(), cx.data(), count);
    SinCos(angles_.y.data(), sy.data(), cy.data(), count);
    SinCos(angles_.z.data(), sz.data(), cz.data(), count);
    Quaternions& a = turn_;
    for (std::size_t i = 0; i < count; ++i) {
        a.x[i] = sx[i] * cy[i] * cz[i] - cx[i] * sy[i] * sz[i];
        a.y[i] = cx[i] * sy[i] * cz[i] + sx[i] * cy[i] * sz[i];
        a.z[i] = cx[i] * cy[i] * sz[i] - sx[i] * sy[i] * cz[i];
        a.w[i] = cx[i] * cy[i] * cz[i] + sx[i] * sy[i] * sz[i];
    }
    Quaternions& b = rotation_;
    for (std::size_t i = 0; i < count; ++i) {
        const Quaternion r =
            Quaternion{a.x[i], a.y[i], a.z[i], a.w[i]} * Quaternion{b.x[i], b.y[i], b.z[i], b.w[i]};
        b.x[i] = r.x, b.y[i] = r.y, b.z[i] = r.z, b.w[i] = r.w;
    }
}

void LookStage::TurnBefore(Quaternion q, std::size_t count) {
    Quaternions& b = rotation_;
    for (std::size_t i = 0; i < count; ++i) {
        const Quaternion r = q * Quaternion{b.x[i], b.y[i], b.z[i], b.w[i]};
        b.x[i] = r.x, b.y[i] = r.y, b.z[i] = r.z, b.w[i] = r.w;
    }
}

void LookStage::TurnAfter(Quaternion q, std::size_t count) {
    Quaternions& b = rotation_;
    for (std::size_t i = 0; i < count; ++i) {
        const Quaternion r = Quaternion{b.x[i], b.y[i], b.z[i], b.w[i]} * q;
        b.x[i] = r.x, b.y[i] = r.y, b.z[i] = r.z, b.w[i] = r.w;
    }
}

} // namespace velorin
