#include "core/Projection.h"

namespace velorin {

Matrix PerspectiveProjection(const CameraState& camera) {
    const float n = camera.nearPlane, f = camera.farPlane;
    Matrix p;
    p.m = {};
    p(0, 0) = 2 * camera.imagePlaneDistance / camera.viewWidth;
    p(1, 1) = 2 * camera.imagePlaneDistance / camera.viewHeight;
    p(2, 2) = -(f + n) / (f - n);
    p(2, 3) = -1;
    p(3, 2) = -2 * f * n / (f - n);
    return p;
}

} // namespace velorin
