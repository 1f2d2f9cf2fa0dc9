#pragma once

#include "render/RenderSettings.h"

namespace velorin {

// The camera of a light's shadow map: of a spot a perspective as wide as its cone, of a parallel light a box
// as wide as `shadowSize` around its axis; both look from the light's place along its direction, from 50 to
// 10000 comp pixels. View space is the camera's: x right, y down, z towards the light. Other kinds are left
// alone.
void PlaceShadowCamera(SceneLight& light, float shadowSize);

} // namespace velorin
