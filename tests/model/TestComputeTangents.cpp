#include "model/ModelTools.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numeric>
#include <random>

namespace velorin {
namespace {

constexpr Point3 kUp{0, 0, 1};

// A unit square in the xy plane whose texture coordinates come from a linear map of the position.
ModelVertices Square(Point2 uAxis, Point2 vAxis, Point3 normal = kUp) {
    ModelVertices vertices;
    for (const Point2 p : {Point2{0, 0}, Point2{1, 0}, Point2{0, 1}, Point2{1, 1}})
        vertices.push_back({{p.x, p.y, 0}, uAxis * p.x + vAxis * p.y, normal, {}});
    return vertices;
}
const ModelTriangles kSquareTriangles{{0, 1, 2}, {1, 3, 2}};

// The texture coordinates of a square in the plane say where u grows.
TEST(ComputeTangents, PointsAlongU) {
    struct Case {
        const char* name;
        Point2 uOfX, uOfY; // what (u, v) gains along x and along y
        Point4 tangent;
    };
    const float h = std::sqrt(0.5f);
    const Case cases[] = {
        {"straight", {1, 0}, {0, 1}, {1, 0, 0, 1}},
        {"mirrored v", {1, 0}, {0, -1}, {1, 0, 0, -1}},
        {"mirrored u", {-1, 0}, {0, 1}, {-1, 0, 0, -1}},
        {"turned a quarter", {0, -1}, {1, 0}, {0, 1, 0, 1}},
        {"turned an eighth", {h, -h}, {h, h}, {h, h, 0, 1}},
        {"stretched", {100, 0}, {0, 0.01f}, {1, 0, 0, 1}},
        {"sheared", {1, 0}, {1, 1}, {1, 0, 0, 1}},
    };
    for (const Case& c : cases) {
        // Shared vertices, and three of its own for each triangle.
        ModelVertices shared = Square(c.uOfX, c.uOfY), unshared;
        ModelTriangles own;
        for (const Triangle& t : kSquareTriangles) {
            const auto first = static_cast<std::uint32_t>(unshared.size());
            for (const std::uint32_t i : t) unshared.push_back(shared[i]);
            own.push_back({first, first + 1, first + 2});
        }
        // u as a function of the plane: its gradient is what the tangent follows, up to length.
        ComputeTangents(shared, kSquareTriangles);
        ComputeTangents(unshared, own);
        const float determinant = c.uOfX.x * c.uOfY.y - c.uOfX.y * c.uOfY.x;
        const Point3 along = Normalized(Point3{c.uOfY.y, -c.uOfX.y, 0} * (1 / determinant));
        for (const ModelVertices& vertices : {shared, unshared}) {
            for (const ModelVertex& v : vertices) {
                EXPECT_NEAR(v.tangent.x, along.x, 1e-6f) << c.name;
                EXPECT_NEAR(v.tangent.y, along.y, 1e-6f) << c.name;
                EXPECT_NEAR(v.tangent.z, 0, 1e-6f) << c.name;
                EXPECT_EQ(v.tangent.w, c.tangent.w) << c.name;
                EXPECT_NEAR(v.tangent.x, c.tangent.x, 1e-6f) << c.name;
                EXPECT_NEAR(v.tangent.y, c.tangent.y, 1e-6f) << c.name;
            }
        }
    }
}

TEST(ComputeTangents, FallsBackToTheNormal) {
    const float inf = std::numeric_limits<float>::infinity();
    struct Case {
        const char* name;
        Point2 uOfX, uOfY;
        Point3 normal, tangent;
    };
    // The longer of n x z and n x y.
    const Case cases[] = {
        {"no texture area", {0, 0}, {0, 0}, {0, 0, 1}, {-1, 0, 0}},
        {"texture on a line", {1, 1}, {2, 2}, {0, 0, 1}, {-1, 0, 0}},
        {"normal along x: a tie goes to n x y", {0, 0}, {0, 0}, {1, 0, 0}, {0, 0, 1}},
        {"normal along y", {0, 0}, {0, 0}, {0, 1, 0}, {1, 0, 0}},
        {"tangent along the normal", {1, 0}, {0, 1}, {1, 0, 0}, {0, 0, 1}},
        {"no normal", {0, 0}, {0, 0}, {0, 0, 0}, {0, 0, 0}},
        {"a texture area that is hardly there", {1e-22f, 0}, {0, 1e-22f}, {0, 0, 1}, {-1, 0, 0}},
        {"infinite texture coordinates", {inf, 0}, {0, 1}, {0, 0, 1}, {-1, 0, 0}},
    };
    for (const Case& c : cases) {
        ModelVertices vertices = Square(c.uOfX, c.uOfY, c.normal);
        ComputeTangents(vertices, kSquareTriangles);
        for (const ModelVertex& v : vertices) {
            EXPECT_NEAR(v.tangent.x, c.tangent.x, 1e-6f) << c.name;
            EXPECT_NEAR(v.tangent.y, c.tangent.y, 1e-6f) << c.name;
            EXPECT_NEAR(v.tangent.z, c.tangent.z, 1e-6f) << c.name;
            EXPECT_EQ(std::abs(v.tangent.w), 1) << c.name;
        }
    }
    ModelVertices unused(1);
    unused[0].normal = {0, 1, 0};
    ComputeTangents(unused, {});
    EXPECT_EQ(unused[0].tangent, (Point4{1, 0, 0, 1}));
}

TEST(ComputeTangents, AreUnitAndSquareToTheNormal) {
    std::mt19937 random(5);
    std::uniform_real_distribution<float> any(-1, 1);
    ModelVertices vertices(3000);
    for (ModelVertex& v : vertices)
        v = {{any(random), any(random), any(random)},
             {any(random), any(random)},
             Normalized({any(random), any(random), any(random)}),
             {}};
    ModelTriangles triangles(5000);
    for (Triangle& t : triangles)
        for (std::uint32_t& index : t) index = static_cast<std::uint32_t>(random() % 3000);
    ComputeTangents(vertices, triangles);
    for (const ModelVertex& v : vertices) {
        const Point3 t{v.tangent.x, v.tangent.y, v.tangent.z};
        EXPECT_NEAR(Length(t), 1, 1e-5f);
        EXPECT_NEAR(Dot(t, v.normal), 0, 2e-3f);
        EXPECT_EQ(std::abs(v.tangent.w), 1);
    }
}

} // namespace
} // namespace velorin
