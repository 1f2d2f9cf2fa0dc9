#include "services/TemporaryFolder.h"

#include "model/ModelTools.h"
#include "model/obj/ModelObj.h"

#include <gtest/gtest.h>

namespace velorin {
namespace {

ModelData Import(const std::string& text, const test::TemporaryFolder& folder) {
    ModelObj file;
    EXPECT_TRUE(file.Load(folder.Put("model.obj", text), true, true));
    ModelData model;
    ImportFile(model, file);
    return model;
}

const std::string kPositions = "v 0 0 0\nv 4 0 0\nv 4 2 0\nv 0 2 0\nv 0 0 2\n";

TEST(ImportFile, GroupsOfOneMaterialAreMerged) {
    const test::TemporaryFolder folder;
    const ModelData model =
        Import(kPositions + "g a\nusemtl x\nf 1 2 3\nusemtl y\nf 1 2 5\nusemtl x\nf 2 3 4\nf 3 4 1\n"
                            "g b\nusemtl y\nf 1 2 3\nusemtl x\nf 3 4 1\n",
               folder);
    ASSERT_EQ(model.meshes.size(), 2u);
    const ModelMesh& a = model.meshes[0];
    ASSERT_EQ(a.groups.size(), 2u);
    EXPECT_EQ(a.groups[0].materialIndex, 0u);
    EXPECT_EQ(a.groups[0].triangles, (ModelTriangles{{0, 1, 2}, {6, 7, 8}, {9, 10, 11}}));
    EXPECT_EQ(a.groups[1].triangles, (ModelTriangles{{3, 4, 5}}));
    ASSERT_EQ(model.meshes[1].groups.size(), 2u);
    EXPECT_EQ(model.meshes[1].groups[0].materialIndex, 1u);
    EXPECT_EQ(TriangleCount(model), 6u);
    // A group without triangles stays, until it is merged.
    const ModelData empty = Import(kPositions + "usemtl x\nf 1 2\nusemtl y\nf 1 2 3\n", folder);
    ASSERT_EQ(empty.meshes[0].groups.size(), 2u);
    EXPECT_TRUE(empty.meshes[0].groups[0].triangles.empty());
    const ModelData merged =
        Import(kPositions + "usemtl y\nf 1 2 3\nusemtl y\nf 1 2\nusemtl z\nf 1 2 3\n", folder);
    ASSERT_EQ(merged.meshes[0].groups.size(), 2u);
    EXPECT_EQ(merged.meshes[0].groups[0].triangles.size(), 1u);
}

TEST(ImportFile, BoundsOfMeshesAreNormalised) {
    const test::TemporaryFolder folder;
    const ModelData model = Import(kPositions + "g a\nf 1 2 3\ng none\ng b\nf 1 5 4\n", folder);
    EXPECT_EQ(model.size, 2);
    EXPECT_EQ(model.center, (Point3{-1, -0.5f, 0.5f})) << "x and y change sides";
    const ModelMesh& a = model.meshes[0];
    EXPECT_EQ(a.boundsMin, (Point3{-1, -0.5f, -0.5f}));
    EXPECT_EQ(a.boundsMax, (Point3{1, 0.5f, -0.5f}));
    EXPECT_EQ(a.center, (Point3{0, 0, -0.5f}));
    EXPECT_EQ(model.meshes[1].boundsMin, (Point3{0, 0, 0}));
    EXPECT_EQ(model.meshes[1].boundsMax, (Point3{0, 0, 0}));
    EXPECT_EQ(model.meshes[2].boundsMax, (Point3{1, 0.5f, 0.5f}));
}

TEST(ImportFile, MaterialsAreJoinedToTheFolder) {
    const test::TemporaryFolder folder;
    folder.Put("m.mtl", "newmtl x\nNs 9\nKd 0.1 0.2 0.3\nKs 0.4 0.5 0.6\nKe 0.7 0.8 0.9\nTr 0.75\n"
                        "map_Kd -s 2 3 -o 4 5 -mm 6 7 .\\maps\\a.png\nbump /abs/b.png\n");
    const ModelData model =
        Import(std::string("mtllib m.mtl\nusemtl x\n") + kPositions + "f 1 2 3\n", folder);
    ASSERT_EQ(model.materials.size(), 1u);
    const ModelMaterial& m = model.materials[0];
    EXPECT_EQ(m.name, "x");
    EXPECT_EQ(m.colour1, (Point3{0.1f, 0.2f, 0.3f}));
    EXPECT_EQ(m.colour2, (Point3{0.4f, 0.5f, 0.6f}));
    EXPECT_EQ(m.colour3, (Point3{0.7f, 0.8f, 0.9f}));
    EXPECT_EQ(m.colour4, (Point3{1, 1, 1}));
    EXPECT_EQ(m.colour5, (Point3{1, 1, 1}));
    EXPECT_EQ(
        (std::array{m.value6, m.value7, m.value8, m.value9, m.value10, m.value11, m.value12, m.value13}),
        (std::array{1.0f, 9.0f, 1.0f, 0.0f, 0.0f, 0.0f, 0.25f, 0.5f}));
    EXPECT_EQ(m.maps[0].path, folder.path() + "/./maps/a.png");
    EXPECT_EQ(m.maps[0].scale, (Point2{2, 3}));
    EXPECT_EQ(m.maps[0].offset, (Point2{4, 5}));
    EXPECT_EQ(m.maps[0].mmBase, 6);
    EXPECT_EQ(m.maps[0].mmGain, 7);
    EXPECT_EQ(m.maps[4].path, "/abs/b.png");
    EXPECT_EQ(m.maps[1].path, "") << "no map stays none";
}

TEST(ImportFile, NothingGivesNothing) {
    ModelObj file;
    ModelData model;
    ImportFile(model, file);
    EXPECT_TRUE(model.vertices.empty());
    EXPECT_TRUE(model.meshes.empty());
    const PreparedMesh mesh = PrepareMesh(std::move(model), {});
    EXPECT_TRUE(mesh.vertices.empty());
    EXPECT_TRUE(mesh.triangles.empty());
}

TEST(PrepareMesh, RunsGroupsBehindOneAnother) {
    const test::TemporaryFolder folder;
    ModelData model = Import(
        kPositions + "g a\nusemtl x\nf 1 2 3\nusemtl y\nf 1 2\nusemtl z\nf 1 2 5\nf 2 3 4\ng b\nf 3 4 1\n",
        folder);
    const ModelData copy = model;
    const PreparedMesh mesh = PrepareMesh(std::move(model), {});
    ASSERT_EQ(mesh.meshes.size(), 2u);
    EXPECT_EQ(mesh.meshes[0].groups, (std::vector<GroupRange>{{0, 0, 1}, {2, 1, 2}}))
        << "an empty group has no range";
    EXPECT_EQ(mesh.meshes[1].groups, (std::vector<GroupRange>{{2, 3, 1}}));
    EXPECT_EQ(mesh.triangles.size(), 4u);
    EXPECT_EQ(mesh.vertices, copy.vertices);
    EXPECT_EQ(mesh.materials.size(), 3u);
    ASSERT_EQ(mesh.adjacentNormals.size(), mesh.vertices.size());
    EXPECT_EQ(mesh.adjacentNormals[3], mesh.vertices[3].normal);
    EXPECT_EQ(mesh.size, copy.size);
    EXPECT_EQ(mesh.meshes[1].boundsMax, copy.meshes[1].boundsMax);
}

} // namespace
} // namespace velorin
