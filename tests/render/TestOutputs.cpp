#include "render/LayerTexture.h"
#include "render/SceneFixture.h"
#include "render/ShadingReference.h"

#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <set>
#include <tuple>

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
        const Point3 eye = settings.camera.position;
        const Point3 ray{static_cast<float>(x) + 0.5f - eye.x, static_cast<float>(y) + 0.5f - eye.y, -eye.z};
        return eye + ray * (Dot(Point3{32, 24, 0} - eye, normal) / Dot(ray, normal));
    }

    struct Terms {
        Point3 ambient, diffuse, standard, sky, own, diffuseColour;
        double incident = 0;
    };
    Terms TermsAt(Point3 p) const {
        Terms t;
        const Point3 eye = Normalized(settings.camera.position - p);
        t.ambient = Linear(settings.lights[0].colour);
        for (const reference::Light* light : {&spot_, &sun_}) {
            t.diffuse += light->colour * static_cast<float>(Lambert(*light, p, normal));
            t.standard +=
                light->colour *
                static_cast<float>(StandardLobe(*light, p, normal, eye, 64 * material->specularShininess, 1));
        }
        t.sky = Linear(Point3{kSky[0], kSky[1], kSky[2]});
        t.incident = Dot(normal, eye);
        t.own = Linear(material->illuminationColor) * material->illuminationIntensity;
        t.diffuseColour = Linear(material->type == MaterialType::Physical ? material->pbrDiffuseColor
                                                                          : material->diffuseColor);
        return t;
    }
    // How far the light on the plate dims what it reflects.
    float Dimming(Point3 light) const {
        const float mean = std::min(1.0f, (light.x + light.y + light.z) / 3);
        return 1 - settings.environment.lightingInfluence * (1 - mean);
    }

    // What the host gets for linear light.
    static Point3 Shown(Point3 linear) {
        return {std::pow(linear.x, 1 / kGamma), std::pow(linear.y, 1 / kGamma),
                std::pow(linear.z, 1 / kGamma)};
    }
    void ExpectAt(const Picture& picture, int x, int y, Point3 want, float alpha = 1,
                  float tolerance = 3e-3f) {
        const Point4 got = picture.at(x, y);
        EXPECT_NEAR(got.x, want.x, tolerance) << x << ' ' << y;
        EXPECT_NEAR(got.y, want.y, tolerance) << x << ' ' << y;
        EXPECT_NEAR(got.z, want.z, tolerance) << x << ' ' << y;
        EXPECT_NEAR(got.w, alpha, tolerance) << x << ' ' << y;
    }

    static constexpr float kTilt = 0.4f;
    static constexpr std::array<std::pair<int, int>, 4> kPixels{{{32, 24}, {20, 8}, {44, 40}, {25, 33}}};
    reference::Light spot_, sun_;
    LayerTexture sky_;
    SceneMaterial* material = nullptr;
    Point3 normal;
};

using Expected = std::function<Point3(Point3 point)>; // what is shown

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

    const auto reflectShare = [&](Point3 p) {
        const Terms t = TermsAt(p);
        return 0.5f * static_cast<float>(reference::Fresnel(t.incident, 0.6, 2)) *
               Dimming(t.ambient + t.diffuse);
    };
    const auto diffuse = [&](Point3 p) {
        const Terms t = TermsAt(p);
        return (t.ambient + t.diffuse) * t.diffuseColour;
    };
    const auto specular = [&](Point3 p) { return TermsAt(p).standard * Linear(material->specularColor); };
    const auto reflection = [&](Point3 p) {
        return TermsAt(p).sky * Linear(material->reflectionTint) * reflectShare(p);
    };
    const auto refraction = [&](Point3 p) { return TermsAt(p).sky * 0.3f; };
    const auto composite = [&](Point3 p) {
        return TermsAt(p).own + specular(p) + (diffuse(p) * 0.7f + refraction(p)) * (1 - reflectShare(p)) +
               reflection(p);
    };
    const auto grey = [](float v) { return Point3{v, v, v}; };
    const std::map<Output, Expected> outputs{
        {Output::Composite, [&](Point3 p) { return Shown(composite(p)); }},
        {Output::ZDepth, [&](Point3 p) { return grey((Length(p - settings.camera.position) - 50) / 100); }},
        {Output::Normals,
         [&](Point3) {
             return normal * 0.5f + Point3{0.5f, 0.5f, 0.5f};
         }},
        {Output::AmbientOcclusion, [&](Point3) { return grey(1); }},
        {Output::Diffuse, [&](Point3 p) { return Shown(diffuse(p)); }},
        {Output::Specular, [&](Point3 p) { return Shown(specular(p)); }},
        {Output::Refraction, [&](Point3 p) { return Shown(refraction(p)); }},
        {Output::Reflection, [&](Point3 p) { return Shown(reflection(p)); }},
        {Output::Lighting,
         [&](Point3 p) {
             const Terms t = TermsAt(p);
             return Shown(t.ambient + t.diffuse + t.standard);
         }},
        {Output::Illumination, [&](Point3 p) { return Shown(TermsAt(p).own); }},
        {Output::WorldPosition, [&](Point3 p) { return p; }},
        {Output::Shadows, [&](Point3) { return grey(1); }},
        {Output::SubSurface, [&](Point3) { return grey(0); }},
        {Output::Shading, [&](Point3) { return grey(1); }},
        {Output::DynamicReflection, [&](Point3) { return grey(0); }},
    };
    for (const auto& [output, expected] : outputs) {
        SCOPED_TRACE(static_cast<int>(output));
        settings.output = output;
        const Picture picture = Draw(kWidth, kHeight);
        for (const auto& [x, y] : kPixels)
            ExpectAt(picture, x, y, expected(PointOf(x, y)), 1,
                     output == Output::WorldPosition ? 0.05f : 3e-3f);
        // Beside the plate.
        const bool white = output == Output::AmbientOcclusion || output == Output::Shadows;
        EXPECT_EQ(picture.at(1, 1).w, white ? 1 : 0);
        EXPECT_EQ(picture.at(1, 1).x, white ? 1 : 0);
    }
}

TEST_F(OutputTest, PhysicalMaterial) {
    material->type = MaterialType::Physical;
    material->pbrDiffuseColor = {200, 150, 100, 255};
    material->pbrReflectivityColor = {255, 230, 200, 255};
    material->pbrReflectivity = 0.4f, material->pbrGlossiness = 0.55f;
    material->pbrRefraction = 0.25f;
    material->pbrRefractionColor = {180, 255, 255, 255};
    material->pbrSpecularMultiplier = 1.2f;

    struct Parts {
        Point3 diffuse, specular, reflection, refraction;
    };
    const auto parts = [&](Point3 p) {
        const Terms t = TermsAt(p);
        const Point3 eye = Normalized(settings.camera.position - p);
        const double e = 1 - t.incident, rough = 1 - 0.55;
        const double lightRough = std::pow(e, 8) * 0.55 + rough,
                     edge = 1 - (std::pow(e, 64) * 0.55 + rough) * 0.6;
        const Point3 tint = Linear(material->pbrReflectivityColor);
        const auto amountOf = [&](float c) {
            const double base = 0.4 * c * 0.99 + 0.01;
            return static_cast<float>(std::pow(e, 5) * (edge * 0.6 + 0.4) * (1 - base) + base);
        };
        const Point3 amount{amountOf(tint.x), amountOf(tint.y), amountOf(tint.z)};
        const float kept = 1 - (amount.x + amount.y + amount.z) / 3;
        const float dim = Dimming(t.ambient + t.diffuse);
        Point3 lobes;
        for (const reference::Light* light : {&spot_, &sun_})
            lobes += light->colour * static_cast<float>(Microfacet(*light, p, normal, eye, lightRough,
                                                                   settings.specularCompression));
        return Parts{(t.diffuse + t.ambient + t.sky * dim) * t.diffuseColour * (0.75f * kept),
                     lobes * amount * (1.2f * dim), t.sky * amount * dim,
                     t.sky * Linear(material->pbrRefractionColor) * (0.25f * kept * dim)};
    };
    const std::map<Output, Expected> outputs{
        {Output::Composite,
         [&](Point3 p) {
             const Parts all = parts(p);
             return all.diffuse + all.specular + all.reflection + all.refraction + TermsAt(p).own;
         }},
        {Output::Diffuse, [&](Point3 p) { return parts(p).diffuse; }},
        {Output::Specular, [&](Point3 p) { return parts(p).specular; }},
        {Output::Reflection, [&](Point3 p) { return parts(p).reflection; }},
        {Output::Refraction, [&](Point3 p) { return parts(p).refraction; }},
        {Output::Illumination, [&](Point3 p) { return TermsAt(p).own; }},
    };
    for (const float compression : {0.0f, 1.0f}) {
        settings.specularCompression = compression;
        for (const auto& [output, expected] : outputs) {
            SCOPED_TRACE(static_cast<int>(output));
            settings.output = output;
            const Picture picture = Draw(kWidth, kHeight);
            for (const auto& [x, y] : kPixels)
                ExpectAt(picture, x, y, Shown(expected(PointOf(x, y))), 1, 6e-3f);
        }
    }
}

// Colours of the composite are what they are behind the display's gamma, whatever that is.
TEST_F(OutputTest, GammaAndTextureGamma) {
    settings.lights.resize(1);
    settings.lights[0].colour = {1, 1, 1};
    test::MakeMatte(*material, {200, 100, 50, 255});
    material->illuminationIntensity = 0;
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
    settings.lights.resize(1);
    settings.lights[0].colour = {1, 1, 1};
    settings.lights[0].intensity = 3;
    test::MakeMatte(*material, {255, 128, 50, 255});
    material->illuminationIntensity = 0;
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

TEST_F(OutputTest, FogAndMixer) {
    settings.lights.resize(1);
    settings.lights[0].colour = {1, 1, 1};
    test::MakeMatte(*material, {200, 100, 50, 255});
    material->illuminationIntensity = 0;
    settings.fog = {true, {0.2f, 0.4f, 0.9f}, 0.8f, 60, 80, FogFalloff::Linear};
    struct Row {
        FogFalloff falloff;
        std::function<double(double)> share;
    };
    const Row rows[] = {{FogFalloff::Linear, [](double d) { return (d - 60) / 80 * 0.8; }},
                        {FogFalloff::Exponential, [](double d) { return std::pow((d - 60) / 80 * 0.8, 2); }},
                        {FogFalloff::Taper, [](double d) { return std::pow((1 - (d - 60) / 80) * 0.8, 2); }}};
    for (const Row& row : rows) {
        settings.fog.falloff = row.falloff;
        const Picture picture = Draw(kWidth, kHeight);
        for (const auto& [x, y] : kPixels) {
            const auto share =
                static_cast<float>(row.share(Length(PointOf(x, y) - settings.camera.position)));
            ExpectAt(picture, x, y,
                     Shown(Mix(Linear(material->diffuseColor), Linear(settings.fog.colour), share)));
        }
    }
    settings.fog.enabled = false;
    settings.mixer.ambient = 0.25f;
    ExpectAt(Draw(kWidth, kHeight), 32, 24, Shown(Linear(material->diffuseColor) * 0.25f));
    settings.mixer.ambient = 0;
    ExpectAt(Draw(kWidth, kHeight), 32, 24, {});
}

// What stands outside of the sum: lines, the focus, and the materials that are added.
TEST_F(OutputTest, LinesFocusAndBlending) {
    settings.lights.resize(1);
    settings.lights[0].colour = {1, 1, 1};
    material->illuminationIntensity = 0;
    material->diffuseColor = {255, 0, 0, 255};

    settings.output = Output::Wireframe;
    material->wireEnable = true;
    material->wireWidth = 1.4f;
    material->wireColor = {0, 255, 0, 255};
    Picture picture = Draw(kWidth, kHeight);
    ExpectAt(picture, 1, 1, {0, 0, 0}); // black behind
    ExpectAt(picture, 44, 10, {0, 0, 0});
    int lines = 0;
    for (int x = 0; x < kWidth; ++x) lines += picture.at(x, 12).y > 0.9f;
    EXPECT_GE(lines, 3); // left edge, diagonal, right edge
    material->wireEnable = false;

    settings.output = Output::Focus;
    settings.camera = test::CompCamera(kWidth, kHeight);
    settings.dof.view = settings.camera.view * Matrix::Translation({-5, 0, 0});
    settings.dof.projection = settings.camera.projection;
    settings.dof.projection(2, 0) =
        -5 / settings.camera.imagePlaneDistance * settings.camera.projection(0, 0);
    settings.dof.spacing = 0.1f * kWidth / 2; // pixels of a tenth of a clip unit
    picture = Draw(kWidth, kHeight);
    for (const auto& [x, y] : kPixels) {
        const double depth = PointOf(x, y).z - settings.camera.position.z;
        const double shift = 5 * std::abs(1 / depth - 1 / settings.camera.imagePlaneDistance) *
                             settings.camera.projection(0, 0);
        const auto focus = static_cast<float>(1 - std::min(1.0, shift / 0.1));
        ExpectAt(picture, x, y, {focus, focus, focus});
    }

    settings.output = Output::BlendMode;
    test::MakeMatte(Add(test::RectMesh(0, 0, 32, 48, -20)), {0, 102, 0, 255});
    materials.back().blendMode = MaterialBlend::Add;
    picture = Draw(kWidth, kHeight);
    EXPECT_EQ(picture.at(45, 24).w, 0); // the plate itself is not seen
    // Light of 0.4 on the display is kept as a coverage of 0.4 and the light divided by that.
    const float light = std::pow(0.4f, kGamma), over = light / 0.4f;
    ExpectAt(picture, 20, 24, Shown({0, over / 0.4f, 0}), 0.4f, 0.01f);
    settings.output = Output::Composite;
    ExpectAt(Draw(kWidth, kHeight), 20, 24, Shown({1, over, 0}), 1, 0.01f);
}

} // namespace
} // namespace velorin
