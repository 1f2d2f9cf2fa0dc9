#pragma once

#include "services/NxMath.h"

#include <cstdint>

namespace velorin {

// One place at which a group shows its models. Positions are in world space before the world transform (x
// right, y down, z away, comp pixels).
struct Particle {
    Point3 position;
    Point3 normal;       // of the shape, before its scale and rotation; not unit on scaled shapes
    Point3 size;         // factor on a normalised model (half-edge 1) by axis, so comp pixels of half an edge
    Quaternion rotation; // turns row vectors: v * ToMatrix(rotation)
    float animationKey = 0;   // of the animation engine's sweep; not normalised
    std::uint32_t index = 0;  // in its group's array
    std::uint32_t target = 0; // the matched particle of the finish group
};
static_assert(sizeof(Particle) == 64);

} // namespace velorin
