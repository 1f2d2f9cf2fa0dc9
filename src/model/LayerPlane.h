#pragma once

#include "model/ModelData.h"

namespace velorin {

// The square that stands for a layer of the host: four vertices from (-1, -1) to (1, 1) with texture
// coordinates from (0, 0) to (1, 1), one mesh and the material "Default".
[[nodiscard]] ModelData MakeLayerPlane();

} // namespace velorin
