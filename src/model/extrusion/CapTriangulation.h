#pragma once

#include "services/NxMath.h"

#include <array>
#include <vector>

namespace velorin {

// Corners with positive area (x towards y).
using CapTriangle = std::array<Point2, 3>;

// Triangles of the area that the contours enclose with a winding number above 0: outlines run with positive
// area and holes with negative, so an outline that overlaps itself or another after being expanded stays
// filled. Corners are points of the contours, and where edges cross, the crossing.
[[nodiscard]] std::vector<CapTriangle>
TriangulateCap(const std::vector<const std::vector<Point2>*>& contours);

} // namespace velorin
