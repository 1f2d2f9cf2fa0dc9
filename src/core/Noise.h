#pragma once

// Gradient noise by K. Perlin, "Improving Noise", 2002, with its table of 256 entries. Values are not
// rescaled; coordinates that are not finite give 0.
namespace velorin {

// The two-dimensional lattice hashes a corner as p[p[X] + Y] and takes the gradient of the three-dimensional
// noise at z = 0.
[[nodiscard]] float Noise2(float x, float y);
[[nodiscard]] float Noise3(float x, float y, float z);

} // namespace velorin
