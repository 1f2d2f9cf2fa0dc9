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
Plane PlaneOf(const ModelVertex& a, const ModelVertex& b, const ModelVertex& c) {
    const Point3 e1 = b.position - a.position, e2 = c.position - a.position;
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
          byPlace_(SortCorners(vertices, triangles)) {
        planes_.reserve(triangles.size());
        for (const Triangle& t : triangles)
            planes_.push_back(PlaneOf(vertices[t[0]], vertices[t[1]], vertices[t[2]]));
    }

    void Run() {
        // The vertices' own sums first, in place of their normals, then the corners' in an array beside.
        std::vector<Point3> own(3 * triangles_.size());
        for (const Triangle& t : triangles_)
            for (const std::uint32_t index : t) vertices_[index].normal = {};
        for (std::size_t t = 0; t < triangles_.size(); ++t)
            for (const std::uint32_t index : triangles_[t])
                vertices_[index].normal += planes_[t].normal * planes_[t].weight;
        for (std::size_t c = 0; c < own.size(); ++c) own[c] = vertices_[triangles_[c / 3][c % 3]].normal;
        for (const Triangle& t : triangles_)
            for (const std::uint32_t index : t) vertices_[index].normal = {};
        for (std::size_t place = 0; place + 1 < byPlace_.first.size(); ++place) {
            const std::span corners(byPlace_.corners.data() + byPlace_.first[place],
                                    byPlace_.first[place + 1] - byPlace_.first[place]);
            if (corners.size() <= kManyCorners)
                SumPairs(corners, own);
            else
                SumCells(corners, own);
        }
        for (const Triangle& t : triangles_)
            for (const std::uint32_t index : t) vertices_[index].normal = Normalized(vertices_[index].normal);
    }

private:
    Point3& NormalOf(std::uint32_t corner) { return vertices_[triangles_[corner / 3][corner % 3]].normal; }

    void SumPairs(std::span<const std::uint32_t> corners, const std::vector<Point3>& own) {
        for (const std::uint32_t corner : corners) {
            const Point3 normal = planes_[corner / 3].normal;
            Point3 sum;
            for (const std::uint32_t other : corners) {
                const Plane& plane = planes_[other / 3];
                // At an angle of the threshold or more the other side does not count: the own one does,
                // again.
                sum += Dot(normal, plane.normal) <= limit_ ? own[corner] : plane.normal * plane.weight;
            }
            NormalOf(corner) += sum;
        }
    }
    void SumCells(std::span<const std::uint32_t> corners, const std::vector<Point3>& own) {
        DirectionCells cells;
        for (const std::uint32_t corner : corners) cells.Add(planes_[corner / 3]);
        std::vector<std::pair<Point3, Point3>> used; // direction, sum
        for (const Point3 sum : cells.sum)
            if (LengthSquared(sum) > 0) used.emplace_back(Normalized(sum), sum);
        for (const std::uint32_t corner : corners) {
            Point3 sum;
            for (const auto& [direction, weighted] : used)
                sum += Dot(planes_[corner / 3].normal, direction) <= limit_ ? own[corner] : weighted;
            NormalOf(corner) += sum;
        }
    }

    std::span<ModelVertex> vertices_;
    std::span<const Triangle> triangles_;
    float limit_; // cosine of the threshold
    CornersByPlace byPlace_;
    std::vector<Plane> planes_;
};

} // namespace

void AutoNormals(std::span<ModelVertex> vertices, std::span<const Triangle> triangles,
                 float thresholdDegrees) {
    Smoother(vertices, triangles, std::clamp(thresholdDegrees, 0.0f, 180.0f)).Run();
}

} // namespace velorin
