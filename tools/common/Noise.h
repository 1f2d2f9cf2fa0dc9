#pragma once

#include "services/NxMath.h"

#include <cstdint>

namespace art {

using velorin::Point3;

// Smooth value noise in 0..1, periodic after so many cells, and a sum of octaves of it over the unit square.
[[nodiscard]] float Noise(float x, float y, int periodX, int periodY, std::uint32_t seed);
[[nodiscard]] inline float Noise(float x, float y, int period, std::uint32_t seed) {
    return Noise(x, y, period, period, seed);
}
// Noise of `across` by `down` cells over the unit square.
[[nodiscard]] inline float Grain(float u, float v, int across, int down, std::uint32_t seed) {
    return Noise(u * static_cast<float>(across), v * static_cast<float>(down), across, down, seed);
}
[[nodiscard]] float Fractal(float u, float v, int period, int octaves, std::uint32_t seed);

// Gradient noise of space, about -1..1 and 0 on average, and a sum of octaves of it: without a seam on
// anything that is drawn through it. K. Perlin, "Improving noise", 2002.
[[nodiscard]] float Noise3(Point3 p, std::uint32_t seed);
[[nodiscard]] float Fractal3(Point3 p, int octaves, std::uint32_t seed);

// Distance to the nearest and second nearest point of a jittered grid of the unit square, in cells, and a
// number in 0..1 of the nearest point's own. S. Worley, "A cellular texture basis", 1996.
struct Cells {
    float nearest, second, own;
};
[[nodiscard]] Cells Cellular(float u, float v, int period, std::uint32_t seed);

// An even number in 0..1 for a place in a grid.
[[nodiscard]] float Random(int x, int y, std::uint32_t seed);

[[nodiscard]] float SmoothStep(float low, float high, float x);

} // namespace art
