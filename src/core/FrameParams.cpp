#include "core/FrameParams.h"

#include <cmath>
#include <limits>

namespace velorin {
namespace {

// Towards zero, limited to the range of T; not-a-number gives 0.
template <class T>
T Truncated(float value) {
    if (std::isnan(value)) return 0;
    // The largest float that the type holds; the type's own end may round up to one that it does not.
    const float end = std::nextafter(static_cast<float>(std::numeric_limits<T>::max()), 0.0f);
    if (value >= static_cast<float>(std::numeric_limits<T>::max())) return static_cast<T>(end);
    if (value <= static_cast<float>(std::numeric_limits<T>::min())) return std::numeric_limits<T>::min();
    return static_cast<T>(value);
}

} // namespace

std::uint32_t RoundedUnsigned(float value) {
    return Truncated<std::uint32_t>(value + 0.5f);
}

std::int32_t RoundedSigned(float value) {
    return Truncated<std::int32_t>(value + 0.5f);
}

std::int32_t RoundedAway(float value) {
    return Truncated<std::int32_t>(value < 0 ? value - 0.5f : value + 0.5f);
}

Quaternion ReadRotation(Point3 angles) {
    return QuaternionFromEuler(-angles.x, -angles.y, -angles.z);
}

Quaternion ReadRotation(Point3 angles, RotationOrder order) {
    const Quaternion x = QuaternionFromEuler(-angles.x, 0, 0);
    const Quaternion y = QuaternionFromEuler(0, -angles.y, 0);
    const Quaternion z = QuaternionFromEuler(0, 0, -angles.z);
    switch (order) {
    case RotationOrder::XZY:
        return x * z * y;
    case RotationOrder::YXZ:
        return y * x * z;
    case RotationOrder::YZX:
        return y * z * x;
    case RotationOrder::ZXY:
        return z * x * y;
    case RotationOrder::ZYX:
        return z * y * x;
    case RotationOrder::XYZ:
        break;
    }
    return x * y * z;
}

Point3 SweepDirection(float yaw, float pitch) {
    return {std::cos(yaw) * std::cos(pitch), std::sin(yaw) * std::cos(pitch), std::sin(pitch)};
}

ChannelTiming ReadChannelTiming(float duration, float offset) {
    // 0.00999, not 0.01: a duration of 0 gives 0.999.
    const float d = (100 - duration) * 0.00999f;
    return {offset * 0.01f * d, 1 / (1 - d)};
}

Matrix WorldTransform::matrix() const {
    return Matrix::Translation(-anchor) * Matrix::Scale({scale, scale, scale}) * ToMatrix(rotation) *
           Matrix::Translation(anchor + position);
}

} // namespace velorin
