#pragma once

#include "services/NxMath.h"

namespace velorin {

// A box that grows. The start values are those of stored models: what lies beyond a million on one side only
// does not move the other side. Not-a-number widens nothing.
struct Bounds {
    Point3 min{1e6f, 1e6f, 1e6f};
    Point3 max{-1e6f, -1e6f, -1e6f};

    void Widen(Point3 p) {
        min = {p.x < min.x ? p.x : min.x, p.y < min.y ? p.y : min.y, p.z < min.z ? p.z : min.z};
        max = {p.x > max.x ? p.x : max.x, p.y > max.y ? p.y : max.y, p.z > max.z ? p.z : max.z};
    }
    [[nodiscard]] Point3 Center() const { return (min + max) * 0.5f; }
};

} // namespace velorin
