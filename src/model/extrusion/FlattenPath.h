#pragma once

#include "model/extrusion/PathSet.h"

#include <span>
#include <vector>

namespace velorin {

// Coordinates beyond it on either axis belong to no outline.
inline constexpr float kLargestCoordinate = 1e6f;

// Steps a Bezier segment is cut into at a resolution: 2, 5, 10, 20, 40 and that for all above; 1 with all
// bits set.
[[nodiscard]] int StepsOf(PathResolution resolution);

// The closed polygon of a path: cubic segments evaluated at even parameters, equal neighbours and a repeated
// first point dropped, then corners sharper than `spike` (0 to 1) times 45 degrees removed. Points that are
// not finite, or further out than any outline, are dropped.
[[nodiscard]] std::vector<Point2> FlattenPath(std::span<const PathPoint> path, bool isPlain,
                                              PathResolution resolution, float spike);

// Removes corners whose inner angle is below spike * 45 degrees until none is left.
void FilterSpikes(std::vector<Point2>& polygon, float spike);

} // namespace velorin
