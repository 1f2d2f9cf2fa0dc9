#include "core/document/SceneMaterial.h"
#include "core/document/SceneModel.h"
#include "render/RenderSettings.h"
#include "render/UniformBlocks.h"

#include <gtest/gtest.h>

#include <cmath>

namespace velorin {
namespace {

constexpr float kTiny = 1e-5f;

void ExpectNear(Point4 a, Point4 b, float tolerance = kTiny) {
    EXPECT_NEAR(a.x, b.x, tolerance);
    EXPECT_NEAR(a.y, b.y, tolerance);
    EXPECT_NEAR(a.z, b.z, tolerance);
    EXPECT_NEAR(a.w, b.w, tolerance);
}

TEST(UniformBlocks, ChannelGamma) {
    struct Row {
        Channel channel;
        float gamma, middle, textureGamma, expected;
    };
    const Row rows[] = {
        {Channel::Diffuse, 2.2f, 0.5f, 2.2f, 2.2f},
        {Channel::Diffuse, 2.2f, 0.5f, 1.1f, 1.1f},
        {Channel::Illumination, 1, 0.5f, 4.4f, 2},
        {Channel::Environment, 2.2f, 0.25f, 2.2f, 1.1f}, // midtone: half of 2.2
        {Channel::Reflection, 2.2f, 0.5f, 1, 2.2f},      // data: no texture gamma
        {Channel::Specular, 1, 0.6f, 1, 2},              // 1 + (0.6 - 0.5) * 10
        {Channel::Normal, 1, 0.1f, 1, 1},                // neither
    };
    for (const Row& row : rows) {
        TextureChannel channel(row.channel);
        channel.gamma = row.gamma;
        channel.inputLevels = {0.1f, row.middle, 0.9f};
        channel.outputLevels = {0.2f, 0.8f};
        const ChannelBlock block = FillChannel(channel, row.textureGamma, true, true);
        EXPECT_NEAR(block.gamma, row.expected, 1e-4f) << static_cast<int>(row.channel);
        EXPECT_EQ(block.levelInput, (Point2{0.1f, 0.9f}));
        EXPECT_EQ(block.levelOutput, (Point2{0.2f, 0.8f}));
        EXPECT_EQ(block.unmultiply, 1);
    }
}

TEST(UniformBlocks, ChannelWithoutImageIsNeutral) {
    TextureChannel channel(Channel::Diffuse);
    EXPECT_FALSE(HasImage(channel));
    channel.path = "wood.png";
    EXPECT_FALSE(HasImage(channel)); // switched off
    channel.enabled = true;
    EXPECT_TRUE(HasImage(channel));
    channel.path.clear();
    channel.customLayer = 3;
    EXPECT_TRUE(HasImage(channel));
    EXPECT_EQ(FillChannel(channel, 2.2f, false, false).amount, 0);
}

// What pictures of materials do not show.
TEST(UniformBlocks, Materials) {
    SceneMaterial m;
    m.type = MaterialType::Standard;
    m.diffuseColor = {255, 128, 0, 51};
    m.specularColor = {255, 0, 0, 255};
    m.refractionFresnel = -0.5f, m.refractionFresnelBias = 0.5f;
    m.affectRefraction = false;
    MaterialPropertiesBlock b = FillMaterial(m, {});
    ExpectNear(b.diffuseColor, {1, std::pow(128 / 255.0f, 2.2f), 0, 0.2f});
    EXPECT_NEAR(b.refractBias, 10, kTiny);
    EXPECT_EQ(b.reflectSpecularInfluence, 1);
    EXPECT_EQ(b.refractSpecularInfluence, 0);
    EXPECT_EQ(b.environmentMultiplier, 1);
    m.type = MaterialType::Physical;
    m.pbrEnvironmentMultiplier = 4, m.pbrDiffuse = 5, m.pbrAmbient = 6, m.pbrAffectRefraction = true;
    b = FillMaterial(m, {});
    ExpectNear(b.specularColor, {1, 0, 0, 1}); // shared with the Standard shading
    ExpectNear({b.environmentMultiplier, b.diffuseAmount, b.ambientAmount, b.refractSpecularInfluence},
               {4, 5, 6, 1});
}

TEST(UniformBlocks, ModelFlipsAndReflection) {
    SceneModel model;
    model.flip = {true, false, true};
    model.invertNormals = true;
    model.reflectOffset = {1, 2, 3};
    model.reflectRotation = {90, 0};
    const ModelPropertiesBlock b = FillModel(model);
    ExpectNear(b.modelFlip, {-1, 1, -1, 1});
    EXPECT_EQ(b.flipNormal, 1); // two flips make a turn
    EXPECT_EQ(b.normalInvert, -1);
    ExpectNear(b.dynamicReflection.offset, {1, -2, 3, 1});
    EXPECT_NEAR(std::abs(b.dynamicReflection.reflectDirection.z), 1, kTiny); // a quarter turn about x
    model.flip = {true, true, true};
    EXPECT_EQ(FillModel(model).flipNormal, -1);
}

TEST(UniformBlocks, MirrorClipComesFromTheFolder) {
    struct Row {
        ReflectMode child, folder;
        MirrorClip expected;
    };
    for (const Row& row : {Row{ReflectMode::Default, ReflectMode::MirrorSurface, MirrorClip::AbovePlane},
                           {ReflectMode::Spherical, ReflectMode::MirrorSurface, MirrorClip::BelowPlane},
                           {ReflectMode::Default, ReflectMode::Default, MirrorClip::Off},
                           {ReflectMode::Environment, ReflectMode::Spherical, MirrorClip::Off}}) {
        auto folder = Ref<SceneModel>::Make(ModelType::Folder);
        auto child = Ref<SceneModel>::Make(ModelType::File);
        folder->reflectMode = row.folder, folder->mirrorClip = MirrorClip::AbovePlane;
        child->reflectMode = row.child, child->mirrorClip = MirrorClip::BelowPlane;
        child->parent = folder.get();
        EXPECT_EQ(FillModel(*child).dynamicReflection.clipMirror, static_cast<int>(row.expected));
        child->parent = nullptr;
    }
}

SceneLight LightOf(LightType type, bool casts = false) {
    SceneLight light;
    light.type = type;
    light.castShadows = casts;
    return light;
}

TEST(UniformBlocks, LightsTakeEightSlots) {
    RenderSettings settings;
    settings.gamma = 2;
    settings.lightFalloff = 10;
    for (int i = 0; i < 3; ++i) {
        SceneLight ambient = LightOf(LightType::Ambient);
        ambient.colour = {0.5f, 0.25f, 1};
        ambient.intensity = 2;
        settings.lights.push_back(ambient);
        for (int k = 0; k < 3; ++k) settings.lights.push_back(LightOf(LightType::Point, true));
    }
    settings.lights[1].falloff = 3;
    const LightsBlock b = FillLights(settings);
    EXPECT_EQ(b.numLights, 8);
    ExpectNear(b.ambientLights, {1.5f, 0.375f, 6, 3});
    EXPECT_NEAR(b.lights[0].falloff, 100 * 0.000005f * 3, 1e-9f);
    EXPECT_NEAR(b.lights[0].cosCone, 0.7853982f, kTiny);
    EXPECT_EQ(b.lights[0].feather, 1);
    // A parallel light's map has its own bias.
    settings.lights = {LightOf(LightType::Parallel), LightOf(LightType::Spot)};
    settings.shadow.depthBias = -2;
    EXPECT_EQ(FillLights(settings).lights[0].shadowBias, 0.0005f);
    EXPECT_EQ(FillLights(settings).lights[1].shadowBias, -2);
    settings.shadow.useBackfaces = true;
    EXPECT_EQ(FillLights(settings).lights[0].shadowBias, -0.00001f);
}

TEST(UniformBlocks, ShadowLayers) {
    RenderSettings settings;
    settings.lights = {LightOf(LightType::Ambient, true), LightOf(LightType::Parallel, true),
                       LightOf(LightType::Spot), LightOf(LightType::Point, true),
                       LightOf(LightType::Spot, true)};
    const auto ids = [&] {
        const LightsBlock b = FillLights(settings);
        return std::array{b.lights[0].shadowId, b.lights[1].shadowId, b.lights[2].shadowId,
                          b.lights[3].shadowId};
    };
    settings.shadow.rayTraced = true;
    EXPECT_EQ(ids(), (std::array{0, -1, 1, 2}));
    EXPECT_EQ(AssignShadowLayers(settings).count, 3);
    settings.shadow.rayTraced = false;
    EXPECT_EQ(ids(), (std::array{0, -1, 1, 1})); // the point light takes no map
    EXPECT_EQ(AssignShadowLayers(settings).count, 2);
}

TEST(UniformBlocks, FrameProperties) {
    RenderSettings s;
    s.gamma = 2;
    s.fog = {true, {0.5f, 1, 0}, 0.25f, 100, 400, FogFalloff::Taper};
    s.shadow.blurRadius = 6, s.shadow.blurScale = 0.5f;
    s.ao.fogInfluence = 0.5f;
    RenderPropertiesBlock b = FillRenderProperties(s);
    ExpectNear(b.fog.color, {0.25f, 1, 0, 0.25f});
    EXPECT_NEAR(b.shadow.softRadius, 3, kTiny);
    EXPECT_EQ(b.gamma, 0.5f);
    EXPECT_EQ(b.ao.fogInfluence, 0.5f);
    EXPECT_EQ(b.environmentChannel.amount, 0); // no environment

    s.fog.enabled = false;
    TextureChannel environment(Channel::Environment);
    environment.enabled = true, environment.path = "sky.hdr", environment.amount = 0.5f;
    s.environment.channel = &environment;
    b = FillRenderProperties(s);
    EXPECT_EQ(b.fog.color.w, 0);
    EXPECT_EQ(b.ao.fogInfluence, 0);
    EXPECT_EQ(b.environmentChannel.amount, 0.5f);
}

} // namespace
} // namespace velorin
