#pragma once

#include "core/document/SceneModel.h" // PathPoint

#include <vector>

namespace velorin {

// Closed outlines in the plane, x right and y down, in the units of their source.
struct PathSet {
    std::vector<std::vector<PathPoint>> paths;
    float scale = 1;      // makes the larger extent 100 units
    bool isPlain = false; // the points are a polygon already; tangents mean nothing
};

} // namespace velorin
