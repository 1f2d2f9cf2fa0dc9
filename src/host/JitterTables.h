#pragma once

#include "services/NxMath.h"

#include <span>

namespace velorin {

// Sample positions on the lens for multi-pass depth of field, in 0 to 1 with the lens's disc around (0.5,
// 0.5): 47, 90, 161 or 331 points for "DOF Quality" 1 to 4 (other values count as the nearest of these). Any
// number of leading passes is spread over the whole disc.
[[nodiscard]] std::span<const Point2> JitterTable(int quality);

} // namespace velorin
