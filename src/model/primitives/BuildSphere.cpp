// A geodesic sphere: the faces of an icosahedron, divided and blown up.

#include "model/primitives/PrimitiveMesh.h"

#include <array>
#include <cmath>
#include <map>

namespace velorin {

namespace {

// Radius 0.5, the first and the last on the y axis.
constexpr Point3 kCorners[12] = {
    {0, -0.5f, 0},
    {0.447214f, -0.223607f, 0},
    {0.138197f, -0.223607f, 0.425325f},
    {-0.361803f, -0.223607f, 0.262865f},
    {-0.361803f, -0.223607f, -0.262865f},
    {0.138197f, -0.223607f, -0.425325f},
    {0.361803f, 0.223607f, 0.262865f},
    {-0.138197f, 0.223607f, 0.425325f},
    {-0.447214f, 0.223607f, 0},
    {-0.138197f, 0.223607f, -0.425325f},
    {0.361803f, 0.223607f, -0.262865f},
    {0, 0.5f, 0},
};
constexpr std::array<int, 3> kFaces[20] = {
    {0, 1, 2},  {0, 2, 3},  {0, 3, 4},  {0, 4, 5},  {0, 5, 1},   {1, 6, 2},   {2, 6, 7},
    {2, 7, 3},  {3, 7, 8},  {3, 8, 4},  {4, 8, 9},  {4, 9, 5},   {5, 9, 10},  {5, 10, 1},
    {1, 10, 6}, {11, 7, 6}, {11, 8, 7}, {11, 9, 8}, {11, 10, 9}, {11, 6, 10},
};

// The directions of all points, those on edges shared between faces.
class Points {
public:
    explicit Points(int segments) : segments_(segments) {
        for (const Point3 corner : kCorners) directions.push_back(Normalized(corner));
    }
    // Steps from corner `a` to corner `b`, both ends among them.
    std::vector<std::uint32_t> Edge(int a, int b) {
        if (a > b) {
            std::vector<std::uint32_t> edge = Edge(b, a);
            return {edge.rbegin(), edge.rend()};
        }
        std::vector<std::uint32_t>& edge = edges_[{a, b}];
        if (edge.empty())
            edge = Row(static_cast<std::uint32_t>(a), static_cast<std::uint32_t>(b), kCorners[a], kCorners[b],
                       segments_);
        return edge;
    }
    // `steps` equal steps between two points that are there already.
    std::vector<std::uint32_t> Row(std::uint32_t first, std::uint32_t last, Point3 from, Point3 to,
                                   int steps) {
        std::vector<std::uint32_t> row{first};
        for (int i = 1; i < steps; ++i) {
            row.push_back(static_cast<std::uint32_t>(directions.size()));
            directions.push_back(
                Normalized(Mix(from, to, static_cast<float>(i) / static_cast<float>(steps))));
        }
        if (steps > 0) row.push_back(last);
        return row;
    }
    std::vector<Point3> directions; // unit

private:
    int segments_;
    std::map<std::pair<int, int>, std::vector<std::uint32_t>> edges_;
};

ModelTriangles Divide(Points& points, int segments) {
    ModelTriangles triangles;
    for (const auto& face : kFaces) {
        const std::vector<std::uint32_t> left = points.Edge(face[0], face[1]),
                                         right = points.Edge(face[0], face[2]),
                                         base = points.Edge(face[1], face[2]);
        std::vector<std::uint32_t> above{left[0]};
        for (int row = 1; row <= segments; ++row) {
            const auto r = static_cast<std::size_t>(row);
            const float share = static_cast<float>(row) / static_cast<float>(segments);
            const Point3 from = Mix(kCorners[face[0]], kCorners[face[1]], share),
                         to = Mix(kCorners[face[0]], kCorners[face[2]], share);
            const std::vector<std::uint32_t> here =
                row == segments ? base : points.Row(left[r], right[r], from, to, row);
            for (std::size_t i = 0; i < r; ++i) {
                triangles.push_back({above[i], here[i], here[i + 1]});
                if (i + 1 < r) triangles.push_back({above[i], here[i + 1], above[i + 1]});
            }
            above = here;
        }
    }
    return triangles;
}

// Vertices of the points: a point has one for each side of the seam it is seen from, a pole one for each
// triangle.
class Wrapping {
public:
    Wrapping(PrimitiveMesh& mesh, const std::vector<Point3>& directions, float radius)
        : mesh_(mesh), directions_(directions), radius_(radius), vertex_(2 * directions.size(), kNone) {}

    void Add(const Triangle& points) {
        std::array<float, 3> u{};
        std::array<bool, 3> isPole{};
        float least = 1;
        for (std::size_t i = 0; i < 3; ++i) {
            const Point3 d = directions_[points[i]];
            isPole[i] = d.x == 0 && d.z == 0;
            u[i] = std::atan2(d.z, d.x) * 0.15915494f;
            if (u[i] < 0) u[i] += 1;
            if (!isPole[i]) least = std::min(least, u[i]);
        }
        // Across the seam, the low ones move up by 1.
        float sum = 0;
        std::array<bool, 3> moved{};
        for (std::size_t i = 0; i < 3; ++i) {
            if (isPole[i]) continue;
            bool others = false;
            for (std::size_t k = 0; k < 3; ++k) others |= !isPole[k] && u[k] - u[i] > 0.5f;
            moved[i] = others;
        }
        for (std::size_t i = 0; i < 3; ++i) {
            if (moved[i]) u[i] += 1;
            if (!isPole[i]) sum += u[i];
        }
        Triangle triangle{};
        for (std::size_t i = 0; i < 3; ++i)
            triangle[i] = isPole[i] ? Make(points[i], sum / 2) : Shared(points[i], moved[i], u[i]);
        mesh_.AddTriangle(triangle);
    }

private:
    static constexpr std::uint32_t kNone = 0xffffffffu;

    std::uint32_t Shared(std::uint32_t point, bool moved, float u) {
        std::uint32_t& vertex = vertex_[2 * point + (moved ? 1 : 0)];
        if (vertex == kNone) vertex = Make(point, u);
        return vertex;
    }
    std::uint32_t Make(std::uint32_t point, float u) {
        const Point3 d = directions_[point];
        return mesh_.AddVertex(ModelVertex{d * radius_, {Inset(u), Inset(d.y * 0.5f + 0.5f)}, d, {}});
    }

    PrimitiveMesh& mesh_;
    const std::vector<Point3>& directions_;
    float radius_;
    std::vector<std::uint32_t> vertex_;
};

} // namespace

void BuildSphere(ModelData& model, const SphereParameters& p) {
    const int segments = Count(p.segments, 1, 200);
    Points points(segments);
    const ModelTriangles triangles = Divide(points, segments);
    PrimitiveMesh mesh(model);
    Wrapping wrapping(mesh, points.directions, Limit(p.diameter, 0.01f, 100) * 100 * 0.5f);
    for (const Triangle& triangle : triangles) wrapping.Add(triangle);
    mesh.Finish(p.noSmoothing);
}

} // namespace velorin
