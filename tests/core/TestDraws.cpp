#include "core/CoreSamples.h"
#include "core/Introspect.h"
#include "core/ModelMatrices.h"
#include "core/document/SceneModel.h"
#include "render/MeshBuffers.h"
#include "render/RenderSettings.h"
#include "services/TemporaryFolder.h"
#include "services/Warnings.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>

namespace velorin {
namespace {

using test::ExpectNear;
using test::PlainGroup;

// A cube of edge 4 around (10, 20, 30) in the file's axes, of two meshes: the face at its least x and the one
// at its greatest x. The reader turns x and y round.
constexpr const char* kTwoFaces = "v 8 18 28\nv 8 22 28\nv 8 22 32\nv 8 18 32\n"
                                  "v 12 18 28\nv 12 22 28\nv 12 22 32\nv 12 18 32\n"
                                  "g near\nf 1 2 3 4\ng far\nf 5 6 7 8\n";
constexpr const char* kOneFace = "v -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\ng face\nf 1 2 3 4\n";

// A core without a context, with a scene whose models are files of a folder of the test's own.
class Draws : public test::CoreFrames {
protected:
    Draws() {
        assets.dataFolder = folder.path();
        folder.Put("two.obj", kTwoFaces);
        folder.Put("one.obj", kOneFace);
    }

    SceneModel& Add(const char* path, std::vector<Ref<SceneModel>>* list = nullptr,
                    SceneModel* parent = nullptr) {
        auto model = Ref<SceneModel>::Make(*path ? ModelType::File : ModelType::Folder, &assets);
        model->path = path;
        model->name = *path ? path : "folder";
        model->normalizeSize = true;
        model->parent = parent;
        auto& target = list ? *list : scene.models;
        target.push_back(model);
        return *model;
    }

    // Where the only vertex of a normalised model at `p` lands.
    static Point3 Place(const InstanceRecord& instance, Point3 p) {
        return TransformPoint(p, instance.modelMatrix);
    }

    test::TemporaryFolder folder;
};

TEST_F(Draws, AModelIsDrawnAtItsParticle) {
    Add("one.obj");
    GroupParams& group = params.groups[0];
    group.position = {640, 360, 50};
    group.particleSize = 10;
    group.colourTint = {0.5f, 1, 1, 1};
    group.opacity = 0.25f;
    const DrawList& list = Frame({640, 360, -950});
    ASSERT_EQ(list.records.size(), 1u);
    const DrawRecord& record = list.records[0];
    EXPECT_EQ(record.model->name, "one.obj");
    EXPECT_EQ(record.instanceCount, 1u);
    EXPECT_FLOAT_EQ(record.distance, 1000 * 1000);
    const InstanceRecord& instance = list.instances[0];
    ExpectNear(Place(instance, {1, -1, 0}), {640 + 250, 360 - 250, 50}, 1e-3f, "half an edge is 250 pixels");
    EXPECT_EQ(instance.colour, (Point4{0.5f, 1, 1, 1}));
    EXPECT_EQ(instance.opacity, 0.25f);
    EXPECT_TRUE(instance.visible);
    EXPECT_FALSE(instance.flip);
    EXPECT_EQ(instance.deform, kNoDeform);
}

TEST_F(Draws, SizeAndAlignmentPlaceTheGeometry) {
    SceneModel& model = Add("two.obj");
    struct Row {
        Alignment alignment;
        Point3 offset; // of the normalised middle, which is half an extent of 1 in every axis
    };
    const Row rows[] = {{Alignment::ModelCenter, {0, 0, 0}}, {Alignment::Top, {0, 1, 0}},
                        {Alignment::Bottom, {0, -1, 0}},     {Alignment::Front, {0, 0, 1}},
                        {Alignment::Back, {0, 0, -1}},       {Alignment::Left, {1, 0, 0}},
                        {Alignment::Right, {-1, 0, 0}},      {Alignment::FromModel, {-5, -10, 15}}};
    for (const Row& row : rows) {
        model.alignment = row.alignment;
        ExpectNear(Place(Frame().instances[0], {0, 0, 0}), row.offset * 25, 1e-3f,
                   std::to_string(static_cast<int>(row.alignment)));
    }
    model.flip = {true, false, false};
    ExpectNear(Place(Frame().instances[0], {0, 0, 0}), {5 * 25, -250, 375}, 1e-3f,
               "flipped about the file's origin");
    // Half an edge of 2 file units is 0.02.
    model.normalizeSize = false;
    model.flip = {};
    ExpectNear(Place(Frame().instances[0], {1, 0, 0}), Point3{-5 + 1, -10, 15} * 0.5f, 1e-3f, "at its size");
}

TEST_F(Draws, ModelAndMeshTransformsActBeforeTheParticle) {
    SceneModel& model = Add("two.obj");
    model.position = {0, 1, 0}; // up
    auto mesh = Ref<SceneMesh>::Make();
    mesh->position = {0, 0, 2};
    model.meshes = {Ref<SceneMesh>::Make(), mesh};
    params.groups[0].rotation = ReadRotation({0, 0, kPi / 2});
    const DrawList& list = Frame();
    ASSERT_EQ(list.instances.size(), 2u);
    ExpectNear(Place(list.instances[0], {0, 0, 0}), {25, 0, 0}, 1e-3f,
               "up is -y, a quarter turn takes it to x");
    ExpectNear(Place(list.instances[1], {0, 0, 0}), {25, 0, 50}, 1e-3f, "the second mesh stands behind");
    EXPECT_EQ(list.instances[1].baseModelMatrix, list.instances[0].baseModelMatrix);
    // A mesh's settings are found by the part it lists.
    mesh->parts = {0};
    ExpectNear(Place(Frame().instances[0], {0, 0, 0}), {25, 0, 50}, 1e-3f, "by part");
}

TEST_F(Draws, TheWorldTransformSparesExcludedGroups) {
    Add("one.obj").groups = {true, true, false, false, false};
    params.groups[1] = params.groups[0];
    params.world.position = {7, 0, 0};
    params.world.scale = 2;
    params.world.exclude[1] = true;
    const DrawList& list = Frame();
    ASSERT_EQ(list.records.size(), 2u);
    EXPECT_EQ(list.records[0].geometry, list.records[1].geometry) << "one geometry for two groups";
    EXPECT_EQ(core.cachedModels(), 1u);
    ExpectNear(Place(list.instances[0], {1, 0, 0}), {57, 0, 0}, 1e-3f, "in the world");
    ExpectNear(Place(list.instances[1], {1, 0, 0}), {25, 0, 0}, 1e-3f, "excluded");
    EXPECT_FLOAT_EQ(list.records[0].distance, 7 * 7 + 1000 * 1000);
    EXPECT_EQ(list.instances[1].objectIndex, 1u);
}

TEST_F(Draws, VisibilityFollowsTheTreeAndTheMeshes) {
    SceneModel& top = Add("");
    SceneModel& model = Add("two.obj", &top.children, &top);
    model.meshVisible = {false};
    const DrawList& list = Frame();
    ASSERT_EQ(list.instances.size(), 2u) << "the folder itself draws nothing";
    EXPECT_FALSE(list.instances[0].visible);
    EXPECT_TRUE(list.instances[1].visible) << "behind the list";
    top.enabled = false;
    for (const InstanceRecord& instance : Frame().instances) EXPECT_FALSE(instance.visible);
    EXPECT_EQ(core.drawList().instances.size(), 2u);
    top.enabled = true;
    top.reflectMode = ReflectMode::MirrorSurface;
    top.position = {1, 0, 0};
    const DrawList& mirrored = Frame();
    ASSERT_EQ(mirrored.reflections.size(), 1u);
    ExpectNear(mirrored.reflections[0].modelMatrix.translation(), {25, 0, 0}, 1e-3f, "the folder's place");
}

TEST_F(Draws, AuxChannelsMoveFadeAndShift) {
    SceneModel& model = Add("two.obj");
    model.auxChannel = 3;
    model.auxRatio = 0.5f;
    model.scale = {2, 2, 2};
    AuxChannel& three = params.groups[0].aux[2];
    three.position = {4, 0, 0};
    three.scale = 3;
    three.opacity = 0.5f;
    three.uvOffset = {0.25f, 0};
    auto mesh = Ref<SceneMesh>::Make();
    mesh->auxChannel = 1;
    model.meshes = {mesh};
    params.groups[0].aux[0].opacity = 0.1f;
    params.groups[0].aux[0].rotation = {0, 0, kPi / 2};
    const DrawList& list = Frame();
    // s' = 2 * 0.5 + 2 * 3 * 0.5 = 4; moved by 4 * 0.5.
    ExpectNear(Place(list.instances[1], {1, 0, 0}), {(2 + 4) * 25, 0, 0}, 1e-3f, "model");
    EXPECT_FLOAT_EQ(list.instances[1].opacity, 0.5f);
    EXPECT_EQ(list.instances[1].uvOffset, (Point2{0.25f, 0}));
    EXPECT_FLOAT_EQ(list.instances[0].opacity, 0.1f) << "the mesh's own channel";
    const Point3 turned = Place(list.instances[0], {1, 0, 0}) - Place(list.instances[0], {0, 0, 0});
    EXPECT_NEAR(std::fabs(turned.y), 100, 1e-3) << "a quarter turn";
    model.flip = {true, false, false};
    ExpectNear(Place(Frame().instances[1], {0, 0, 0}), {-50, 0, 0}, 1e-3f, "flipped first");
}

TEST_F(Draws, GeometryIsLoadedOnceAndGivenBack) {
    SceneModel& model = Add("one.obj");
    Frame();
    Frame();
    EXPECT_EQ(core.modelsLoaded(), 1u);
    ASSERT_EQ(params.loadedModels.size(), 1u);
    const MeshBuffers* const first = params.loadedModels[0];
    EXPECT_FALSE(model.needsLoad);

    // A second instance shares it; other import settings do not.
    FrameParams other = params;
    other.loadedModels.clear();
    core.BuildFrame(other, {});
    core.SetRender(0, other, {});
    EXPECT_EQ(other.loadedModels[0], first);
    EXPECT_EQ(core.modelsLoaded(), 1u);
    model.normalMode = NormalMode::Auto;
    Frame();
    EXPECT_EQ(core.modelsLoaded(), 2u);
    EXPECT_EQ(core.cachedModels(), 2u) << "the other instance still holds the first";
    core.ReleaseModels(other.loadedModels);
    EXPECT_EQ(core.cachedModels(), 2u) << "its instance may be set up again and ask for it";
    core.FreeUnusedModels();
    EXPECT_EQ(core.cachedModels(), 1u);

    // A file that changed is loaded anew.
    folder.Put("one.obj", std::string(kOneFace) + "f 1 2 3\n");
    Frame();
    EXPECT_EQ(core.modelsLoaded(), 3u);
    EXPECT_EQ(core.drawList().records[0].geometry->triangleCount(), 3u);
    model.groups[0] = false;
    Frame();
    EXPECT_EQ(core.cachedModels(), 0u) << "nobody shows it";
    EXPECT_TRUE(core.drawList().records.empty());
    EXPECT_EQ(params.particles[0].size(), 1u) << "a group without models still has its particles";

    // Held by its number, it outlives the instance.
    model.groups[0] = true;
    Frame();
    std::vector<MeshBuffers*> held;
    EXPECT_FALSE(core.HoldModel(12345, held));
    ASSERT_TRUE(core.HoldModel(params.loadedModels[0]->id(), held));
    core.ReleaseModels(params.loadedModels);
    EXPECT_EQ(core.cachedModels(), 1u);
    core.ReleaseModels(held);
    core.FreeUnusedModels();
    EXPECT_EQ(core.cachedModels(), 0u);
}

TEST_F(Draws, AMissingModelIsToldOnceAndTheRestIsDrawn) {
    params.groups[0].order = ParticleOrder::Backwards;
    params.groups[0].particleCount = 2;
    Add("gone.obj");
    Add("one.obj");
    EXPECT_EQ(Frame().records.size(), 1u);
    Frame();
    const auto warnings = TakeWarnings();
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_NE(warnings[0].find("gone.obj"), std::string::npos) << warnings[0];
    folder.Put("gone.obj", kOneFace);
    EXPECT_EQ(Frame().records.size(), 2u) << "it has come back";
}

TEST_F(Draws, SequencesShowTheFileOfTheirFrame) {
    for (int i = 1; i <= 3; ++i)
        folder.Put("walk0" + std::to_string(i) + ".obj",
                   "v 0 0 0\nv 1 0 0\nv 0 " + std::to_string(i) + " 0\nf 1 2 3\n");
    SceneModel& model = Add("walk01.obj");
    model.type = ModelType::Sequence;
    model.frameCount = 3, model.endFrame = 3;
    params.groups[0].particleCount = 4;
    for (int frame = 0; frame < 4; ++frame) {
        params.groups[0].baked.playback = static_cast<float>(frame);
        const DrawRecord& record = Frame().records[0];
        EXPECT_EQ(record.frame, static_cast<float>(frame % 3));
        EXPECT_EQ(std::filesystem::path(record.geometry->sourcePath).filename(),
                  "walk0" + std::to_string(frame % 3 + 1) + ".obj");
        EXPECT_EQ(core.cachedModels(), 1u) << "the last frame's file is given back";
    }
}

TEST_F(Draws, MultiObjectMovesTheMeshesApart) {
    SceneModel& model = Add("two.obj");
    GroupParams& group = params.groups[0];
    group.multi.enabled = true;
    group.multi.displace = {1, 1, 1};
    // The faces' middles stand at x of 1 and -1: the reader turns x round.
    const DrawList& list = Frame();
    ExpectNear(Place(list.instances[0], {1, 0, 0}), {50, 0, 0}, 1e-3f, "near");
    ExpectNear(Place(list.instances[1], {-1, 0, 0}), {-50, 0, 0}, 1e-3f, "far");
    auto stays = Ref<SceneMesh>::Make();
    stays->multiObject = MeshOverride::Off;
    model.meshes = {stays};
    ExpectNear(Place(Frame().instances[0], {1, 0, 0}), {25, 0, 0}, 1e-3f, "opted out");
    ExpectNear(Place(core.drawList().instances[1], {-1, 0, 0}), {-50, 0, 0}, 1e-3f, "inherits");
    // An aux channel acts behind it.
    stays->multiObject = MeshOverride::On;
    stays->auxChannel = 1;
    group.aux[0].position = {0, 0, 1};
    ExpectNear(Place(Frame().instances[0], {1, 0, 0}), {50, 0, 25}, 1e-3f, "aux");
    // Off for a model of one mesh that stands alone.
    scene.models.clear();
    Add("one.obj").position = {3, 0, 0};
    ExpectNear(Place(Frame().instances[0], {0, 0, 0}), {75, 0, 0}, 1e-3f, "a single mesh");
}

// What a frame allocates once does not grow with its particles, whatever moves them.
TEST_F(Draws, AParticleAllocatesNothingAfterTheFirstFrame) {
    Add("two.obj").groups = {true, true, false, false, false};
    for (const bool engine : {false, true})
        for (const bool multi : {false, true}) {
            params.engine.enabled = engine;
            params.engine.startGroup = 0, params.engine.finishGroup = 1;
            params.engine.animation = 0.3f;
            std::size_t perFrame[2]{};
            for (const std::uint32_t large : {0u, 1u}) {
                params.groups[0] = PlainGroup(ReplicatorShape::Sphere, large ? 4000 : 1000);
                params.groups[0].multi.enabled = multi;
                params.groups[0].scatter = params.groups[0].positionNoiseAmount = {5, 5, 5};
                params.groups[1] = params.groups[0];
                Frame();
                const std::size_t before = test::Allocations();
                EXPECT_EQ(Frame().records.size(), (large ? 4000u : 1000u) * (engine ? 1 : 2));
                perFrame[large] = test::Allocations() - before;
            }
            EXPECT_EQ(perFrame[0], perFrame[1]) << engine << multi;
            EXPECT_LT(perFrame[0], 200u) << engine << multi;
        }
}

TEST_F(Draws, DeformersComeAlongWhereTheModelTakesThem) {
    SceneModel& model = Add("two.obj");
    params.groups[0].deform.twist.enabled = true;
    auto off = Ref<SceneMesh>::Make();
    off->deformation = MeshOverride::Off;
    model.meshes = {off};
    const DrawList& list = Frame();
    ASSERT_EQ(list.deforms.size(), 1u);
    EXPECT_EQ(*list.deforms[0], params.groups[0].deform);
    EXPECT_EQ(list.instances[0].deform, kNoDeform);
    EXPECT_EQ(list.instances[1].deform, 0u);
    model.enableDeformation = false;
    EXPECT_EQ(Frame().instances[1].deform, kNoDeform);
}

TEST_F(Draws, ARigTurnsTheMeshThatItNames) {
    // A layer of two frames that moves "far" by (0, 2, 0) of the file's units: keys are stored x, z, y and
    // negated.
    std::string vrd;
    const auto number = [&](std::uint32_t n) { vrd.append(reinterpret_cast<const char*>(&n), 4); };
    const auto floats = [&](std::initializer_list<float> values) {
        for (const float value : values) vrd.append(reinterpret_cast<const char*>(&value), 4);
    };
    number(1);
    vrd += std::string("open") + '\0';
    number(24), number(0), number(1), number(1);
    vrd += std::string("far") + '\0';
    number(2);
    floats({0, 0, 0, 1, 0, 0, 0});
    floats({0, 0, 0, 1, 0, 0, -2});
    number(0);
    folder.Put("two.vrd", vrd);
    SceneModel& model = Add("two.obj");
    params.groups[0].rig[19] = 50;
    const DrawList& list = Frame();
    EXPECT_TRUE(model.hasRig);
    // Half of 2 units in a model whose half-edge is 2 units: half a unit of its space.
    ExpectNear(Place(list.instances[1], {0, 0, 0}), {0, 12.5f, 0}, 1e-3f, "far");
    ExpectNear(Place(list.instances[0], {0, 0, 0}), {0, 0, 0}, 1e-3f, "near");
    model.flip = {false, true, false};
    ExpectNear(Place(Frame().instances[1], {0, 0, 0}), {0, -12.5f, 0}, 1e-3f, "flipped with its geometry");
    EXPECT_TRUE(core.LoadRigTables(folder.Put("tables", "two.obj: 0\n")));
    ExpectNear(Place(Frame().instances[1], {0, 0, 0}), {0, 0, 0}, 1e-3f, "channel 19 drives nothing now");
    params.groups[0].rig[0] = 100;
    ExpectNear(Place(Frame().instances[1], {0, 0, 0}), {0, -25, 0}, 1e-3f, "channel 0 does");
    EXPECT_FALSE(core.LoadRigTables(folder.file("none")));
}

// Two groups: one particle at x -100 and one at x 100, blended.
class EngineDraws : public Draws {
protected:
    EngineDraws() {
        params.engine.enabled = true;
        params.engine.startGroup = 0, params.engine.finishGroup = 1;
        params.engine.ease = Ease::Off;
        params.groups[0].position = {-100, 0, 0};
        params.groups[1] = params.groups[0];
        params.groups[1].position = {100, 0, 0};
        params.groups[1].opacity = 0.5f;
    }
    const DrawList& At(float animation) {
        params.engine.animation = animation;
        return Frame();
    }
};

TEST_F(EngineDraws, OneGeometryIsBlendedInOneRecord) {
    SceneModel& model = Add("one.obj");
    model.groups = {true, true, false, false, false};
    for (const float t : {0.0f, 0.25f, 1.0f}) {
        const DrawList& list = At(t);
        ASSERT_EQ(list.records.size(), 1u) << t;
        EXPECT_EQ(list.records[0].finishModel, nullptr) << "one model needs one layer";
        ExpectNear(Place(list.instances[0], {0, 0, 0}), {-100 + 200 * t, 0, 0}, 1e-3f, "place");
        EXPECT_FLOAT_EQ(list.instances[0].opacity, 1 - t / 2);
    }
    // Two models of one geometry: the second is a layer on the way and the look at the end.
    model.groups = {true, false, false, false, false};
    SceneModel& second = Add("one.obj");
    second.name = "second";
    second.groups = {false, true, false, false, false};
    second.position = {1, 0, 0};
    EXPECT_EQ(At(0).records[0].model, &model);
    EXPECT_EQ(At(0).records[0].finishModel, nullptr);
    const DrawList& half = At(0.5f);
    ASSERT_EQ(half.records.size(), 1u);
    EXPECT_EQ(half.records[0].finishModel, &second);
    EXPECT_FLOAT_EQ(half.instances[0].layerMix, 0.5f);
    ExpectNear(Place(half.instances[0], {0, 0, 0}), {12.5f, 0, 0}, 1e-3f, "half way of both transforms");
    EXPECT_EQ(At(1).records[0].model, &second);
    EXPECT_EQ(At(1).instances[0].layerMix, 0);
}

TEST_F(EngineDraws, DifferentGeometryFadesFromOneToTheOther) {
    Add("one.obj");
    Add("two.obj").groups = {false, true, false, false, false};
    EXPECT_EQ(At(0).records.size(), 1u);
    EXPECT_EQ(At(0).records[0].model->name, "one.obj");
    const DrawList& half = At(0.25f);
    ASSERT_EQ(half.records.size(), 2u);
    EXPECT_FLOAT_EQ(half.instances[0].opacity, 0.75f);
    EXPECT_FLOAT_EQ(half.instances[1].opacity, 0.25f * 0.5f);
    for (const InstanceRecord& instance : half.instances)
        ExpectNear(Place(instance, {0, 0, 0}), {-50, 0, 0}, 1e-3f, "both at the blended particle");
    const DrawList& end = At(1);
    ASSERT_EQ(end.records.size(), 1u);
    EXPECT_EQ(end.records[0].model->name, "two.obj");
    EXPECT_EQ(end.records[0].group, 1u);
}

TEST_F(EngineDraws, BackwardsSwapsTheSidesAndOtherGroupsAreDrawnAsEver) {
    Add("one.obj").groups = {true, true, true, false, false};
    params.groups[2] = PlainGroup(ReplicatorShape::Point, 2);
    params.engine.backwards = true;
    const DrawList& list = At(0.25f);
    ASSERT_EQ(list.records.size(), 3u);
    ExpectNear(Place(list.instances[0], {0, 0, 0}), {50, 0, 0}, 1e-3f, "from the second group");
    EXPECT_EQ(list.records[1].group, 2u);
    EXPECT_EQ(list.records[2].particleIndex, 1u);

    params.engine.finishGroup = 0; // one group on both sides
    ExpectNear(Place(At(0.5f).instances[0], {0, 0, 0}), {-100, 0, 0}, 1e-3f, "stays");
    params.groups[0].particleCount = 0;
    EXPECT_EQ(At(0.5f).records.size(), 3u) << "no particles, no records but those of the groups beside it";
}

TEST_F(EngineDraws, MeshesTravelOnTheirOwn) {
    Add("two.obj").groups = {true, true, false, false, false};
    params.engine.smoothness = 0;
    params.engine.block.type = params.engine.dual.type = AnimationBlock::ShapeOrder;
    params.groups[0].multi.enabled = true;
    // Two instances, keys 0 and 1, c = 0.5: the first goes in the first half, the second in the other.
    const DrawList& list = At(0.5f);
    ASSERT_EQ(list.instances.size(), 2u);
    ExpectNear(Place(list.instances[0], {0, 0, 0}), {100, 0, 0}, 1e-3f, "arrived");
    ExpectNear(Place(list.instances[1], {0, 0, 0}), {-100, 0, 0}, 1e-3f, "waits");
    params.engine.disconnectMulti = false;
    const DrawList& together = At(0.5f);
    EXPECT_EQ(Place(together.instances[0], {0, 0, 0}), Place(together.instances[1], {0, 0, 0}));
    // The start's explosion ends where the finish group has none.
    params.groups[0].multi.displace = {1, 1, 1};
    ExpectNear(Place(At(0).instances[0], {1, 0, 0}), {-50, 0, 0}, 1e-3f, "apart");
    ExpectNear(Place(At(1).instances[0], {1, 0, 0}), {125, 0, 0}, 1e-3f, "together");
}

TEST_F(EngineDraws, DeformersAreBlendedOrChosen) {
    Add("one.obj").groups = {true, true, false, false, false};
    params.groups[0].deform.twist.enabled = true;
    params.groups[0].deform.twist.rotation = {4, 0, 0};
    const auto twist = [&](const DrawList& list) {
        const std::uint32_t index = list.instances[0].deform;
        return index == kNoDeform ? 0 : list.deforms[index]->twist.rotation.x;
    };
    EXPECT_FLOAT_EQ(twist(At(0)), 4);
    EXPECT_FLOAT_EQ(twist(At(0.25f)), 3);
    EXPECT_FLOAT_EQ(twist(At(1)), 0);
    params.engine.deformFrom = DeformFrom::Start;
    EXPECT_FLOAT_EQ(twist(At(1)), 4);
    params.engine.deformFrom = DeformFrom::Finish;
    EXPECT_FLOAT_EQ(twist(At(0)), 0);
}

TEST_F(Draws, LayersAndEnvironmentAreHandedOn) {
    Add("one.obj");
    RenderSettings settings;
    params.settings = &settings;
    const auto* const layer = reinterpret_cast<const LayerTexture*>(&settings);
    params.layers[3] = layer;
    Frame();
    core.SetRender(0, params, {}); // a second instance in the same frame
    const DrawList& list = core.drawList();
    ASSERT_EQ(list.layers.size(), 20u);
    EXPECT_EQ(list.layers[3], layer);
    EXPECT_EQ(list.records[0].layerSet, 0u);
    EXPECT_EQ(list.records[1].layerSet, 1u);
    EXPECT_EQ(settings.environment.channel, &scene.environment);
    core.DropFrame();
    EXPECT_TRUE(list.records.empty() && list.instances.empty() && list.layers.empty());
}

TEST_F(Draws, AreToldAsJson) {
    Add("two.obj").name = "Gear \"x\"";
    params.groups[0].particleCount = 2;
    Frame();
    const auto draws = nlohmann::json::parse(DrawsJson(core.drawList()));
    ASSERT_EQ(draws.size(), 4u);
    EXPECT_EQ(draws[3]["model"], "Gear \"x\"");
    EXPECT_TRUE(draws[3]["mesh"] == 1 && draws[3]["particle"] == 1 && draws[3]["modelMatrix"][0] == 25.0);
    EXPECT_EQ(DrawsJson(core.drawList(), 1), "[]");
    params.particles[0][1].animationKey = std::nanf("");
    EXPECT_TRUE(nlohmann::json::parse(ParticlesJson(params, 0)).at(1)["animationKey"].is_null());
}

} // namespace
} // namespace velorin
