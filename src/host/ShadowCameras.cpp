#include "host/ShadowCameras.h"

#include <algorithm>
#include <cmath>

namespace velorin {
namespace {

constexpr float kNear = 50, kFar = 10000;     // comp pixels
constexpr float kWidestHalfCone = 1.4835298f; // 85 degrees: a map cannot hold a half space

Matrix LookAlong(Point3 eye, Point3 direction) {
    // Any hint that is not along the direction will do: shadows have no top.
    const Point3 hint = std::abs(direction.y) < 0.99f ? Point3{0, 1, 0} : Point3{0, 0, -1};
    const Point3 side = Normalized(Cross(hint, direction));
    const Point3 down = Cross(direction, side);
    const Point3 axes[3] = {side, down, -direction};
    Matrix view;
    for (int column = 0; column < 3; ++column) {
        const Point3& axis = axes[column];
        view(0, column) = axis.x;
        view(1, column) = axis.y;
        view(2, column) = axis.z;
        view(3, column) = -Dot(eye, axis);
    }
    return view;
}

} // namespace

void PlaceShadowCamera(SceneLight& light, float shadowSize) {
    if (light.type != LightType::Spot && light.type != LightType::Parallel) return;
    light.view = LookAlong(light.position, light.direction);
    Matrix& p = light.projection;
    p = {};
    if (light.type == LightType::Parallel) {
        p(0, 0) = p(1, 1) = 2 / std::max(shadowSize, 1.0f);
        p(2, 2) = -2 / (kFar - kNear);
        p(3, 2) = -(kFar + kNear) / (kFar - kNear);
        return;
    }
    p(0, 0) = p(1, 1) = 1 / std::tan(std::clamp(light.coneAngle / 2, 0.001f, kWidestHalfCone));
    p(2, 2) = -(kFar + kNear) / (kFar - kNear);
    p(2, 3) = -1;
    p(3, 2) = -2 * kFar * kNear / (kFar - kNear);
    p(3, 3) = 0;
}

} // namespace velorin
