#pragma once

#include "app/project/ObjectReader.h"
#include "app/project/Project.h"

namespace velorin::app {

// "masks" of a layer. The vertices of a mask are a list, of which every number may have keyframes, or one
// animated value whose keys hold whole lists of equally many vertices.
void ReadMasks(const TextSource& source, ObjectReader& layer, KeyframeClock clock, std::vector<Mask>& masks);

} // namespace velorin::app
