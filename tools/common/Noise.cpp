#include "Noise.h"

#include <algorithm>
#include <cmath>

namespace art {

namespace {

std::uint32_t Hash(int x, int y, std::uint32_t seed) {
    std::uint32_t h = static_cast<std::uint32_t>(x) * 0x9E3779B1u ^
                      static_cast<std::uint32_t>(y) * 0x85EBCA77u ^ seed * 0xC2B2AE3Du;
    h = (h ^ (h >> 15)) * 0x2C1B3C6Du;
    h = (h ^ (h >> 12)) * 0x297A2D39u;
    return h ^ (h >> 15);
}

float Unit(std::uint32_t h) {
    return static_cast<float>(h >> 8) * (1.0f / 16777216.0f);
}

int Wrap(int i, int period) {
    return ((i % period) + period) % period;
}

float Fade(float t) {
    return t * t * t * (t * (t * 6 - 15) + 10);
}

int Floor(float x) { // faster than the library's, and inlined
    const int i = static_cast<int>(x);
    return i - (x < static_cast<float>(i) ? 1 : 0);
}

// The directions to the edges of a cube, four of them twice.
constexpr Point3 kGradients[16] = {{1, 1, 0},  {-1, 1, 0},  {1, -1, 0}, {-1, -1, 0}, {1, 0, 1},  {-1, 0, 1},
                                   {1, 0, -1}, {-1, 0, -1}, {0, 1, 1},  {0, -1, 1},  {0, 1, -1}, {0, -1, -1},
                                   {1, 1, 0},  {-1, 1, 0},  {0, -1, 1}, {0, -1, -1}};

} // namespace

float SmoothStep(float low, float high, float x) {
    const float t = std::clamp((x - low) / (high - low), 0.0f, 1.0f);
    return t * t * (3 - 2 * t);
}

float Noise(float x, float y, int periodX, int periodY, std::uint32_t seed) {
    const int ix = Floor(x), iy = Floor(y);
    const float tx = Fade(x - static_cast<float>(ix)), ty = Fade(y - static_cast<float>(iy));
    const int left = Wrap(ix, periodX), right = left + 1 == periodX ? 0 : left + 1;
    const int above = Wrap(iy, periodY), below = above + 1 == periodY ? 0 : above + 1;
    const auto at = [&](int i, int j) { return Unit(Hash(i, j, seed)); };
    const float a = at(left, above), b = at(left, below);
    const float top = a + (at(right, above) - a) * tx, bottom = b + (at(right, below) - b) * tx;
    return top + (bottom - top) * ty;
}

float Fractal(float u, float v, int period, int octaves, std::uint32_t seed) {
    float sum = 0, weight = 0.5f, total = 0;
    for (int i = 0; i < octaves; ++i) {
        const int cells = period << i;
        sum += weight * Noise(u * static_cast<float>(cells), v * static_cast<float>(cells), cells,
                              seed + static_cast<std::uint32_t>(i));
        total += weight;
        weight *= 0.5f;
    }
    return sum / total;
}

Cells Cellular(float u, float v, int period, std::uint32_t seed) {
    const float x = u * static_cast<float>(period), y = v * static_cast<float>(period);
    const int ix = static_cast<int>(std::floor(x)), iy = static_cast<int>(std::floor(y));
    Cells cells{81, 81, 0}; // squares while searching
    for (int j = iy - 1; j <= iy + 1; ++j)
        for (int i = ix - 1; i <= ix + 1; ++i) {
            const std::uint32_t h = Hash(Wrap(i, period), Wrap(j, period), seed);
            const float dx = static_cast<float>(i) + Unit(h) - x;
            const float dy = static_cast<float>(j) + Unit(h * 747796405u + 1u) - y;
            const float d = dx * dx + dy * dy;
            if (d < cells.nearest) {
                cells.second = cells.nearest;
                cells.nearest = d;
                cells.own = Unit(h * 2891336453u + 7u);
            } else {
                cells.second = std::min(cells.second, d);
            }
        }
    cells.nearest = std::sqrt(cells.nearest);
    cells.second = std::sqrt(cells.second);
    return cells;
}

float Noise3(Point3 p, std::uint32_t seed) {
    const int ix = Floor(p.x), iy = Floor(p.y), iz = Floor(p.z);
    const Point3 in{p.x - static_cast<float>(ix), p.y - static_cast<float>(iy), p.z - static_cast<float>(iz)};
    const float u = Fade(in.x), v = Fade(in.y), w = Fade(in.z);
    const auto corner = [&](int i, int j, int k) {
        const std::uint32_t h = Hash(ix + i, iy + j, seed + static_cast<std::uint32_t>(iz + k) * 0x632BE59Bu);
        return velorin::Dot(kGradients[(h >> 11) & 15],
                            in - Point3{static_cast<float>(i), static_cast<float>(j), static_cast<float>(k)});
    };
    const auto between = [](float a, float b, float t) { return a + (b - a) * t; };
    const auto row = [&](int j, int k) { return between(corner(0, j, k), corner(1, j, k), u); };
    return between(between(row(0, 0), row(1, 0), v), between(row(0, 1), row(1, 1), v), w);
}

float Fractal3(Point3 p, int octaves, std::uint32_t seed) {
    float sum = 0, weight = 0.5f;
    for (int i = 0; i < octaves; ++i) {
        sum += weight * Noise3(p, seed + static_cast<std::uint32_t>(i));
        weight *= 0.5f;
        p = p * 2.03f; // not exactly 2, so that the lattices of the octaves do not meet
    }
    return sum;
}

float Random(int x, int y, std::uint32_t seed) {
    return Unit(Hash(x, y, seed));
}

} // namespace art
