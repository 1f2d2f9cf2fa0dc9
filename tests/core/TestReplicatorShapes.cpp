#include "core/CoreSamples.h"
#include "core/ReplicatorShapes.h"
#include "core/document/SceneModel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

namespace velorin {
namespace {

using test::ExpectNear;
using test::FakeSurfaces;
using test::MaskLayer;
using test::Particles;
using test::PlainGroup;

constexpr float R = 25.01f;
constexpr double kExactPi = 3.141592653589793;

TEST(Replicator, PointPutsAllAtThePosition) {
    for (const auto shape : {ReplicatorShape::Point, ReplicatorShape::Plane, ReplicatorShape::Sphere,
                             ReplicatorShape::Ring, ReplicatorShape::Layer, ReplicatorShape::Object3D})
        EXPECT_TRUE(Particles(PlainGroup(shape, 0)).empty());
    GroupParams group = PlainGroup(ReplicatorShape::Point, 3);
    group.position = {640, 360, -20};
    for (const Particle& particle : Particles(group)) {
        EXPECT_EQ(particle.position, (Point3{640, 360, -20}));
        EXPECT_EQ(particle.normal, (Point3{}));
        EXPECT_EQ(particle.size, (Point3{25, 25, 25}));
        EXPECT_EQ(particle.rotation, Quaternion{});
    }
    group.enabled = false;
    EXPECT_TRUE(Particles(group).empty());
}

TEST(Replicator, GridRunsThroughZThenYThenX) {
    GroupParams group = PlainGroup(ReplicatorShape::Grid3D, 0);
    group.gridX = 2, group.gridY = 3, group.gridZ = 4;
    const auto particles = Particles(group);
    ASSERT_EQ(particles.size(), 24u);
    std::size_t i = 0;
    for (int x = 0; x < 2; ++x)
        for (int y = 0; y < 3; ++y)
            for (int z = 0; z < 4; ++z, ++i)
                ExpectNear(particles[i].position,
                           {(static_cast<float>(x) - 0.5f) / 2 * R, (static_cast<float>(y) - 1) / 3 * R,
                            (static_cast<float>(z) - 1.5f) / 4 * R},
                           1e-5f, std::to_string(i));
    EXPECT_EQ(particles[23].index, 23u);
}

TEST(Replicator, LayersShareTheParticles) {
    struct Row {
        std::uint32_t count, layers;
        float distribution;
        std::vector<std::uint32_t> shares;
    };
    // Share s of the last l layers: ((1 - s) d + s) s of what remains, truncated.
    const Row rows[] = {
        {10, 3, 1, {3, 3, 4}},
        // d = 0: s squared of the rest: 10/9 = 1, then 9/4 = 2, then all 7.
        {10, 3, 0, {1, 2, 7}},
        // d = 2: (2 - s) s: 5/9 of 10 = 5, 3/4 of 5 = 3, the last 2.
        {10, 3, 2, {5, 3, 2}},
        {2, 5, 1, {0, 0, 0, 1, 1}},
        {7, 1, 1, {7}},
        {0, 2, 1, {0, 0}},
    };
    for (const Row& row : rows)
        EXPECT_EQ(ShareOverLayers(row.count, row.layers, row.distribution), row.shares)
            << row.count << " over " << row.layers << " at " << row.distribution;
    // Values that no row lets through still share out no more than there is.
    for (const float odd : {1e30f, -1e30f, std::nanf("")}) {
        const auto shares = ShareOverLayers(100, 7, odd);
        EXPECT_LE(std::accumulate(shares.begin(), shares.end(), 0u), 100u);
    }
    EXPECT_EQ(ShareOverLayers(1, 4000000000u, 1).size(), 1000u);
}

TEST(Replicator, PlaneStandsInRows) {
    GroupParams group = PlainGroup(ReplicatorShape::Plane, 7);
    group.distribution = Distribution::SetRows;
    group.rows = 3;
    const auto particles = Particles(group); // 2, 2 and 3
    const Point3 expected[] = {{-0.5f, 0, -0.5f}, {0.5f, 0, -0.5f}, {-0.5f, 0, 0},  {0.5f, 0, 0},
                               {-0.5f, 0, 0.5f},  {0, 0, 0.5f},     {0.5f, 0, 0.5f}};
    for (std::size_t i = 0; i < 7; ++i)
        ExpectNear(particles[i].position, expected[i] * R, 1e-5f, std::to_string(i));

    group.rows = 1;
    for (const Particle& particle : Particles(group)) EXPECT_FLOAT_EQ(particle.position.z, -0.5f * R);
    group.rows = 7; // one each
    for (const Particle& particle : Particles(group)) EXPECT_FLOAT_EQ(particle.position.x, -0.5f * R);
}

TEST(Replicator, AutomaticRowsFollowTheSquareRootAndTheBias) {
    const auto distinctZ = [](const std::vector<Particle>& particles) {
        std::vector<float> z;
        for (const Particle& p : particles)
            if (std::find(z.begin(), z.end(), p.position.z) == z.end()) z.push_back(p.position.z);
        return z.size();
    };
    GroupParams group = PlainGroup(ReplicatorShape::Plane, 20); // sqrt 4.47: 4 rows
    EXPECT_EQ(distinctZ(Particles(group)), 4u);
    group.automaticBias = 2;
    EXPECT_EQ(distinctZ(Particles(group)), 6u);
    group.automaticBias = -100;
    EXPECT_EQ(distinctZ(Particles(group)), 1u);
    group.particleCount = 21; // 4.58: 5 rows
    group.automaticBias = 0;
    EXPECT_EQ(distinctZ(Particles(group)), 5u);
}

TEST(Replicator, SphereLiesOnItsRadiusInRings) {
    GroupParams group = PlainGroup(ReplicatorShape::Sphere, 500);
    const auto particles = Particles(group);
    for (const Particle& particle : particles) {
        EXPECT_NEAR(Length(particle.position), R, 1e-3);
        ExpectNear(particle.normal, -particle.position, 1e-6f, "inward");
    }
    // The normals follow the scales.
    group.scale = {2, 0, 1};
    for (const Particle& particle : Particles(group)) {
        EXPECT_EQ(particle.position.y, 0);
        EXPECT_EQ(particle.normal.y, 0) << "no way up where the scale is 0";
        // position.x is twice the shape's x, the normal half of it.
        EXPECT_NEAR(particle.normal.x, -particle.position.x / 4, 1e-4);
    }
    // Two rows: k = 1, 2 of 3, both with sin 60 degrees; 6 particles: 3 above the centre (y is down), 3
    // below.
    group.scale = {1, 1, 1};
    group.particleCount = 6;
    group.distribution = Distribution::SetRows;
    group.rows = 2;
    const auto six = Particles(group);
    const double s = std::sin(kExactPi / 3);
    for (std::size_t i = 0; i < 6; ++i) {
        const double a = kExactPi - static_cast<double>(i % 3) * 2 * kExactPi / 3;
        const Point3 expected{static_cast<float>(std::cos(a) * s * 25.01), (i < 3 ? -0.5f : 0.5f) * R,
                              static_cast<float>(std::sin(a) * s * 25.01)};
        ExpectNear(six[i].position, expected, 1e-4f, std::to_string(i));
    }
}

TEST(Replicator, RingRunsFromMinusXWithTheLayersAboveEachOther) {
    GroupParams group = PlainGroup(ReplicatorShape::Ring, 8);
    group.layers = 2;
    group.layersOffset = 0.5f;
    const auto particles = Particles(group);
    const Point3 quarter[] = {{-1, 0, 0}, {0, 0, 1}, {1, 0, 0}, {0, 0, -1}};
    for (std::size_t i = 0; i < 8; ++i) {
        Point3 expected = quarter[i % 4] * R;
        expected.y = i < 4 ? 0 : 0.5f * R;
        ExpectNear(particles[i].position, expected, 1e-4f, std::to_string(i));
        ExpectNear(particles[i].normal, quarter[i % 4] * -R, 1e-4f, std::to_string(i));
    }
}

TEST(Replicator, LayerTakesRowsAndColumnsWithSetPixels) {
    MaskLayer layer({"....", ".##.", "....", "####", "#..."}, 1);
    GroupParams group = PlainGroup(ReplicatorShape::Layer, 3);
    group.customLayer = layer.header();
    group.distribution = Distribution::SetRows;
    group.rows = 2;
    // Set rows are 1, 3, 4; at 1/3 and 2/3 of 3 stand the places 1 and 2, that is the rows 3 and 4. Together
    // 5 set pixels: 3 * 4 / 5 = 2 particles in row 3, then the last in row 4.
    const auto particles = Particles(group);
    const auto place = [](float column, float row) {
        return Point3{(column / 4 - 0.5f) * R * 4 / 5, (row / 5 - 0.5f) * R, 0};
    };
    ExpectNear(particles[0].position, place(1, 3), 1e-4f, "1/3 of 4 columns");
    ExpectNear(particles[1].position, place(2, 3), 1e-4f, "2/3 of 4 columns");
    ExpectNear(particles[2].position, place(0, 4), 1e-4f, "the only column");
    EXPECT_EQ(particles[0].normal, (Point3{0, 0, 1}));

    for (Particle& particle : Particles(PlainGroup(ReplicatorShape::Layer, 4))) {
        EXPECT_EQ(particle.position, (Point3{})) << "no layer";
        EXPECT_EQ(particle.normal, (Point3{}));
    }
    MaskLayer empty({"..", ".."}, 1);
    group.customLayer = empty.header();
    for (const Particle& particle : Particles(group))
        ExpectNear(particle.position, {-0.5f * R, -0.5f * R, 0}, 1e-4f, "column 0 of row 0");
}

TEST(Replicator, LayerGridKeepsTheCellsThatAreSet) {
    for (const std::uint32_t depth : {1u, 2u, 4u}) {
        MaskLayer layer({"#...", "....", "..#.", "...#"}, depth);
        GroupParams group = PlainGroup(ReplicatorShape::LayerGrid, 1);
        group.customLayer = layer.header();
        group.gridX = group.gridY = 4;
        const auto particles = Particles(group);
        ASSERT_EQ(particles.size(), 3u) << depth << " bytes";
        // Columns outside, rows inside.
        ExpectNear(particles[0].position, Point3{-0.375f, -0.375f, 0} * R, 1e-4f, "first");
        ExpectNear(particles[1].position, Point3{0.125f, 0.125f, 0} * R, 1e-4f, "second");
        ExpectNear(particles[2].position, Point3{0.375f, 0.375f, 0} * R, 1e-4f, "third");
    }
    EXPECT_TRUE(Particles(PlainGroup(ReplicatorShape::LayerGrid, 9)).empty()) << "no layer";
}

TEST(SurfaceSampler, ThinsAndShufflesAsTheGeneratorSays) {
    SurfaceSource::Vertices vertices;
    const Point3 positions[] = {{2, 0, 0}, {0, 1, 0}, {0, 0, 0}, {0, 0, 0.0005f}, {0, 0, 0}, {1, 0, 0}};
    for (std::size_t i = 0; i < std::size(positions); ++i) {
        ModelVertex vertex{};
        vertex.position = positions[i];
        vertex.normal = {static_cast<float>(i), 0, 0};
        vertices.vertices.push_back(vertex);
        vertices.meshes.push_back(0);
    }
    // Sorted and thinned: the origin (its first copy, vertex 2), (0,1,0), (1,0,0), (2,0,0).
    std::vector<float> expected{2, 1, 5, 0};
    std::uint32_t state = 10000;
    for (int pass = 0; pass < 2; ++pass)
        for (std::size_t i = 1; i < expected.size(); ++i) {
            state = state * 214013u + 2531011u;
            std::swap(expected[i], expected[((state >> 16) & 32767u) % (i + 1)]);
        }
    const auto points = SurfacePoints(vertices);
    ASSERT_EQ(points.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(points[i].normal.x, expected[i]) << i;
}

// Models whose surfaces give group 1 its particles.
class SurfaceParticles : public ::testing::Test {
protected:
    SurfaceParticles() {
        params.scene = &scene;
        params.groups[0] = PlainGroup(ReplicatorShape::Object3D, 0);
        params.groups[0].objectPercentage = 1;
    }
    Ref<SceneModel> Add(const char* path) {
        auto model = Ref<SceneModel>::Make(ModelType::File);
        model->path = path;
        model->replicatorSource = true;
        scene.models.push_back(model);
        return model;
    }
    const std::vector<Particle>& Made() {
        EXPECT_EQ(test::Build(params, surfaces), "");
        return params.particles[0];
    }
    FakeSurfaces surfaces;
    Scene scene;
    FrameParams params;
};

TEST_F(SurfaceParticles, StandOnTheModelAsItIsDrawn) {
    surfaces.Put("a.obj", {{1, 0, 0}});
    const auto model = Add("a.obj");
    model->normalizeSize = true;
    model->flip = {true, false, false};
    model->position = {0, 1, 0};     // up: y is negated
    model->orientation = {0, 0, 90}; // (1, 0, 0) to (0, -1, 0) with the quaternion's sense
    auto mesh = Ref<SceneMesh>::Make();
    mesh->scale = {2, 2, 2};
    model->meshes.push_back(mesh);
    ASSERT_EQ(Made().size(), 1u);
    // (1,0,0) flips to (-1,0,0), doubles, turns with the model's matrix, moves up by one.
    const Point3 expected = TransformPoint({-2, 0, 0}, model->LocalMatrix()) * R;
    ExpectNear(Made()[0].position, expected, 1e-3f, "place");
    EXPECT_NEAR(Length(params.particles[0][0].normal), 1, 1e-6);
    EXPECT_EQ(surfaces.reads["a.obj"], 1) << "kept over frames";

    model->normalizeSize = false; // 1 file unit is a hundredth
    const Point3 small = TransformPoint({-0.02f, 0, 0}, model->LocalMatrix()) * R;
    ExpectNear(Made()[0].position, small, 1e-3f, "at its size");
}

TEST_F(SurfaceParticles, ForgetWhatLongRunsNoLongerUse) {
    const auto model = Add("");
    for (int i = 0; i < 300; ++i) {
        model->path = std::to_string(i) + ".obj";
        EXPECT_TRUE(Made().empty()) << "no surface, no particles";
        EXPECT_LE(params.surfaces->geometries.size(), 65u);
        EXPECT_TRUE(params.surfaces->geometries.contains(model->path));
    }
}

TEST_F(SurfaceParticles, AreCountedAndCutOverSeveralModels) {
    std::vector<Point3> line;
    for (int i = 0; i < 40; ++i) line.push_back({static_cast<float>(i), 0, 0});
    surfaces.Put("line.obj", line);
    surfaces.Put("dot.obj", {{0, 5, 0}});
    for (const char* path : {"line.obj", "dot.obj", "none.obj"}) Add(path);
    EXPECT_EQ(Made().size(), 41u);
    params.groups[0].objectPercentage = 0.5f;
    EXPECT_EQ(Made().size(), 20u) << "half of 41, truncated";
    for (const Particle& particle : params.particles[0]) EXPECT_NE(particle.position.y, 5 * R);
    params.groups[0].objectPercentage = 0.7f; // 28.7; of 40 exactly 28, though 0.7f is below 0.7
    EXPECT_EQ(Made().size(), 28u);
    scene.models.pop_back(), scene.models.pop_back();
    EXPECT_EQ(Made().size(), 28u);
    params.groups[0].objectPercentage = 1;
    scene.models[0]->groups[0] = false;
    EXPECT_TRUE(Made().empty());
}

TEST(Replicator, RefusesWhatMemoryCannotHold) {
    FrameParams params;
    params.groups[0] = PlainGroup(ReplicatorShape::Grid3D, 0);
    params.groups[0].gridX = params.groups[0].gridY = params.groups[0].gridZ = 1000;
    params.groups[1] = PlainGroup(ReplicatorShape::Point, 2);
    FakeSurfaces none;
    EXPECT_EQ(test::Build(params, none, std::uint64_t{8} << 30),
              "Group 1 is not drawn: its 1000000000 particles would take 64.0 GB of memory.");
    EXPECT_TRUE(params.particles[0].empty());
    EXPECT_EQ(params.particles[1].size(), 2u) << "the others are drawn";

    // One budget for all groups: 60 of 100 are taken, then 50 are too many and 40 are not.
    const std::uint32_t wishes[] = {60, 50, 40, 1, 0};
    for (std::size_t g = 0; g < 5; ++g) params.groups[g] = PlainGroup(ReplicatorShape::Point, wishes[g]);
    const std::string refused = test::Build(params, none, 100 * sizeof(Particle));
    const std::size_t given[] = {60, 0, 40, 0, 0};
    for (std::size_t g = 0; g < 5; ++g) EXPECT_EQ(params.particles[g].size(), given[g]) << g;
    EXPECT_NE(refused.find("Group 2 is not drawn: its 50 particles"), std::string::npos) << refused;
    EXPECT_NE(refused.find("Group 4 is not drawn"), std::string::npos) << refused;
    EXPECT_EQ(test::Build(params, none, 100 * sizeof(Particle), 2), "");
    EXPECT_EQ(params.particles[0].size() + params.particles[2].size(), 40u) << "one group alone";
}

} // namespace
} // namespace velorin
