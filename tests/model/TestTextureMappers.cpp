#include "Models.h"
#include "model/mesh/TextureMappers.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace velorin {
namespace {

constexpr Point3 kHalf{1, 0.5f, 0.25f};

// Texture coordinates of one triangle.
std::array<Point2, 3> Map(TextureMapping mapping, const std::array<Point3, 3>& corners, Point3 half = kHalf) {
    ModelVertices vertices;
    for (const Point3 p : corners) vertices.push_back({p, {7, 7}, {}, {}});
    ModelTriangles triangles{{0, 1, 2}};
    VertexOptimizer optimizer(3);
    MapTexture({vertices, triangles, half, optimizer}, mapping);
    return {vertices[0].texCoord, vertices[1].texCoord, vertices[2].texCoord};
}
void ExpectMapped(const std::array<Point2, 3>& uv, const std::array<Point2, 3>& expected,
                  const std::string& what) {
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(uv[i].x, expected[i].x, 1e-5f) << what << " corner " << i;
        EXPECT_NEAR(uv[i].y, expected[i].y, 1e-5f) << what << " corner " << i;
    }
}

TEST(TextureMappers, Planes) {
    const std::array<Point3, 3> corners{Point3{-1, -0.5f, -0.25f}, {1, 0.5f, 0}, {0, 0, 0.25f}};
    ExpectMapped(Map(TextureMapping::PlaneXY, corners),
                 {Point2{0.01f, 0.255f}, {0.99f, 0.745f}, {0.5f, 0.5f}}, "XY");
    // The larger extent of y and z is 1: 0.98 * (-0.5 + 1) + 0.01.
    ExpectMapped(Map(TextureMapping::PlaneYZ, corners),
                 {Point2{0.5f, 0.745f}, {1.48f, 0.99f}, {0.99f, 1.235f}}, "YZ");
    ExpectMapped(Map(TextureMapping::PlaneXZ, corners),
                 {Point2{0.01f, 0.3775f}, {0.99f, 0.5f}, {0.5f, 0.6225f}}, "XZ");
    ExpectMapped(Map(TextureMapping::PlaneXY, corners, {0.00004f, 0.00001f, 1}),
                 {Point2{7, 7}, {7, 7}, {7, 7}}, "thin");
    ExpectMapped(Map(TextureMapping::Polygon, corners), {Point2{0, 0}, {1, 0}, {0, 1}}, "polygon");
    ExpectMapped(Map(TextureMapping::UV, corners), {Point2{7, 7}, {7, 7}, {7, 7}}, "from the model");
}

TEST(TextureMappers, BoxTakesTheNearestFace) {
    const struct {
        const char* name;
        std::array<Point3, 3> corners; // the first a quarter along both directions of the face
        Point2 repeat;
    } cases[] = {
        {"+x", {Point3{1, -0.25f, -0.125f}, {1, 0.5f, 0}, {1, 0, 0.25f}}, {0.25f, 0.25f}},
        {"-x", {Point3{-1, -0.25f, -0.125f}, {-1, 0, 0.25f}, {-1, 0.5f, 0}}, {0.75f, 0.25f}},
        {"+y", {Point3{-0.5f, 0.5f, -0.125f}, {0, 0.5f, 0.25f}, {1, 0.5f, 0}}, {0.25f, 0.25f}},
        {"-y", {Point3{-0.5f, -0.5f, -0.125f}, {1, -0.5f, 0}, {0, -0.5f, 0.25f}}, {0.25f, 0.75f}},
        {"+z", {Point3{-0.5f, -0.25f, 0.25f}, {1, 0, 0.25f}, {0, 0.5f, 0.25f}}, {0.75f, 0.25f}},
        {"-z", {Point3{-0.5f, -0.25f, -0.25f}, {0, 0.5f, -0.25f}, {1, 0, -0.25f}}, {0.25f, 0.25f}},
    };
    for (const auto& c : cases) {
        const Point2 plain = Map(TextureMapping::Box, c.corners)[0],
                     repeat = Map(TextureMapping::BoxRepeat, c.corners)[0];
        EXPECT_LT(std::hypot(plain.x - 0.25f, plain.y - 0.25f), 1e-6f) << c.name;
        EXPECT_LT(std::hypot(repeat.x - c.repeat.x, repeat.y - c.repeat.y), 1e-6f) << c.name;
    }
    // With the aspect kept, all extents are the largest, 2: y goes from 0 to a half.
    const auto kept = Map(TextureMapping::BoxPreserveAspect,
                          {Point3{-1, -0.5f, -0.25f}, {0, 0.5f, -0.25f}, {1, 0, -0.25f}});
    ExpectMapped(kept, {Point2{0, 0}, {0.5f, 0.5f}, {1, 0.25f}}, "aspect");
    const auto flat = Map(TextureMapping::Box, {Point3{-1, -0.5f, 0}, {0, 0.5f, 0}, {1, 0, 0}}, {1, 0.5f, 0});
    for (const Point2 uv : flat)
        EXPECT_TRUE(std::isfinite(uv.x) && std::isfinite(uv.y)) << "a box without depth";
    ExpectMapped(Map(TextureMapping::Box, {Point3{}, {}, {}}, {0, 0, 0}), {Point2{7, 7}, {7, 7}, {7, 7}},
                 "no box");
}

TEST(TextureMappers, SphereAndCylinderJoinAtTheirSeam) {
    PrimitiveParameters p;
    p.sphere.segments = 9;
    p.cylinder.chamfer = 0;
    p.cylinder.sides = 24;
    p.cylinder.heightSegments = 3;
    struct Case {
        PrimitiveKind kind;
        TextureMapping mapping;
        float period;
    };
    for (const Case& c : {Case{PrimitiveKind::Sphere, TextureMapping::Sphere, 1},
                          Case{PrimitiveKind::Cylinder, TextureMapping::CylinderY, 2}}) {
        ModelData model = test::Primitive(c.kind, p);
        ModelTriangles& triangles = test::TrianglesOf(model);
        VertexOptimizer optimizer(model.vertices.size());
        MapTexture({model.vertices, triangles, (model.boundsMax - model.boundsMin) * 0.5f, optimizer},
                   c.mapping);
        optimizer.Append(model.vertices);
        for (const Triangle& t : triangles) {
            float least = 9, most = -9;
            for (const std::uint32_t index : t) {
                const Point2 uv = model.vertices[index].texCoord;
                least = std::min(least, uv.x), most = std::max(most, uv.x);
                EXPECT_NEAR(uv.y, 0.5f, 0.5f + 1e-6f);
            }
            // No triangle smears the picture from end to end. Caps show the picture's disc.
            const float y = std::abs(model.vertices[t[0]].position.y + model.vertices[t[1]].position.y);
            const bool cap = c.kind == PrimitiveKind::Cylinder && std::abs(y - 2) < 1e-3f;
            EXPECT_LT(most - least, cap ? 1.01f : c.period * 0.35f);
        }
    }
    // u of a sphere: half way round from the back, v from top to bottom.
    const auto uv = Map(TextureMapping::Sphere, {Point3{1, 0, 0}, {0.6f, -0.8f, 0}, {0.8f, 0, 0.6f}});
    EXPECT_NEAR(uv[0].x, 0.25f, 1e-5f);
    EXPECT_NEAR(uv[0].y, 0.5f, 1e-5f);
    EXPECT_NEAR(uv[1].y, 0.5f - std::asin(0.8f) / kPi, 1e-5f);
    EXPECT_NEAR(uv[2].x, 0.5f - std::atan2(0.8f, 0.6f) / (2 * kPi), 1e-5f);
}

TEST(TextureMappers, ASharedVertexIsCopiedForItsSecondTriangle) {
    ModelVertices vertices(4);
    for (std::size_t i = 0; i < 4; ++i) vertices[i].position = {static_cast<float>(i), 0, 0};
    ModelTriangles triangles{{0, 1, 2}, {2, 1, 3}};
    VertexOptimizer optimizer(4);
    UvPolygon({vertices, triangles, {1, 1, 1}, optimizer});
    optimizer.Append(vertices);
    EXPECT_EQ(triangles, (ModelTriangles{{0, 1, 2}, {4, 5, 3}}));
    ASSERT_EQ(vertices.size(), 6u);
    EXPECT_EQ(vertices[4].position, vertices[2].position);
    EXPECT_EQ(vertices[4].texCoord, (Point2{0, 0}));
    EXPECT_EQ(vertices[2].texCoord, (Point2{0, 1}));
}

} // namespace
} // namespace velorin
