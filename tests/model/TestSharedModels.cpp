// Real models. Counts and bounds were found by a script over the text and by another reader of the format.

#include "model/ModelTools.h"
#include "model/obj/ModelObj.h"

#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>

namespace velorin {
namespace {

namespace fs = std::filesystem;
const fs::path kData = fs::path(VELORIN_SOURCE_DIR) / "../shared/data";

struct Known {
    const char* path;
    std::size_t triangles, meshes, groups, materials;
    Point3 min, max; // of the file, over positions that faces use
};
constexpr Known kKnown[] = {
    {"3DBenchy.obj", 225154, 1, 1, 1, {-29.176f, -15.502f, 0}, {30.825f, 15.502f, 48}},
    {"box-texture-options/box-texture-options.obj", 12, 1, 1, 1, {-1, -1, -1}, {1, 1, 1}},
    {"cornell_box/cornell_box.obj", 36, 1, 9, 4, {0, 0, 0}, {556, 548.8f, 559.2f}},
    {"cube-vertexcol/cube-vertexcol.obj", 12, 6, 6, 3, {0, 0, 0}, {2, 2, 2}},
    {"dodecahedron_poly.obj",
     36,
     1,
     1,
     1,
     {-0.934172f, -0.934172f, -0.934172f},
     {0.934172f, 0.934172f, 0.934172f}},
    {"negative_indices.obj", 12, 1, 1, 1, {-1, -1, -1}, {1, 1, 1}},
    {"rabbit/rabbit.obj", 1252, 9, 9, 1, {-1.00261f, 5.72069e-17f, -1.426f}, {1, 4.41361f, 1.714f}},
    {"spider/spider.obj", 1368, 19, 19, 4, {-92.6552f, -42.2338f, -106.691f}, {57.9362f, 37.504f, 86.6912f}},
    {"spot/spot_quadrangulated.obj",
     5856,
     1,
     1,
     1,
     {-0.471552f, -0.736784f, -0.668909f},
     {0.471552f, 0.953646f, 1.049f}},
    {"spot/spot_triangulated.obj",
     5856,
     1,
     1,
     1,
     {-0.471552f, -0.736784f, -0.668909f},
     {0.471552f, 0.953646f, 1.049f}},
    {"teapot.obj", 2464, 1, 1, 1, {-0.957194f, 0, -0.638129f}, {1.09427f, 1.00505f, 0.638129f}},
};

TEST(SharedModels, HaveTheKnownShape) {
    if (!fs::exists(kData / "models")) GTEST_SKIP() << "the folder of models is not here";
    for (const Known& known : kKnown) {
        SCOPED_TRACE(known.path);
        ModelObj file;
        ASSERT_TRUE(file.Load((kData / "models" / known.path).string(), true, true));
        EXPECT_EQ(file.VertexCount(), 3 * known.triangles);
        EXPECT_EQ(file.MeshCount(), known.meshes);
        EXPECT_EQ(file.MaterialCount(), known.materials);
        std::size_t groups = 0;
        for (std::uint32_t m = 0; m < file.MeshCount(); ++m) groups += file.Mesh(m).GroupCount();
        EXPECT_EQ(groups, known.groups);

        ModelData model;
        ImportFile(model, file);
        EXPECT_EQ(TriangleCount(model), known.triangles);
        // x and y change sides.
        const Point3 half = (known.max - known.min) * 0.5f;
        EXPECT_NEAR(model.size, std::max({half.x, half.y, half.z}), 1e-5f * model.size);
        const Point3 middle = (known.min + known.max) * 0.5f, turned{-middle.x, -middle.y, middle.z};
        EXPECT_LT(Length(model.center * model.size - turned), 1e-4f * model.size);
        for (const ModelVertex& v : model.vertices) {
            ASSERT_LE(std::max({std::abs(v.position.x), std::abs(v.position.y), std::abs(v.position.z)}),
                      1.00001f);
            ASSERT_TRUE(std::abs(v.tangent.w) == 1 && std::isfinite(LengthSquared(v.normal)));
        }
    }
}

TEST(SharedModels, MaterialsComeFromTheirLibraries) {
    if (!fs::exists(kData / "models")) GTEST_SKIP() << "the folder of models is not here";
    ModelObj file, box;
    ASSERT_TRUE(file.Load((kData / "models/spider/spider.obj").string(), true, true));
    ModelData model;
    ImportFile(model, file);
    for (const ModelMaterial& material : model.materials)
        EXPECT_TRUE(fs::is_regular_file(material.maps[0].path)) << material.maps[0].path;
    ASSERT_TRUE(
        box.Load((kData / "models/box-texture-options/box-texture-options.obj").string(), true, true));
    EXPECT_EQ(box.Material(0).SpecularExponent(), 96.078431f);
    EXPECT_EQ(box.Material(0).MapPath(MapSlot::Specular), "") << "four letters of an extension are unknown";
    EXPECT_EQ(box.Material(0).MapPath(MapSlot::Normal), "bump.png");
}

// Triangles that are left when faces with indices outside their lists are gone, counted by hand.
TEST(SharedModels, BrokenFilesSurvive) {
    if (!fs::exists(kData / "broken")) GTEST_SKIP() << "the folder of broken files is not here";
    const std::pair<const char*, std::uint32_t> broken[] = {
        {"box-incomplete-positions.obj", 0}, // one position, faces of eight
        {"issue-140-zero-face-idx.obj", 0},  // every face has a zero
        {"malformed.obj", 8},                // two of six quads refer outside
        {"box_longline.obj", 519}, // a face of 511 corners within the length of a line, and five quads
    };
    for (const auto& [path, triangles] : broken) {
        ModelObj file;
        EXPECT_EQ(file.Load((kData / "broken" / path).string(), true, true), triangles > 0) << path;
        EXPECT_EQ(file.VertexCount(), 3 * triangles) << path;
    }
    // Every other broken file, read as text it is not.
    for (const fs::directory_entry& entry : fs::directory_iterator(kData / "broken")) {
        ModelObj file;
        (void)file.Load(entry.path().string(), true, true);
        ModelData model;
        ImportFile(model, file);
    }
}

} // namespace
} // namespace velorin
