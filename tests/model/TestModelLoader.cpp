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
    EXPECT_FALSE(LoadModelFile(folder.file("other.xyz"), true, true, data)) << "without a word";
    EXPECT_THAT(TakeWarnings(), testing::IsEmpty());
    std::string reason;
    EXPECT_FALSE(LoadModelFile(folder.file("empty.obj"), true, true, data, {}, &reason));
    EXPECT_EQ(reason, "holds no face");
    EXPECT_THAT(TakeWarnings(), testing::IsEmpty());
    SceneModel model(ModelType::ImportedFile);
    for (const char* path : {"absent.obj", "absent.obj", "empty.obj", "film.C4D", "other.xyz", ""}) {
        model.path = path;
        EXPECT_FALSE(LoadModelData(model, folder.path(), data)) << path;
    }
    EXPECT_THAT(TakeWarnings(),
                testing::ElementsAre("Model absent.obj cannot be opened: No such file or directory.",
                                     "Model empty.obj holds no face.",
                                     "Model film.C4D is of a kind that this version does not read.",
                                     "Model other.xyz is of no known kind of model file."));
    EXPECT_TRUE(data.vertices.empty());
    ResetWarnings();
}

TEST(ModelLoader, TheLayerPlaneFacesTheViewer) {
    ModelData data;
    EXPECT_FALSE(LoadModelData(SceneModel(ModelType::Folder), "", data)) << "has no geometry";
    ASSERT_TRUE(LoadModelData(SceneModel(ModelType::LayerPlane), "", data));
    ASSERT_EQ(data.vertices.size(), 4u);
    EXPECT_EQ(data.vertices[3].position, (Point3{1, 1, 0}));
    EXPECT_EQ(data.vertices[2].texCoord, (Point2{0, 1}));
    EXPECT_EQ(data.meshes[0].groups[0].triangles, (ModelTriangles{{0, 1, 2}, {1, 3, 2}}));
    EXPECT_EQ(data.materials[0].name, "Default");
    EXPECT_EQ(data.size, 1);
    EXPECT_EQ(data.vertices[0].tangent.x, 1);
}

} // namespace
} // namespace velorin
