#include "model/extrusion/FlattenPath.h"

#include <algorithm>
#include <cmath>

namespace velorin {

namespace {

constexpr float kStraightTangent = 0.1f; // a segment whose tangents are both shorter is a line
constexpr float kSamePoint = 0.001f;     // neighbours closer than this on both axes are one
constexpr float kClosingPoint = 1e-5f;   // the end that repeats the start
constexpr float kSpikeDegrees = 45;

bool InRange(Point2 p) { // false for what is not a number, too
    return std::fabs(p.x) <= kLargestCoordinate && std::fabs(p.y) <= kLargestCoordinate;
}

// Power form of a cubic Bezier curve.
struct Cubic {
    Point2 a, b, c, d;
    Cubic(Point2 p0, Point2 p1, Point2 p2, Point2 p3)
        : a(p3 - p2 * 3 + p1 * 3 - p0), b((p2 - p1 * 2 + p0) * 3), c((p1 - p0) * 3), d(p0) {}
    [[nodiscard]] Point2 at(float t) const { return ((a * t + b) * t + c) * t + d; }
};

// Angle at `corner` between its neighbours, degrees; 180 where two points fall together.
float CornerDegrees(Point2 before, Point2 corner, Point2 after) {
    const Point2 u = before - corner, v = after - corner;
    const float lengths = std::hypot(u.x, u.y) * std::hypot(v.x, v.y);
    if (lengths <= 0) return 180;
    const float cosine = std::clamp((u.x * v.x + u.y * v.y) / lengths, -1.0f, 1.0f);
    return std::acos(cosine) * (180 * 0.31830987f);
}

} // namespace

int StepsOf(PathResolution resolution) {
    if (static_cast<std::uint32_t>(resolution) == ~std::uint32_t{0}) return 1; // corners alone
    switch (resolution) {
    case PathResolution::Low:
        return 2;
    case PathResolution::Normal:
        return 5;
    case PathResolution::High:
        return 10;
    case PathResolution::Ultra:
        return 20;
    default:
        return 40;
    }
}

void FilterSpikes(std::vector<Point2>& polygon, float spike) {
    const float threshold = std::clamp(spike, 0.0f, 1.0f) * kSpikeDegrees;
    if (!(threshold > 0)) return;
    // A ring of neighbours: removing a corner makes only its two neighbours worth another look, so the work
    // is linear in the points, and the result is that of passing over the whole ring again after each removal
    // in ring order.
    const std::size_t count = polygon.size();
    std::vector<std::uint32_t> next(count), previous(count);
    for (std::size_t i = 0; i < count; ++i) {
        next[i] = static_cast<std::uint32_t>((i + 1) % count);
        previous[i] = static_cast<std::uint32_t>((i + count - 1) % count);
    }
    std::vector<bool> removed(count, false);
    std::size_t left = count;
    const auto spiky = [&](std::size_t i) {
        return CornerDegrees(polygon[previous[i]], polygon[i], polygon[next[i]]) < threshold;
    };
    std::vector<std::uint32_t> waiting;
    for (std::size_t i = 0; i < count && left > 2; ++i) {
        waiting.push_back(static_cast<std::uint32_t>(i));
        while (!waiting.empty() && left > 2) {
            const std::uint32_t corner = waiting.back();
            waiting.pop_back();
            if (removed[corner] || !spiky(corner)) continue;
            removed[corner] = true;
            --left;
            const std::uint32_t before = previous[corner], after = next[corner];
            next[before] = after;
            previous[after] = before;
            if (after < i) waiting.push_back(after); // behind the walk: already passed with its old neighbour
            if (before <= i) waiting.push_back(before);
        }
    }
    std::size_t kept = 0;
    for (std::size_t i = 0; i < count; ++i)
        if (!removed[i]) polygon[kept++] = polygon[i];
    polygon.resize(kept);
}

std::vector<Point2> FlattenPath(std::span<const PathPoint> path, bool isPlain, PathResolution resolution,
                                float spike) {
    std::vector<Point2> polygon;
    const auto append = [&](Point2 p) {
        if (!InRange(p)) return;
        if (polygon.empty() || std::fabs(p.x - polygon.back().x) > kSamePoint ||
            std::fabs(p.y - polygon.back().y) > kSamePoint)
            polygon.push_back(p);
    };
    const std::size_t count = path.size();
    if (isPlain) {
        for (const PathPoint& point : path) append(point.position);
    } else {
        const int steps = StepsOf(resolution);
        polygon.reserve(count * static_cast<std::size_t>(steps));
        for (std::size_t i = 0; i < count; ++i) {
            const PathPoint &from = path[i], &to = path[(i + 1) % count];
            const bool straight = std::hypot(from.tangentOut.x, from.tangentOut.y) < kStraightTangent &&
                                  std::hypot(to.tangentIn.x, to.tangentIn.y) < kStraightTangent;
            const Cubic curve(from.position, from.position + from.tangentOut, to.position + to.tangentIn,
                              to.position);
            for (int k = 0; k < steps; ++k) {
                const float t = static_cast<float>(k) / static_cast<float>(steps);
                append(straight ? from.position * (1 - t) + to.position * t : curve.at(t));
            }
        }
    }
    while (polygon.size() > 1 && std::fabs(polygon.back().x - polygon.front().x) < kClosingPoint &&
           std::fabs(polygon.back().y - polygon.front().y) < kClosingPoint)
        polygon.pop_back();
    if (spike > 0) FilterSpikes(polygon, spike);
    return polygon;
}

} // namespace velorin
