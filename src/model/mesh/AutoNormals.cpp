#include "model/mesh/MeshSteps.h"
#include "model/mesh/PositionPlaces.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace velorin {

namespace {

struct Plane {
    Point3 normal; // unit or zero
    float weight;  // twice the area
};
Plane PlaneOf(Point3 a, Point3 b, Point3 c) {
    const Point3 e1 = b - a, e2 = c - a;
    return {Normalized(Cross(Normalized(e1), Normalized(e2))), Length(Cross(e1, e2))};
}

// Where so many corners meet that looking at all pairs would take too long, the planes are gathered into
// cells of directions first: the faces of a cube, 8 by 8 cells each.
constexpr std::size_t kManyCorners = 512;
constexpr int kCellsAlong = 8;
struct DirectionCells {
    std::array<Point3, 6 * kCellsAlong * kCellsAlong> sum{};

    void Add(const Plane& plane) {
        const Point3 n = plane.normal;
        if (!(LengthSquared(n) > 0) || !std::isfinite(plane.weight)) return;
        const float ax = std::abs(n.x), ay = std::abs(n.y), az = std::abs(n.z);
        int face = 0;
        float u = 0, v = 0;
        if (ax >= ay && ax >= az)
            face = n.x > 0 ? 0 : 1, u = n.y / ax, v = n.z / ax;
        else if (ay >= az)
            face = n.y > 0 ? 2 : 3, u = n.x / ay, v = n.z / ay;
        else
            face = n.z > 0 ? 4 : 5, u = n.x / az, v = n.y / az;
        const auto cell = [](float t) {
            return std::clamp(static_cast<int>((t + 1) * 0.5f * kCellsAlong), 0, kCellsAlong - 1);
        };
        sum[static_cast<std::size_t>((face * kCellsAlong + cell(u)) * kCellsAlong + cell(v))] +=
            n * plane.weight;
    }
};

class Smoother {
public:
    Smoother(std::span<ModelVertex> vertices, std::span<const Triangle> triangles, float thresholdDegrees)
        : vertices_(vertices),
          triangles_(triangles),
          limit_(std::cos(thresholdDegrees * kRadiansPerDegree)),
          unshared_(IsUnshared(triangles)),
          byPlace_(SortCorners(vertices, triangles)) {
        planes_.reserve(triangles.size());
        // The places' positions lie closer together than the vertices'.
        const LargeArray<Point3>& at = byPlace_.positions;
        for (std::size_t c = 0; c < 3 * triangles.size(); c += 3)
            planes_.push_back(
                PlaneOf(at[byPlace_.place[c]], at[byPlace_.place[c + 1]], at[byPlace_.place[c + 2]]));
    }

    void Run() {
        if (!unshared_) SumShared();
        for (std::size_t place = 0; place + 1 < byPlace_.first.size(); ++place) {
            const std::span corners(byPlace_.corners.data() + byPlace_.first[place],
                                    byPlace_.first[place + 1] - byPlace_.first[place]);
            if (corners.size() <= kManyCorners)
                SumPairs(corners);
            else
                SumCells(corners);
        }
        if (unshared_) return;
        for (const Triangle& t : triangles_)
            for (const std::uint32_t index : t) vertices_[index].normal = Normalized(vertices_[index].normal);
    }

private:
    // The vertices' own sums, in place of their normals, and then of their corners beside.
    void SumShared() {
        own_.reserve(3 * triangles_.size());
        for (const Triangle& t : triangles_)
            for (const std::uint32_t index : t) vertices_[index].normal = {};
        for (std::size_t t = 0; t < triangles_.size(); ++t)
            for (const std::uint32_t index : triangles_[t])
                vertices_[index].normal += planes_[t].normal * planes_[t].weight;
        for (const Triangle& t : triangles_)
            for (const std::uint32_t index : t) own_.push_back(vertices_[index].normal);
        for (const Triangle& t : triangles_)
            for (const std::uint32_t index : t) vertices_[index].normal = {};
    }
    // What the triangles of the corner's vertex add up to.
    [[nodiscard]] Point3 Own(std::uint32_t corner) const {
        if (!unshared_) return own_[corner];
        const Plane& plane = planes_[corner / 3];
        return plane.normal * plane.weight;
    }
    void Give(std::uint32_t corner, Point3 sum) {
        Point3& normal = vertices_[triangles_[corner / 3][corner % 3]].normal;
        normal = unshared_ ? Normalized(sum) : normal + sum;
    }

    void SumPairs(std::span<const std::uint32_t> corners) {
        for (const std::uint32_t corner : corners) {
            const Point3 normal = planes_[corner / 3].normal;
            Point3 sum;
            for (const std::uint32_t other : corners) {
                const Plane& plane = planes_[other / 3];
                // At an angle of the threshold or more the other side does not count: the own one does,
                // again.
                sum += Dot(normal, plane.normal) <= limit_ ? Own(corner) : plane.normal * plane.weight;
            }
            Give(corner, sum);
        }
    }
    void SumCells(std::span<const std::uint32_t> corners) {
        DirectionCells cells;
        for (const std::uint32_t corner : corners) cells.Add(planes_[corner / 3]);
        std::vector<std::pair<Point3, Point3>> used; // direction, sum
        for (const Point3 sum : cells.sum)
            if (LengthSquared(sum) > 0) used.emplace_back(Normalized(sum), sum);
        for (const std::uint32_t corner : corners) {
            Point3 sum;
            for (const auto& [direction, weighted] : used)
                sum += Dot(planes_[corner / 3].normal, direction) <= limit_ ? Own(corner) : weighted;
            Give(corner, sum);
        }
    }

    std::span<ModelVertex> vertices_;
    std::span<const Triangle> triangles_;
    float limit_;   // cosine of the threshold
    bool unshared_; // every vertex has one corner
    CornersByPlace byPlace_;
    LargeArray<Plane> planes_;
    LargeArray<Point3> own_; // one a corner; empty for an unshared mesh
};

} // namespace

void AutoNormals(std::span<ModelVertex> vertices, std::span<const Triangle> triangles,
                 float thresholdDegrees) {
    Smoother(vertices, triangles, std::clamp(thresholdDegrees, 0.0f, 180.0f)).Run();
}

} // namespace velorin
