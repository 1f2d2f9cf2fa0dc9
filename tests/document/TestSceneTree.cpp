#include "core/document/AssetContext.h"
#include "core/document/Scene.h"

#include "FormatChecks.h"
#include "document/DocumentSamples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

using namespace velorin;
using namespace velorin::test;

namespace {

// "a(b c) d": names, with the contents of folders in brackets.
std::string Draw(const std::vector<Ref<SceneModel>>& models) {
    std::string text;
    for (const Ref<SceneModel>& model : models) {
        if (!text.empty()) text += ' ';
        text += model->name;
        if (model->type == ModelType::Folder) text += '(' + Draw(model->children) + ')';
    }
    return text;
}

Ref<SceneModel> Make(const std::string& name, ModelType type = ModelType::File) {
    Ref<SceneModel> model = Ref<SceneModel>::Make(type);
    model->name = name;
    return model;
}

void ExpectNear(const Matrix& a, const Matrix& b, float tolerance) {
    for (std::size_t i = 0; i < 16; ++i) EXPECT_NEAR(a.m[i], b.m[i], tolerance) << "element " << i;
}

void ExpectNear(Point3 a, Point3 b, float tolerance) {
    EXPECT_NEAR(a.x, b.x, tolerance);
    EXPECT_NEAR(a.y, b.y, tolerance);
    EXPECT_NEAR(a.z, b.z, tolerance);
}

} // namespace

TEST(SceneTree, IsRebuiltFromDepths) {
    const struct {
        const char* models; // depth and name of each, a folder in capitals
        const char* tree;
    } cases[] = {
        {"0a 0b 0c", "a b c"},
        {"0A", "A()"},
        {"0A 1b 1c 0d", "A(b c) d"},
        {"0A 1B 2c 1d 0e", "A(B(c) d) e"},
        {"0A 1B 2C 3d 1e", "A(B(C(d)) e)"},
        {"0A 0B 1c", "A() B(c)"},
        {"0A 1B 1c", "A(B() c)"}, // beside the folder, which is closed
        {"0A 1B 1C 2d", "A(B() C(d))"},
        {"0A 2b", "A(b)"},           // no folder at depth 1: the deepest open one
        {"2b", ""},                  // no folder open: dropped
        {"1A 2b 0c", "c"},           // a folder without a place takes its contents along
        {"1A 1b", "b"},              // ... and gives way to one of its depth
        {"0A 3B 2c 0d", "A(B()) d"}, // closes B, then A, and finds no place
        {"0A 1B 2C 0d", "A(B(C())) d"},
        {"0A 1B 2C 2D 1e 0f", "A(B(C() D()) e) f"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.models);
        Buffer document = Text("ZQS") + U8({4});
        for (const char* at = c.models; *at; at += 3) {
            const bool folder = at[1] < 'a';
            document += Narrow(100, U8({0})) + Narrow(102, Zero(std::string(1, at[1]))) +
                        Narrow(103, U32(folder ? 8 : 1)) +
                        Narrow(300, U32(static_cast<std::uint32_t>(at[0] - '0')));
            if (at[2] == 0) break;
        }
        Scene scene;
        ASSERT_TRUE(scene.Read(document));
        EXPECT_EQ(Draw(scene.models), c.tree);
        for (const SceneModel* model : scene.Flatten())
            EXPECT_EQ(model->depth, model->parent ? model->parent->depth + 1 : 0);
    }
}

TEST(SceneTree, MovesModelsBetweenFolders) {
    Scene scene;
    for (const char* name : {"a", "b", "c"}) scene.models.push_back(Make(name));
    scene.models.push_back(Make("F", ModelType::Folder));
    scene.models.push_back(Make("G", ModelType::Folder));
    SceneModel &a = *scene.models[0], &b = *scene.models[1], &f = *scene.models[3], &g = *scene.models[4];

    EXPECT_TRUE(f.Attach(a, &scene, false));
    EXPECT_TRUE(f.Attach(b, &scene, false, 0));
    EXPECT_EQ(Draw(scene.models), "c F(b a) G()");
    EXPECT_EQ(a.references(), 1u) << "a move keeps the one reference";
    EXPECT_TRUE(g.Attach(f, &scene, false));
    EXPECT_EQ(Draw(scene.models), "c G(F(b a))");
    EXPECT_EQ(a.depth, 2u);
    EXPECT_TRUE(f.Attach(b, &scene, false, 99));
    EXPECT_EQ(Draw(scene.models), "c G(F(a b))");
    EXPECT_FALSE(f.Attach(g, &scene, false)) << "a folder cannot stand in itself";
    EXPECT_FALSE(f.Attach(f, &scene, false));
    EXPECT_EQ(Draw(scene.models), "c G(F(a b))");
    scene.AttachTop(f, false, 0);
    EXPECT_EQ(Draw(scene.models), "F(a b) c G()");
    EXPECT_EQ(b.depth, 1u);
    const Ref<SceneModel> taken = scene.Detach(a);
    EXPECT_EQ(Draw(scene.models), "F(b) c G()");
    EXPECT_EQ(taken->parent, nullptr);
    EXPECT_EQ(taken->references(), 1u);
}

TEST(SceneTree, PlacesModelsByTheirTransform) {
    SceneModel model;
    model.anchor = {1, 2, 3};
    model.position = {10, 20, 30};
    model.scale = {2, 2, 2};
    model.orientation = {0, 0, 90};
    // (1,0,0) from the pivot (1,-2,3) is (0,2,-3); doubled (0,4,-6); a quarter turn about z takes y to x:
    // (4,0,-6); back by the pivot and on by (10,-20,30).
    ExpectNear(TransformPoint({1, 0, 0}, model.LocalMatrix()), {15, -22, 27}, 1e-5f);

    SceneMesh mesh;
    mesh.anchor = model.anchor, mesh.position = model.position, mesh.scale = model.scale;
    mesh.orientation = model.orientation;
    ExpectNear(mesh.LocalMatrix(), model.LocalMatrix(), 0);

    // In a folder that is moved and scaled: the model's matrix first.
    Scene scene;
    scene.models.push_back(Make("F", ModelType::Folder));
    scene.models.push_back(Ref<SceneModel>::Make(model));
    SceneModel& child = *scene.models[1];
    SceneModel& folder = *scene.models[0];
    folder.position = {100, 0, 0};
    folder.scale = {1, 3, 1};
    ASSERT_TRUE(folder.Attach(child, &scene, false));
    ExpectNear(TransformPoint({1, 0, 0}, child.LocalMatrix()), {115, -66, 27}, 1e-4f);
}

TEST(SceneTree, KeepsTheWorldTransformOnAMove) {
    std::mt19937 random(20);
    std::uniform_real_distribution<float> unit(-1, 1);
    const auto point = [&](float size) {
        return Point3{size * unit(random), size * unit(random), size * unit(random)};
    };
    for (int i = 0; i < 200; ++i) {
        SCOPED_TRACE(i);
        Scene scene;
        scene.models = {Make("F", ModelType::Folder), Make("G", ModelType::Folder), Make("a")};
        SceneModel &f = *scene.models[0], &g = *scene.models[1], &a = *scene.models[2];
        for (SceneModel* model : {&f, &g, &a}) {
            model->position = point(50), model->anchor = point(5), model->orientation = point(180);
            const float size = 1.5f + unit(random);
            model->scale = {size, size, size}; // of the folders: one factor, or the product has a shear
        }
        a.scale = point(1) + Point3{1.5f, 1.5f, 1.5f};
        if (i % 4 == 1) a.scale.x = -a.scale.x;
        if (i % 4 == 2) a.scale.z = -a.scale.z, a.orientation.y = 90;
        if (i % 4 == 3) f.scale = -f.scale;
        const Matrix world = a.LocalMatrix();
        ASSERT_TRUE(f.Attach(g, &scene, false) && g.Attach(a, &scene, true));
        float largest = 1;
        for (const float element : (f.LocalMatrix() * world).m)
            largest = std::max(largest, std::fabs(element));
        ExpectNear(a.LocalMatrix(), world, 2e-5f * largest);
        scene.AttachTop(a, true);
        ExpectNear(a.LocalMatrix(), world, 2e-5f * largest);
    }
}

TEST(SceneTree, CopiesDeeply) {
    Scene scene;
    FillScene(scene);
    Scene copy;
    copy.DeepCopyFrom(scene);
    EXPECT_EQ(copy.Flat(), scene.Flat());
    const std::vector<SceneModel*> originals = scene.Flatten(), copies = copy.Flatten();
    ASSERT_EQ(originals.size(), copies.size());
    for (std::size_t i = 0; i < copies.size(); ++i) {
        EXPECT_NE(copies[i], originals[i]);
        EXPECT_NE(copies[i]->uniqueId, originals[i]->uniqueId);
        EXPECT_EQ(copies[i]->references(), 1u);
        EXPECT_TRUE(copies[i]->needsLoad);
        for (const MaterialBinding& binding : copies[i]->bindings)
            EXPECT_EQ(binding.material, copy.materials[binding.index].get());
        for (std::size_t j = 0; j < copies[i]->meshes.size(); ++j) {
            EXPECT_NE(copies[i]->meshes[j], originals[i]->meshes[j]);
            EXPECT_EQ(copies[i]->meshes[j]->owner, copies[i]);
        }
        for (const Ref<SceneModel>& child : copies[i]->children) EXPECT_EQ(child->parent, copies[i]);
    }
    const Buffer before = scene.Flat();
    copies.back()->name = "changed";
    copy.materials[0]->diffuse = 50;
    EXPECT_EQ(scene.Flat(), before);
}

TEST(SceneTree, SharesRecordsByReference) {
    Scene first;
    FillScene(first);
    SceneModel* const model = first.models[0].get();
    SceneMaterial* const material = first.materials[0].get();
    Scene second;
    second.models.push_back(Make("dropped"));
    second.CopyFrom(first);
    EXPECT_EQ(second.models, first.models);
    EXPECT_EQ(second.Flat(), first.Flat());
    EXPECT_EQ(model->references(), 2u);
    first.Clear();
    EXPECT_TRUE(first.models.empty() && first.materials.empty());
    EXPECT_EQ(model->references() + material->references(), 2u);
    second.CopyFrom(second);
    EXPECT_EQ(second.models[0], model);
}

TEST(SceneTree, FoldersThatDieLeaveTheirChildrenWhole) {
    const Ref<SceneModel> child = Make("a");
    {
        Scene scene;
        scene.models = {Make("F", ModelType::Folder)};
        ASSERT_TRUE(scene.models[0]->Attach(*child, &scene, false));
        EXPECT_EQ(child->references(), 2u);
    }
    EXPECT_EQ(child->references(), 1u);
    EXPECT_EQ(child->parent, nullptr);
}

TEST(SceneTree, NewModelsHaveTheDefaultsOfTheirType) {
    for (std::uint32_t number = 0; number <= 8; ++number) {
        SCOPED_TRACE(number);
        const auto type = static_cast<ModelType>(number);
        const SceneModel model(type);
        const bool extrusion = number == 3 || number == 7;
        EXPECT_EQ(model.textureMapping, extrusion ? TextureMapping::BoxPreserveAspect : TextureMapping::UV);
        EXPECT_EQ(model.alignment, number == 6 ? Alignment::FromModel : Alignment::ModelCenter);
        EXPECT_TRUE(model.needsLoad);
    }
    AssetContext context;
    const std::uint32_t first = context.TakePreviewId();
    EXPECT_NE(first, 0u);
    EXPECT_NE(context.TakePreviewId(), first);
    {
        SceneMaterial material(&context);
        material.previewId = first;
    }
    EXPECT_EQ(context.TakePreviewId(), first) << "a material gives its number back";
}
