#include "core/document/ChunkFile.h"
#include "core/document/Scene.h"
#include "model/ModelPreset.h"
#include "model/PackFile.h"

#include "FormatChecks.h"
#include "services/TemporaryFolder.h"

#include <gtest/gtest.h>

using namespace velorin;
using namespace velorin::test;

namespace {

using Materials = std::vector<Ref<SceneMaterial>>;

Ref<SceneModel> Make(const std::string& name, ModelType type = ModelType::File) {
    Ref<SceneModel> model = Ref<SceneModel>::Make(type);
    model->name = name;
    return model;
}

// A folder with two models and a folder of one; the first two share a material.
void FillScene(Scene& scene) {
    for (const char* name : {"unused", "shared", "own"}) {
        scene.materials.push_back(Ref<SceneMaterial>::Make());
        scene.materials.back()->name = name;
    }
    const Ref<SceneModel> top = Make("top", ModelType::Folder), inner = Make("inner", ModelType::Folder);
    const Ref<SceneModel> a = Make("a"), b = Make("b"), c = Make("c", ModelType::Primitive);
    scene.models = {Make("before"), top};
    EXPECT_TRUE(top->Attach(*a, &scene, false) && top->Attach(*inner, &scene, false) &&
                inner->Attach(*c, &scene, false) && top->Attach(*b, &scene, false));
    const auto bind = [&](SceneModel& model, std::size_t index) {
        model.bindings.push_back({scene.materials[index].get(), static_cast<std::uint32_t>(index), true});
    };
    bind(*a, 2), bind(*a, 1), bind(*a, 2);
    bind(*b, 1);
    a->expanded = b->replicatorSource = true;
    c->groups = {false, true, true, false, false};
    c->primitive = PrimitiveKind::Torus;
    c->primitiveParameters.torus.twists = 3;
}

std::string Draw(const SceneModel& model) {
    std::string text = model.name;
    if (model.type != ModelType::Folder) return text;
    text += '(';
    for (const Ref<SceneModel>& child : model.children) text += Draw(*child) + ' ';
    return text + ')';
}

std::vector<std::uint32_t> Tags(const Buffer& bytes) {
    std::vector<std::uint32_t> tags;
    ChunkFile file{Bytes(bytes)};
    while (const std::uint32_t tag = file.NextChunk()) tags.push_back(tag);
    return tags;
}

Buffer Model(const std::string& name, std::uint32_t type, std::uint32_t depth) {
    return Wide(101, Zero(name + ".obj")) + Wide(102, Zero(name)) + Wide(103, U32(type)) +
           Wide(300, U32(depth));
}
const Buffer kMagic = Text("NXCFH") + U8({0, 0, 1});

} // namespace

TEST(ModelPreset, KeepsTheTreeAndItsMaterials) {
    const TemporaryFolder folder;
    const std::string path = folder.file("set.qmx");
    Scene scene;
    FillScene(scene);
    PresetPicture picture{105, 63, std::vector<std::uint8_t>(26'460, 7)};
    std::string error;
    ASSERT_TRUE(SaveModelPreset(path, *scene.models[1], scene, picture, &error)) << error;

    const Buffer bytes = Text(ReadWhole(path));
    EXPECT_EQ(Buffer(bytes.begin(), bytes.begin() + 20), kMagic + Wide(1, U32(4)));
    const std::vector<std::uint32_t> tags = Tags(bytes);
    EXPECT_EQ(std::count(tags.begin(), tags.end(), 101u), 5);
    EXPECT_EQ(std::count(tags.begin(), tags.end(), 100u), 0);
    EXPECT_EQ(std::count(tags.begin(), tags.end(), 500u), 3) << "two of a, one of b";
    EXPECT_EQ(std::vector<std::uint32_t>(tags.end() - 2, tags.end()), (std::vector<std::uint32_t>{10, 11}));
    EXPECT_EQ(Buffer(bytes.end() - 26'460 - 24, bytes.end() - 26'460 - 8),
              U32(10) + U32(8) + U32(105) + U32(63));

    SceneModel root;
    Materials materials;
    PresetPicture read;
    ASSERT_TRUE(LoadModelPreset(path, root, materials, &read));
    EXPECT_EQ(Draw(root), "top(a inner(c ) b )");
    EXPECT_EQ(read.width, 105u);
    EXPECT_EQ(read.pixels, picture.pixels);
    ASSERT_EQ(materials.size(), 3u);
    EXPECT_EQ(materials[0]->name, "shared") << "in the order of the scene's list";
    EXPECT_EQ(materials[1]->name, "own");
    const SceneModel &a = *root.children[0], &inner = *root.children[1], &b = *root.children[2];
    ASSERT_EQ(a.bindings.size(), 3u);
    EXPECT_EQ(a.bindings[0].material, materials[1].get());
    EXPECT_EQ(a.bindings[1].material, materials[0].get());
    EXPECT_EQ(b.bindings[0].material, materials[0].get()) << "to the first of the two";
    EXPECT_FALSE(a.expanded || b.replicatorSource);
    const SceneModel& c = *inner.children[0];
    EXPECT_EQ(c.groups, (std::array<bool, 5>{true, false, false, false, false}));
    EXPECT_EQ(c.primitiveParameters.torus.twists, 3);
    EXPECT_EQ(root.depth, 0u);
    EXPECT_EQ(c.depth, 2u);
    EXPECT_EQ(root.references(), 1u);
    EXPECT_EQ(c.references(), 1u);
}

TEST(ModelPreset, OfAModelInAFolderStandsAloneAndInABundle) {
    const TemporaryFolder folder;
    Scene scene;
    FillScene(scene);
    const SceneModel& inner = *scene.models[1]->children[1];
    const std::string path = folder.file("inner.qmx"), bundle = folder.file("c.qbndl");
    ASSERT_TRUE(SaveModelPreset(path, inner, scene, {}));
    {
        PackFile pack;
        pack.Open(bundle, false, false);
        ASSERT_TRUE(pack.Put("sets/a.qmx", Text(ReadWhole(path))));
    }
    for (const std::string& place : {path, bundle + ">sets/a.qmx"}) {
        SceneModel root;
        Materials materials;
        PresetPicture picture{1, 1, {1, 2, 3, 4}};
        ASSERT_TRUE(LoadModelPreset(place, root, materials, &picture));
        EXPECT_EQ(Draw(root), "inner(c )");
        EXPECT_EQ(root.children[0]->depth, 1u);
        EXPECT_TRUE(materials.empty());
        EXPECT_TRUE(picture.pixels.empty()) << "a preset without a picture";
    }
    SceneModel root;
    Materials materials;
    for (const std::string& place :
         {bundle + ">sets/b.qmx", folder.file("no.qbndl>a"), folder.file("no.qmx")})
        EXPECT_FALSE(LoadModelPreset(place, root, materials)) << place;
}

TEST(ModelPreset, ReadsWhatOthersWrote) {
    const struct {
        const char* name;
        Buffer chunks;
        const char* tree;
    } cases[] = {
        {"one model", Model("a", 1, 0), "a"},
        {"a root that was deep", Model("A", 8, 3) + Model("b", 1, 4), "A(b )"},
        {"what is not below the root is dropped", Model("A", 8, 0) + Model("b", 1, 1) + Model("c", 1, 0),
         "A(b )"},
        {"a root that is no folder stands alone", Model("a", 1, 0) + Model("b", 1, 1), "a"},
        {"shallower than the root", Model("A", 8, 5) + Model("B", 8, 6) + Model("c", 1, 2), "A(B() )"},
        {"chunks before the first model are skipped",
         Wide(102, Zero("x")) + Wide(510, U8({1, 2, 3, 4})) + Model("a", 1, 0), "a"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SceneModel root;
        Materials materials;
        ASSERT_TRUE(LoadModelPresetBytes(kMagic + c.chunks, root, materials));
        EXPECT_EQ(Draw(root), c.tree);
    }
    // The document's version stands in tag 1; before it, the magic's counts: one factor in version 1.
    SceneModel root;
    Materials materials;
    ASSERT_TRUE(LoadModelPresetBytes(kMagic + Model("a", 1, 0) + Wide(124, F32({2, 3, 4})), root, materials));
    EXPECT_EQ(root.scale, (Point3{2, 2, 2}));
    ASSERT_TRUE(LoadModelPresetBytes(kMagic + Wide(1, U32(4)) + Model("a", 1, 0) + Wide(124, F32({2, 3, 4})),
                                     root, materials));
    EXPECT_EQ(root.scale, (Point3{2, 3, 4}));
    // Bindings go by the stored number of the material, the first one first; without one they stay empty.
    SceneModel bound;
    ASSERT_TRUE(LoadModelPresetBytes(kMagic + Model("a", 1, 0) + Wide(200, U32(7)) + Wide(201, U8({0})) +
                                         Wide(200, U32(9)) + Wide(500, U32(0)) + Wide(501, Zero("first")) +
                                         Wide(502, U32(7)) + Wide(500, U32(0)) + Wide(502, U32(7)),
                                     bound, materials));
    ASSERT_EQ(bound.bindings.size(), 2u);
    ASSERT_EQ(materials.size(), 2u);
    EXPECT_EQ(bound.bindings[0].material, materials[0].get());
    EXPECT_FALSE(bound.bindings[0].enabled);
    EXPECT_EQ(bound.bindings[1].material, nullptr);
}

TEST(ModelPreset, RefusesWhatIsNone) {
    const TemporaryFolder folder;
    SceneModel root;
    Materials materials;
    EXPECT_FALSE(LoadModelPresetBytes({}, root, materials));
    EXPECT_FALSE(LoadModelPresetBytes(kMagic, root, materials)) << "no model in it";
    EXPECT_FALSE(LoadModelPresetBytes(Text("NXCFH") + U8({0, 0, 4}) + Model("a", 1, 0), root, materials))
        << "newer";
    EXPECT_TRUE(materials.empty());

    Scene scene;
    FillScene(scene);
    std::string error;
    EXPECT_FALSE(SaveModelPreset(folder.file("no/folder.qmx"), *scene.models[1], scene, {}, &error));
    EXPECT_NE(error.find("no/folder.qmx"), std::string::npos);

    ASSERT_TRUE(
        SaveModelPreset(folder.file("whole.qmx"), *scene.models[1], scene, {2, 1, {1, 2, 3, 4, 5, 6, 7, 8}}));
    ForEachTruncation(Text(ReadWhole(folder.file("whole.qmx"))), [](Bytes part) {
        SceneModel cut;
        Materials read;
        PresetPicture picture;
        (void)LoadModelPresetBytes(part, cut, read, &picture);
        EXPECT_TRUE(picture.pixels.empty());
        for (const Ref<SceneModel>& child : cut.children)
            for (const MaterialBinding& binding : child->bindings)
                EXPECT_TRUE(!binding.material || !read.empty());
    });
}
