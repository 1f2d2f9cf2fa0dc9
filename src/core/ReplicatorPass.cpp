#include "core/Replicator.h"

#include "core/LookStage.h"
#include "core/Noise.h"
#include "core/Random.h"
#include "core/ReplicatorShapes.h"

#include <algorithm>
#include <cmath>

// The stages that run over the particles of every shape, in the order of Replicator.h. Each seeds a generator
// of its own and draws whether or not an amount is zero, so that changing one amount leaves the others'
// values.
namespace velorin {
namespace {

constexpr std::uint32_t kScatterSeed = 1000, kSurfaceSeed = 5000, kNoiseSeed = 10000, kKeySeed = 500,
                        kFinishKeySeed = 1235;
constexpr float kHalfRoot = 0.70710678f; // sine and cosine of half a quarter turn

bool IsZero(Point3 v) {
    return v.x == 0 && v.y == 0 && v.z == 0;
}

Quaternion Euler(Point3 angles) {
    return QuaternionFromEuler(angles.x, angles.y, angles.z);
}

// Offset of the noise fields: two steps from the seed, then the fraction of the state.
float NoiseOrigin(std::uint32_t seed) {
    Random random(seed + kNoiseSeed);
    random.Skip(2);
    return random.Fraction() * 500;
}

// (rand01 - 0.5) for x, y and z in turn.
Point3 DrawCentred(Random& random) {
    const float x = random.Draw01() - 0.5f, y = random.Draw01() - 0.5f, z = random.Draw01() - 0.5f;
    return {x, y, z};
}

// A stage holds its generator, so that the particles can pass through all stages in pieces that stay in the
// cache.
class ScatterStage {
public:
    explicit ScatterStage(const GroupParams& group)
        : random_(group.randomSeed + kScatterSeed),
          range_(group.scatter * group.shapeUnit),
          active_(!IsZero(group.scatter)) {}

    void Run(std::span<Particle> particles) {
        if (!active_) return;
        for (Particle& particle : particles) particle.position += DrawCentred(random_) * range_;
    }

private:
    Random random_;
    Point3 range_;
    bool active_;
};

class SurfaceOffsetStage {
public:
    explicit SurfaceOffsetStage(const GroupParams& group)
        : random_(group.randomSeed + kSurfaceSeed),
          offset_(group.surfaceOffset * group.shapeUnit),
          spread_(group.surfaceOffsetRandom),
          turn_(ToMatrix(group.rotation)),
          active_(group.surfaceOffset != 0) {
        if (group.shape != ReplicatorShape::Plane) return;
        Matrix quarter; // about X, y to z: a plane's normal is z though it lies in x and z
        quarter(1, 1) = 0, quarter(1, 2) = 1, quarter(2, 1) = -1, quarter(2, 2) = 0;
        turn_ = quarter * turn_;
    }

    void Run(std::span<Particle> particles) {
        if (!active_) return;
        for (Particle& particle : particles) {
            const Point3 direction = Normalized(TransformPoint(-particle.normal, turn_));
            particle.position += direction * ((random_.Draw01() * spread_ + 1 - spread_) * offset_);
        }
    }

private:
    Random random_;
    float offset_, spread_;
    Matrix turn_;
    bool active_;
};

class PositionNoiseStage {
public:
    explicit PositionNoiseStage(const GroupParams& group)
        : amount_(group.positionNoiseAmount),
          origin_(NoiseOrigin(group.randomSeed)),
          scale_(group.positionNoiseScale),
          evolution_(group.positionNoiseEvolution),
          active_(!IsZero(amount_)) {}

    void Run(std::span<Particle> particles) const {
        if (!active_) return;
        for (Particle& particle : particles) {
            const Point3 p = particle.position;
            const float u = (origin_ + (p.z + p.x)) * 0.01f * scale_;
            const float v = (origin_ + (p.z + p.y)) * 0.01f * scale_ + evolution_;
            particle.position = {p.x + Noise2(u, v) * amount_.x, p.y + Noise2(u + 500, v + 500) * amount_.y,
                                 p.z + Noise2(u + 1000, v + 1000) * amount_.z};
        }
    }

private:
    Point3 amount_;
    float origin_, scale_, evolution_;
    bool active_;
};

class RotationNoiseStage {
public:
    explicit RotationNoiseStage(const GroupParams& group)
        : origin_(NoiseOrigin(group.lookSeed)),
          scale_(group.rotationNoiseScale),
          evolution_(group.rotationNoiseEvolution),
          amount_(group.rotationNoiseAmount * 0.05f),
          active_(group.rotationNoiseAmount != 0) {}

    void Run(std::span<Particle> particles) const {
        if (!active_) return;
        for (Particle& particle : particles) {
            const Point3 p = particle.position;
            const float a = (origin_ + p.z + p.x) * 0.1f * scale_;
            const float b = (origin_ + p.z + p.y) * 0.1f * scale_ + evolution_;
            const Point3 angles{Noise2(a + 665, b + 665) * amount_, Noise2(a + 385, b + 385) * amount_,
                                Noise2(a + 1610, b + 1610) * amount_};
            particle.rotation = particle.rotation * Euler(angles);
        }
    }

private:
    float origin_, scale_, evolution_, amount_;
    bool active_;
};

float SweepPlace(const AnimationBlock& block, Point3 position) {
    if (block.type == AnimationBlock::Directional) return Dot(position, block.direction);
    const float distance = Length(position - block.center);
    return block.radialMode == 2 ? -distance : distance;
}

} // namespace

Quaternion LookRotation(Point3 direction) {
    if (IsZero(direction)) return {};
    const Point3 side = Normalized(Cross({0, 1, 0}, direction));
    // Straight up or down no side axis is given; a quarter turn about x reaches the direction.
    if (IsZero(side)) return {std::copysign(kHalfRoot, direction.y), 0, 0, kHalfRoot};
    const Point3 up = Cross(direction, side);
    // The inverse of ToMatrix for the rows side, up, direction, over the largest component when the trace is
    // small. K. Shoemake, "Quaternions", 1994.
    const float trace = 1 + side.x + up.y + direction.z;
    if (trace > 1e-5f) {
        const float s = std::sqrt(trace) * 2;
        return {(direction.y - up.z) / s, (side.z - direction.x) / s, (up.x - side.y) / s, 0.25f * s};
    }
    if (side.x > up.y && side.x > direction.z) {
        const float s = std::sqrt(1 + side.x - up.y - direction.z) * 2;
        return {0.25f * s, (up.x + side.y) / s, (side.z + direction.x) / s, (direction.y - up.z) / s};
    }
    if (up.y > direction.z) {
        const float s = std::sqrt(1 + up.y - side.x - direction.z) * 2;
        return {(up.x + side.y) / s, 0.25f * s, (direction.y + up.z) / s, (side.z - direction.x) / s};
    }
    const float s = std::sqrt(1 + direction.z - side.x - up.y) * 2;
    return {(side.z + direction.x) / s, (direction.y + up.z) / s, 0.25f * s, (up.x - side.y) / s};
}

KeyStage::KeyStage(const AnimationBlock& block, std::uint32_t seed, std::uint32_t side, std::size_t count)
    : block_(block),
      random_(block.type == AnimationBlock::Random ? seed + side * kFinishKeySeed : kKeySeed),
      count_(static_cast<std::int64_t>(count)) {
}

void KeyStage::Run(std::span<Particle> particles) {
    for (Particle& particle : particles) {
        switch (block_.type) {
        case AnimationBlock::ShapeOrder: {
            const std::int64_t place = (next_ + block_.shapeOrderOffset) % count_;
            particle.animationKey = static_cast<float>(place < 0 ? place + count_ : place);
            break;
        }
        case AnimationBlock::Uniform:
            particle.animationKey = 0;
            break;
        case AnimationBlock::Random:
            particle.animationKey = static_cast<float>(random_.Draw());
            break;
        default:
            particle.animationKey = SweepPlace(block_, particle.position);
            break;
        }
        const float tieBreak = random_.Draw01() * 0.01f;
        if (block_.type != AnimationBlock::Uniform) particle.animationKey += tieBreak;
        ++next_;
    }
}

void RunParticlePass(const FrameParams& params, std::size_t groupIndex, Point3 cameraPosition,
                     std::span<Particle> particles) {
    const GroupParams& group = params.groups[groupIndex];
    const EngineSide side = SideOf(params.engine, groupIndex);
    LookStage look(group, cameraPosition);
    KeyStage keys(side == EngineSide::Finish ? params.engine.dual : params.engine.block, params.engine.seed,
                  side == EngineSide::Finish ? 1 : 0, particles.size());
    ScatterStage scatter(group);
    SurfaceOffsetStage surfaceOffset(group);
    const PositionNoiseStage positionNoise(group);
    const RotationNoiseStage rotationNoise(group);
    for (std::size_t first = 0; first < particles.size(); first += LookStage::kPiece) {
        const auto piece = particles.subspan(first, std::min(LookStage::kPiece, particles.size() - first));
        look.Run(piece);
        if (side != EngineSide::None) keys.Run(piece);
        scatter.Run(piece);
        surfaceOffset.Run(piece);
        positionNoise.Run(piece);
        rotationNoise.Run(piece);
    }
}

} // namespace velorin
