#include "core/CoreSamples.h"
#include "core/document/SceneModel.h"
#include "render/MeshBuffers.h"
#include "services/Warnings.h"

#include <gtest/gtest.h>

namespace velorin {
namespace {

using test::PlainGroup;

std::shared_ptr<const PathSet> Square(float size) {
    PathSet set;
    set.paths.push_back({{{0, 0}, {}, {}}, {{size, 0}, {}, {}}, {{size, size}, {}, {}}, {{0, size}, {}, {}}});
    set.scale = 100 / size;
    return std::make_shared<const PathSet>(set);
}

// One instance that shows the solid of "Path Layer 3", in a core without a context.
class PathLayerFrames : public test::CoreFrames {
protected:
    PathLayerFrames() {
        auto title = Ref<SceneModel>::Make(ModelType::Extrusion);
        title->name = "Title";
        title->customPath = 2;
        scene.models.push_back(title);
        model = title.get();
    }
    // Half the larger extent of the solid that is drawn, 0 when none is.
    float Size() {
        const DrawList& list = Frame();
        return list.records.empty() ? 0 : list.records[0].geometry->prepared().size;
    }
    SceneModel* model = nullptr;
};

TEST_F(PathLayerFrames, OnlyWhatShapesASolidBuildsItAgain) {
    model->bevels[0].bevelSize = 0; // the wall is the outline, but for the least size of 0.001 times 3
    params.pathLayers[2] = Square(200);
    EXPECT_NEAR(Size(), 100, 0.01);
    EXPECT_EQ(core.modelsLoaded(), 1u);

    params.pathLayers[2] = Square(200); // another object of the same content
    params.pathLayers[1] = Square(50);  // another row
    params.groups[0].position = {10, 20, 30};
    params.groups[0].particleCount = 3;
    EXPECT_NEAR(Size(), 100, 0.01);
    EXPECT_EQ(core.modelsLoaded(), 1u);

    for (int i = 1; i <= 5; ++i) { // an animation leaves nothing behind
        params.pathLayers[2] = Square(200 + 10.0f * static_cast<float>(i));
        EXPECT_NEAR(Size(), 100 + 5 * i, 0.01);
        EXPECT_EQ(core.modelsLoaded(), 1u + static_cast<unsigned>(i));
        EXPECT_EQ(core.cachedModels(), 1u);
    }
    model->bevels[0].expandEdges = 5; // times the bevel scale of 3
    EXPECT_NEAR(Size(), 125 + 15, 0.01);
    EXPECT_EQ(core.modelsLoaded(), 7u);
    model->customPath = 1;
    EXPECT_NEAR(Size(), 25 + 15, 0.01);
    EXPECT_EQ(core.cachedModels(), 1u);
    core.ReleaseModels(params.loadedModels);
    core.FreeUnusedModels();
    EXPECT_EQ(core.cachedModels(), 0u);
}

TEST_F(PathLayerFrames, ARowWithoutOutlinesIsToldOnceAndStaysEmpty) {
    for (int frame = 0; frame < 3; ++frame) EXPECT_EQ(Size(), 0);
    params.pathLayers[2] = std::make_shared<const PathSet>();
    for (int frame = 0; frame < 3; ++frame) EXPECT_EQ(Size(), 0);
    EXPECT_EQ(TakeWarnings(), (std::vector<std::string>{
                                  "Extrusion \"Title\" is empty: Path Layer 3 names no layer.",
                                  "Extrusion \"Title\" is empty: Path Layer 3 has no closed outline."}));
    params.pathLayers[2] = Square(200);
    EXPECT_GT(Size(), 0);
    EXPECT_TRUE(TakeWarnings().empty());
}

TEST_F(PathLayerFrames, AnExtrusionAsASurfaceFollowsItsOutlines) {
    model->replicatorSource = true;
    params.groups[0] = PlainGroup(ReplicatorShape::Object3D, 4000);
    const auto width = [&](float size) {
        params.pathLayers[2] = Square(size);
        Size();
        float reach = 0;
        for (const Particle& p : params.particles[0]) reach = std::max(reach, std::abs(p.position.x));
        return reach;
    };
    const float narrow = width(200);
    ASSERT_GT(narrow, 0);
    EXPECT_NEAR(width(400) / narrow, 2, 0.05);
}

} // namespace
} // namespace velorin
