#include "render/GuestState.h"
#include "render/SceneFixture.h"

#include "render/FrameBuffers.h"
#include "render/LayerTexture.h"
#include "render/Surroundings.h"
#include "render/gl/GLStateScope.h"

#include <GL/glew.h>

#include <array>
#include <cmath>

namespace velorin {
namespace {

using test::Picture;
using test::QuadMesh;
using test::RectMesh;
using test::SceneTest;

using FrameTest = SceneTest;

TEST_F(FrameTest, ASecondFrameSendsAndCompilesNothing) {
    Add(RectMesh(4, 4, 30, 30));
    Add(RectMesh(8, 8, 40, 40, 5)).type = MaterialType::Physical;
    settings.supersampling = 2;
    (void)Draw(48, 48);
    const RenderStatistics first = renderer().statistics();
    (void)Draw(48, 48);
    RenderStatistics second = renderer().statistics();
    EXPECT_EQ(second.frames, first.frames); // ReadFrame is no delivery
    EXPECT_GT(second.draws, first.draws);
    second.draws = first.draws;
    EXPECT_EQ(second, first);

    // A changed material costs one block, and nothing else.
    materials[0].diffuseColor = {1, 2, 3, 255};
    (void)Draw(48, 48);
    second = renderer().statistics();
    EXPECT_EQ(second.uniformUploads, first.uniformUploads + 1);
    EXPECT_EQ(second.meshUploads, first.meshUploads);
    EXPECT_EQ(second.programsCompiled, first.programsCompiled);
}

TEST_F(FrameTest, AFrameLeavesTheStateOfItsContextAlone) {
    const gl::GLStateScope clean; // what this test sets goes again
    Add(RectMesh(4, 4, 30, 30)).forceOpacity = 0.5f;
    (void)Draw(40, 40);
    const gl::Texture texture = gl::Texture::New();
    const gl::Buffer buffer = gl::Buffer::New();
    test::SetOddState(texture.name(), buffer.name());
    const std::vector<GLint> before = test::StateNow();

    settings.supersampling = 2;
    settings.picking = true;
    settings.fxaa = 1;
    settings.environment.showBackground = true;
    (void)Draw(40, 40);
    EXPECT_EQ(test::StateNow(), before);
    LayerTexture layer;
    std::array<std::uint8_t, 16> pixels{};
    EXPECT_TRUE(renderer().UploadTexture({2, 2, 1, 8, pixels.data()}, layer));
    EXPECT_EQ(test::StateNow(), before);
}

TEST_F(FrameTest, PickingTellsPositionNormalAndObject) {
    const float c = std::cos(kPi / 6), s = std::sin(kPi / 6);
    Add(RectMesh(-20, -20, 100, 100, 60));
    Add(QuadMesh({32 - 20 * c, 4, -20 * s}, {32 + 20 * c, 4, 20 * s}, {32 + 20 * c, 44, 20 * s},
                 {32 - 20 * c, 44, -20 * s}))
        .forceOpacity = 0.5f; // picks as if solid
    materials.back().invisibleToAOGlow = true;
    instance(1).objectIndex = 7;
    settings.picking = true;
    (void)Draw(64, 48);
    struct Row {
        int x, y;
        Point3 point, normal; // of the plane that the pixel's ray meets
        std::uint32_t object;
    };
    for (const Row& row : {Row{32, 24, {32, 24, 0}, {s, 0, -c}, 7}, Row{20, 8, {32, 24, 0}, {s, 0, -c}, 7},
                           Row{2, 40, {0, 0, 60}, {0, 0, -1}, 0}}) {
        PickResult hit;
        ASSERT_TRUE(renderer().PickAt(row.x, row.y, hit));
        const Point3 expected = test::PointUnder(settings.camera, row.x, row.y, row.point, row.normal);
        EXPECT_LT(Length(Point3{hit.worldX, hit.worldY, hit.worldZ} - expected), 0.05f);
        EXPECT_NEAR(hit.normalX, row.normal.x, 0.002f);
        EXPECT_NEAR(hit.normalZ, row.normal.z, 0.002f);
        ASSERT_LT(hit.objectId, scene->pickList().size());
        EXPECT_EQ(scene->pickList()[hit.objectId].objectIndex, row.object);
        EXPECT_EQ(scene->pickList()[hit.objectId].model, &model(row.object ? 1 : 0));
    }
    PickResult hit;
    EXPECT_FALSE(renderer().PickAt(-1, 0, hit));
    EXPECT_FALSE(renderer().PickAt(64, 0, hit));
    settings.picking = false;
    (void)Draw(64, 48);
    EXPECT_FALSE(renderer().PickAt(32, 24, hit));
}

// A large cube around the eye, each side of another colour, must come out at its place of the panorama.
TEST_F(FrameTest, ThePanoramaHasEachDirectionInItsPlace) {
    constexpr int kWidth = 128, kHeight = 64;
    settings.sphericalCapture = true;
    const Point3 eye = test::CompCamera(kWidth, kHeight).position;
    struct Side {
        Point3 out, across;
        Colour colour;
        int x, y; // of the side's middle in the panorama
    };
    const std::vector<Side> sides{{{0, 0, 1}, {1, 0, 0}, {255, 0, 0, 255}, 64, 32},
                                  {{1, 0, 0}, {0, 0, -1}, {0, 255, 0, 255}, 96, 32},
                                  {{-1, 0, 0}, {0, 0, 1}, {0, 0, 255, 255}, 32, 32},
                                  {{0, 0, -1}, {-1, 0, 0}, {255, 255, 0, 255}, 2, 32},
                                  {{0, -1, 0}, {1, 0, 0}, {255, 0, 255, 255}, 64, 4},
                                  {{0, 1, 0}, {1, 0, 0}, {0, 255, 255, 255}, 64, 60}};
    for (const Side& side : sides) {
        const Point3 down = Cross(side.out, side.across);
        const Point3 middle = eye + side.out * 100;
        const Point3 a = side.across * 100, d = down * 100;
        test::MakeMatte(Add(QuadMesh(middle - a - d, middle + a - d, middle + a + d, middle - a + d)),
                        side.colour);
    }
    const Picture picture = Draw(kWidth, kHeight);
    for (const Side& side : sides) {
        SCOPED_TRACE(testing::Message() << side.x << "," << side.y);
        const Colour c = side.colour;
        test::ExpectColour(picture.at(side.x, side.y), {c.r / 255.0f, c.g / 255.0f, c.b / 255.0f, 1});
    }
    // The edge between ahead and right lies at three eighths to the right: 45 degrees.
    EXPECT_GT(picture.at(79, 32).x, 0.9f);
    EXPECT_GT(picture.at(81, 32).y, 0.9f);
}

// The environment fills what is empty, in the direction in which one looks.
TEST_F(FrameTest, TheBackgroundShowsTheEnvironmentBehindTheScene) {
    constexpr int kColumns = 64, kRows = 32;
    std::vector<float> argb;
    for (int y = 0; y < kRows; ++y)
        for (int x = 0; x < kColumns; ++x) {
            // Red grows to the right, green downwards.
            argb.insert(argb.end(), {1, (static_cast<float>(x) + 0.5f) / kColumns,
                                     (static_cast<float>(y) + 0.5f) / kRows, 0.25f});
        }
    LayerTexture layer;
    ASSERT_TRUE(renderer().UploadTexture({kColumns, kRows, 4, kColumns * 16, argb.data()}, layer));
    TextureChannel channel(Channel::Environment);
    channel.enabled = true;
    channel.path = "replaced by the layer";
    channel.gamma = 1;
    settings.environment.channel = &channel;
    settings.environment.overrideLayer = &layer;
    settings.environment.showBackground = true;
    settings.textureGamma = 2.2f; // the factor on the channel's gamma is then 1
    test::MakeMatte(Add(RectMesh(0, 0, 8, 48, 0)), {0, 0, 255, 255});
    // Also behind a cloud of points; and where all rays are parallel it is nearly the same picture.
    ownCamera = true;
    for (const bool points : {false, true})
        for (const bool orthographic : {false, true}) {
            settings.polygonMode = points ? PolygonMode::Points : PolygonMode::Normal;
            settings.camera = test::CompCamera(64, 48);
            if (orthographic) {
                settings.camera.orthographic = true;
                settings.camera.projection =
                    Matrix::Scale({2.0f / 64, 2.0f / 48, -2e-4f}) * Matrix::Translation({0, 0, -1});
            }
            const Picture picture = Draw(64, 48);
            if (!points) {
                EXPECT_NEAR(picture.at(2, 24).z, 1, 0.002f) << "what is there stays";
            }
            for (const auto& [x, y] : {std::pair{32, 24}, {56, 10}, {16, 40}, {63, 0}, {63, 47}}) {
                const Point3 ray{static_cast<float>(x) + 0.5f - 32, static_cast<float>(y) + 0.5f - 24,
                                 64 * 50 / 36.0f};
                const float u = std::atan2(ray.x, ray.z) / (2 * kPi) + 0.5f;
                const float v = std::atan2(ray.y, std::hypot(ray.x, ray.z)) / kPi + 0.5f;
                SCOPED_TRACE(testing::Message() << x << "," << y << " " << orthographic);
                test::ExpectColour(picture.at(x, y), {u, v, 0.25f, 1}, 0.02f);
            }
        }
}

// The driver gives the name of a deleted texture to the next one.
TEST_F(FrameTest, WhatWasDerivedFromALayerDiesWithIt) {
    SceneMaterial& mirror = Add(RectMesh(0, 0, 64, 48));
    mirror.type = MaterialType::Physical;
    mirror.pbrDiffuse = mirror.pbrAmbient = mirror.pbrEnvironmentMultiplier = 0;
    mirror.pbrReflectivity = mirror.pbrGlossiness = 1;
    TextureChannel channel(Channel::Environment);
    channel.enabled = true;
    channel.path = "replaced by the layer";
    settings.environment.channel = &channel;
    for (const bool red : {true, false, true}) {
        std::array<float, 4> argb{1, red ? 1.0f : 0.0f, red ? 0.0f : 1.0f, 0};
        LayerTexture layer;
        ASSERT_TRUE(renderer().UploadTexture({1, 1, 4, 16, argb.data()}, layer));
        settings.environment.overrideLayer = &layer;
        const Point4 pixel = Draw(64, 48).at(32, 24);
        EXPECT_GT(red ? pixel.x - pixel.y : pixel.y - pixel.x, 0.5f) << pixel.x << ' ' << pixel.y;
    }
    settings.environment = {}; // the fixture outlives the channel and the layers
}

TEST_F(FrameTest, AMaterialTakesItsPictureFromAHostLayer) {
    std::array<float, 16> argb{1, 1, 0, 0, 1, 0, 1, 0, 1, 0, 0, 1, 1, 1, 1, 0};
    LayerTexture layer;
    ASSERT_TRUE(renderer().UploadTexture({2, 2, 4, 32, argb.data()}, layer));
    SceneMaterial& material = Add(RectMesh(0, 0, 64, 48));
    TextureChannel& slot = material.channel(Channel::Diffuse);
    slot.enabled = true;
    slot.customLayer = 3;
    slot.gamma = 1;
    settings.textureGamma = 2.2f;
    list.layers.resize(2 * kCustomLayers);
    list.layers[kCustomLayers + 3] = &layer;
    list.records[0].layerSet = 1;
    const Picture picture = Draw(64, 48);
    test::ExpectColour(picture.at(16, 12), {1, 0, 0, 1}, 0.05f);
    test::ExpectColour(picture.at(48, 12), {0, 1, 0, 1}, 0.05f);
    test::ExpectColour(picture.at(16, 36), {0, 0, 1, 1}, 0.05f);
    list.records[0].layerSet = 0; // another instance's layers: none, so white
    test::ExpectColour(Draw(64, 48).at(16, 12), {1, 1, 1, 1});
}

} // namespace
} // namespace velorin
