#include "core/Replicator.h"

#include "core/Noise.h"
#include "core/Random.h"
#include "core/ReplicatorShapes.h"

#include <cmath>

// The stages that run over the particles of every shape, in the order of Replicator.h. Each seeds a generator
// of its own and draws whether or not an amount is zero, so that changing one amount leaves the others'
// values.
namespace velorin {
namespace {

constexpr std::uint32_t kScatterSeed = 1000, kSurfaceSeed = 5000, kNoiseSeed = 10000, kKeySeed = 500,
                        kFinishKeySeed = 1235;

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

Point3 DrawAngles(Random& random, Point3 unit) {
    const auto x = static_cast<float>(random.Draw() % 3600), y = static_cast<float>(random.Draw() % 3600),
               z = static_cast<float>(random.Draw() % 3600);
    return Point3{x, y, z} * unit;
}

Point3 LookDirection(const GroupParams& group, const Particle& particle, Point3 cameraPosition) {
    switch (group.orientation) {
    case Orientation::FaceCamera:
        return Normalized(particle.position - cameraPosition);
    case Orientation::Fixed:
        return {0, 0, 1};
    default:
        return Normalized(particle.normal);
    }
}

// What the loop of the pass takes from the group, computed once.
struct LookPass {
    LookPass(const GroupParams& g, Point3 camera)
        : group(g),
          cameraPosition(camera),
          shape(ToMatrix(g.rotation)),
          scale(g.scale * g.shapeScale),
          baseSize(g.shapeUnit * g.particleSize),
          spread(g.rotationRandom * 2),
          hasSpread(!IsZero(g.rotationRandom)),
          hasRandomize(!IsZero(g.rotationRandomize)),
          turnsWithShape(g.orientation != Orientation::FaceCamera) {}

    void Apply(Particle& particle, Random& random) const {
        particle.position = TransformPoint(particle.position * scale, shape) + group.position;
        const float factor = 1 - random.Draw01() * group.particleSizeRandom;
        particle.size = group.sizeAxes * (factor * baseSize);

        Quaternion rotation = LookRotation(LookDirection(group, particle, cameraPosition));
        const Point3 spreadAngles = DrawCentred(random) * spread;
        if (hasSpread && !IsZero(spreadAngles)) rotation = Euler(spreadAngles) * rotation;
        const Point3 steps = DrawAngles(random, group.rotationRandomize);
        if (hasRandomize && !IsZero(steps)) rotation = Euler(steps) * rotation;
        rotation = group.particleRotation * rotation;
        if (turnsWithShape) rotation = rotation * group.rotation;
        particle.rotation = rotation;
    }

    const GroupParams& group;
    Point3 cameraPosition;
    Matrix shape;
    Point3 scale;
    float baseSize;
    Point3 spread;
    bool hasSpread, hasRandomize, turnsWithShape;
};

void Scatter(const GroupParams& group, std::span<Particle> particles) {
    if (IsZero(group.scatter)) return;
    Random random(group.randomSeed + kScatterSeed);
    const Point3 range = group.scatter * group.shapeUnit;
    for (Particle& particle : particles) particle.position += DrawCentred(random) * range;
}

void OffsetFromSurface(const GroupParams& group, std::span<Particle> particles) {
    if (group.surfaceOffset == 0) return;
    Random random(group.randomSeed + kSurfaceSeed);
    const float offset = group.surfaceOffset * group.shapeUnit;
    Matrix turn = ToMatrix(group.rotation);
    if (group.shape == ReplicatorShape::Plane) {
        Matrix quarter; // about X, y to z: a plane's normal is z though it lies in x and z
        quarter(1, 1) = 0, quarter(1, 2) = 1, quarter(2, 1) = -1, quarter(2, 2) = 0;
        turn = quarter * turn;
    }
    for (Particle& particle : particles) {
        const Point3 direction = Normalized(TransformPoint(-particle.normal, turn));
        const float random01 = random.Draw01();
        const float amount = (random01 * group.surfaceOffsetRandom + 1 - group.surfaceOffsetRandom) * offset;
        particle.position += direction * amount;
    }
}

void AddPositionNoise(const GroupParams& group, std::span<Particle> particles) {
    if (IsZero(group.positionNoiseAmount)) return;
    const float origin = NoiseOrigin(group.randomSeed);
    const Point3 amount = group.positionNoiseAmount;
    for (Particle& particle : particles) {
        const Point3 p = particle.position;
        const float u = (origin + (p.z + p.x)) * 0.01f * group.positionNoiseScale;
        const float v =
            (origin + (p.z + p.y)) * 0.01f * group.positionNoiseScale + group.positionNoiseEvolution;
        particle.position = {p.x + Noise2(u, v) * amount.x, p.y + Noise2(u + 500, v + 500) * amount.y,
                             p.z + Noise2(u + 1000, v + 1000) * amount.z};
    }
}

void AddRotationNoise(const GroupParams& group, std::span<Particle> particles) {
    if (group.rotationNoiseAmount == 0) return;
    const float origin = NoiseOrigin(group.lookSeed);
    const float scale = group.rotationNoiseScale, evolution = group.rotationNoiseEvolution;
    const float amount = group.rotationNoiseAmount * 0.05f;
    for (Particle& particle : particles) {
        const Point3 p = particle.position;
        const float a = (origin + p.z + p.x) * 0.1f * scale;
        const float b = (origin + p.z + p.y) * 0.1f * scale + evolution;
        const Point3 angles{Noise2(a + 665, b + 665) * amount, Noise2(a + 385, b + 385) * amount,
                            Noise2(a + 1610, b + 1610) * amount};
        particle.rotation = particle.rotation * Euler(angles);
    }
}

float SweepPlace(const AnimationBlock& block, Point3 position) {
    if (block.type == AnimationBlock::Directional) return Dot(position, block.direction);
    const float distance = Length(position - block.center);
    return block.radialMode == 2 ? -distance : distance;
}

} // namespace

Quaternion LookRotation(Point3 direction) {
    if (IsZero(direction)) return {};
    const Point3 side = Normalized(Cross({0, 1, 0}, direction));
    if (IsZero(side)) return {};
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

void SetAnimationKeys(const AnimationBlock& block, std::uint32_t seed, std::uint32_t side,
                      std::span<Particle> particles) {
    Random random(block.type == AnimationBlock::Random ? seed + side * kFinishKeySeed : kKeySeed);
    const auto count = static_cast<std::int64_t>(particles.size());
    for (std::size_t i = 0; i < particles.size(); ++i) {
        Particle& particle = particles[i];
        switch (block.type) {
        case AnimationBlock::ShapeOrder: {
            const std::int64_t place = (static_cast<std::int64_t>(i) + block.shapeOrderOffset) % count;
            particle.animationKey = static_cast<float>(place < 0 ? place + count : place);
            break;
        }
        case AnimationBlock::Uniform:
            particle.animationKey = 0;
            break;
        case AnimationBlock::Random:
            particle.animationKey = static_cast<float>(random.Draw());
            break;
        default:
            particle.animationKey = SweepPlace(block, particle.position);
            break;
        }
        const float tieBreak = random.Draw01() * 0.01f;
        if (block.type != AnimationBlock::Uniform) particle.animationKey += tieBreak;
    }
}

void RunParticlePass(const FrameParams& params, std::size_t groupIndex, Point3 cameraPosition,
                     std::span<Particle> particles) {
    const GroupParams& group = params.groups[groupIndex];
    const LookPass pass(group, cameraPosition);
    Random random(group.lookSeed);
    std::uint32_t index = 0;
    for (Particle& particle : particles) {
        particle.index = index++;
        pass.Apply(particle, random);
    }
    switch (SideOf(params.engine, groupIndex)) {
    case EngineSide::Start:
        SetAnimationKeys(params.engine.block, params.engine.seed, 0, particles);
        break;
    case EngineSide::Finish:
        SetAnimationKeys(params.engine.dual, params.engine.seed, 1, particles);
        break;
    case EngineSide::None:
        break;
    }
    Scatter(group, particles);
    OffsetFromSurface(group, particles);
    AddPositionNoise(group, particles);
    AddRotationNoise(group, particles);
}

} // namespace velorin
