#include "core/BakedAnimation.h"

#include "core/document/SceneModel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace velorin {
namespace {

// Towards zero, limited to what the sums below can hold; not-a-number gives 0.
std::int64_t Whole(float value) {
    constexpr float kLimit = 1e15f;
    if (std::isnan(value)) return 0;
    return static_cast<std::int64_t>(std::clamp(value, -kLimit, kLimit));
}

// The remainder that is never negative; `modulus` above 0.
std::int64_t Wrap(std::int64_t value, std::int64_t modulus) {
    const std::int64_t rest = value % modulus;
    return rest < 0 ? rest + modulus : rest;
}

float Wrap(float value, float modulus) {
    return modulus > 0 ? value - modulus * std::floor(value / modulus) : 0;
}

// "Frame Offset Random": a draw spread over plus and minus `range`.
std::int64_t RandomOffset(std::uint32_t draw, float range) {
    const std::int64_t whole = Whole(range);
    return whole > 0 ? static_cast<std::int64_t>(draw) % (2 * whole) - whole : 0;
}

constexpr std::size_t kPosition = 0, kRotation = 1, kScale = 2;

float Axis(Point3 v, std::size_t axis) {
    return axis == 0 ? v.x : axis == 1 ? v.y : v.z;
}

float KeyValue(const TrackSample& sample, std::size_t channel, std::size_t axis) {
    return Axis(channel == kPosition   ? sample.position
                : channel == kRotation ? sample.rotation
                                       : sample.scale,
                axis);
}

// Slope at a key from its tangent's handle.
float Slope(float value, float time) {
    return time != 0 ? value / time : 0;
}

// C. Hermite's cubic between two keys `seconds` apart, f from 0 to 1.
float Hermite(float a, float b, float slopeA, float slopeB, float f, float seconds) {
    const float f2 = f * f, f3 = f2 * f;
    return (2 * f3 - 3 * f2 + 1) * a + (f3 - 2 * f2 + f) * seconds * slopeA + (3 * f2 - 2 * f3) * b +
           (f3 - f2) * seconds * slopeB;
}

float EvaluateAxis(const MeshTrack& track, std::size_t channel, std::size_t axis, float time,
                   float frameRate) {
    const TrackSample *before = nullptr, *after = nullptr;
    for (const TrackSample& sample : track.samples) {
        if (!sample.hasKey[channel][axis]) continue;
        if (static_cast<float>(sample.frame) <= time) before = &sample;
        if (static_cast<float>(sample.frame) >= time) {
            after = &sample;
            break;
        }
    }
    if (!before && !after) {
        const float rest = Axis(channel == kPosition   ? track.position
                                : channel == kRotation ? track.rotation
                                                       : track.scale,
                                axis);
        return channel == kScale && rest == 0 ? 1 : rest;
    }
    if (!before || !after || before == after) return KeyValue(before ? *before : *after, channel, axis);
    const float a = KeyValue(*before, channel, axis), b = KeyValue(*after, channel, axis);
    const float frames = static_cast<float>(after->frame) - static_cast<float>(before->frame);
    if (!(frames > 0)) return b;
    const float f = (time - static_cast<float>(before->frame)) / frames;
    const float mode = (f >= 0.5f ? after : before)->channels[channel].mode[axis];
    if (mode == 2) return (1 - f) * a + f * b;
    if (mode != 1) return a;
    const TrackChannel::Tangent& right = before->channels[channel].tangent[axis];
    const TrackChannel::Tangent& left = after->channels[channel].tangent[axis];
    return Hermite(a, b, Slope(right.valueRight, right.timeRight), Slope(left.valueLeft, left.timeLeft), f,
                   frames / frameRate);
}

Point3 EvaluateChannel(const MeshTrack& track, std::size_t channel, float time, float frameRate) {
    return {EvaluateAxis(track, channel, 0, time, frameRate),
            EvaluateAxis(track, channel, 1, time, frameRate),
            EvaluateAxis(track, channel, 2, time, frameRate)};
}

Matrix PoseMatrix(const TrackPose& pose, std::uint32_t rotationOrder) {
    const Point3 angles{-pose.rotation.x, pose.rotation.y, -pose.rotation.z};
    // Order 6 gives heading (about y), pitch (about x) and bank (about z) as x, y and z; bank acts first.
    const Quaternion rotation = rotationOrder == 6 ? QuaternionFromEuler(0, 0, angles.z) *
                                                         QuaternionFromEuler(angles.y, 0, 0) *
                                                         QuaternionFromEuler(0, angles.x, 0)
                                                   : QuaternionFromEuler(angles.x, angles.y, angles.z);
    return Matrix::Scale(pose.scale) * ToMatrix(rotation) * Matrix::Translation(pose.position);
}

} // namespace

std::uint32_t BakedFrame(const SceneModel& model, const BakedParams& group, Random& random) {
    const std::int64_t frames = model.frameCount;
    if (frames < 2) return 0;
    const std::int64_t start = std::min(Whole(model.startFrame), frames);
    const std::int64_t end = std::min(Whole(model.endFrame), frames);
    const std::int64_t length = std::min(std::max<std::int64_t>(end - start, 0) + 1, frames);

    const std::uint32_t draw = random.Draw();
    std::int64_t frame = Whole(group.playback * model.playbackSpeed) + Whole(std::round(group.frameOffset));
    frame += RandomOffset(draw, group.frameOffsetRandom);
    switch (group.loopMode) {
    case LoopMode::RandomLoop:
        frame += random.Draw();
        [[fallthrough]];
    case LoopMode::Loop:
        frame = Wrap(frame, length);
        break;
    case LoopMode::FreezeAtEnd:
        frame = std::clamp<std::int64_t>(frame, 0, length - 1);
        break;
    case LoopMode::Mirror:
        frame = Wrap(frame, 2 * length);
        if (frame >= length) frame = 2 * length - frame - 1;
        break;
    }
    const std::int64_t offset = Wrap(Whole(model.frameOffset), length);
    // Frames of the model count from 1; a start before the first shows the first.
    return static_cast<std::uint32_t>(
        std::clamp<std::int64_t>((offset + frame) % length + start - 1, 0, frames - 1));
}

float TrackTime(const MeshTrack& track, const SceneModel& model, const BakedParams& group,
                std::uint32_t mesh) {
    if (track.samples.empty()) return 0;
    const auto start = static_cast<float>(track.samples.front().frame);
    const float end = std::max(start, static_cast<float>(track.samples.back().frame));
    Random random(mesh * 123 + group.randomSeed);
    const std::uint32_t draw = random.Draw();
    float time = group.frameOffset + model.frameOffset + group.playback * model.playbackSpeed;
    if (!std::isfinite(time)) time = start;
    time += static_cast<float>(RandomOffset(draw, group.frameOffsetRandom));
    switch (group.loopMode) {
    case LoopMode::RandomLoop:
        time += static_cast<float>(random.Draw());
        [[fallthrough]];
    case LoopMode::Loop:
        time = start + Wrap(time - start, end - start + 1);
        break;
    case LoopMode::FreezeAtEnd:
        break;
    case LoopMode::Mirror: {
        const float range = end - start;
        const float place = Wrap(time - start, 2 * range);
        time = start + (place > range ? 2 * range - place : place);
        break;
    }
    }
    return std::clamp(time, start, end);
}

TrackPose EvaluateTrack(const MeshTrack& track, float time, float frameRate) {
    return {EvaluateChannel(track, kPosition, time, frameRate),
            EvaluateChannel(track, kRotation, time, frameRate),
            EvaluateChannel(track, kScale, time, frameRate)};
}

Matrix TrackMatrix(const MeshTrack& track, float time, float frameRate) {
    if (track.samples.empty()) return {};
    const auto start = static_cast<float>(track.samples.front().frame);
    return Inverse(PoseMatrix(EvaluateTrack(track, start, frameRate), track.rotationOrder)) *
           PoseMatrix(EvaluateTrack(track, time, frameRate), track.rotationOrder);
}

} // namespace velorin
