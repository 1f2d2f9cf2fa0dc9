#include "Models.h"
#include "services/TemporaryFolder.h"

#include "core/document/SceneModel.h"
#include "model/export/ExportObj.h"
#include "model/export/SceneExport.h"
#include "model/obj/ModelObj.h"
#include "services/Warnings.h"

#ifdef VELORIN_ASSIMP
#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#endif
#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

namespace velorin {
namespace {

using test::ReadWhole;
using test::TemporaryFolder;

TEST(TextWriter, WritesFloatsAsPrintfDoes) {
    const TemporaryFolder folder;
    std::mt19937 random(4);
    std::string expected, error;
    TextWriter writer(folder.file("numbers"));
    const auto add = [&](float value) {
        char text[128];
        std::snprintf(text, sizeof text, "%f\n", static_cast<double>(value));
        expected += text;
        writer.Float(value);
        writer.Text("\n");
    };
    for (const float value : {0.0f, -0.0f, 1.0f, -1.5f, 0.0000005f, 0.0000015f, -0.0000001f, 2097151.875f,
                              1e12f, 1e13f, 3.4028235e38f, -1e30f, 0.9999995f, 0.99999994f, 1e-45f})
        add(value);
    for (int i = 0; i < 100000; ++i) {
        const auto value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
        add(std::isfinite(value) ? value : 1);
        add(static_cast<float>(static_cast<std::int32_t>(random())) / 1e6f);
    }
    ASSERT_TRUE(writer.Commit(error)) << error;
    EXPECT_TRUE(ReadWhole(folder.file("numbers")) == expected);
}

TEST(ExportObj, BareLinesToTheLetter) {
    const TemporaryFolder folder;
    ModelData model;
    model.vertices = {{{1, 2, 3}, {0.25f, 0.75f}, {0, 0, 1}, {}},
                      {{-1.5f, 0, 0.125f}, {0, 1}, {0, 1, 0}, {}},
                      {{100, 0.1f, 0}, {1, 0}, {1, 0, 0}, {}}};
    ModelMesh& mesh = model.meshes.emplace_back();
    mesh.groups = {{0, false, {{0, 1, 2}}}, {4, false, {{2, 1, 0}, {0, 2, 1}}}};
    std::string error;
    ASSERT_TRUE(WriteBareObj(model, folder.file("bare.obj"), error)) << error;
    EXPECT_EQ(ReadWhole(folder.file("bare.obj")), "v  1.000000 -2.000000 -3.000000\n"
                                                  "v  -1.500000 -0.000000 -0.125000\n"
                                                  "v  100.000000 -0.100000 -0.000000\n"
                                                  "vn 0.000000 -0.000000 -1.000000\n"
                                                  "vn 0.000000 -1.000000 -0.000000\n"
                                                  "vn 1.000000 -0.000000 -0.000000\n"
                                                  "vt 0.250000 0.250000\n"
                                                  "vt 0.000000 0.000000\n"
                                                  "vt 1.000000 1.000000\n"
                                                  "usemtl Material1\n"
                                                  "f 1/1/1 2/2/2 3/3/3\n"
                                                  "usemtl Material5\n"
                                                  "f 3/3/3 2/2/2 1/1/1\n"
                                                  "f 1/1/1 3/3/3 2/2/2\n");
    // Read again it stands turned by half a turn about y.
    ModelObj file;
    ASSERT_TRUE(file.Load(folder.file("bare.obj"), true, true));
    EXPECT_EQ(file.Vertices()[0].position, (Point3{-1, 2, -3}));
    EXPECT_EQ(file.Vertices()[0].texCoord, (Point2{0.25f, 0.75f}));
    EXPECT_EQ(file.MaterialCount(), 2u);
}

TEST(ExportObj, WritesExtrusionsOnlyAndTellsWhatFails) {
    const TemporaryFolder folder;
    std::string error;
    SceneModel primitive(ModelType::Primitive);
    EXPECT_TRUE(ExportObj(primitive, "", {}, folder.file("none.obj"), error));
    EXPECT_EQ(folder.entryCount(), 0u);
    SceneModel extrusion(ModelType::PathExtrusion);
    extrusion.storedPaths = {{{{0, 0}, {}, {}}, {{10, 0}, {}, {}}, {{10, 10}, {}, {}}, {{0, 10}, {}, {}}}};
    ASSERT_TRUE(ExportObj(extrusion, "", {}, folder.file("solid.obj"), error)) << error;
    EXPECT_THAT(ReadWhole(folder.file("solid.obj")), testing::HasSubstr("usemtl Material1\nf "));
    EXPECT_FALSE(WriteBareObj({}, folder.file("absent/bare.obj"), error));
    EXPECT_THAT(error, testing::HasSubstr("absent/bare.obj"));
    SceneExporter exporter(folder.file("absent/x.obj"));
    EXPECT_FALSE(exporter.Finish(error));
}

class SceneExportTest : public testing::Test {
protected:
    static PreparedMesh Prepared(PrimitiveKind kind) { return PrepareMesh(test::Primitive(kind), {}); }
    ExportModel ModelOf(const PreparedMesh& mesh, const std::vector<ExportMaterial>& materials,
                        const Matrix& world) {
        ExportMesh& part = meshes_.emplace_back(
            ExportMesh{mesh.meshes[0].name, mesh.vertices, mesh.triangles, mesh.meshes[0].groups, world});
        return {"", std::span(&part, 1), materials, {0, 0}, {1, 1}, false};
    }
    std::deque<ExportMesh> meshes_;
    TemporaryFolder folder_;
};

// Another reader finds the same triangles, materials and bounds.
TEST_F(SceneExportTest, AnotherReaderLoadsTheSame) {
    folder_.Put("my wood.png", "picture");
    std::filesystem::create_directory(folder_.file("out"));
    const PreparedMesh box = Prepared(PrimitiveKind::Box), gear = Prepared(PrimitiveKind::Gear);
    const std::vector<ExportMaterial> red{{"red", {0, 0, 0}, {1, 0, 0}, {0.5f, 0.5f, 0.5f}, 20, {}}};
    const std::vector<ExportMaterial> wood{
        {"wood and wax",
         {0.1f, 0.2f, 0.3f},
         {1, 1, 1},
         {0, 0, 0},
         5,
         {{ExportSlot::Diffuse, folder_.file("my wood.png"), {0.5f, 0.25f}, {2, 3}},
          {ExportSlot::Bump, folder_.file("my wood.png"), {0, 0}, {1, 1}}}}};
    const Matrix place = Matrix::Scale({100, 50, 25}) * Matrix::Translation({300, 200, -40});
    SceneExporter exporter(folder_.file("out/scene.obj"));
    EXPECT_TRUE(exporter.Add(ModelOf(box, red, place)));
    ExportModel named = ModelOf(gear, wood, Matrix::Scale({10, 10, 10}));
    named.name = "the gear";
    EXPECT_TRUE(exporter.Add(named));
    std::string error;
    ASSERT_TRUE(exporter.Finish(error)) << error;

    const std::size_t triangles = box.triangles.size() + gear.triangles.size();
#ifdef VELORIN_ASSIMP
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(folder_.file("out/scene.obj"), 0);
    ASSERT_TRUE(scene) << importer.GetErrorString();
    std::size_t found = 0;
    aiVector3D low(1e9f, 1e9f, 1e9f), high(-1e9f, -1e9f, -1e9f);
    for (unsigned m = 0; m < scene->mNumMeshes; ++m) {
        const aiMesh* mesh = scene->mMeshes[m];
        found += mesh->mNumFaces;
        aiString material;
        scene->mMaterials[mesh->mMaterialIndex]->Get(AI_MATKEY_NAME, material);
        EXPECT_STREQ(material.C_Str(), m == 0 ? "red" : "wood_and_wax");
        if (m > 0) continue;
        for (unsigned i = 0; i < mesh->mNumVertices; ++i) {
            const aiVector3D p = mesh->mVertices[i];
            low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
            high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
        }
    }
    EXPECT_EQ(found, triangles);
    // y and z turned round.
    EXPECT_LT((low - aiVector3D(200, -250, 15)).Length(), 1e-3f);
    EXPECT_LT((high - aiVector3D(400, -150, 65)).Length(), 1e-3f);
#endif
    EXPECT_EQ(ReadWhole(folder_.file("out/my_wood.png")), "picture");

    const std::string text = ReadWhole(folder_.file("out/scene.obj"));
    EXPECT_TRUE(text.starts_with("mtllib scene.mtl\no unnamed_object\ng Box\nv "));
    EXPECT_THAT(text, testing::HasSubstr("\no the gear\n"));
    EXPECT_THAT(text, testing::HasSubstr("\nusemtl red\nf 1/1/1 "));
    EXPECT_EQ(ReadWhole(folder_.file("out/scene.mtl")),
              "newmtl red\nKa 0.000000 0.000000 0.000000\nKd 1.000000 0.000000 0.000000\n"
              "Ks 0.500000 0.500000 0.500000\nNs 20.000000\n\n"
              "newmtl wood_and_wax\nKa 0.100000 0.200000 0.300000\nKd 1.000000 1.000000 1.000000\n"
              "Ks 0.000000 0.000000 0.000000\nNs 5.000000\n"
              "map_Kd -o 0.500000 0.250000 -s 2.000000 3.000000 my_wood.png\n"
              "bump -o 0.000000 0.000000 -s 1.000000 1.000000 my_wood.png\n\n");
    // And so does our own.
    ModelObj file;
    ASSERT_TRUE(file.Load(folder_.file("out/scene.obj"), true, true));
    EXPECT_EQ(file.VertexCount(), 3 * triangles);
    EXPECT_EQ(file.Material(1).MapTransform(MapSlot::Diffuse).scale, (Point2{2, 3}));
    EXPECT_EQ(file.Material(1).MapPath(MapSlot::Normal), "my_wood.png");
}

TEST_F(SceneExportTest, MirroredModelsStayWoundOutward) {
    const PreparedMesh box = Prepared(PrimitiveKind::Box);
    for (const float mirror : {1.0f, -1.0f}) {
        SceneExporter exporter(folder_.file("m.obj"));
        EXPECT_TRUE(exporter.Add(ModelOf(box, {}, Matrix::Scale({mirror * 2, 1, 3}))));
        std::string error;
        ASSERT_TRUE(exporter.Finish(error));
        ModelObj file;
        ASSERT_TRUE(file.Load(folder_.file("m.obj"), true, true));
        double volume = 0;
        for (std::uint32_t i = 0; i < file.VertexCount(); i += 3) {
            const ModelVertex* v = file.Vertices() + i;
            const Point3 face = Cross(v[1].position - v[0].position, v[2].position - v[0].position);
            volume += Dot(v[0].position, Cross(v[1].position, v[2].position)) / 6.0;
            EXPECT_GT(Dot(face, v[0].normal), 0);
        }
        EXPECT_NEAR(volume, 2 * 2 * 2 * 6, 0.5) << "the corners of the chamfered box are missing";
    }
}

TEST_F(SceneExportTest, NamesAreKeptApart) {
    for (const char* name : {"a", "b", "out"}) std::filesystem::create_directory(folder_.file(name));
    folder_.Put("a/t.png", "one");
    folder_.Put("b/t.png", "two");
    ResetWarnings();
    const PreparedMesh plane = Prepared(PrimitiveKind::Plane);
    SceneExporter exporter(folder_.file("out/s.obj"));
    for (const char* texture : {"a/t.png", "b/t.png", "a/t.png", "absent.png"}) {
        std::vector<ExportMaterial> materials(1);
        materials[0].name = "m";
        materials[0].maps = {{ExportSlot::Diffuse, folder_.file(texture), {}, {1, 1}}};
        EXPECT_TRUE(exporter.Add(ModelOf(plane, materials, {})));
    }
    std::string error;
    ASSERT_TRUE(exporter.Finish(error));
    EXPECT_EQ(ReadWhole(folder_.file("out/t.png")), "one");
    EXPECT_EQ(ReadWhole(folder_.file("out/t_2.png")), "two");
    ModelObj file;
    ASSERT_TRUE(file.Load(folder_.file("out/s.obj"), true, true));
    ASSERT_EQ(file.MaterialCount(), 3u);
    EXPECT_EQ(file.Material(0).MapPath(MapSlot::Diffuse), "t.png");
    EXPECT_EQ(file.Material(1).Name(), "m_2");
    EXPECT_EQ(file.Material(1).MapPath(MapSlot::Diffuse), "t_2.png");
    EXPECT_EQ(file.Material(2).MapPath(MapSlot::Diffuse), "");
    EXPECT_THAT(TakeWarnings(), testing::ElementsAre(testing::HasSubstr("absent.png")));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.file("out")), {}), 4)
        << "nothing else is left";
}

} // namespace
} // namespace velorin
