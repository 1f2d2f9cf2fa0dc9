#include "host/JitterTables.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <vector>

namespace velorin {
namespace {

// A rank-1 lattice (N. M. Korobov, 1959): point k of n is ((k + 0.5) / n, ((k * a) mod n + 0.5) / n). Both
// coordinates run through the same n values, so each mean is 0.5. The generator a is the one of those without
// a common factor with n that keeps the points farthest apart on the torus.
std::uint32_t BestGenerator(std::uint32_t n) {
    std::uint32_t best = 1;
    std::uint64_t bestDistance = 0;
    for (std::uint32_t a = 2; a < n; ++a) {
        if (std::gcd(a, n) != 1) continue;
        std::uint64_t nearest = ~std::uint64_t{0};
        for (std::uint32_t k = 1; k < n; ++k) {
            const std::uint32_t y = k * a % n;
            const std::uint64_t dx = std::min(k, n - k), dy = std::min(y, n - y);
            nearest = std::min(nearest, dx * dx + dy * dy);
        }
        if (nearest > bestDistance) bestDistance = nearest, best = a;
    }
    return best;
}

// The square [-1, 1]^2 onto the unit disc, areas kept. P. Shirley, K. Chiu, "A low distortion map between
// disk and square", 1997.
Point2 ToDisc(Point2 p) {
    if (p.x == 0 && p.y == 0) return {0, 0};
    const bool wide = std::abs(p.x) > std::abs(p.y);
    const float radius = wide ? p.x : p.y;
    const float angle = wide ? kPi / 4 * (p.y / p.x) : kPi / 2 - kPi / 4 * (p.x / p.y);
    return {radius * std::cos(angle), radius * std::sin(angle)};
}

std::vector<Point2> MakeTable(std::uint32_t n) {
    const std::uint32_t generator = BestGenerator(n);
    const float step = 1 / static_cast<float>(n);
    // Walking the lattice by its generator keeps neighbours in time apart in space.
    std::vector<Point2> points;
    points.reserve(n);
    for (std::uint32_t i = 0; i < n; ++i) {
        const std::uint32_t k = i * generator % n;
        const std::uint32_t y = k * generator % n;
        const Point2 square{2 * (static_cast<float>(k) + 0.5f) * step - 1,
                            2 * (static_cast<float>(y) + 0.5f) * step - 1};
        points.push_back(ToDisc(square) * 0.5f + Point2{0.5f, 0.5f});
    }
    return points;
}

} // namespace

std::span<const Point2> JitterTable(int quality) {
    static const std::array<std::vector<Point2>, 4> tables{MakeTable(47), MakeTable(90), MakeTable(161),
                                                           MakeTable(331)};
    return tables[static_cast<std::size_t>(std::clamp(quality, 1, 4) - 1)];
}

} // namespace velorin
