#include "render/LayerTexture.h"
#include "render/SceneFixture.h"
#include "render/ShadingReference.h"

#include <array>
#include <cmath>
#include <map>

namespace velorin {
namespace {

namespace reference = test::reference;
using test::Picture;
using test::QuadMesh;

constexpr int kWidth = 64, kHeight = 48;
constexpr float kGamma = 2.2f;
constexpr float kSky[3] = {0.5f, 0.25f, 0.8f}; // what the environment's picture holds

// A tilted plate under a spot, a parallel and an ambient light in an even environment, through the whole
// chain to the pixels that the host gets. Everything that the plate shows is worked out at the pixel's point.
class OutputTest : public test::SceneTest {
protected:
    void SetUp() override {
        SceneTest::SetUp();
        settings.gamma = settings.textureGamma = kGamma;
        SceneLight& ambient = settings.lights[0];
        ambient.colour = {0.4f, 0.5f, 0.3f};
        spot_.type = 3;
        spot_.position = {20, 5, -60};
        spot_.travel = Normalized({0.15f, 0.3f, 1});
        spot_.halfCone = 0.5, spot_.feather = 0.8;
        sun_.type = 1;
        sun_.travel = Normalized({-0.4f, 0.3f, 1});
        AddLight(spot_, {0.9f, 1, 0.6f}, 1.5f);
        AddLight(sun_, {0.5f, 0.7f, 1}, 1);
        std::vector<float> argb;
        for (int i = 0; i < 8; ++i) argb.insert(argb.end(), {1, kSky[0], kSky[1], kSky[2]});
        ASSERT_TRUE(renderer().UploadTexture({4, 2, 4, 64, argb.data()}, sky_));
        settings.environment.overrideLayer = &sky_;
        settings.environment.lightingInfluence = 0.4f;
        const float c = std::cos(kTilt), s = std::sin(kTilt);
        material = &Add(QuadMesh({32 - 24 * c, 2, -24 * s}, {32 + 24 * c, 2, 24 * s},
                                 {32 + 24 * c, 46, 24 * s}, {32 - 24 * c, 46, -24 * s}));
        normal = {s, 0, -c};
        material->specular = 1;
        material->illuminationIntensity = 0.3f;
        material->illuminationColor = {120, 60, 200, 255};
        material->aoMode = AoMode::On;
    }
    // Nothing but white ambient light.
    void SetPlainLight() {
        settings.lights.resize(1);
        settings.lights[0].colour = {1, 1, 1};
        material->illuminationIntensity = 0;
    }
    void AddLight(reference::Light& light, Point3 colour, float intensity) {
        SceneLight record;
        record.type = static_cast<LightType>(light.type);
        record.position = light.position, record.direction = light.travel;
        record.coneAngle = static_cast<float>(2 * light.halfCone);
        record.feather = static_cast<float>(light.feather);
        record.colour = colour, record.intensity = intensity;
        settings.lights.push_back(record);
        light.colour = Linear(colour) * intensity;
    }
    static Point3 Linear(Point3 c) {
        return {std::pow(c.x, kGamma), std::pow(c.y, kGamma), std::pow(c.z, kGamma)};
    }
    static Point3 Linear(Colour c) {
        return Linear(Point3{static_cast<float>(c.r) / 255, static_cast<float>(c.g) / 255,
                             static_cast<float>(c.b) / 255});
    }

    // The plate's point under the middle of a pixel.
    Point3 PointOf(int x, int y) const {
        return test::PointUnder(settings.camera, x, y, {32, 24, 0}, normal);
    }

    // What the host gets for linear light.
    static Point3 Shown(Point3 linear) {
        return {std::pow(linear.x, 1 / kGamma), std::pow(linear.y, 1 / kGamma),
                std::pow(linear.z, 1 / kGamma)};
    }
    void ExpectAt(const Picture& picture, int x, int y, Point3 want, float alpha = 1,
                  float tolerance = 3e-3f) {
        test::ExpectColour(picture.at(x, y), {want.x, want.y, want.z, alpha}, tolerance);
    }

    static constexpr float kTilt = 0.4f;
    static constexpr std::array<std::pair<int, int>, 4> kPixels{{{32, 24}, {20, 8}, {44, 40}, {25, 33}}};
    reference::Light spot_, sun_;
    LayerTexture sky_;
    SceneMaterial* material = nullptr;
    Point3 normal;
};

TEST_F(OutputTest, StandardMaterial) {
    material->type = MaterialType::Standard;
    material->diffuseColor = {200, 150, 100, 255};
    material->specularColor = {255, 220, 180, 255};
    material->specularShininess = 0.15f;
    material->reflectionIntensity = 0.5f, material->reflectionBlend = ReflectionBlend::Normal;
    material->reflectionTint = {220, 255, 255, 255};
    material->reflectionFresnel = 0.6f, material->reflectionFresnelBias = 0.4f;
    material->refractionIntensity = 0.3f, material->refractionBlend = ReflectionBlend::Normal;
    settings.depthOutput = {50, 150, true, false};
    settings.matte.mode = MatteMode::Colour;
    settings.lights[1].castShadows = true; // without a shadow pass everything is lit

    const Point3 sky = Linear(Point3{kSky[0], kSky[1], kSky[2]}), none{}, white{1, 1, 1};
    const auto outputsAt = [&](Point3 p) -> std::map<Output, Point3> {
        const Point3 eye = Normalized(settings.camera.position - p);
        Point3 light = Linear(settings.lights[0].colour), lobes;
        for (const reference::Light* lamp : {&spot_, &sun_}) {
            light += lamp->colour * static_cast<float>(Lambert(*lamp, p, normal));
            lobes += lamp->colour * static_cast<float>(StandardLobe(*lamp, p, normal, eye, 64 * 0.15, 1));
        }
        // The light on the plate dims what it reflects.
        const float dim = 0.6f + 0.4f * std::min(1.0f, (light.x + light.y + light.z) / 3);
        const float share = 0.5f * static_cast<float>(reference::Fresnel(Dot(normal, eye), 0.6, 2)) * dim;
        const Point3 diffuse = light * Linear(material->diffuseColor), refraction = sky * 0.3f;
        const Point3 specular = lobes * Linear(material->specularColor);
        const Point3 reflection = sky * Linear(material->reflectionTint) * share;
        const Point3 own = Linear(material->illuminationColor) * material->illuminationIntensity;
        const Point3 below = (diffuse * 0.7f + refraction) * (1 - share);
        const float depth = (Length(p - settings.camera.position) - 50) / 100;
        return {{Output::Composite, Shown(own + specular + below + reflection)},
                {Output::ZDepth, white * depth},
                {Output::Normals, (normal + white) * 0.5f},
                {Output::AmbientOcclusion, white},
                {Output::Diffuse, Shown(diffuse)},
                {Output::Specular, Shown(specular)},
                {Output::Refraction, Shown(refraction)},
                {Output::Reflection, Shown(reflection)},
                {Output::Lighting, Shown(light + lobes)},
                {Output::Illumination, Shown(own)},
                {Output::WorldPosition, p},
                {Output::Shadows, white},
                {Output::SubSurface, none},
                {Output::Shading, white},
                {Output::DynamicReflection, none}};
    };
    for (const auto& [output, unused] : outputsAt(none)) {
        SCOPED_TRACE(static_cast<int>(output));
        settings.output = output;
        const Picture picture = Draw(kWidth, kHeight);
        for (const auto& [x, y] : kPixels)
            ExpectAt(picture, x, y, outputsAt(PointOf(x, y)).at(output), 1,
                     output == Output::WorldPosition ? 0.05f : 3e-3f);
        // Beside the plate.
        const bool clear = output != Output::AmbientOcclusion && output != Output::Shadows;
        ExpectAt(picture, 1, 1, clear ? none : white, clear ? 0 : 1, 0);
    }
}

// Colours of the composite are what they are behind the display's gamma, whatever that is.
TEST_F(OutputTest, GammaAndTextureGamma) {
    SetPlainLight();
    test::MakeMatte(*material, {200, 100, 50, 255});
    for (const float gamma : {1.0f, 1.8f, 2.2f}) {
        settings.gamma = gamma;
        ExpectAt(Draw(kWidth, kHeight), 32, 24, {200 / 255.0f, 100 / 255.0f, 50 / 255.0f});
    }
    // Half the light is less than half of what is shown.
    settings.lights[0].intensity = 0.5f;
    ExpectAt(Draw(kWidth, kHeight), 32, 24, Shown(Linear(material->diffuseColor) * 0.5f));

    // A picture of 0.5 with the colour channels' gamma of 2.2: the texture gamma brightens or darkens it.
    std::array<float, 16> argb;
    for (std::size_t i = 0; i < 16; ++i) argb[i] = i % 4 == 0 ? 1 : 0.5f;
    LayerTexture layer;
    ASSERT_TRUE(renderer().UploadTexture({2, 2, 4, 32, argb.data()}, layer));
    material->diffuseColor = kWhite;
    TextureChannel& slot = material->channel(Channel::Diffuse);
    slot.enabled = true, slot.customLayer = 0;
    list.layers.resize(kCustomLayers);
    list.layers[0] = &layer;
    settings.lights[0].intensity = 1;
    for (const float textureGamma : {1.1f, 2.2f, 3.3f}) {
        settings.textureGamma = textureGamma;
        const float shown = std::pow(0.5f, textureGamma / kGamma);
        ExpectAt(Draw(kWidth, kHeight), 32, 24, {shown, shown, shown});
    }
}

TEST_F(OutputTest, HighlightCompression) {
    SetPlainLight();
    settings.lights[0].intensity = 3;
    test::MakeMatte(*material, {255, 128, 50, 255});
    const auto compressed = [](float c) {
        return std::log(std::max(0.0f, c - 0.5f) * 4 + 1) / 4 + std::min(0.5f, c);
    };
    const Point3 light = Linear(material->diffuseColor) * 3;
    for (const float amount : {0.0f, 0.5f, 1.0f}) {
        settings.highlightCompression = amount;
        const auto mixed = [&](float c) { return c * (1 - amount) + compressed(c) * amount; };
        ExpectAt(Draw(kWidth, kHeight), 32, 24, Shown({mixed(light.x), mixed(light.y), mixed(light.z)}), 1,
                 4e-3f);
    }
}

// What stands outside of the sum: the focus, also when it is measured in tiles, and the materials that are
// added.
TEST_F(OutputTest, FocusAndBlending) {
    SetPlainLight();
    material->diffuseColor = {255, 0, 0, 255};
    settings.output = Output::Focus;
    settings.camera = test::CompCamera(kWidth, kHeight);
    settings.dof.view = settings.camera.view * Matrix::Translation({-5, 0, 0});
    settings.dof.projection = settings.camera.projection;
    settings.dof.projection(2, 0) =
        -5 / settings.camera.imagePlaneDistance * settings.camera.projection(0, 0);
    settings.dof.spacing = 0.1f * kWidth / 2; // pixels of a tenth of a clip unit
    for (const int grid : {1, 2}) {
        settings.supersampling = grid;
        const Picture picture = Draw(kWidth, kHeight);
        for (const auto& [x, y] : kPixels) {
            const double depth = PointOf(x, y).z - settings.camera.position.z;
            const double shift = 5 * std::abs(1 / depth - 1 / settings.camera.imagePlaneDistance) *
                                 settings.camera.projection(0, 0);
            const auto focus = static_cast<float>(1 - std::min(1.0, shift / 0.1));
            ExpectAt(picture, x, y, {focus, focus, focus});
        }
    }

    settings.output = Output::BlendMode;
    test::MakeMatte(Add(test::RectMesh(0, 0, 32, 48, -20)), {0, 102, 0, 255});
    materials.back().blendMode = MaterialBlend::Add;
    const Picture picture = Draw(kWidth, kHeight);
    EXPECT_EQ(picture.at(45, 24).w, 0); // the plate itself is not seen
    // Light of 0.4 on the display is kept as a coverage of 0.4 and the light divided by that.
    const float light = std::pow(0.4f, kGamma), over = light / 0.4f;
    ExpectAt(picture, 20, 24, Shown({0, over / 0.4f, 0}), 0.4f, 0.01f);
    settings.output = Output::Composite;
    ExpectAt(Draw(kWidth, kHeight), 20, 24, Shown({1, over, 0}), 1, 0.01f);
}

} // namespace
} // namespace velorin
