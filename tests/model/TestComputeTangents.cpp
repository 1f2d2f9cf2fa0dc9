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

void ExpectTangents(const ModelVertices& vertices, Point4 expected, const char* name) {
    for (const ModelVertex& v : vertices) {
        EXPECT_NEAR(v.tangent.x, expected.x, 1e-6f) << name;
        EXPECT_NEAR(v.tangent.y, expected.y, 1e-6f) << name;
        EXPECT_NEAR(v.tangent.z, expected.z, 1e-6f) << name;
        EXPECT_EQ(v.tangent.w, expected.w) << name;
    }
}

// The texture coordinates of a square in the plane say where u grows; where they say nothing, the tangent is
// the longer of n x z and n x y.
TEST(ComputeTangents, FollowUOrFallBackToTheNormal) {
    const float h = std::sqrt(0.5f), inf = std::numeric_limits<float>::infinity();
    const struct {
        const char* name;
        Point2 uOfX, uOfY; // what (u, v) gains along x and along y
        Point3 normal;
        Point4 tangent;
    } cases[] = {
        {"straight", {1, 0}, {0, 1}, kUp, {1, 0, 0, 1}},
        {"mirrored v", {1, 0}, {0, -1}, kUp, {1, 0, 0, -1}},
        {"mirrored u", {-1, 0}, {0, 1}, kUp, {-1, 0, 0, -1}},
        {"turned a quarter", {0, -1}, {1, 0}, kUp, {0, 1, 0, 1}},
        {"turned an eighth", {h, -h}, {h, h}, kUp, {h, h, 0, 1}},
        {"stretched", {100, 0}, {0, 0.01f}, kUp, {1, 0, 0, 1}},
        {"sheared", {1, 0}, {1, 1}, kUp, {1, 0, 0, 1}},
        {"no texture area", {0, 0}, {0, 0}, kUp, {-1, 0, 0, 1}},
        {"texture on a line", {1, 1}, {2, 2}, kUp, {-1, 0, 0, 1}},
        {"normal along x: a tie goes to n x y", {0, 0}, {0, 0}, {1, 0, 0}, {0, 0, 1, 1}},
        {"normal along y", {0, 0}, {0, 0}, {0, 1, 0}, {1, 0, 0, 1}},
        {"tangent along the normal", {1, 0}, {0, 1}, {1, 0, 0}, {0, 0, 1, 1}},
        {"no normal", {0, 0}, {0, 0}, {0, 0, 0}, {0, 0, 0, 1}},
        {"a texture area that is hardly there", {1e-22f, 0}, {0, 1e-22f}, kUp, {-1, 0, 0, 1}},
        {"infinite texture coordinates", {inf, 0}, {0, 1}, kUp, {-1, 0, 0, 1}},
    };
    for (const auto& c : cases) {
        // Shared vertices, and three of its own for each triangle.
        ModelVertices shared = Square(c.uOfX, c.uOfY, c.normal), unshared;
        ModelTriangles own;
        for (const Triangle& t : kSquareTriangles) {
            const auto first = static_cast<std::uint32_t>(unshared.size());
            for (const std::uint32_t i : t) unshared.push_back(shared[i]);
            own.push_back({first, first + 1, first + 2});
        }
        ComputeTangents(shared, kSquareTriangles);
        ComputeTangents(unshared, own);
        ExpectTangents(shared, c.tangent, c.name);
        ExpectTangents(unshared, c.tangent, c.name);
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
