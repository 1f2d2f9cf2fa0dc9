#include "render/MaterialHarness.h"

#include <algorithm>
#include <functional>

// What module texts read from other passes: shadow textures, occlusion, dynamic reflections; the matte
// surface, lines and the focus.

namespace velorin {
namespace {

using test::Ball;
using test::MaterialHarness;
using test::Wall;
using test::Written;

constexpr float kEye = MaterialHarness::kEyeDistance;

class MaterialEffects : public test::MaterialTest {
protected:
    void SetUp() override {
        MaterialTest::SetUp();
        h->material.specular = 0;
        // Straight from the viewer's side.
        light.type = LightType::Parallel;
        light.direction = {0, 0, 1};
        light.castShadows = true;
        h->settings.lights = {light};
    }
    // The light's map spans 200 by 200 units, depth 0 to 1 the 200 around the wall.
    void SetMap(int columns, const std::vector<Point4>& depths) {
        MoveMap(0);
        Matrix& projection = h->settings.lights[0].projection;
        projection(0, 0) = projection(1, 1) = 1 / 100.0f;
        projection(2, 2) = -2 / 200.0f;
        projection(3, 2) = -1;
        state().shadowMaps = 1;
        h->SetArray(TextureUnit::ShadowMaps, columns, static_cast<int>(depths.size()) / columns, 1, depths);
    }
    // One texel a layer, for all of the picture: shadow and distance of two bodies; the wall is 1000 away.
    void SetRayShadows(const std::vector<Point4>& layers) {
        h->settings.shadow.enabled = h->settings.shadow.rayTraced = true;
        state().rayTracedShadows = 1;
        h->SetArray(TextureUnit::RayShadows, 1, 1, static_cast<int>(layers.size()), layers);
    }
    void MoveMap(float x) {
        h->settings.lights[0].view = Matrix::Translation({x, 0, 100}) * Matrix::Scale({1, 1, -1});
    }

    test::Surface wall = Wall(24, 24);
    SceneLight light;
};

TEST_F(MaterialEffects, RayTracedShadow) {
    struct Row {
        const char* what;
        Point4 texel;
        float darkness, gamma, mixer;
        bool receives;
        double expected; // light that arrives
    };
    const Row rows[] = {
        {"one front", {0.25f, 1000, 0.75f, 1003}, 1, 1, 1, true, 0.5},
        {"near front is another body", {0.25f, 500, 0.75f, 1000}, 1, 1, 1, true, 0.75},
        {"far front is another body", {0.25f, 1000, 0.75f, 3000}, 1, 1, 1, true, 0.25},
        {"no second front", {0.25f, 2500, 0.75f, 0}, 1, 1, 1, true, 0.25},
        {"lighter", {0.25f, 1000, 0.25f, 1000}, 0.5f, 1, 1, true, 0.625},
        {"darker", {0.25f, 1000, 0.25f, 1000}, 2, 1, 1, true, 0.0625},
        {"gamma", {0.25f, 1000, 0.25f, 1000}, 1, 0.5f, 1, true, 0.5},
        {"mixer", {0.25f, 1000, 0.25f, 1000}, 1, 1, 0.5f, true, 0.625},
        {"not received", {0.25f, 1000, 0.25f, 1000}, 1, 1, 1, false, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        // Two layers: this light's is the second, behind another casting light's.
        SceneLight first = light;
        first.intensity = 0;
        h->settings.lights = {first, light};
        h->settings.lights[1].darkness = row.darkness;
        SetRayShadows({{1, 1000, 1, 1000}, row.texel});
        h->settings.shadow.gamma = row.gamma;
        h->settings.mixer.shadows = row.mixer;
        h->material.receiveShadow = row.receives;
        // The texture has one pixel: the drawn one is at its place.
        EXPECT_NEAR(h->Draw(MaterialPass::Diffuse, wall).at(0, 0).x, row.expected, 2e-3);
    }
    state().rayTracedShadows = 0;
    EXPECT_NEAR(h->Draw(MaterialPass::Diffuse, wall).at(0, 0).x, 1, 1e-4);
}

// A shadow takes the same share of a spot's light in the middle of its cone and at the soft border.
TEST_F(MaterialEffects, ShadowOfASpot) {
    light.type = LightType::Spot;
    light.position = {5, 0, -100};
    light.coneAngle = 0.4f, light.feather = 1;
    h->settings.lights = {light};
    h->settings.shadow.enabled = h->settings.shadow.rayTraced = true;
    h->SetArray(TextureUnit::RayShadows, kSide, kSide, 1,
                std::vector<Point4>(kSide * kSide, {0.25f, 1000, 0.25f, 1000}));
    const auto lit = Points(MaterialPass::Diffuse, wall);
    state().rayTracedShadows = 1;
    const auto dark = Points(MaterialPass::Diffuse, wall);
    float least = 1;
    for (std::size_t i = 0; i < lit.size(); ++i) {
        ASSERT_NEAR(dark[i].colour.x, 0.25f * lit[i].colour.x, 1e-4f);
        if (lit[i].colour.x > 0.01f) least = std::min(least, lit[i].colour.x);
    }
    EXPECT_LT(least, 0.1f); // the border is in the picture
}

// A map over 200 by 200 units, the left half of it covered at depth 0.25; the wall is at 0.5.
TEST_F(MaterialEffects, MappedShadow) {
    h->settings.shadow.enabled = true;
    h->settings.shadow.samples = 8;
    h->settings.shadow.blurRadius = 0;
    h->settings.shadow.blurBias = 0;
    const int n = 100; // 2 units a texel
    h->settings.shadow.mapSize = n;
    std::vector<Point4> depths;
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) depths.push_back({x < n / 2 ? 0.25f : 1, 0, 0, 0});
    SetMap(n, depths);
    const auto shares = [&] {
        const Written drawn = h->Draw(MaterialPass::Diffuse, wall);
        std::vector<float> row;
        for (int x = 0; x < kSide; ++x) row.push_back(drawn.at(x, kMiddle).x);
        return row;
    };
    h->settings.shadow.smoothSampling = false;
    std::vector<float> row = shares();
    for (int x = 0; x < kSide; ++x) EXPECT_EQ(row[static_cast<std::size_t>(x)], x < kMiddle ? 0 : 1) << x;

    // Smooth: the step takes the width of a texel, 2 units, half of it at the edge.
    h->settings.shadow.smoothSampling = true;
    row = shares();
    EXPECT_EQ(row[kMiddle - 2], 0);
    EXPECT_NEAR(row[kMiddle - 1] + row[kMiddle], 1, 1e-3);
    EXPECT_NEAR(row[kMiddle], 0.75f, 1e-3);
    EXPECT_EQ(row[kMiddle + 1], 1);

    // A disc of 8 units on the surface: at distance d from the edge, its share beyond the edge is in shadow.
    h->settings.shadow.smoothSampling = false;
    h->settings.shadow.blurRadius = 8;
    row = shares();
    for (int x = 0; x < kSide; ++x) {
        const double d = std::clamp((x + 0.5 - kMiddle) / 8, -1.0, 1.0);
        const double lit = 1 - (std::acos(d) - d * std::sqrt(1 - d * d)) / M_PI;
        EXPECT_NEAR(row[static_cast<std::size_t>(x)], lit, 0.06) << x;
    }
    EXPECT_EQ(row[0], 0);
    EXPECT_EQ(row[kSide - 1], 1);

    // A point beside the map is never dark.
    h->settings.shadow.blurRadius = 0;
    MoveMap(100);
    row = shares();
    EXPECT_EQ(row[kMiddle - 3], 1); // in the right half of the moved map
    EXPECT_EQ(row[kSide - 1], 1);   // beside it
    // Nor is one whose light casts no shadow.
    MoveMap(-100);
    EXPECT_EQ(shares()[kMiddle + 3], 0);
    h->settings.lights[0].castShadows = false;
    EXPECT_EQ(shares()[kMiddle + 3], 1);
}

TEST_F(MaterialEffects, SubsurfaceLight) {
    // The whole map is 0.25 in the left half: light comes through where nothing lies in between.
    SetMap(2, {{0.25f, 0, 0, 0}, {1, 0, 0, 0}});
    h->settings.subSurface.depthBias = 0;
    h->settings.subSurface.lightBlending = 1;
    h->settings.subSurface.intensity = 0.5f;
    h->settings.lights[0].colour = {1, 0.5f, 0.25f};
    h->material.sssEnable = true;
    h->material.scatterColor = {255, 102, 51, 255};
    h->material.scattering = 1;
    h->material.absorptionRange = 0.25f, h->material.absorptionFalloff = 2;
    const Written drawn = h->Draw(MaterialPass::SubSurface, wall);
    EXPECT_EQ(drawn.at(4, kMiddle).x, 0);
    const double scatterLuma = 0.2126 + 0.7152 * 0.4 + 0.0722 * 0.2;
    const double lightLuma = 0.2126 + 0.7152 * 0.5 + 0.0722 * 0.25;
    const double through = 0.75 * 0.75;
    const auto tint = [&](double scatter, double lamp) {
        return (scatter * (1 - scatterLuma) + lamp * scatter * scatterLuma) * through * 0.5 * lightLuma;
    };
    const Point4 c = drawn.at(kSide - 4, kMiddle);
    EXPECT_NEAR(c.x, tint(1, 1), 1e-4);
    EXPECT_NEAR(c.y, tint(0.4, 0.5), 1e-4);
    // It is part of the diffuse light.
    h->material.diffuse = 0;
    EXPECT_NEAR(h->Draw(MaterialPass::Diffuse, wall).at(kSide - 4, kMiddle).x, tint(1, 1), 1e-4);
}

TEST_F(MaterialEffects, ShadowSum) {
    SetRayShadows({{0.25f, 1000, 0.25f, 1000}, {0.25f, 1000, 0.25f, 1000}});
    SceneLight ambient = light, plain = light, dim = light, bright = light, beside = light;
    ambient.type = LightType::Ambient, ambient.colour = {0.1f, 0.2f, 0.3f};
    plain.castShadows = false;
    dim.intensity = 0.5f, bright.intensity = 4;
    beside.type = LightType::Spot, beside.position = {0, 0, -100}, beside.direction = {1, 0, 0};
    struct Row {
        const char* what;
        std::vector<SceneLight> lights;
        double shadow;
        bool matte = false;
        float opacity = 1, lightInfluence = 0;
    };
    const Row rows[] = {
        {"one light", {light}, 0.75},
        {"one of two lights", {light, plain}, 0.375},
        {"ambient light", {light, ambient}, 0.75 - 0.2},
        {"a dim light", {dim}, 0.375},
        {"a bright light", {bright}, 1},
        {"beside the cone", {beside}, 0},
        {"none", {}, 0},
        {"matte", {light}, 0.75 * 0.4, true, 0.4f},
        {"matte with ambient light", {light, ambient}, 0.75, true},
        {"matte, whose dim light counts in full", {dim}, 0.75, true},
        {"matte, whose dim light counts as light", {dim}, 0.375, true, 1, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        h->settings.lights = row.lights;
        h->settings.matteShadow.opacity = row.opacity;
        h->settings.matteShadow.lightInfluence = row.lightInfluence;
        h->material.matteShadow = row.matte;
        const Point4 c = h->Draw(MaterialPass::Shadows, wall).at(0, 0);
        EXPECT_NEAR(c.x, 1 - row.shadow, 1e-4);
        EXPECT_EQ(c.w, 1);
    }
}

TEST_F(MaterialEffects, AmbientOcclusion) {
    h->SetTexture(TextureUnit::AmbientOcclusion, kSide, kSide,
                  std::vector<Point4>(kSide * kSide, {0.6f, 0, 0, 1}));
    h->settings.lights[0].intensity = 0;
    h->settings.ao.enabled = true;
    h->settings.ao.colour = {0, 0.5f, 1};
    state().ambientOcclusion = 1;
    struct Row {
        const char* what;
        std::function<void()> set;
        double closed; // 0 open to 1
        bool tint;
    };
    auto& s = h->settings;
    const double smoother = 0.064 * (0.4 * (2.4 - 15) + 10); // 0.4^3 (0.4 (6 * 0.4 - 15) + 10)
    const Row rows[] = {
        {"plain", [] {}, 0.4, true},
        {"colour", [&] { s.ao.colourMode = 1; }, 0.4, false},
        {"contrast", [&] { s.ao.contrast = 0.5f; }, (0.4 + smoother) / 2, true},
        {"amount", [&] { h->material.aoAmount = 2; }, 0.8, true},
        {"ignored", [&] { h->material.aoMode = AoMode::Ignore; }, 0, true},
        {"own light", [&] { h->material.illuminationIntensity = 0.5f, s.ao.illuminationInfluence = 0.2f; },
         0.4 * (1 - 0.5 * 0.8), true},
        {"diffuse light", [&] { s.lights[0].intensity = 1, s.ao.lightInfluence = 0.5f; }, 0.4 * 0.75, true},
        {"fog", [&] { s.fog = {true, {}, 1, 0, 2000, FogFalloff::Linear}, s.ao.fogInfluence = 0.5f; },
         0.4 * 0.75, true},
        {"off", [&] { s.ao.enabled = false; }, 0, true},
        {"off in this pass", [&] { state().ambientOcclusion = 0; }, 0, true},
    };
    const MaterialSettings material = h->material;
    const RenderSettings settings = s;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        static_cast<MaterialSettings&>(h->material) = material;
        s = settings;
        state().ambientOcclusion = 1;
        row.set();
        const auto open = static_cast<float>(1 - row.closed);
        const Point3 colour{0, 0.5f, 1};
        const Point3 tint =
            Mix(colour * (0.5f * std::min(1.0f, 2 * open)), colour, std::max(0.0f, 2 * open - 1));
        const Point3 want = (row.tint ? tint : colour) * (1 - open) + Point3{open, open, open};
        for (const MaterialPass pass : {MaterialPass::AmbientOcclusion, MaterialPass::Shading}) {
            const Point4 c = h->Draw(pass, wall).at(kMiddle, kMiddle); // shading: nothing is in shadow
            test::ExpectColour({c.x, c.y, c.z}, want, 2e-3f);
        }
    }
}

TEST_F(MaterialEffects, MatteSurfaceShowsItsShadow) {
    SetRayShadows({{0.25f, 1000, 0.25f, 1000}});
    h->settings.matteShadow.tint = {0.5f, 0, 1};
    h->material.matteShadow = true;
    h->manager.state().modelColor = {1, 1, 1, 0.5f};
    h->material.forceOpacity = 0.5f;
    Point4 c = h->Draw(MaterialPass::Image, wall).at(0, 0);
    // Shadow 0.75: its own coverage, in the tint dimmed by it.
    EXPECT_NEAR(c.w, 0.75 * 0.25, 1e-4);
    EXPECT_NEAR(c.x, 0.5 * 0.75 * 0.75, 1e-4);
    EXPECT_NEAR(c.z, 1 * 0.75 * 0.75, 1e-4);
    // The frame's switch makes it a plain surface again.
    h->fill.matteShadows = false;
    c = h->Draw(MaterialPass::Image, wall).at(0, 0);
    EXPECT_NEAR(c.w, 0.25, 1e-4);
    // Keeping the diffuse alpha shows the surface where that is.
    h->fill.matteShadows = true;
    h->material.matteAlpha = true;
    h->material.diffuseColor = {0, 255, 0, 255};
    c = h->Draw(MaterialPass::Image, wall).at(0, 0);
    EXPECT_NEAR(c.w, 0.25, 1e-4);
    EXPECT_NEAR(c.y, 0.25, 1e-4); // green in a quarter of the light
}

TEST_F(MaterialEffects, MirrorShowsItsPictureInPlace) {
    // The mirrored camera's picture, a gradient over the frame.
    const int n = 64;
    std::vector<Point4> pixels;
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
            pixels.push_back(
                {(static_cast<float>(x) + 0.5f) / n, (static_cast<float>(y) + 0.5f) / n, 0.25f, 1});
    h->SetTexture(TextureUnit::ReflectionPlane, n, n, pixels, true);
    h->settings.lights.clear();
    h->material.reflectionIntensity = 0.5f;
    h->material.reflectionBlend = ReflectionBlend::Add;
    h->manager.state().dynamicPlaneMatrix = h->view * h->projection;
    state().dynamicReflection = 1;
    for (const bool physical : {false, true}) {
        h->material.type = physical ? MaterialType::Physical : MaterialType::Standard;
        h->material.pbrReflectivity = 1, h->material.pbrGlossiness = 1;
        h->settings.environment.lightingInfluence = 0;
        const float share = physical ? 1 : 0.5f;
        const Written drawn = h->Draw(MaterialPass::Image, wall);
        for (const int x : {2, 20, 40})
            for (const int y : {2, 30, 46}) {
                EXPECT_NEAR(drawn.at(x, y).x, share * (static_cast<float>(x) + 0.5f) / kSide, 2e-3);
                EXPECT_NEAR(drawn.at(x, y).y, share * (static_cast<float>(y) + 0.5f) / kSide, 2e-3);
                EXPECT_NEAR(drawn.at(x, y).z, share * 0.25f, 2e-3);
            }
    }
    // Nothing above the plane: its anchor is at y = 0, up is -y in the world.
    h->material.type = MaterialType::Standard;
    h->model.reflectMode = ReflectMode::MirrorSurface;
    h->baseMatrix = Matrix::Scale({1, -1, -1}); // model space has y up
    for (const auto clip : {MirrorClip::AbovePlane, MirrorClip::BelowPlane}) {
        h->model.mirrorClip = clip;
        const Written drawn = h->Draw(MaterialPass::Image, wall);
        EXPECT_EQ(drawn.at(kMiddle, 4).z > 0, clip == MirrorClip::AbovePlane);
        EXPECT_EQ(drawn.at(kMiddle, kSide - 4).z > 0, clip == MirrorClip::BelowPlane);
    }
}

TEST_F(MaterialEffects, CubeOfTheSceneCoversTheEnvironment) {
    h->settings.lights.clear();
    h->SetTexture(TextureUnit::Environment, 1, 1, {{1, 0, 0, 1}});
    TextureChannel channel(Channel::Environment);
    channel.enabled = true, channel.path = "environment", channel.gamma = 1;
    h->settings.environment.channel = &channel;
    h->settings.environment.lightingInfluence = 0;
    // Half covered, green where the world is up. The cube has y up.
    h->SetCube(TextureUnit::ReflectionCube, 16, 1, [](Point3 d, int) {
        return Point4{0, d.y > 0 ? 0.5f : 0, 0, 0.5f};
    });
    h->material.reflectionIntensity = 1;
    h->material.reflectionBlend = ReflectionBlend::Add;
    state().dynamicReflection = 2;
    const test::Surface ball = Ball(22);
    const Point4 up = h->Draw(MaterialPass::Image, ball).at(kMiddle, kMiddle - 12);
    EXPECT_NEAR(up.x, 0.5f, 1e-3);
    EXPECT_NEAR(up.y, 0.5f, 1e-3);
    EXPECT_NEAR(h->Draw(MaterialPass::Image, ball).at(kMiddle, kMiddle + 12).y, 0, 1e-3);
    h->model.disableEnvironment = true;
    EXPECT_EQ(h->Draw(MaterialPass::Image, ball).at(kMiddle, kMiddle - 12).x, 0);
    state().dynamicReflection = 0; // its own picture gone, the environment is back
    EXPECT_NEAR(h->Draw(MaterialPass::Image, ball).at(kMiddle, kMiddle - 12).x, 1, 1e-3);
}

TEST_F(MaterialEffects, ClipPlane) {
    state().clipPlane = 1;
    h->manager.state().clipPlane = {0, 1, 0, -6}; // what is below y = 6 stays
    for (const auto type : {MaterialType::Standard, MaterialType::Physical}) {
        h->material.type = type;
        const Written drawn = h->Draw(MaterialPass::Image, wall);
        for (int y = 0; y < kSide; ++y) EXPECT_EQ(drawn.at(kMiddle, y).w > 0, y - kMiddle >= 6) << y;
    }
    // The data passes do not ask.
    EXPECT_EQ(h->Draw(MaterialPass::WorldPosition, wall).at(kMiddle, 0).w, 1);
}

TEST_F(MaterialEffects, LinesHaveTheirWidth) {
    h->settings.lights.clear();
    h->material.illuminationIntensity = 1; // red surface, green lines
    h->material.illuminationColor = {255, 0, 0, 255};
    h->material.wireEnable = true;
    h->material.wireColor = {0, 255, 0, 255};
    h->material.wireWidth = 1.9f; // 1 unit of 2 pixels to each side
    wall = Wall(16, 16);          // edges at pixels 8 and 40
    Written drawn = h->Draw(MaterialPass::Image, wall);
    const auto away = [](int x, int y) {
        return std::min(
            {x + 0.5 - 8, 40 - x - 0.5, y + 0.5 - 8, 40 - y - 0.5, std::abs(x - y) / std::sqrt(2.0)});
    };
    for (int y = 8; y < 40; ++y)
        for (int x = 8; x < 40; ++x) {
            const double line = std::clamp(3 - away(x, y), 0.0, 1.0);
            EXPECT_NEAR(drawn.at(x, y).y, line, 2e-3) << x << ' ' << y;
            EXPECT_NEAR(drawn.at(x, y).x, 1 - line, 2e-3) << x << ' ' << y;
        }
    struct Row {
        WireTransferMode mode;
        Point3 expected; // on the line
    };
    h->material.illuminationColor = {255, 102, 0, 255};
    h->material.wireColor = {0, 102, 51, 255};
    for (const Row& row :
         {Row{WireTransferMode::Mix, {0, 0.4f, 0.2f}}, Row{WireTransferMode::Screen, {1, 0.64f, 0.2f}},
          Row{WireTransferMode::Add, {1, 0.8f, 0.2f}}, Row{WireTransferMode::Multiply, {0, 0.16f, 0}}}) {
        h->material.wireTransferMode = row.mode;
        const Point4 c = h->Draw(MaterialPass::Image, wall).at(8, 20);
        test::ExpectColour({c.x, c.y, c.z}, row.expected, 1e-3f);
    }
    h->material.wireTransferMode = WireTransferMode::Mix;
    h->settings.output = Output::Wireframe;
    drawn = h->Draw(MaterialPass::Image, wall);
    EXPECT_EQ(drawn.at(20, 30).x, 0); // between the lines
    EXPECT_NEAR(drawn.at(8, 20).y, 0.4f, 1e-3);
    h->settings.output = Output::Composite;

    h->material.wireFillMode = WireFillMode::LinesOnly;
    drawn = h->Draw(MaterialPass::Image, wall);
    for (int y = 8; y < 40; ++y)
        for (int x = 8; x < 40; ++x) {
            const double d = away(x, y);
            EXPECT_TRUE(std::abs(d - 2) < 0.01 || (drawn.at(x, y).w > 0) == (d < 2)) << x << ' ' << y;
        }

    // Of the whole picture, for a material without lines.
    h->material.wireEnable = false;
    state().globalWireframe = 1;
    h->settings.wireframeWidth = 0.5f;
    drawn = h->Draw(MaterialPass::Image, wall);
    EXPECT_EQ(drawn.at(8, 20).w, 1);
    EXPECT_NEAR(drawn.at(8, 20).x, 1, 1e-3); // in the surface's colour
    EXPECT_EQ(drawn.at(10, 20).w, 0);
}

// A triangle that reaches behind the viewer: its visible edges are where they would be without a geometry
// stage.
TEST_F(MaterialEffects, LinesOfTrianglesBehindTheViewer) {
    h->settings.lights.clear();
    h->material.wireEnable = true;
    h->material.wireFillMode = WireFillMode::LinesOnly;
    h->material.wireWidth = 1.4f; // 1 pixel to each side
    const Point3 corners[] = {{-20, 10, 0}, {20, 14, 200}, {4, 300, -kEye - 500}};
    for (int first = 0; first < 3; ++first)
        for (const int behind : {1, 2}) {
            test::Surface surface;
            for (int i = 0; i < 3; ++i) {
                Point3 p = corners[(first + i) % 3];
                if (behind == 2 && (first + i) % 3 == 1) p = {-300, 100, -kEye - 300};
                surface.vertices.push_back({p, {}, {0, 0, -1}, {1, 0, 0, 1}});
            }
            surface.triangles = {{0, 1, 2}};
            const Written lines = h->Draw(MaterialPass::WorldPosition, surface);
            h->material.wireEnable = false;
            const Written whole = h->Draw(MaterialPass::WorldPosition, surface);
            h->material.wireEnable = true;
            // An edge pixel of the coverage that is not at the picture's border.
            int edges = 0;
            for (int y = 2; y < kSide - 2; ++y)
                for (int x = 2; x < kSide - 2; ++x) {
                    const auto covered = [&](int dx, int dy) { return whole.at(x + dx, y + dy).w > 0; };
                    if (!covered(0, 0)) {
                        EXPECT_EQ(lines.at(x, y).w, 0);
                        continue;
                    }
                    const bool edge = !covered(-1, 0) || !covered(1, 0) || !covered(0, -1) || !covered(0, 1);
                    bool deep = true;
                    for (int dy = -2; dy <= 2; ++dy)
                        for (int dx = -2; dx <= 2; ++dx) deep = deep && covered(dx, dy);
                    edges += edge;
                    if (edge || deep) {
                        EXPECT_EQ(lines.at(x, y).w > 0, edge) << x << ',' << y << ' ' << first << behind;
                    }
                }
            EXPECT_GT(edges, 10) << first << behind;
        }
}

} // namespace
} // namespace velorin
