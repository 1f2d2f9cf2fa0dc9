#pragma once

#include "render/RenderSettings.h"

namespace velorin {

// The perspective projection of a camera's image plane (viewWidth by viewHeight comp pixels at
// imagePlaneDistance) between its near and far planes, in the terms of CameraState; row vectors.
[[nodiscard]] Matrix PerspectiveProjection(const CameraState& camera);

} // namespace velorin
