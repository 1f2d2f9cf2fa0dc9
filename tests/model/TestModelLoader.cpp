#include "services/TemporaryFolder.h"

#include "core/document/SceneModel.h"
#include "model/ModelLoader.h"
#include "services/Warnings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velorin {
namespace {

TEST(ModelLoader, ReadsFilesRelativeToTheDataFolder) {
    const test::TemporaryFolder folder;
    folder.Put("a.OBJ", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    SceneModel model(ModelType::File);
    model.path = "sub/../a.OBJ";
    ModelData data;
    EXPECT_TRUE(LoadModelData(model, folder.path(), data));
    EXPECT_EQ(TriangleCount(data), 1u);
    model.path = folder.path() + "/a.OBJ";
    model.type = ModelType::ImportedFile;
    ModelData absolute;
    EXPECT_TRUE(LoadModelData(model, "/elsewhere", absolute));
    EXPECT_EQ(absolute.vertices, data.vertices);
}

TEST(ModelLoader, TellsOnceWhatCannotBeRead) {
    ResetWarnings();
    const test::TemporaryFolder folder;
    folder.Put("empty.obj", "# nothing\n");
    ModelData data;
    EXPECT_FALSE(LoadModelFile(folder.path() + "/absent.obj", true, true, data));
    EXPECT_FALSE(LoadModelFile(folder.path() + "/absent.obj", true, true, data));
    EXPECT_FALSE(LoadModelFile(folder.path() + "/empty.obj", true, true, data));
    EXPECT_FALSE(LoadModelFile(folder.path() + "/other.xyz", true, true, data)) << "no message";
    const std::vector<std::string> warnings = TakeWarnings();
    ASSERT_EQ(warnings.size(), 2u);
    EXPECT_THAT(warnings[0],
                testing::AllOf(testing::HasSubstr("absent.obj"), testing::HasSubstr("cannot be opened")));
    EXPECT_THAT(warnings[1], testing::AllOf(testing::HasSubstr("empty.obj"), testing::HasSubstr("no face")));
    EXPECT_TRUE(data.vertices.empty());
    ResetWarnings();
}

TEST(ModelLoader, TheLayerPlaneFacesTheViewer) {
    SceneModel model(ModelType::LayerPlane);
    ModelData data;
    ASSERT_TRUE(LoadModelData(model, "", data));
    ASSERT_EQ(data.vertices.size(), 4u);
    EXPECT_EQ(data.vertices[3].position, (Point3{1, 1, 0}));
    EXPECT_EQ(data.vertices[2].texCoord, (Point2{0, 1}));
    EXPECT_EQ(data.meshes[0].groups[0].triangles, (ModelTriangles{{0, 1, 2}, {1, 3, 2}}));
    EXPECT_EQ(data.materials[0].name, "Default");
    EXPECT_EQ(data.size, 1);
    EXPECT_EQ(data.vertices[0].tangent.x, 1);
}

TEST(ModelLoader, AFolderHasNoGeometry) {
    SceneModel model(ModelType::Folder);
    ModelData data;
    EXPECT_FALSE(LoadModelData(model, "", data));
    EXPECT_TRUE(data.vertices.empty());
}

} // namespace
} // namespace velorin
