#pragma once

#include "model/extrusion/WorkBudget.h"
#include "services/NxMath.h"

#include <array>
#include <cstdint>
#include <vector>

namespace velorin {

// Corners with positive area (x towards y).
using CapTriangle = std::array<Point2, 3>;

// Steps that triangulating the contours takes: the tessellator sweeps along x and walks all edges under the
// sweep line at each point. Outlines of letters need a few thousand, a hostile outline can need billions.
[[nodiscard]] std::uint64_t TriangulationCost(const std::vector<const std::vector<Point2>*>& contours);

// Triangles of the area that the contours enclose with a winding number above 0: outlines run with positive
// area and holes with negative, so an outline that overlaps itself or another after being expanded stays
// filled. Corners are points of the contours, and where edges cross, the crossing. None when the budget does
// not allow for the steps, which it then has spent.
[[nodiscard]] std::vector<CapTriangle> TriangulateCap(const std::vector<const std::vector<Point2>*>& contours,
                                                      WorkBudget& budget);

} // namespace velorin
