#pragma once

#include "services/NxMath.h"

#include <array>

namespace velorin {

// Of the point (s, t) of a cube map's face, both from -1 to 1, row 0 at t = -1: the cube's direction is
// forward + s * across + t * down. In OpenGL's order of the faces (3.3 core, table 3.19).
struct CubeFace {
    Point3 forward, across, down;
};
inline constexpr std::array<CubeFace, 6> kCubeFaces{
    CubeFace{{1, 0, 0}, {0, 0, -1}, {0, -1, 0}}, CubeFace{{-1, 0, 0}, {0, 0, 1}, {0, -1, 0}},
    CubeFace{{0, 1, 0}, {1, 0, 0}, {0, 0, 1}},   CubeFace{{0, -1, 0}, {1, 0, 0}, {0, 0, -1}},
    CubeFace{{0, 0, 1}, {1, 0, 0}, {0, -1, 0}},  CubeFace{{0, 0, -1}, {-1, 0, 0}, {0, -1, 0}}};

} // namespace velorin
