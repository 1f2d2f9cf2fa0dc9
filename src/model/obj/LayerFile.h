#pragma once

#include "model/ModelData.h"
#include "services/ByteReader.h"

#include <list>
#include <vector>

namespace velorin::obj {

// The content of a ".vrd" file: skeleton animation beside an OBJ file.
struct LayerFile {
    std::vector<AnimationLayer> layers;
    std::list<ModelJoint> joints;
};

// What runs past the end of the file counts as its end: what was complete before is kept.
[[nodiscard]] LayerFile ReadLayerFile(Bytes file);

} // namespace velorin::obj
