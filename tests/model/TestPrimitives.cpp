// Properties that every primitive has, over random parameters with a fixed seed, and the counts that formulas
// give.

#include "Models.h"
#include "extrusion/Shapes.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace velorin {
namespace {

ModelData Build(PrimitiveKind kind, const PrimitiveParameters& parameters) {
    return test::Primitive(kind, parameters);
}
std::size_t Count(PrimitiveKind kind, const PrimitiveParameters& parameters) {
    return TriangleCount(Build(kind, parameters));
}

struct Kind {
    PrimitiveKind kind;
    const char* name;
    int euler; // 2 for a ball, 0 for a ring
};
constexpr Kind kSolids[] = {
    {PrimitiveKind::Box, "Box", 2},           {PrimitiveKind::Sphere, "Sphere", 2},
    {PrimitiveKind::Cylinder, "Cylinder", 2}, {PrimitiveKind::Tube, "Tube", 0},
    {PrimitiveKind::Torus, "Torus", 0},       {PrimitiveKind::Cone, "Cone", 2},
    {PrimitiveKind::Capsule, "Capsule", 2},   {PrimitiveKind::Star, "Star", 2},
    {PrimitiveKind::Gear, "Gear", 0},
};

PrimitiveParameters Random(std::mt19937& random, bool noSmoothing) {
    const auto real = [&](float least, float most) {
        return std::uniform_real_distribution<float>(least, most)(random);
    };
    const auto count = [&](int least, int most) {
        return static_cast<float>(std::uniform_int_distribution<int>(least, most)(random));
    };
    PrimitiveParameters p;
    p.box = {{real(0.1f, 5), real(0.1f, 5), real(0.1f, 5)},
             {count(1, 5), count(1, 5), count(1, 5)},
             random() % 3 ? real(0.01f, 3) : 0,
             count(1, 5),
             noSmoothing};
    p.sphere = {count(1, 9), real(0.1f, 9), noSmoothing};
    p.cylinder = {count(3, 20),
                  count(1, 4),
                  count(1, 4),
                  real(0.1f, 3),
                  real(0.1f, 3),
                  random() % 2 ? real(0.1f, 0.9f) : 0,
                  random() % 3 ? real(0.01f, 2) : 0,
                  count(1, 5),
                  noSmoothing};
    p.tube = {count(3, 20), count(1, 4),   count(1, 4),   real(0.1f, 0.9f), random() % 3 ? real(0.01f, 2) : 0,
              count(1, 5),  real(0.1f, 3), real(0.1f, 3), noSmoothing};
    p.torus = {count(3, 20), count(3, 20), real(1.5f, 3), real(0.1f, 1), count(0, 20), noSmoothing};
    p.cone = {count(3, 20), count(1, 4), count(1, 4), real(0.1f, 3), real(0.1f, 3), noSmoothing};
    p.capsule = {count(3, 20),  count(1, 6),   count(1, 4), real(0.05f, 2),
                 real(0.1f, 3), real(0.1f, 3), noSmoothing};
    p.star = {real(0.1f, 3), real(0.05f, 2), real(0.05f, 2), count(3, 9), real(0, 1),
              count(1, 4),   count(1, 4),    count(1, 4),    noSmoothing};
    p.gear = {real(0.01f, 3), real(0.01f, 1), real(0, 90), real(0.1f, 0.9f), real(0.05f, 2),
              count(4, 20),   real(0, 0.1f),  0,           real(0, 1),       0,
              count(2, 4),    count(2, 4),    count(2, 4), count(1, 3),      noSmoothing};
    return p;
}

TEST(Primitives, AreClosedSolidsThatFaceOutward) {
    std::mt19937 random(11);
    for (int i = 0; i < 40; ++i) {
        const bool flat = i % 2 == 1, twisted = i % 4 > 1;
        PrimitiveParameters p = Random(random, flat);
        // With more than an eighth of a half turn from one ring segment to the next, the facets cut through
        // the torus.
        if (!twisted)
            p.torus.twists = std::min(p.torus.twists, p.torus.ringSegments * p.torus.ringSides / 16);
        for (const Kind& solid : kSolids) {
            SCOPED_TRACE(std::string(solid.name) + " " + std::to_string(i));
            const ModelData model = Build(solid.kind, p);
            const shapes::Measures measures = shapes::Measure(model);
            EXPECT_EQ(measures.turnedEdges, 0u);
            EXPECT_EQ(measures.euler, solid.euler);
            EXPECT_EQ(measures.slivers, 0u);
            EXPECT_GT(measures.volume, 0);
            const bool cut = twisted && solid.kind == PrimitiveKind::Torus;
            EXPECT_LT(measures.normalError, cut ? 2.1 : flat ? 1e-3 : 1.05); // of the cosine
            EXPECT_EQ(model.meshes[0].name, solid.name);
            // Triangles across the sphere's seam reach beyond 1 by their own width: the picture repeats
            // there.
            const float mostU = solid.kind == PrimitiveKind::Sphere ? 1.3f : 1;
            for (const ModelVertex& v : model.vertices) {
                ASSERT_NEAR(Length(v.normal), 1, 1e-4f);
                ASSERT_NEAR(Length({v.tangent.x, v.tangent.y, v.tangent.z}), 1, 1e-3f);
                ASSERT_LE(std::max({std::abs(v.position.x), std::abs(v.position.y), std::abs(v.position.z)}),
                          1.0001f);
                if (flat) continue;
                ASSERT_GE(std::min(v.texCoord.x, v.texCoord.y), 0);
                ASSERT_LE(v.texCoord.x, mostU);
                ASSERT_LE(v.texCoord.y, 1);
            }
        }
    }
}

TEST(Primitives, CountsAsTheFormulasGive) {
    PrimitiveParameters p;
    p.box.sizeSegments = {2, 3, 5};
    p.box.chamfer = 0;
    EXPECT_EQ(Count(PrimitiveKind::Box, p), ((2u + 3) * 5 + 3 * 2) * 4);
    p.box.chamfer = 0.1f;
    p.box.chamferSegments = 4;
    const std::size_t t = 2 * 4 + 3 + 2;
    EXPECT_EQ(Count(PrimitiveKind::Box, p), (t * 8 - 8) * 4 + (t * 5 + 3 * 2) * 4);
    for (const float s : {1.0f, 2.0f, 7.0f}) {
        p.sphere.segments = s;
        EXPECT_EQ(Count(PrimitiveKind::Sphere, p), static_cast<std::size_t>(20 * s * s));
    }
    p.capsule.sides = 9;
    p.capsule.capSegments = 4;
    p.capsule.heightSegments = 3;
    EXPECT_EQ(Count(PrimitiveKind::Capsule, p), ((3u + 2 * 4) * 2 - 2) * 9);
    p.star.arms = 6;
    p.star.facesSegments = 2;
    p.star.sideSegments = 3;
    p.star.extrudeSegments = 5;
    EXPECT_EQ(Count(PrimitiveKind::Star, p), (5u * 2 * 6 + (4 * 3 - 2) * 6) * 2 * 2);
    p.star.extrude = 0;
    EXPECT_EQ(Count(PrimitiveKind::Star, p), (4u * 3 - 2) * 6 * 2 * 2);
    p.plane.segments = {3, 4};
    const ModelData plane = Build(PrimitiveKind::Plane, p);
    EXPECT_EQ(TriangleCount(plane), 3u * 4 * 2);
    p.plane.twoSided = true;
    EXPECT_EQ(Build(PrimitiveKind::Plane, p).vertices.size(), 2 * plane.vertices.size());
    p.torus.ringSegments = 5;
    p.torus.ringSides = 7;
    EXPECT_EQ(Count(PrimitiveKind::Torus, p), 5u * 7 * 2);
}

TEST(Primitives, HaveTheirSizes) {
    PrimitiveParameters p;
    p.box.size = {1, 2, 3};
    EXPECT_FLOAT_EQ(Build(PrimitiveKind::Box, p).size, 150);
    p.sphere.diameter = 4;
    EXPECT_FLOAT_EQ(Build(PrimitiveKind::Sphere, p).size, 200);
    p.cylinder.radius = 3; // a diameter
    p.cylinder.sides = 4;
    EXPECT_FLOAT_EQ(Build(PrimitiveKind::Cylinder, p).size, 150);
    p.tube.radius = 3;
    p.tube.sides = 4;
    EXPECT_FLOAT_EQ(Build(PrimitiveKind::Tube, p).size, 300);
    p.tube.internalRadius = 0;
    EXPECT_FLOAT_EQ(Build(PrimitiveKind::Tube, p).size, 300) << "without a hole as large as with one";
    p.capsule.height = 8;
    EXPECT_FLOAT_EQ(Build(PrimitiveKind::Capsule, p).size, 400);
    p.torus.ringRadius1 = p.torus.ringRadius2 = 2;
    EXPECT_NEAR(Build(PrimitiveKind::Torus, p).size, 200, 0.01f);
}

TEST(Primitives, PointUpAndFaceTheViewer) {
    PrimitiveParameters p;
    const ModelData cone = Build(PrimitiveKind::Cone, p);
    for (const ModelVertex& v : cone.vertices)
        EXPECT_TRUE(v.position.y > -0.9999f || v.position.x == 0) << v.position.y;
    p.star.arms = 5;
    float highest = 1, atX = 9;
    const ModelData star = Build(PrimitiveKind::Star, p);
    for (const ModelVertex& v : star.vertices)
        if (v.position.y < highest) highest = v.position.y, atX = v.position.x;
    EXPECT_NEAR(atX, 0, 1e-5f) << "an arm points up";
    const ModelData plane = Build(PrimitiveKind::Plane, p);
    for (const ModelVertex& v : plane.vertices) {
        EXPECT_EQ(v.normal, (Point3{0, 0, -1}));
        // The picture stands upright: u to the right, v down.
        EXPECT_NEAR(v.texCoord.x, (v.position.x / 2 + 0.5f) * 0.9982f + 0.0009f, 1e-6f);
        EXPECT_NEAR(v.texCoord.y, (v.position.y / 2 + 0.5f) * 0.9982f + 0.0009f, 1e-6f);
    }
}

TEST(Primitives, LimitsHoldAtBothEnds) {
    const float nan = std::nanf(""), inf = std::numeric_limits<float>::infinity();
    for (const float value : {-inf, -1.0f, 0.0f, nan}) {
        PrimitiveParameters p;
        p.box = {{value, value, value}, {value, value, value}, value, value, false};
        p.sphere = {value, value, false};
        p.cylinder = {value, value, value, value, value, value, value, value, false};
        p.tube = {value, value, value, value, value, value, value, value, false};
        p.torus = {value, value, value, value, value, false};
        p.cone = {value, value, value, value, value, false};
        p.plane = {true, {value, value}, {value, value}};
        p.capsule = {value, value, value, value, value, value, false};
        p.star = {value, value, value, value, value, value, value, value, false};
        p.gear = {value, value, value, value, value, value, value, value,
                  value, value, value, value, value, value, false};
        for (std::uint32_t kind = 1; kind <= 11; ++kind) {
            const ModelData model = Build(static_cast<PrimitiveKind>(kind), p);
            EXPECT_EQ(model.vertices.empty(), kind == 9) << kind;
            for (const ModelVertex& v : model.vertices)
                ASSERT_TRUE(std::isfinite(LengthSquared(v.position))) << kind;
        }
    }
    PrimitiveParameters p;
    p.sphere.segments = inf;
    EXPECT_EQ(Count(PrimitiveKind::Sphere, p), 20u * 200 * 200);
    p.box.chamfer = inf;
    EXPECT_EQ(shapes::Measure(Build(PrimitiveKind::Box, p)).turnedEdges, 0u);
    EXPECT_TRUE(Build(static_cast<PrimitiveKind>(99), p).vertices.empty());
}

TEST(Primitives, NamesInPaths) {
    EXPECT_EQ(PrimitiveFromPath("Sphere Model.parametric"), 2u);
    EXPECT_EQ(PrimitiveFromPath("Star Model.parametric"), 9u);
    EXPECT_EQ(PrimitiveFromPath("Gear Model.parametric"), 0u);
    EXPECT_EQ(PrimitiveFromPath("CapsuleBox"), 1u) << "the first of the list, not of the path";
    EXPECT_STREQ(PrimitiveName(PrimitiveKind::Gear), "Gear");
    EXPECT_STREQ(PrimitiveName(static_cast<PrimitiveKind>(9)), "");
}

} // namespace
} // namespace velorin
