#include "model/extrusion/Contours.h"

#include "model/extrusion/CapTriangulation.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <unordered_map>

namespace velorin {

namespace {

constexpr float kKeptTurnDegrees = 20; // sharper corners always stay; at 35 small round corners lose area
constexpr float kFlatTurnDegrees = 0.25f;
constexpr float kFlatWidth = 0.01f;      // mean way off the line, in thinning distances, of points on a line
constexpr double kMostAreaLost = 2.5e-4; // of a contour's area, by thinning it
constexpr int kFinest = 4;               // halvings of the distance that keep to it
constexpr float kParallel = 0.001f;      // sine between neighbours that still have a usable intersection
constexpr float kMiterLimit = 20;        // longest corner, in distances

float Cross2(Point2 a, Point2 b) {
    return a.x * b.y - a.y * b.x;
}

struct Box {
    Point2 low{1e30f, 1e30f}, high{-1e30f, -1e30f};
    void widen(Point2 p) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y)};
    }
    [[nodiscard]] bool holds(Point2 p) const {
        return p.x >= low.x && p.x <= high.x && p.y >= low.y && p.y <= high.y;
    }
    [[nodiscard]] bool overlaps(const Box& o) const {
        return low.x <= o.high.x && o.low.x <= high.x && low.y <= o.high.y && o.low.y <= high.y;
    }
};

Box BoxOf(const std::vector<Point2>& points) {
    Box box;
    for (const Point2 p : points) box.widen(p);
    return box;
}

// Edges of one polygon sorted into horizontal strips, so that a point or an edge meets only those of its
// strip.
class EdgeStrips {
public:
    explicit EdgeStrips(const std::vector<Point2>& points) : points_(points), box_(BoxOf(points)) {
        const std::size_t count = points.size();
        std::size_t wanted = std::clamp<std::size_t>(count / 4, 1, 4096);
        // Edges that span many strips stand in each of them: no more strips than keep that within some edges.
        double climbed = 0;
        for (std::size_t i = 0; i < count; ++i)
            climbed += std::fabs(static_cast<double>(points[(i + 1) % count].y - points[i].y));
        const double spans = climbed / std::max(1e-20, static_cast<double>(box_.high.y - box_.low.y));
        while (wanted > 1 && spans * static_cast<double>(wanted) > 8 * static_cast<double>(count))
            wanted /= 2;
        inverseHeight_ = static_cast<float>(wanted) / std::max(1e-20f, box_.high.y - box_.low.y);
        first_.assign(wanted + 1, 0);
        forEachStripOfEdges([&](std::size_t strip, std::size_t) { ++first_[strip + 1]; });
        std::partial_sum(first_.begin(), first_.end(), first_.begin());
        edges_.resize(first_.back());
        std::vector<std::uint32_t> cursor(first_.begin(), first_.end() - 1);
        forEachStripOfEdges([&](std::size_t strip, std::size_t edge) {
            edges_[cursor[strip]++] = static_cast<std::uint32_t>(edge);
        });
    }

    [[nodiscard]] const Box& box() const { return box_; }

    [[nodiscard]] bool contains(Point2 p, WorkBudget& budget) const {
        if (!box_.holds(p)) return false;
        bool inside = false;
        const std::size_t strip = stripOf(p.y);
        if (!budget.spend(first_[strip + 1] - first_[strip])) return false;
        for (std::uint32_t k = first_[strip]; k < first_[strip + 1]; ++k) {
            const Point2 a = points_[edges_[k]], b = points_[(edges_[k] + 1) % points_.size()];
            if ((a.y > p.y) != (b.y > p.y) && p.x < (b.x - a.x) * (p.y - a.y) / (b.y - a.y) + a.x)
                inside = !inside;
        }
        return inside;
    }

    [[nodiscard]] bool crossedBy(Point2 a, Point2 b, WorkBudget& budget) const {
        const std::size_t low = stripOf(std::min(a.y, b.y)), high = stripOf(std::max(a.y, b.y));
        if (!budget.spend(first_[high + 1] - first_[low])) return false;
        for (std::size_t strip = low; strip <= high; ++strip)
            for (std::uint32_t k = first_[strip]; k < first_[strip + 1]; ++k) {
                const Point2 c = points_[edges_[k]], d = points_[(edges_[k] + 1) % points_.size()];
                const float s = Cross2(b - a, c - a), t = Cross2(b - a, d - a);
                const float u = Cross2(d - c, a - c), v = Cross2(d - c, b - c);
                if (((s > 0 && t < 0) || (s < 0 && t > 0)) && ((u > 0 && v < 0) || (u < 0 && v > 0)))
                    return true;
            }
        return false;
    }

private:
    [[nodiscard]] std::size_t stripOf(float y) const {
        const float strip = (y - box_.low.y) * inverseHeight_;
        const auto last = static_cast<float>(first_.size() - 2);
        return static_cast<std::size_t>(std::clamp(strip, 0.0f, last));
    }
    template <class F>
    void forEachStripOfEdges(F&& visit) const {
        const std::size_t count = points_.size();
        for (std::size_t i = 0; i < count; ++i) {
            const float y0 = points_[i].y, y1 = points_[(i + 1) % count].y;
            for (std::size_t s = stripOf(std::min(y0, y1)); s <= stripOf(std::max(y0, y1)); ++s) visit(s, i);
        }
    }

    const std::vector<Point2>& points_; // the caller's, which outlives the strips
    Box box_;
    float inverseHeight_ = 1;
    std::vector<std::uint32_t> first_, edges_;
};

// Union of small numbers with path halving.
class Sets {
public:
    explicit Sets(std::size_t count) : parent_(count) { std::iota(parent_.begin(), parent_.end(), 0u); }
    std::uint32_t find(std::uint32_t i) {
        while (parent_[i] != i) i = parent_[i] = parent_[parent_[i]];
        return i;
    }
    void unite(std::uint32_t a, std::uint32_t b) {
        a = find(a), b = find(b);
        parent_[std::max(a, b)] = std::min(a, b);
    }

private:
    std::vector<std::uint32_t> parent_;
};

struct Nest {
    std::vector<int> parent; // innermost contour around each, -1 outside of all
    std::vector<int> depth;
};

// A sweep over x: each contour looks for the smallest one around it among those whose boxes are open at its
// first edge. Ranks are places in the order of areas, the largest first.
Nest NestContours(const std::vector<std::vector<Point2>>& polygons, WorkBudget& budget) {
    const std::size_t count = polygons.size();
    std::vector<EdgeStrips> strips;
    strips.reserve(count);
    std::vector<double> area(count);
    std::vector<Point2> probe(count);
    for (std::size_t i = 0; i < count; ++i) {
        strips.emplace_back(polygons[i]);
        area[i] = std::fabs(SignedArea2(polygons[i]));
        // The middle of an edge rather than a corner, which may lie on a neighbour.
        probe[i] = (polygons[i][0] + polygons[i][1]) * 0.5f;
    }
    std::vector<std::uint32_t> byArea(count), byLeft(count), byProbe(count), rank(count);
    std::iota(byArea.begin(), byArea.end(), 0u);
    byLeft = byProbe = byArea;
    std::stable_sort(byArea.begin(), byArea.end(), [&](auto a, auto b) { return area[a] > area[b]; });
    for (std::uint32_t k = 0; k < count; ++k) rank[byArea[k]] = k;
    std::sort(byLeft.begin(), byLeft.end(),
              [&](auto a, auto b) { return strips[a].box().low.x < strips[b].box().low.x; });
    std::sort(byProbe.begin(), byProbe.end(), [&](auto a, auto b) { return probe[a].x < probe[b].x; });

    Nest nest{std::vector<int>(count, -1), std::vector<int>(count, 0)};
    std::vector<std::uint32_t> open; // ranks in order
    std::size_t opened = 0;
    for (const std::uint32_t i : byProbe) {
        const float x = probe[i].x;
        if (!budget.spend(open.size() + 1)) return nest;
        std::erase_if(open, [&](std::uint32_t r) { return strips[byArea[r]].box().high.x < x; });
        for (; opened < count && strips[byLeft[opened]].box().low.x <= x; ++opened)
            open.insert(std::lower_bound(open.begin(), open.end(), rank[byLeft[opened]]),
                        rank[byLeft[opened]]);
        for (auto place = std::lower_bound(open.begin(), open.end(), rank[i]); place != open.begin();) {
            const std::uint32_t around = byArea[*--place];
            if (!strips[around].contains(probe[i], budget)) continue;
            nest.parent[i] = static_cast<int>(around);
            break;
        }
    }
    for (const std::uint32_t i : byArea)
        if (nest.parent[i] >= 0) nest.depth[i] = nest.depth[static_cast<std::size_t>(nest.parent[i])] + 1;
    return nest;
}

void NumberByBoxes(std::vector<Contour>& contours, Sets& sets, WorkBudget& budget) {
    // Sweep over the left sides, comparing only with boxes whose x range is still open.
    std::vector<Box> boxes;
    for (const Contour& contour : contours) boxes.push_back(BoxOf(contour.points));
    std::vector<std::uint32_t> order(contours.size()), open;
    std::iota(order.begin(), order.end(), 0u);
    std::sort(order.begin(), order.end(), [&](auto a, auto b) { return boxes[a].low.x < boxes[b].low.x; });
    for (const std::uint32_t i : order) {
        if (!budget.spend(4 * open.size() + 1)) return;
        std::erase_if(open, [&](std::uint32_t j) { return boxes[j].high.x < boxes[i].low.x; });
        for (const std::uint32_t j : open)
            if (boxes[i].overlaps(boxes[j])) sets.unite(i, j);
        // One box that holds another stands for it, which keeps the open list short for nested contours.
        std::erase_if(open, [&](std::uint32_t j) {
            return boxes[i].holds(boxes[j].low) && boxes[i].holds(boxes[j].high);
        });
        const bool held = std::any_of(open.begin(), open.end(), [&](std::uint32_t j) {
            return boxes[j].holds(boxes[i].low) && boxes[j].holds(boxes[i].high);
        });
        if (!held) open.push_back(i);
    }
}

// FNV-1a over the bytes of a position. G. Fowler, L. C. Noll, K.-P. Vo, 1991.
struct PositionHash {
    std::size_t operator()(const Point2& p) const {
        std::uint64_t hash = 0xcbf29ce484222325u;
        const auto* bytes = reinterpret_cast<const unsigned char*>(&p);
        for (std::size_t i = 0; i < sizeof p; ++i) hash = (hash ^ bytes[i]) * 0x100000001b3u;
        return hash;
    }
};

void NumberByGeometry(std::vector<Contour>& contours, Sets& sets, WorkBudget& budget) {
    if (contours.size() < 2) return;
    std::unordered_map<Point2, std::uint32_t, PositionHash> owner; // a contour that has the position
    std::vector<const std::vector<Point2>*> all;
    std::vector<std::uint32_t> contourOf; // by point
    for (std::uint32_t i = 0; i < contours.size(); ++i) {
        all.push_back(&contours[i].points);
        contourOf.resize(contourOf.size() + contours[i].points.size(), i);
        for (const Point2 p : contours[i].points) {
            const auto [entry, fresh] = owner.try_emplace(p, i);
            if (!fresh) sets.unite(entry->second, i);
        }
    }
    for (const auto& triangle : TriangulateCap(all, budget).triangles) {
        std::int64_t seen = -1;
        for (const std::uint32_t point : triangle) {
            if (point >= contourOf.size()) continue; // a crossing belongs to no contour
            if (seen >= 0) sets.unite(static_cast<std::uint32_t>(seen), contourOf[point]);
            seen = contourOf[point];
        }
    }
}

void Orient(std::vector<Point2>& points, bool positive) {
    if ((SignedArea2(points) > 0) != positive) std::reverse(points.begin(), points.end());
}

} // namespace

double SignedArea2(const std::vector<Point2>& polygon) {
    double sum = 0;
    for (std::size_t i = 0, n = polygon.size(); i < n; ++i) {
        const Point2 a = polygon[i], b = polygon[(i + 1) % n];
        sum += static_cast<double>(a.x) * static_cast<double>(b.y) -
               static_cast<double>(a.y) * static_cast<double>(b.x);
    }
    return sum;
}

bool ContainsPoint(const std::vector<Point2>& polygon, Point2 point) {
    WorkBudget budget(polygon.size() + 2);
    return EdgeStrips(polygon).contains(point, budget);
}

bool ContourIntersects(const std::vector<Point2>& a, const std::vector<Point2>& b, WorkBudget& budget) {
    const EdgeStrips strips(a);
    if (!strips.box().overlaps(BoxOf(b))) return true;
    for (std::size_t i = 0; i < b.size(); ++i)
        if (strips.crossedBy(b[i], b[(i + 1) % b.size()], budget)) return false;
    return true;
}

namespace {

std::vector<Point2> ThinnedBy(const std::vector<Point2>& polygon, float distance) {
    std::vector<Point2> kept;
    const std::size_t n = polygon.size();
    float cut =
        0; // twice the area between the points since the last kept one and the line that replaces them
    for (std::size_t i = 0; i < n; ++i) {
        const Point2 p = polygon[i], next = polygon[(i + 1) % n];
        if (i > 0) {
            const Point2 in = p - kept.back(), out = next - p;
            const float turn =
                std::fabs(std::atan2(Cross2(in, out), in.x * out.x + in.y * out.y)) * 180 / kPi;
            const float length = std::hypot(in.x, in.y);
            cut += Cross2(in, out);
            // Where a curve bends the other way its line is parallel to it once more, and yet far off.
            const bool flat =
                turn <= kFlatTurnDegrees && std::fabs(cut) <= 2 * kFlatWidth * distance * length;
            if (turn <= kKeptTurnDegrees && (flat || length <= distance)) continue;
        }
        kept.push_back(p);
        cut = 0;
    }
    return kept;
}

} // namespace

std::vector<Point2> ThinPoints(const std::vector<Point2>& polygon, float distance) {
    const double area = SignedArea2(polygon);
    std::vector<Point2> kept = ThinnedBy(polygon, distance);
    for (int finer = 0;
         finer < kFinest && std::fabs(SignedArea2(kept) - area) > kMostAreaLost * std::fabs(area); ++finer)
        kept = ThinnedBy(polygon, distance *= 0.5f);
    return kept;
}

std::vector<Contour> OrderContours(std::vector<std::vector<Point2>> polygons, const ExtrusionOptions& options,
                                   std::uint32_t& objectCount, WorkBudget& budget) {
    std::erase_if(polygons, [](const std::vector<Point2>& polygon) {
        return polygon.size() < 3 || std::fabs(SignedArea2(polygon)) <= 1e-6;
    });
    objectCount = 0;
    const Nest nest = NestContours(polygons, budget);
    if (budget.spent()) return {};
    std::vector<Contour> contours(polygons.size());
    Sets sets(polygons.size());
    for (std::uint32_t i = 0; i < contours.size(); ++i) {
        Contour& contour = contours[i];
        contour.points = std::move(polygons[i]);
        const bool nested = nest.depth[i] % 2 == 1;
        contour.isHole = options.autoPathOrientation ? nested : SignedArea2(contour.points) < 0;
        if (options.reversePathWinding) contour.isHole = !contour.isHole;
    }
    for (std::uint32_t i = 0; i < contours.size(); ++i) {
        if (!contours[i].isHole || nest.parent[i] < 0) continue;
        const auto parent = static_cast<std::uint32_t>(nest.parent[i]);
        // A hole that cuts the edge of what it lies in would open the solid: it becomes an object of its own.
        if (options.fixHoles && !ContourIntersects(contours[parent].points, contours[i].points, budget))
            contours[i].isHole = false;
        else if (options.separateObjects)
            sets.unite(i, parent);
    }
    for (Contour& contour : contours) Orient(contour.points, !contour.isHole);

    objectCount = contours.empty() ? 0 : 1;
    if (!options.separateObjects) return contours;
    if (options.separationMode == SeparationMode::ByBoundingBox)
        NumberByBoxes(contours, sets, budget);
    else
        NumberByGeometry(contours, sets, budget);
    std::unordered_map<std::uint32_t, std::uint32_t> numbers;
    for (std::uint32_t i = 0; i < contours.size(); ++i)
        contours[i].object =
            numbers.try_emplace(sets.find(i), static_cast<std::uint32_t>(numbers.size())).first->second;
    objectCount = static_cast<std::uint32_t>(numbers.size());
    return contours;
}

std::vector<Point2> EdgeNormals(const std::vector<Point2>& points) {
    const std::size_t n = points.size();
    std::vector<Point2> normals(n);
    for (std::size_t i = 0; i < n; ++i) {
        const Point2 edge = points[(i + 1) % n] - points[i];
        const float length = std::hypot(edge.x, edge.y);
        if (length > 0) normals[i] = {edge.y / length, -edge.x / length};
    }
    return normals;
}

std::vector<Point2> OffsetDirections(const std::vector<Point2>& normals) {
    const std::size_t n = normals.size();
    std::vector<Point2> directions(n);
    for (std::size_t i = 0; i < n; ++i) {
        const Point2 a = normals[(i + n - 1) % n], b = normals[i];
        // The moved lines meet at (a + b) / (1 + a.b): the same point as their intersection, without its poor
        // condition for neighbours that are nearly parallel.
        const float along = 1 + a.x * b.x + a.y * b.y;
        const Point2 direction = (a + b) * (1 / std::max(along, kParallel));
        const float length = std::hypot(direction.x, direction.y);
        directions[i] = length > kMiterLimit ? direction * (kMiterLimit / length) : direction;
    }
    return directions;
}

std::vector<Point2> Moved(const std::vector<Point2>& points, const std::vector<Point2>& directions,
                          float distance) {
    std::vector<Point2> moved(points);
    for (std::size_t i = 0; i < moved.size(); ++i) moved[i] = points[i] + directions[i] * distance;
    return moved;
}

} // namespace velorin
