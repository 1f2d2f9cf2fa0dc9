#include "core/ExportScene.h"
#include "core/ImportMaterials.h"
#include "core/document/Scene.h"
#include "core/document/SceneMaterial.h"
#include "core/document/SceneModel.h"

#include <gtest/gtest.h>

#include <cmath>

namespace velorin {
namespace {

TEST(ImportMaterials, PhongValuesKeepTheirLobe) {
    ModelMaterial file;
    EXPECT_EQ(static_cast<const MaterialSettings&>(*MaterialFromFile(file)), MaterialSettings{});
    file.colour1 = {1, 0.5f, 0};
    file.colour2 = {0.25f, 0.25f, 0.25f};
    file.value7 = 96;
    file.value12 = 0.75f;
    const auto material = MaterialFromFile(file);
    EXPECT_EQ(material->type, MaterialType::Standard);
    EXPECT_EQ(material->diffuseColor, (Colour{255, 128, 0, 255}));
    EXPECT_EQ(material->specularColor, (Colour{64, 64, 64, 255}));
    EXPECT_FLOAT_EQ(material->forceOpacity, 0.75f);
    // The shader's exponent is 640 times a tenth of the shininess; at 30 degrees both lobes agree.
    const double cosine = std::cos(0.5235987755982988);
    EXPECT_NEAR(std::pow(cosine, 64.0 * static_cast<double>(material->specularShininess)),
                std::pow(cosine, 96.0), 1e-9);

    file.value7 = 0; // no exponent: no highlight rather than one all over
    EXPECT_EQ(MaterialFromFile(file)->specular, 0);
}

// What a file said of a material, its export says again.
TEST(ImportMaterials, TheExportGivesThemBack) {
    ModelMaterial file;
    file.name = "Skin";
    file.colour1 = {1, 0.6f, 0.2f};
    file.colour2 = {0.4f, 0.4f, 0};
    file.value7 = 96;
    file.maps[static_cast<std::size_t>(MapSlot::Diffuse)] = {1, 0, {0.5f, 0.25f}, {2, 3}, "/a/.\\skin.jpg"};
    file.maps[static_cast<std::size_t>(MapSlot::Occlusion)].path = "/a/dirt.png"; // the format has none
    file.maps[static_cast<std::size_t>(MapSlot::Normal)].path = "/a/bump.png";
    const auto material = MaterialFromFile(file);
    EXPECT_EQ(material->channel(Channel::Diffuse).path, "/a/./skin.jpg");
    EXPECT_FALSE(material->channel(Channel::Specular).enabled);
    EXPECT_TRUE(material->convertBump);
    const ExportMaterial back = MaterialForExport(*material, {1, 1, 1, 1}, {}, "");
    EXPECT_EQ(back.name, "Skin");
    EXPECT_EQ(back.diffuse, file.colour1);
    EXPECT_EQ(back.specular, file.colour2);
    EXPECT_FLOAT_EQ(back.exponent, 96);
    EXPECT_EQ(back.maps, (std::vector<ExportMap>{{ExportSlot::Diffuse, "/a/skin.jpg", {0.5f, 0.25f}, {2, 3}},
                                                 {ExportSlot::Bump, "/a/bump.png", {0, 0}, {1, 1}}}));
    file.maps[static_cast<std::size_t>(MapSlot::Normal)].path = "/a/wall_Normal.png";
    EXPECT_FALSE(MaterialFromFile(file)->convertBump);

    const auto gold = Ref<SceneMaterial>::Make();
    gold->pbrDiffuseColor = gold->pbrReflectivityColor = {255, 204, 51, 255};
    gold->pbrDiffuse = 0.5f;
    gold->pbrReflectivity = 1;
    gold->pbrGlossiness = 0.5f; // roughness a half, its square a quarter: 2 * 16 - 2
    gold->channel(Channel::Diffuse).enabled = true;
    gold->channel(Channel::Diffuse).path = "/a/layer.png";
    gold->channel(Channel::Diffuse).customLayer = 2;
    const ExportMaterial metal = MaterialForExport(*gold, {1, 0.5f, 1, 1}, {0.1f, 0}, "");
    EXPECT_EQ(metal.diffuse, (Point3{0.5f, 0.2f, 0.1f}));
    EXPECT_EQ(metal.specular, (Point3{1, 0.4f, 0.2f}));
    EXPECT_FLOAT_EQ(metal.exponent, 30);
    EXPECT_TRUE(metal.maps.empty()) << "a layer is no file";
}

TEST(ImportMaterials, BindsOneMaterialASlotUnlessTheUserDid) {
    Scene scene;
    scene.materials.push_back(Ref<SceneMaterial>::Make());
    const auto model = Ref<SceneModel>::Make(ModelType::ImportedFile, nullptr);
    std::vector<ModelMaterial> files(2);
    files[1].name = "Second";
    BindImportedMaterials(scene, *model, files);
    ASSERT_EQ(model->bindings.size(), 2u);
    EXPECT_EQ(model->bindings[1].index, 2u);
    EXPECT_EQ(model->bindings[1].material, scene.materials[2].get());
    EXPECT_EQ(scene.materials[2]->name, "Second");
    BindImportedMaterials(scene, *model, files);
    EXPECT_EQ(scene.materials.size(), 3u);
}

} // namespace
} // namespace velorin
