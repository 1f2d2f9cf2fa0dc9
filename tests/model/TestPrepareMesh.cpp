#include "Models.h"
#include "model/ModelTools.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace velorin {
namespace {

using test::Cube;

TEST(PrepareMesh, StepsFollowTheirOptions) {
    const struct {
        const char* name;
        void (*change)(ImportOptions& options);
        std::size_t fewest, most, triangles; // vertices
    } cases[] = {
        {"nothing", [](ImportOptions&) {}, 24, 24, 12},
        {"a mapping unshares", [](ImportOptions& o) { o.textureMapping = TextureMapping::Box; }, 36, 36, 12},
        {"and optimising shares again",
         [](ImportOptions& o) { o.textureMapping = TextureMapping::Box, o.optimizeMesh = true; }, 24, 24, 12},
        {"smooth normals make one of a corner's vertices, apart from their texture coordinates",
         [](ImportOptions& o) {
             o.textureMapping = TextureMapping::PlaneXZ, o.normalMode = NormalMode::Auto;
             o.normalThreshold = 179, o.optimizeMesh = true;
         },
         8, 35, 12},
        {"subdivision", [](ImportOptions& o) { o.subdivision = 2; }, 204, 204, 192},
        {"levels beyond the range", [](ImportOptions& o) { o.subdivision = 99; }, 0, 1'000'000, 12u * 4096},
    };
    for (const auto& c : cases) {
        ImportOptions options;
        c.change(options);
        const PreparedMesh mesh = PrepareMesh(Cube(), options);
        EXPECT_EQ(mesh.triangles.size(), c.triangles) << c.name;
        EXPECT_GE(mesh.vertices.size(), c.fewest) << c.name;
        EXPECT_LE(mesh.vertices.size(), c.most) << c.name;
        EXPECT_EQ(mesh.meshes.at(0).groups.at(0),
                  (GroupRange{0, 0, static_cast<std::uint32_t>(c.triangles)}));
        EXPECT_EQ(mesh.adjacentNormals.size(), mesh.vertices.size()) << c.name;
        EXPECT_TRUE(mesh.edgeList.empty());
        for (const ModelVertex& v : mesh.vertices) ASSERT_TRUE(std::abs(v.tangent.w) <= 1) << c.name;
    }
}

TEST(PrepareMesh, ThirdBufferAndEdgeList) {
    ImportOptions options;
    options.edgeMode = EdgeMode::Connected;
    options.normalMode = NormalMode::Dynamic;
    const PreparedMesh mesh = PrepareMesh(Cube(), options);
    EXPECT_EQ(mesh.edgeList.corners.size(), 36u);
    for (std::size_t i = 0; i < mesh.vertices.size(); ++i) {
        const Point3 outward = Normalized(mesh.vertices[i].position);
        EXPECT_NEAR(Dot(Normalized(mesh.adjacentNormals[i]), outward), 1, 1e-5f) << "one direction a corner";
    }
    options.edgeMode = EdgeMode::Disconnected;
    const PreparedMesh loose = PrepareMesh(Cube(), options);
    for (std::size_t i = 0; i < loose.vertices.size(); ++i)
        EXPECT_EQ(loose.adjacentNormals[i], loose.vertices[i].normal);
}

TEST(PrepareMesh, ALayerKeepsItsTextureCoordinates) {
    ModelData model = Cube();
    model.meshes[0].groups[0].useLayerAsUV = true;
    const ModelVertices before = model.vertices;
    const ModelTriangles triangles = model.meshes[0].groups[0].triangles;
    ImportOptions options;
    options.textureMapping = TextureMapping::Box;
    const PreparedMesh mesh = PrepareMesh(std::move(model), options);
    for (std::size_t t = 0; t < triangles.size(); ++t)
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_EQ(mesh.vertices[mesh.triangles[t][i]].texCoord, before[triangles[t][i]].texCoord);
}

// Every option on every kind of broken mesh.
TEST(PrepareMesh, SurvivesBrokenMeshes) {
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    std::vector<ModelData> models(8);
    const auto fill = [](ModelData& model, std::initializer_list<Point3> points, ModelTriangles triangles) {
        for (const Point3 p : points) model.vertices.push_back({p, {}, {0, 0, 1}, {}});
        model.meshes.emplace_back().groups.push_back({0, false, std::move(triangles)});
        NormaliseModel(model);
    };
    fill(models[0], {{nan, 0, 0}, {1, nan, 0}, {0, 0, nan}}, {{0, 1, 2}, {2, 1, 0}});
    fill(models[1], {{inf, 0, 0}, {-inf, 1, 0}, {0, inf, 1}}, {{0, 1, 2}});
    fill(models[2], {{1, 2, 3}}, {{0, 0, 0}});
    fill(models[3], {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}},
         {{0, 1, 2}, {2000000000u, 1, 0}, {0xffffffffu, 0xffffffffu, 0}});
    fill(models[4], {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {{0, 1, 2}, {0, 0, 1}});
    fill(models[5], {}, {});
    fill(models[6], {}, {{0, 1, 2}});
    fill(models[7], {{1e30f, 0, 0}, {-1e30f, 1e30f, 0}, {0, 0, 1e30f}}, {{0, 1, 2}});
    for (const ModelData& model : models) {
        for (std::uint32_t mapping = 0; mapping <= 13; ++mapping) {
            for (std::uint32_t mode = 0; mode <= 2; ++mode) {
                ImportOptions options;
                options.textureMapping = static_cast<TextureMapping>(mapping);
                options.normalMode = static_cast<NormalMode>(mode);
                options.edgeMode = static_cast<EdgeMode>((mapping + mode) % 3);
                options.normalThreshold = mode == 1 ? nan : 1e9f;
                options.optimizeMesh = mapping % 2 == 1;
                options.subdivision = mapping % 3;
                const PreparedMesh mesh = PrepareMesh(model, options);
                for (const Triangle& t : mesh.triangles)
                    for (const std::uint32_t index : t) ASSERT_LT(index, mesh.vertices.size());
                ASSERT_EQ(mesh.adjacentNormals.size(), mesh.vertices.size());
            }
        }
    }
}

// A million triangles of which all corners lie at one place, or in one cell of the grid but for one far away.
TEST(PrepareMesh, CrowdedPlacesTakeNoLonger) {
    for (const bool onePoint : {true, false}) {
        ModelData model;
        ModelTriangles triangles;
        for (std::uint32_t i = 0; i < 40000; ++i) {
            const float a = static_cast<float>(i) * 1e-6f;
            for (const Point3 p : {Point3{0, 0, 0}, {1e-3f + a, 0, 0}, {0, 1e-3f, a}})
                model.vertices.push_back({onePoint ? p : p + Point3{a, a, a}, {}, {0, 0, 1}, {}});
            triangles.push_back({3 * i, 3 * i + 1, 3 * i + 2});
        }
        model.vertices.push_back({{1000, 1000, 1000}, {}, {}, {}});
        model.meshes.emplace_back().groups.push_back({0, false, std::move(triangles)});
        NormaliseModel(model);
        ImportOptions options;
        options.normalMode = NormalMode::Dynamic;
        options.edgeMode = EdgeMode::Connected;
        options.optimizeMesh = true;
        EXPECT_EQ(PrepareMesh(std::move(model), options).triangles.size(), 40000u);
    }
}

} // namespace
} // namespace velorin
