#include "model/extrusion/CapTriangulation.h"

#include <GL/glu.h>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <deque>
#include <map>
#include <memory>
#include <numeric>
#include <unordered_map>

namespace velorin {

namespace {

// The tessellator keeps half a kilobyte a crossing.
constexpr std::uint64_t kMostCrossings = 1u << 19;
constexpr std::size_t kMostClosed = 2048; // crossings: more of them make a tangle, which stays open
constexpr int kMostRounds = 8;            // that contours may run round an area
constexpr double kSlitWidth = 1e-4;       // of its length: what divides an edge lies as close to it
constexpr double kRounding = 1e-6;        // of the largest coordinate: the same for short edges
constexpr double kLine = 1e-6;            // of its length: a triangle as narrow is a line

using Indices = std::array<std::uint32_t, 3>;

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
bool CrossingsAreFew(CapContours contours, WorkBudget& budget) {
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

// All points in order, and for each the one that follows on its contour.
struct Points {
    std::vector<Point2> places;
    std::vector<std::uint32_t> next;
    std::vector<std::vector<std::uint32_t>> loops;
    explicit Points(CapContours contours) {
        for (const auto* contour : contours) {
            const auto first = static_cast<std::uint32_t>(places.size());
            places.insert(places.end(), contour->begin(), contour->end());
            for (std::uint32_t i = first; i < places.size(); ++i) next.push_back(i + 1);
            if (contour->empty()) continue;
            next.back() = first;
            loops.emplace_back(contour->size());
            std::iota(loops.back().begin(), loops.back().end(), first);
        }
    }
};

double Area2(Point2 a, Point2 b, Point2 c) {
    const double ux = static_cast<double>(b.x) - static_cast<double>(a.x),
                 uy = static_cast<double>(b.y) - static_cast<double>(a.y),
                 vx = static_cast<double>(c.x) - static_cast<double>(a.x),
                 vy = static_cast<double>(c.y) - static_cast<double>(a.y);
    return ux * vy - uy * vx;
}

double Length2(Point2 d) {
    return static_cast<double>(d.x) * static_cast<double>(d.x) +
           static_cast<double>(d.y) * static_cast<double>(d.y);
}

struct TessDeleter {
    void operator()(GLUtesselator* tess) const { gluDeleteTess(tess); }
};

using Loops = std::vector<std::vector<std::uint32_t>>; // closed, of numbers of points

// The GLU tessellator, and what its callbacks fill in. Corners come in threes, since an edge-flag callback
// makes it give single triangles.
class Tessellation {
public:
    explicit Tessellation(const std::vector<Point2>& places) : places_(places), ids_(places.size()) {
        std::iota(ids_.begin(), ids_.end(), 0u);
    }

    // Appends triangles of positive area over what the winding rule fills; false when the tessellator gives
    // up.
    bool run(GLenum rule, const Loops& loops, std::vector<Indices>& triangles) {
        const std::unique_ptr<GLUtesselator, TessDeleter> tess(gluNewTess());
        if (!tess) return false;
        gluTessCallback(tess.get(), GLU_TESS_VERTEX_DATA, reinterpret_cast<Callback>(Vertex));
        gluTessCallback(tess.get(), GLU_TESS_COMBINE_DATA, reinterpret_cast<Callback>(Combine));
        gluTessCallback(tess.get(), GLU_TESS_EDGE_FLAG_DATA, reinterpret_cast<Callback>(EdgeFlag));
        gluTessCallback(tess.get(), GLU_TESS_ERROR_DATA, reinterpret_cast<Callback>(Failed));
        gluTessProperty(tess.get(), GLU_TESS_WINDING_RULE, rule);
        gluTessNormal(tess.get(), 0, 0, 1);
        triangles_ = &triangles;
        count_ = 0;
        gluTessBeginPolygon(tess.get(), this);
        for (const auto& loop : loops) {
            gluTessBeginContour(tess.get());
            for (const std::uint32_t id : loop) {
                GLdouble at[3] = {static_cast<double>(places_[id].x), static_cast<double>(places_[id].y), 0};
                gluTessVertex(tess.get(), at, &ids_[id]);
            }
            gluTessEndContour(tess.get());
        }
        gluTessEndPolygon(tess.get());
        return !failed_;
    }

    [[nodiscard]] const std::vector<Point2>& places() const { return places_; } // crossings behind the points

private:
    using Callback = void (*)();

    static void Vertex(void* data, void* tessellation) {
        auto& out = *static_cast<Tessellation*>(tessellation);
        out.corners_[out.count_++] = *static_cast<const std::uint32_t*>(data);
        if (out.count_ < 3) return;
        out.count_ = 0;
        out.triangles_->push_back(out.corners_);
    }
    static void Combine(GLdouble at[3], void* data[4], GLfloat[4], void** result, void* tessellation) {
        auto& out = *static_cast<Tessellation*>(tessellation);
        const Point2 p{static_cast<float>(at[0]), static_cast<float>(at[1])};
        if (data[0] && out.places_[*static_cast<const std::uint32_t*>(data[0])] == p) {
            *result = data[0]; // vertices that fall together
            return;
        }
        out.ids_.push_back(static_cast<std::uint32_t>(out.places_.size()));
        out.places_.push_back(p);
        *result = &out.ids_.back();
    }
    static void EdgeFlag(GLboolean, void*) {}
    static void Failed(GLenum, void* tessellation) {
        static_cast<Tessellation*>(tessellation)->failed_ = true;
    }

    std::vector<Point2> places_;
    std::deque<std::uint32_t> ids_; // of all places; their addresses stay
    std::vector<Indices>* triangles_ = nullptr;
    Indices corners_{};
    std::size_t count_ = 0;
    bool failed_ = false;
};

// Whether the triangles have every edge of the contours as one of their own, in its direction: nothing
// divided them, and no area but those inside was filled.
bool HaveAllEdges(const std::vector<Indices>& triangles, const std::vector<std::uint32_t>& next) {
    std::size_t found = 0;
    for (const Indices& t : triangles)
        for (std::size_t k = 0; k < 3; ++k) found += t[k] < next.size() && next[t[k]] == t[(k + 1) % 3];
    return found == next.size();
}

// The directed edges that contours have beyond those of the triangles. They run in loops.
class Remainder {
public:
    explicit Remainder(const std::vector<Point2>& places) : places_(places), same_(places.size()) {
        // Points at one place are one.
        std::vector<std::uint32_t> order(places.size());
        std::iota(order.begin(), order.end(), 0u);
        const auto before = [&](std::uint32_t a, std::uint32_t b) {
            return places[a].x != places[b].x ? places[a].x < places[b].x : places[a].y < places[b].y;
        };
        std::stable_sort(order.begin(), order.end(), before);
        for (std::size_t k = 0; k < order.size(); ++k)
            same_[order[k]] =
                k > 0 && places[order[k]] == places[order[k - 1]] ? same_[order[k - 1]] : order[k];
        for (const Point2 p : places) largest_ = std::max({largest_, std::fabs(p.x), std::fabs(p.y)});
    }

    void add(std::uint32_t a, std::uint32_t b, int times) {
        a = same_[a], b = same_[b];
        if (a == b) return;
        balance_[static_cast<std::uint64_t>(std::min(a, b)) << 32 | std::max(a, b)] += a < b ? times : -times;
    }
    void subtract(const std::vector<Indices>& triangles) {
        for (const Indices& t : triangles)
            for (std::size_t k = 0; k < 3; ++k) add(t[k], t[(k + 1) % 3], -1);
    }

    // Fills the loops that lead along an edge of these and back over what divides it; returns the others, as
    // far as they have an area. All is added that will be.
    Loops close(const Loops& edges, std::vector<Indices>& triangles) {
        for (const auto& [edge, times] : balance_) {
            const auto low = static_cast<std::uint32_t>(edge >> 32), high = static_cast<std::uint32_t>(edge);
            for (int k = 0; k < std::abs(times); ++k)
                times > 0 ? out_[low].push_back(high) : out_[high].push_back(low);
        }
        const auto fill = [&](const std::vector<std::uint32_t>& loop) {
            for (std::size_t k = 2; k < loop.size(); ++k)
                triangles.push_back({loop[0], loop[k - 1], loop[k]});
        };
        std::vector<std::uint32_t> loop;
        for (const auto& line : edges)
            for (std::size_t i = 0; i < line.size(); ++i)
                while (walkBack(same_[line[i]], same_[line[(i + 1) % line.size()]], loop)) fill(loop);
        Loops others;
        start_ = out_.begin();
        while (walkOn(loop)) {
            if (isNarrow(loop))
                fill(loop);
            else
                others.push_back(loop);
        }
        return others;
    }

private:
    bool take(std::uint32_t from, std::uint32_t to) {
        const auto known = out_.find(from);
        if (known == out_.end()) return false;
        const auto end = std::find(known->second.begin(), known->second.end(), to);
        if (end == known->second.end()) return false;
        known->second.erase(end);
        return true;
    }

    // Twice the area beside the line between them that a point on it may have.
    [[nodiscard]] double widthOf(std::uint32_t a, std::uint32_t b) const {
        const double length = std::sqrt(Length2(places_[b] - places_[a]));
        return std::max(kSlitWidth * length, kRounding * static_cast<double>(largest_)) * length;
    }

    // The edge from a to b and back to a: always by the edge whose end keeps closest to the line.
    bool walkBack(std::uint32_t a, std::uint32_t b, std::vector<std::uint32_t>& loop) {
        if (!take(a, b)) return false;
        loop = {a, b};
        const double length = std::sqrt(Length2(places_[b] - places_[a]));
        const double width =
            std::max(kSlitWidth * length, kRounding * static_cast<double>(largest_)) * length;
        const auto off = [&](std::uint32_t p) {
            return p == a ? 0 : std::fabs(Area2(places_[a], places_[b], places_[p]));
        };
        for (;;) {
            const std::vector<std::uint32_t>& ends = out_[loop.back()];
            const auto best =
                std::min_element(ends.begin(), ends.end(), [&](auto p, auto q) { return off(p) < off(q); });
            if (best == ends.end() || off(*best) > width) break;
            const std::uint32_t end = *best;
            take(loop.back(), end);
            if (end == a) return true;
            loop.push_back(end);
        }
        for (std::size_t k = 1; k < loop.size(); ++k) out_[loop[k - 1]].push_back(loop[k]); // not this way
        return false;
    }

    // Any loop that is left, cut off where it first meets itself.
    bool walkOn(std::vector<std::uint32_t>& loop) {
        while (path_.empty() && start_ != out_.end()) {
            if (start_->second.empty())
                ++start_;
            else
                step(start_->first);
        }
        while (!path_.empty()) {
            std::vector<std::uint32_t>& ends = out_[path_.back()];
            if (ends.empty()) return false;
            const std::uint32_t end = ends.back();
            ends.pop_back();
            const auto met = place_.find(end);
            if (met == place_.end()) {
                step(end);
                continue;
            }
            const auto first = path_.begin() + static_cast<std::ptrdiff_t>(met->second);
            loop.assign(first, path_.end());
            const std::size_t left = met->second > 0 ? met->second + 1 : 0;
            for (std::size_t k = left; k < path_.size(); ++k) place_.erase(path_[k]);
            path_.resize(left);
            return true;
        }
        return false;
    }
    void step(std::uint32_t to) {
        place_[to] = path_.size();
        path_.push_back(to);
    }

    [[nodiscard]] bool isNarrow(const std::vector<std::uint32_t>& loop) const {
        double area = 0, length = 0;
        for (std::size_t k = 1; k < loop.size(); ++k) {
            length = std::max(length, std::sqrt(Length2(places_[loop[k]] - places_[loop[0]])));
            if (k > 1) area += Area2(places_[loop[0]], places_[loop[k - 1]], places_[loop[k]]);
        }
        return std::fabs(area) <=
               std::max(kSlitWidth * length, kRounding * static_cast<double>(largest_)) * length;
    }

    const std::vector<Point2>& places_;
    float largest_ = 0; // coordinate
    std::vector<std::uint32_t> same_;
    std::unordered_map<std::uint64_t, int> balance_;          // of edges, by their lower and higher end
    std::map<std::uint32_t, std::vector<std::uint32_t>> out_; // ends of edges by their start
    std::map<std::uint32_t, std::vector<std::uint32_t>>::const_iterator
        start_;                                            // of what walkOn still looks at
    std::unordered_map<std::uint32_t, std::size_t> place_; // on its path, of the points there
    std::vector<std::uint32_t> path_;                      // that walkOn has come
};

} // namespace

std::uint64_t TriangulationCost(CapContours contours) {
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

CapMesh TriangulateCap(CapContours contours, WorkBudget& budget) {
    const std::uint64_t cost = TriangulationCost(contours);
    // There are fewer crossings than steps, so only a long sweep can meet too many of them.
    if (!budget.spend(cost) || (cost > kMostCrossings && !CrossingsAreFew(contours, budget))) return {};
    const Points points(contours);
    Tessellation tessellation(points.places);
    CapMesh mesh;
    Loops loops = points.loops;
    // Each round takes one from how often the loops run round an area, either way.
    for (int round = 0; round < kMostRounds && !loops.empty(); ++round) {
        if (round > 0 && !budget.spend(2 * cost)) return {};
        if (!tessellation.run(GLU_TESS_WINDING_POSITIVE, loops, mesh.triangles)) return {};
        mesh.plain = round == 0 && HaveAllEdges(mesh.triangles, points.next);
        if (mesh.plain) break;
        const std::size_t edges = 3 * mesh.triangles.size() + points.next.size();
        if (tessellation.places().size() > points.next.size() + kMostClosed || !budget.spend(64 * edges))
            break;
        const std::size_t before = mesh.turned.size();
        if (!tessellation.run(GLU_TESS_WINDING_NEGATIVE, loops, mesh.turned)) return {};
        for (std::size_t k = before; k < mesh.turned.size(); ++k)
            std::swap(mesh.turned[k][1], mesh.turned[k][2]);
        Remainder remainder(tessellation.places());
        for (std::uint32_t i = 0; i < points.next.size(); ++i) remainder.add(i, points.next[i], 1);
        remainder.subtract(mesh.triangles);
        remainder.subtract(mesh.turned);
        loops = remainder.close(loops, mesh.triangles);
    }
    mesh.crossings.assign(tessellation.places().begin() + static_cast<std::ptrdiff_t>(points.places.size()),
                          tessellation.places().end());
    return mesh;
}

bool CapTriangulator::fits(const CapMesh& mesh) const {
    return mesh.plain && std::all_of(mesh.triangles.begin(), mesh.triangles.end(), [&](const Indices& t) {
               const Point2 a = points_[t[0]], b = points_[t[1]], c = points_[t[2]];
               const double area = Area2(a, b, c);
               // Three points on a line are as good as a triangle.
               return area > 0 || area > -kLine * std::max({Length2(b - a), Length2(c - b), Length2(a - c)});
           });
}

const CapMesh& CapTriangulator::Triangulate(CapContours contours) {
    points_.clear();
    for (const auto* contour : contours) points_.insert(points_.end(), contour->begin(), contour->end());
    if (fits(kept_)) return kept_;
    other_ = TriangulateCap(contours, budget_);
    if (fits(other_)) return kept_ = std::move(other_);
    return other_;
}

} // namespace velorin
