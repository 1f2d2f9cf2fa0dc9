#pragma once

#include "core/document/SceneModel.h" // PathPoint

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

namespace velorin {

// Closed outlines in the plane, x right and y down, in the units of their source.
struct PathSet {
    std::vector<std::vector<PathPoint>> paths;
    float scale = 1;      // makes the larger extent 100 units
    bool isPlain = false; // the points are a polygon already; tangents mean nothing
    friend bool operator==(const PathSet&, const PathSet&) = default;
};

// Outlines of the rows "Path Layer 1" to 15 at one time. Null: the row names no layer; without paths: its
// layer has no closed outline. A set that stays the same keeps its object over frames.
inline constexpr std::size_t kPathLayerCount = 15;
using PathLayers = std::array<std::shared_ptr<const PathSet>, kPathLayerCount>;

} // namespace velorin
