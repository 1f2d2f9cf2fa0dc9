#include "Models.h"

#include "model/mesh/MeshSteps.h"
#include "model/mesh/PositionPlaces.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace velorin {
namespace {

using namespace test;

struct Mesh {
    ModelVertices vertices;
    ModelTriangles triangles;
};
// Three vertices of its own for each triangle, without normals.
Mesh Unshared(std::initializer_list<std::array<Point3, 3>> triangles) {
    Mesh mesh;
    for (const auto& corners : triangles) {
        const auto first = static_cast<std::uint32_t>(mesh.vertices.size());
        for (const Point3 p : corners) mesh.vertices.push_back({p, {}, {}, {}});
        mesh.triangles.push_back({first, first + 1, first + 2});
    }
    return mesh;
}
// Two triangles of equal area that meet along the x axis; the second is turned up by `degrees` from flat.
Mesh Fold(float degrees) {
    const float a = degrees * kPi / 180;
    return Unshared({{Point3{0, 0, 0}, {1, 0, 0}, {0, -1, 0}},
                     {Point3{1, 0, 0}, {0, 0, 0}, {0, std::cos(a), std::sin(a)}}});
}
void ExpectNear(Point3 a, Point3 b, float tolerance, const std::string& what) {
    EXPECT_LE(Length(a - b), tolerance) << what << ": " << a.x << ' ' << a.y << ' ' << a.z;
}

TEST(AutoNormals, SmoothsBelowTheThreshold) {
    for (const float angle : {20.0f, 60.0f, 90.0f, 130.0f}) {
        for (const float threshold : {0.0f, angle - 1, angle + 1, 180.0f}) {
            Mesh mesh = Fold(angle);
            AutoNormals(mesh.vertices, mesh.triangles, threshold);
            const float a = angle * kPi / 180;
            const Point3 first{0, 0, -1}, second{0, std::sin(a), -std::cos(a)};
            const bool smooth = threshold > angle;
            const std::string what = std::to_string(angle) + " at " + std::to_string(threshold);
            const Point3 mean = Normalized(first + second);
            ExpectNear(mesh.vertices[0].normal, smooth ? mean : first, 1e-5f, what);
            ExpectNear(mesh.vertices[3].normal, smooth ? mean : second, 1e-5f, what);
            ExpectNear(mesh.vertices[2].normal, first, 1e-5f, what + ", away from the fold");
            ExpectNear(mesh.vertices[5].normal, second, 1e-5f, what + ", away from the fold");
        }
    }
}

TEST(AutoNormals, WeighsByAreaAndFindsASphere) {
    Mesh mesh = Fold(90);
    mesh.vertices[5].position *= 3.0f; // three times the area
    AutoNormals(mesh.vertices, mesh.triangles, 100);
    ExpectNear(mesh.vertices[0].normal, Normalized({0, 3, -1}), 1e-5f, "weighted");

    PrimitiveParameters p;
    p.sphere.segments = 12;
    p.sphere.noSmoothing = true;
    ModelData sphere = Primitive(PrimitiveKind::Sphere, p);
    AutoNormals(sphere.vertices, TrianglesOf(sphere), 60);
    for (const ModelVertex& v : sphere.vertices) EXPECT_GT(Dot(v.normal, Normalized(v.position)), 0.999f);
}

// So many triangles at one point that they are gathered by direction give nearly what all pairs give.
TEST(AutoNormals, ManyCornersAtOnePlace) {
    const auto cone = [](int count) {
        Mesh mesh;
        const auto rim = [&](int i) {
            const float a = kPi * 2 * static_cast<float>(i) / static_cast<float>(count);
            return Point3{std::cos(a), 1, std::sin(a)};
        };
        for (int i = 0; i < count; ++i) {
            const auto first = static_cast<std::uint32_t>(mesh.vertices.size());
            const float reach = 2 * i < count ? 1 : 10; // one half weighs a hundred times as much
            for (const Point3 p : {Point3{}, rim(i) * reach, rim(i + 1) * reach})
                mesh.vertices.push_back({p, {}, {}, {}});
            mesh.triangles.push_back({first, first + 2, first + 1});
        }
        AutoNormals(mesh.vertices, mesh.triangles, 30);
        return mesh;
    };
    const Mesh pairs = cone(512), cells = cone(2048);
    for (int i = 0; i < 512; ++i)
        EXPECT_GT(Dot(pairs.vertices[static_cast<std::size_t>(3 * i)].normal,
                      cells.vertices[static_cast<std::size_t>(12 * i)].normal),
                  0.95f);
}

TEST(OptimizeMesh, ComparesTheFieldsAndDropsTheUnused) {
    const ModelVertex v{{1, 2, 3}, {4, 5}, {6, 7, 8}, {9, 9, 9, 1}};
    ModelVertices vertices(7, v);
    vertices[1].tangent = {0, 0, 0, 1}; // computed later: does not count
    vertices[2].texCoord.y = 6;
    vertices[3].normal.z = 9;
    vertices[4].tangent.w = -1;
    vertices[5].position.x = 0;
    ModelTriangles triangles{{0, 1, 2}, {3, 4, 2}};
    OptimizeMesh(vertices, triangles);
    EXPECT_EQ(triangles, (ModelTriangles{{0, 0, 1}, {2, 3, 1}}));
    EXPECT_EQ(vertices.size(), 4u);
    vertices.assign(2, v);
    vertices[0].position.x = 0.0f;
    vertices[1].position.x = -0.0f;
    triangles = {{0, 1, 0}};
    OptimizeMesh(vertices, triangles);
    EXPECT_EQ(vertices.size(), 1u);
}

TEST(Subdivide, GivesFourForOne) {
    const ModelData cube = Cube();
    const ModelTriangles& coarse = TrianglesOf(cube);
    ASSERT_EQ(coarse.size(), 12u);
    ModelVertices vertices = cube.vertices;
    ModelTriangles fine;
    SubdivideGroup(1, vertices, coarse, fine);
    EXPECT_EQ(fine.size(), 48u);
    EXPECT_EQ(vertices.size(), cube.vertices.size() + 36);
    const auto [a, b, c] = coarse[0];
    EXPECT_EQ(fine[0][0], a);
    EXPECT_EQ(fine[1][1], b);
    EXPECT_EQ(fine[2][2], c);
    const ModelVertex& ab = vertices[fine[0][1]];
    EXPECT_EQ(ab.position, (cube.vertices[a].position + cube.vertices[b].position) * 0.5f);
    EXPECT_EQ(ab.texCoord, (cube.vertices[a].texCoord + cube.vertices[b].texCoord) * 0.5f);
    EXPECT_EQ(ab.normal, cube.vertices[a].normal);
    // The surface stays: each level has the same area, wound the same way.
    ModelTriangles finest;
    SubdivideGroup(3, vertices, coarse, finest);
    EXPECT_EQ(finest.size(), 12u * 64);
    const auto measure = [&](const ModelTriangles& triangles) {
        Point4 sum; // of the faces, and of their sizes
        for (const Triangle& t : triangles) {
            const Point3 face = FaceOf(vertices, t);
            sum = {sum.x + face.x, sum.y + face.y, sum.z + face.z, sum.w + Length(face)};
        }
        return sum;
    };
    const Point4 before = measure(coarse), after = measure(finest);
    EXPECT_NEAR(before.w, after.w, 1e-3f);
    ExpectNear({before.x, before.y, before.z}, {after.x, after.y, after.z}, 1e-3f, "closed");
}

TEST(Edges, ConnectMergesWithinAStepOfTheGrid) {
    Mesh mesh = Unshared({{Point3{0.5f, 0.5f, 0.5f}, {-1, 0, 0}, {0, 1, 0}},
                          {Point3{0.5002f, 0.5002f, 0.5002f}, {-1, 0, 0.01f}, {0.1f, 1, 0}}});
    EdgeConnector connector({1, 1, 1});
    connector.Connect(mesh.vertices, mesh.triangles);
    EXPECT_EQ(mesh.vertices[3].position, mesh.vertices[0].position);
    EXPECT_EQ(mesh.vertices[4].position, (Point3{-1, 0, 0.01f})) << "five steps away";
    EXPECT_EQ(mesh.vertices[5].position, (Point3{0.1f, 1, 0}));
}

TEST(Edges, HardOnesAreFilledBelowAQuarterTurn) {
    for (const float angle : {0.0f, 40.0f, 80.0f, 100.0f}) {
        Mesh mesh = Fold(angle);
        AutoNormals(mesh.vertices, mesh.triangles, 0);
        const std::vector<HardEdge> edges = FindHardEdges(mesh.vertices, mesh.triangles);
        ASSERT_EQ(edges.size(), angle > 0 ? 1u : 0u) << angle;
        FillEdges(mesh.vertices, edges, mesh.triangles);
        ASSERT_EQ(mesh.triangles.size(), angle > 0 && angle < 90 ? 4u : 2u) << angle;
        if (mesh.triangles.size() != 4) continue;
        // The edge of each half is met by the opposite edge of the filling: moved along their normals they
        // have no crack.
        const auto has = [&](std::uint32_t from, std::uint32_t to) {
            int count = 0;
            for (const Triangle& t : mesh.triangles)
                for (std::size_t i = 0; i < 3; ++i) count += t[i] == from && t[(i + 1) % 3] == to;
            return count;
        };
        EXPECT_EQ(has(0, 1) + has(1, 0), 2);
        EXPECT_EQ(has(0, 1), has(1, 0));
        EXPECT_EQ(has(3, 4), has(4, 3));
    }
    for (const std::size_t end : {0u, 1u}) { // one end that turns too far is enough
        Mesh mesh = Fold(40);
        AutoNormals(mesh.vertices, mesh.triangles, 0);
        mesh.vertices[end].normal *= -1.0f;
        FillEdges(mesh.vertices, FindHardEdges(mesh.vertices, mesh.triangles), mesh.triangles);
        EXPECT_EQ(mesh.triangles.size(), 2u);
    }
    ModelData cube = Cube();
    UnshareVertices(cube);
    EXPECT_EQ(cube.vertices.size(), 36u);
    EXPECT_EQ(FindHardEdges(cube.vertices, TrianglesOf(cube)).size(), 12u);
}

TEST(Edges, AdjacentNormalsAndTheListOfCorners) {
    const ModelData cube = Cube();
    const LargeArray<Point3> normals = AdjacentNormals(cube.vertices);
    for (std::size_t i = 0; i < normals.size(); ++i) // the mean of the three faces of a corner
        ExpectNear(normals[i], Normalized(cube.vertices[i].position) * std::sqrt(1 / 3.0f), 1e-5f, "corner");

    const ModelTriangles& triangles = TrianglesOf(cube);
    const EdgeList list = BuildEdgeList(cube.vertices, triangles);
    ASSERT_EQ(list.first.size(), 8u + 1);
    ASSERT_EQ(list.corners.size(), 36u);
    const auto position = [&](std::uint32_t corner) {
        return cube.vertices[triangles[corner / 3][corner % 3]].position;
    };
    for (std::uint32_t c = 0; c < 36; ++c) {
        const auto first = list.corners.begin() + list.first[list.place[c]],
                   last = list.corners.begin() + list.first[list.place[c] + 1];
        EXPECT_EQ(std::count(first, last, c), 1);
        for (auto other = first; other != last; ++other) EXPECT_EQ(position(*other), position(c));
    }
}

// Triangles whose vertices stand in order take a shorter way; numbered from the end they give the same.
TEST(MeshSteps, TheOrderOfVerticesChangesNothing) {
    std::mt19937 random(9);
    std::uniform_int_distribution<int> step(0, 4);
    ModelVertices ordered;
    ModelTriangles triangles, backwards;
    for (std::uint32_t i = 0; i < 3 * 700; ++i) {
        const Point3 p{static_cast<float>(step(random)), static_cast<float>(step(random)),
                       static_cast<float>(step(random))};
        ordered.push_back({p * 0.5f, {static_cast<float>(step(random) / 2), 0}, {}, {0, 0, 0, 1}});
        if (i % 3 == 2) triangles.push_back({i - 2, i - 1, i});
    }
    const auto last = static_cast<std::uint32_t>(ordered.size() - 1);
    for (const Triangle& t : triangles) backwards.push_back({last - t[0], last - t[1], last - t[2]});
    ModelVertices reversed(ordered.rbegin(), ordered.rend());
    AutoNormals(ordered, triangles, 60);
    AutoNormals(reversed, backwards, 60);
    for (std::uint32_t i = 0; i <= last; ++i)
        ASSERT_LT(Length(ordered[i].normal - reversed[last - i].normal), 1e-5f) << i;

    for (ModelVertex& v : ordered) v.normal = {};
    for (ModelVertex& v : reversed) v.normal = {};
    ModelVertices before = ordered;
    const ModelTriangles corners = triangles;
    OptimizeMesh(ordered, triangles);
    OptimizeMesh(reversed, backwards);
    EXPECT_EQ(triangles, backwards);
    EXPECT_LE(ordered.size(), 125u * 3u) << "five steps an axis, three texture coordinates";
    std::uint32_t next = 0; // vertices stand in the order of their first use
    for (const Triangle& t : triangles)
        for (const std::uint32_t index : t) {
            ASSERT_LE(index, next);
            next = std::max(next, index + 1);
        }
    ASSERT_EQ(ordered.size(), reversed.size());
    for (std::size_t i = 0; i < ordered.size(); ++i) EXPECT_EQ(ordered[i].position, reversed[i].position);
    for (std::size_t t = 0; t < corners.size(); ++t)
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(ordered[triangles[t][i]].position, before[corners[t][i]].position);
            EXPECT_EQ(ordered[triangles[t][i]].texCoord, before[corners[t][i]].texCoord);
        }
}

TEST(PositionPlaces, NumbersDecide) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<Point3> points{{0, 0, 0},   {-0.0f, 0, 0}, {nan, 0, 0},
                                     {nan, 0, 0}, {1, 0, 0},     {0, 0, -0.0f}};
    const Places places = FindPlaces(points.size(), [&](std::uint32_t i) { return points[i]; });
    EXPECT_EQ(places.place, (LargeArray<std::uint32_t>{0, 0, 1, 2, 3, 0}));
    EXPECT_EQ(places.count(), 4u);
    // Many that are no number do not search for one another.
    const Places many = FindPlaces(300000, [&](std::uint32_t) { return Point3{nan, 0, 0}; });
    EXPECT_EQ(many.count(), 300000u);
}

} // namespace
} // namespace velorin
