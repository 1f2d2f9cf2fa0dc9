#include "host/JitterTables.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace velorin {
namespace {

// Seeds of a sunflower: point k of n at radius sqrt((k + 1/2) / n), each turned on by the golden angle, so
// that every point stands for the same area of the disc. H. Vogel, "A better way to construct the sunflower
// head", 1979.
Point2 Seed(std::uint32_t k, std::uint32_t n) {
    constexpr double kGoldenAngle = 2.399963229728653; // radians, pi * (3 - sqrt 5)
    const double radius = 0.5 * std::sqrt((k + 0.5) / n), angle = k * kGoldenAngle;
    return {static_cast<float>(0.5 + radius * std::cos(angle)),
            static_cast<float>(0.5 + radius * std::sin(angle))};
}

// `stride` has no factor in common with `n`: the walk visits every seed, and was chosen among all such
// strides so that the mean and the spread of any leading part stay closest to those of the whole disc.
std::vector<Point2> MakeTable(std::uint32_t n, std::uint32_t stride) {
    std::vector<Point2> points;
    points.reserve(n);
    for (std::uint32_t i = 0; i < n; ++i) points.push_back(Seed((i * stride + n / 2) % n, n));
    return points;
}

} // namespace

std::span<const Point2> JitterTable(int quality) {
    static const std::array<std::vector<Point2>, 4> tables{MakeTable(47, 32), MakeTable(90, 47),
                                                           MakeTable(161, 27), MakeTable(331, 85)};
    return tables[static_cast<std::size_t>(std::clamp(quality, 1, 4) - 1)];
}

} // namespace velorin
