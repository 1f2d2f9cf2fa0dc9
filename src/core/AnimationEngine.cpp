#include "core/AnimationEngine.h"

#include "core/MultiObject.h"
#include "core/Random.h"

#include <algorithm>
#include <cmath>

namespace velorin {
namespace {

constexpr std::uint32_t kSeedStep = 1235, kRandomnessSeedStep = 13587, kPlainSeed = 500;
constexpr float kLargest = 3.4028235e38f;

float Limited(float value) {
    return value > 0 ? std::min(value, 1.0f) : 0;
}

// A key for each mesh instance, computed as those of the particles are.
void KeysOfMeshes(const AnimationBlock& block, std::uint32_t seed, std::uint32_t side, const SweepSide& input,
                  SweepKeys& keys) {
    Random random(block.type == AnimationBlock::Random ? seed + side * kSeedStep : kPlainSeed);
    for (std::size_t i = 0; i < keys.keys.size(); ++i) {
        const Point3 center = input.centers[i];
        float& key = keys.keys[i];
        switch (block.type) {
        case AnimationBlock::Uniform:
            key = 0;
            continue;
        case AnimationBlock::ShapeOrder:
            key = static_cast<float>(i);
            continue;
        case AnimationBlock::Directional:
            key = Dot(center, block.direction);
            break;
        case AnimationBlock::Radial:
            key = Length(center - block.center) * (block.radialMode == 2 ? -1.0f : 1.0f);
            break;
        case AnimationBlock::Random:
            key = static_cast<float>(random.Draw());
            break;
        }
        key += random.Draw01() * 0.01f;
    }
}

void KeysOfParticles(const SweepSide& input, SweepKeys& keys) {
    for (std::size_t p = 0; p < input.particles.size(); ++p)
        std::fill(keys.keys.begin() + keys.first[p], keys.keys.begin() + keys.first[p + 1],
                  input.particles[p].animationKey);
}

void ShiftShapeOrder(std::int32_t offset, std::size_t count, std::span<float> keys) {
    if (count == 0) return;
    const auto modulus = static_cast<std::int64_t>(count);
    for (float& key : keys) {
        if (!std::isfinite(key)) continue;
        const std::int64_t place = (static_cast<std::int64_t>(key + 0.5f) + offset) % modulus;
        key = static_cast<float>(place < 0 ? place + modulus : place);
    }
}

void Normalise(std::span<float> keys, float single) {
    float lo = kLargest, hi = -kLargest;
    for (const float key : keys) {
        lo = std::min(lo, key);
        hi = std::max(hi, key);
    }
    for (float& key : keys) key = hi > lo ? Limited((key - lo) / (hi - lo)) : single;
}

// Q with ToMatrix(Q) close to the rotation `r`: its inverse by Shepperd's method (S. W. Shepperd, "Quaternion
// from Rotation Matrix", 1978).
Quaternion ToQuaternion(const Matrix& r) {
    const float d[4] = {r(0, 0), r(1, 1), r(2, 2), r(0, 0) + r(1, 1) + r(2, 2)};
    const std::ptrdiff_t largest = std::max_element(d, d + 4) - d;
    if (largest == 3) {
        const float s = std::sqrt(1 + d[3]) * 2;
        return {(r(2, 1) - r(1, 2)) / s, (r(0, 2) - r(2, 0)) / s, (r(1, 0) - r(0, 1)) / s, s / 4};
    }
    const float s = std::sqrt(std::max(0.0f, 1 + 2 * d[largest] - d[3])) * 2;
    if (largest == 0)
        return {s / 4, (r(0, 1) + r(1, 0)) / s, (r(0, 2) + r(2, 0)) / s, (r(2, 1) - r(1, 2)) / s};
    if (largest == 1)
        return {(r(0, 1) + r(1, 0)) / s, s / 4, (r(1, 2) + r(2, 1)) / s, (r(0, 2) - r(2, 0)) / s};
    return {(r(0, 2) + r(2, 0)) / s, (r(1, 2) + r(2, 1)) / s, s / 4, (r(1, 0) - r(0, 1)) / s};
}

Matrix Linear(Matrix m) {
    m.m[12] = m.m[13] = m.m[14] = 0;
    return m;
}

DeformOrigin BlendOrigins(const DeformOrigin& a, const DeformOrigin& b, float t) {
    return {Mix(a.orientation, b.orientation, t), Mix(a.offset, b.offset, t)};
}

float Mix(float a, float b, float t) {
    return a * (1 - t) + b * t;
}

} // namespace

void MakeSweepKeys(const AnimationEngineParams& engine, std::uint32_t side, const SweepSide& input,
                   SweepKeys& keys) {
    const AnimationBlock& block = side == 0 ? engine.block : engine.dual;
    keys.first.clear();
    std::uint32_t total = 0;
    for (const std::uint32_t meshes : input.meshes) {
        keys.first.push_back(total);
        total += std::max(meshes, 1u);
    }
    keys.first.push_back(total);
    keys.keys.assign(total, 0);

    const bool byMesh = input.centers.size() == total && total > 0;
    if (byMesh)
        KeysOfMeshes(block, engine.seed, side, input, keys);
    else
        KeysOfParticles(input, keys);
    if (block.type == AnimationBlock::ShapeOrder)
        ShiftShapeOrder(block.shapeOrderOffset, byMesh ? total : input.particles.size(), keys.keys);
    Normalise(keys.keys, static_cast<float>(side));
    if (!(engine.randomness > 0)) return;
    Random random(engine.seed + side * kRandomnessSeedStep);
    for (float& key : keys.keys) key = random.Draw01() * engine.randomness + (1 - engine.randomness) * key;
}

float MeshProgress(const AnimationEngineParams& engine, std::size_t instances, float startKey,
                   float finishKey) {
    if (engine.animation >= 1) return 1; // by the formula too, but for its rounding
    const float s = engine.smoothness;
    const float c = (1 - 1 / static_cast<float>(std::max<std::size_t>(instances, 1))) * (1 - s);
    const float a = c * startKey, b = c * finishKey;
    return Limited((engine.animation - a) / ((1 - s) * a + s * std::max(a, b) + (1 - c) - a));
}

float Eased(Ease ease, float u) {
    switch (ease) {
    case Ease::Ease:
        return (std::sin(u * kPi - kPi / 2) + 1) * 0.5f;
    case Ease::EaseIn:
        return u * u;
    case Ease::EaseOut:
        return 1 - (u - 1) * (u - 1);
    case Ease::Off:
        break;
    }
    return u;
}

ChannelValues ChannelsAt(const AnimationEngineParams& engine, float progress) {
    ChannelValues values;
    for (std::size_t c = 0; c < values.size(); ++c) {
        // The end of every channel's share is at most 1, where rounding would leave the last of an offset one
        // open.
        const ChannelTiming& timing = engine.channels[c];
        const float u = progress >= 1 ? 1 : Limited((progress - timing.offset) * timing.scale);
        values[c] = Eased(engine.ease, u);
    }
    return values;
}

Particle BlendParticles(const Particle& start, const Particle& finish, const ChannelValues& channels) {
    Particle blended = start;
    blended.position = Mix(start.position, finish.position, channels[kPositionChannel]);
    blended.size = Mix(start.size, finish.size, channels[kScaleChannel]);
    blended.rotation = Slerp(start.rotation, finish.rotation, channels[kRotationChannel]);
    return blended;
}

Matrix BlendedWorld(const WorldTransform& world, bool startExcluded, bool finishExcluded, float position) {
    if (startExcluded && finishExcluded) return {};
    if (!startExcluded && !finishExcluded) return world.matrix();
    const float share = startExcluded ? position : 1 - position;
    WorldTransform faded = world;
    faded.scale = 1 + (world.scale - 1) * share;
    faded.rotation = Slerp({}, world.rotation, share);
    faded.position = world.position * share;
    return faded.matrix();
}

Matrix BlendTransforms(const Matrix& start, const Matrix& finish, float position, float rotation,
                       float scale) {
    if (start == finish || (position == 0 && rotation == 0 && scale == 0)) return start;
    if (position == 1 && rotation == 1 && scale == 1) return finish;
    const Matrix turnA = RotationPart(start), turnB = RotationPart(finish);
    // What is left of the linear parts in front of their rotations.
    const Matrix restA = Linear(start) * Transposed(turnA), restB = Linear(finish) * Transposed(turnB);
    Matrix rest;
    for (std::size_t i = 0; i < rest.m.size(); ++i) rest.m[i] = Mix(restA.m[i], restB.m[i], scale);
    const Quaternion turn = Slerp(ToQuaternion(turnA), ToQuaternion(turnB), rotation);
    return rest * ToMatrix(turn) *
           Matrix::Translation(Mix(start.translation(), finish.translation(), position));
}

DeformParameters BlendDeformers(const DeformParameters& a, const DeformParameters& b, float t) {
    DeformParameters r = t < 0.5f ? a : b;
    r.enabled = a.enabled || b.enabled;
    r.offset = Mix(a.offset, b.offset, t);

    // A deformer that is off on one side fades from nothing.
    const auto strength = [](bool groupOn, bool on) { return groupOn && on ? 1.0f : 0.0f; };
    const float taperA = strength(a.enabled, a.taper.enabled), taperB = strength(b.enabled, b.taper.enabled);
    r.taper.enabled = taperA + taperB > 0;
    r.taper.amount = Mix(a.taper.amount * taperA, b.taper.amount * taperB, t);
    r.taper.curve = Mix(a.taper.curve * taperA, b.taper.curve * taperB, t);
    r.taper.origin = BlendOrigins(a.taper.origin, b.taper.origin, t);

    const float twistA = strength(a.enabled, a.twist.enabled), twistB = strength(b.enabled, b.twist.enabled);
    r.twist.enabled = twistA + twistB > 0;
    r.twist.rotation = Mix(a.twist.rotation * twistA, b.twist.rotation * twistB, t);
    r.twist.phase = Mix(a.twist.phase * twistA, b.twist.phase * twistB, t);
    r.twist.origin = BlendOrigins(a.twist.origin, b.twist.origin, t);

    const float bendA = strength(a.enabled, a.bend.enabled), bendB = strength(b.enabled, b.bend.enabled);
    r.bend.enabled = bendA + bendB > 0;
    r.bend.angle = Mix(a.bend.angle * bendA, b.bend.angle * bendB, t);
    r.bend.direction = Mix(a.bend.direction, b.bend.direction, t);
    r.bend.origin = BlendOrigins(a.bend.origin, b.bend.origin, t);

    const NoiseDeformer &na = a.noise, &nb = b.noise;
    const float noiseA = strength(a.enabled, na.enabled), noiseB = strength(b.enabled, nb.enabled);
    NoiseDeformer& n = r.noise;
    n.enabled = noiseA + noiseB > 0;
    n.intensity = Mix(na.intensity * noiseA, nb.intensity * noiseB, t);
    n.offset = Mix(na.offset * noiseA, nb.offset * noiseB, t);
    n.distort = Mix(na.distort, nb.distort, t);
    n.scale = Mix(na.scale, nb.scale, t);
    n.exponent = Mix(na.exponent, nb.exponent, t);
    n.clampMin = Mix(na.clampMin, nb.clampMin, t);
    n.clampMax = Mix(na.clampMax, nb.clampMax, t);
    n.axisIntensity = Mix(na.axisIntensity, nb.axisIntensity, t);
    n.evolution = Mix(na.evolution, nb.evolution, t);
    return r;
}

} // namespace velorin
