#include "model/extrusion/CapTriangulation.h"

#include <GL/glu.h>
#include <algorithm>
#include <deque>
#include <memory>

namespace velorin {

namespace {

// The tessellator keeps half a kilobyte a crossing.
constexpr std::uint64_t kMostCrossings = 1u << 19;

struct Edge {
    Point2 left, right; // by x
};

bool Cross(const Edge& p, const Edge& q) {
    const auto side = [](const Edge& e, Point2 c) {
        const Point2 d = e.right - e.left, v = c - e.left;
        return d.x * v.y - d.y * v.x;
    };
    return side(p, q.left) * side(p, q.right) < 0 && side(q, p.left) * side(q, p.right) < 0;
}

// Counts the crossings of edges by a sweep over x, as far as the limit. False, with the budget spent, when
// there are more.
bool CrossingsAreFew(const std::vector<const std::vector<Point2>*>& contours, WorkBudget& budget) {
    std::vector<Edge> edges, open;
    for (const auto* contour : contours)
        for (std::size_t i = 0, n = contour->size(); i < n; ++i) {
            const Point2 a = (*contour)[i], b = (*contour)[(i + 1) % n];
            edges.push_back(a.x <= b.x ? Edge{a, b} : Edge{b, a});
        }
    std::sort(edges.begin(), edges.end(), [](const Edge& p, const Edge& q) { return p.left.x < q.left.x; });
    std::uint64_t crossings = 0;
    for (const Edge& edge : edges) {
        if (!budget.spend(open.size() + 1)) return false;
        std::size_t kept = 0;
        for (const Edge& other : open) {
            if (other.right.x < edge.left.x) continue;
            open[kept++] = other;
            crossings += Cross(edge, other);
        }
        open.resize(kept);
        open.push_back(edge);
        if (crossings > kMostCrossings) return budget.spend(~std::uint64_t{0});
    }
    return true;
}

struct TessDeleter {
    void operator()(GLUtesselator* tess) const { gluDeleteTess(tess); }
};

// What the callbacks fill in. Corners come in threes, since an edge-flag callback makes the tessellator give
// single triangles.
struct Collector {
    std::vector<CapTriangle> triangles;
    CapTriangle corners{};
    std::size_t count = 0;
    std::deque<Point2> crossings; // their addresses stay
    bool failed = false;
};

using Callback = void (*)();

void Vertex(void* data, void* collector) {
    auto& out = *static_cast<Collector*>(collector);
    out.corners[out.count++] = *static_cast<const Point2*>(data);
    if (out.count < 3) return;
    out.count = 0;
    out.triangles.push_back(out.corners);
}

void Combine(GLdouble at[3], void* data[4], GLfloat[4], void** result, void* collector) {
    auto& out = *static_cast<Collector*>(collector);
    Point2 p{static_cast<float>(at[0]), static_cast<float>(at[1])};
    // Vertices that fall together are merged: keep the first one's bits, so that walls and caps share them.
    if (data[0]) {
        const Point2 first = *static_cast<const Point2*>(data[0]);
        if (first == p) p = first;
    }
    out.crossings.push_back(p);
    *result = &out.crossings.back();
}

void EdgeFlag(GLboolean, void*) {
}
void Failed(GLenum, void* collector) {
    static_cast<Collector*>(collector)->failed = true;
}

} // namespace

std::uint64_t TriangulationCost(const std::vector<const std::vector<Point2>*>& contours) {
    constexpr std::size_t kBuckets = 512;
    float low = 1e30f, high = -1e30f;
    for (const auto* contour : contours)
        for (const Point2 p : *contour) low = std::min(low, p.x), high = std::max(high, p.x);
    if (!(high > low)) return 0;
    const auto bucketOf = [&](float x) {
        const float place = (x - low) / (high - low) * static_cast<float>(kBuckets);
        return static_cast<std::size_t>(std::clamp(place, 0.0f, static_cast<float>(kBuckets - 1)));
    };
    std::array<std::int64_t, kBuckets + 1> change{};
    std::array<std::uint64_t, kBuckets> points{};
    for (const auto* contour : contours)
        for (std::size_t i = 0, n = contour->size(); i < n; ++i) {
            const std::size_t a = bucketOf((*contour)[i].x), b = bucketOf((*contour)[(i + 1) % n].x);
            ++points[a];
            ++change[std::min(a, b)];
            --change[std::max(a, b) + 1];
        }
    std::uint64_t cost = 0;
    std::int64_t active = 0;
    for (std::size_t bucket = 0; bucket < kBuckets; ++bucket) {
        active += change[bucket];
        cost += points[bucket] * static_cast<std::uint64_t>(active);
    }
    return cost;
}

std::vector<CapTriangle> TriangulateCap(const std::vector<const std::vector<Point2>*>& contours,
                                        WorkBudget& budget) {
    const std::uint64_t cost = TriangulationCost(contours);
    // There are fewer crossings than steps, so only a long sweep can meet too many of them.
    if (!budget.spend(cost) || (cost > kMostCrossings && !CrossingsAreFew(contours, budget))) return {};
    Collector out;
    const std::unique_ptr<GLUtesselator, TessDeleter> tess(gluNewTess());
    if (!tess) return {};
    gluTessCallback(tess.get(), GLU_TESS_VERTEX_DATA, reinterpret_cast<Callback>(Vertex));
    gluTessCallback(tess.get(), GLU_TESS_COMBINE_DATA, reinterpret_cast<Callback>(Combine));
    gluTessCallback(tess.get(), GLU_TESS_EDGE_FLAG_DATA, reinterpret_cast<Callback>(EdgeFlag));
    gluTessCallback(tess.get(), GLU_TESS_ERROR_DATA, reinterpret_cast<Callback>(Failed));
    gluTessProperty(tess.get(), GLU_TESS_WINDING_RULE, GLU_TESS_WINDING_POSITIVE);
    gluTessNormal(tess.get(), 0, 0, 1);
    gluTessBeginPolygon(tess.get(), &out);
    for (const auto* contour : contours) {
        gluTessBeginContour(tess.get());
        for (const Point2& p : *contour) {
            GLdouble at[3] = {static_cast<double>(p.x), static_cast<double>(p.y), 0};
            gluTessVertex(tess.get(), at, const_cast<Point2*>(&p));
        }
        gluTessEndContour(tess.get());
    }
    gluTessEndPolygon(tess.get());
    if (out.failed) out.triangles.clear();
    return std::move(out.triangles);
}

} // namespace velorin
