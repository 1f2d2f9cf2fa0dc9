#pragma once

#include "services/NxMath.h"

#include <vector>

namespace velorin {

// One row of a bevel's section, in the plane of the contour's normal and the depth axis.
struct ProfileRow {
    float out = 0;   // along the contour's normal, from the inner contour
    float depth = 0; // along the depth axis, from the outer contour's level
    // Unit normal of the surface, out of the solid: along the contour's normal and along the depth axis.
    float normalOut = 1, normalDepth = 0;
};

// Rows from (length, 0) to (0, depth) in segments + 1 even steps. At curve 0 a straight line, at 1 a quarter
// of an ellipse bulging outwards, at -1 the same quarter hollowed; between them a linear blend; one step is
// straight. Above 0.75 the ends lean as wall and cap do. The depth axis points from the wall to the cap, so
// that for a positive `depth` the normal leans to the cap; with a negative one the cap lies sunk behind the
// rim.
[[nodiscard]] std::vector<ProfileRow> BevelProfile(float length, float depth, float curve, int segments);

} // namespace velorin
