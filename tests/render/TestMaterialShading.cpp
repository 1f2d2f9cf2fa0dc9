#include "render/MaterialHarness.h"
#include "render/ShadingReference.h"

#include <functional>

namespace velorin {
namespace {

namespace reference = test::reference;
using test::Ball;
using test::ExpectColour;
using test::MaterialHarness;
using test::Wall;
using test::Written;

constexpr float kEye = MaterialHarness::kEyeDistance;

class MaterialShading : public test::MaterialTest {
protected:
    using Formula = std::function<Point3(const Point&)>;

    // Every drawn pixel against the formula.
    void Expect(MaterialPass pass, const Formula& formula, double relative = 2e-3, double absolute = 2e-4) {
        int faults = 0;
        float largest = 0;
        for (const Point& p : Points(pass, surface)) {
            const Point3 want = formula(p);
            for (const auto& [a, b] :
                 {std::pair{p.colour.x, want.x}, {p.colour.y, want.y}, {p.colour.z, want.z}}) {
                largest = std::max(largest, b);
                if (!(std::abs(a - b) <= absolute + relative * std::abs(b)) && ++faults <= 3)
                    ADD_FAILURE() << p.position.x << ' ' << p.position.y << ": " << a << " for " << b;
            }
        }
        EXPECT_EQ(faults, 0);
        EXPECT_GT(largest, 0.005f); // something was to be seen
    }

    void AddLight(const reference::Light& light) {
        SceneLight scene;
        scene.type = static_cast<LightType>(light.type);
        scene.position = light.position;
        scene.direction = light.travel;
        scene.colour = light.colour;
        scene.coneAngle = static_cast<float>(2 * light.halfCone);
        scene.feather = static_cast<float>(light.feather);
        scene.falloff = static_cast<float>(light.falloff / 0.000005);
        h->settings.lightFalloff = 1;
        h->settings.lights.push_back(scene);
        lights.push_back(light);
    }

    Point3 Sum(const std::function<double(const reference::Light&)>& share) const {
        Point3 sum;
        for (const reference::Light& light : lights) sum += light.colour * static_cast<float>(share(light));
        return sum;
    }

    test::Surface surface = Ball(22);
    std::vector<reference::Light> lights;
};

const reference::Light kParallel{
    .type = 1, .position = {}, .travel = Normalized({0.3f, 0.5f, 1}), .colour = {1, 0.5f, 0.25f}};
const reference::Light kPoint{.position = {60, -40, -50}, .colour = {0.5f, 2, 1}, .falloff = 0.001};
const reference::Light kHardSpot{
    .type = 3, .position = {0, -10, -80}, .travel = Normalized({0, 0.1f, 1}), .halfCone = 0.15};
const reference::Light kSoftSpot{.type = 3,
                                 .position = {-30, -10, -60},
                                 .travel = Normalized({0.4f, 0.1f, 1}),
                                 .colour = {0, 1, 3},
                                 .halfCone = 0.3,
                                 .feather = 0.6};
const SceneLight kAmbient = [] {
    SceneLight light;
    light.type = LightType::Ambient;
    light.colour = {0.1f, 0.2f, 0.3f};
    return light;
}();

TEST_F(MaterialShading, DiffuseLightFollowsLambert) {
    for (const auto& light : {kParallel, kPoint, kSoftSpot, kHardSpot}) AddLight(light);
    h->settings.lights.push_back(kAmbient);
    h->settings.mixer.diffuse = 0.75f, h->settings.mixer.ambient = 0.5f;
    h->material.diffuse = 1.5f, h->material.ambient = 2;
    h->material.diffuseColor = {255, 51, 102, 255};
    Expect(MaterialPass::Diffuse, [&](const Point& p) {
        const Point3 diffuse =
            Sum([&](const auto& l) { return Lambert(l, p.position, p.normal) * 0.75 * 1.5; });
        return (diffuse + kAmbient.colour * (0.5f * 2)) * Point3{1, 0.2f, 0.4f};
    });
}

TEST_F(MaterialShading, StandardSpecularLobe) {
    for (const auto& light : {kParallel, kPoint, kSoftSpot}) AddLight(light);
    h->settings.mixer.specular = 0.5f;
    h->material.specular = 1.5f;
    h->material.specularColor = {255, 255, 51, 255};
    struct Row {
        float shininess, sharpness;
    };
    for (const Row& row : {Row{0.5f, 0}, Row{0.1f, 0}, Row{2, 0.1f}}) {
        h->material.specularShininess = row.shininess;
        h->material.specularSharpness = row.sharpness;
        Expect(
            MaterialPass::Specular,
            [&](const Point& p) {
                return Sum([&](const auto& l) {
                           return StandardLobe(l, p.position, p.normal, p.eye, row.shininess * 64,
                                               row.sharpness * 5 + 1);
                       }) *
                       Point3{0.75f, 0.75f, 0.15f};
            },
            1e-2, 1e-3);
    }
}

// The parts of a Physical body in an even sky; without roughness of their own the sky's levels are alike.
TEST_F(MaterialShading, PhysicalParts) {
    for (const auto& light : {kParallel, kPoint, kSoftSpot}) AddLight(light);
    h->settings.lights.push_back(kAmbient);
    const Point3 sky{0.5f, 0.25f, 0.8f}, tint{1, 0.8f, 0.6f}, body{0.8f, 0.6f, 0.4f}, glass{0.6f, 1, 1};
    h->SetCube(TextureUnit::Ibl, 4, 1, [&](Point3, int) { return Point4{sky.x, sky.y, sky.z, 1}; });
    TextureChannel channel(Channel::Environment);
    channel.enabled = true, channel.path = "sky", channel.gamma = 1;
    h->settings.environment.channel = &channel;
    h->settings.environment.lightingInfluence = 0.4f;
    MaterialSettings& m = h->material;
    m.type = MaterialType::Physical;
    m.pbrReflectivityColor = {255, 204, 153, 255}, m.pbrDiffuseColor = {204, 153, 102, 255};
    m.pbrRefraction = 0.25f, m.pbrRefractionColor = {153, 255, 255, 255};
    m.pbrSpecularMultiplier = 1.2f;
    struct Row {
        float glossiness, reflectivity, compression;
    };
    for (const Row& row : {Row{0.2f, 0, 0}, Row{0.55f, 0.4f, 0}, Row{0.9f, 0.5f, 1}, Row{1, 1, 0.5f}}) {
        SCOPED_TRACE(row.glossiness);
        m.pbrGlossiness = row.glossiness, m.pbrReflectivity = row.reflectivity;
        h->settings.specularCompression = row.compression;
        const double rough = 1 - row.glossiness;
        const auto amount = [&](const Point& p) {
            const double e = 1 - std::abs(Dot(p.normal, p.eye));
            const double edge = 1 - (std::pow(e, 64) * (1 - rough) + rough) * 0.6;
            const auto of = [&](float c) {
                const double base = row.reflectivity * c * 0.99 + 0.01;
                const double fresnel =
                    std::pow(e, 5) * (edge * (1 - row.reflectivity) + row.reflectivity) * (1 - base);
                return static_cast<float>(fresnel + base);
            };
            return Point3{of(tint.x), of(tint.y), of(tint.z)};
        };
        const auto light = [&](const Point& p) {
            return Sum([&](const auto& l) { return Lambert(l, p.position, p.normal); }) + kAmbient.colour;
        };
        const auto mean = [](Point3 c) { return (c.x + c.y + c.z) / 3; };
        const auto dim = [&](const Point& p) { return 0.6f + 0.4f * std::min(1.0f, mean(light(p))); };
        const auto kept = [&](const Point& p) { return 1 - mean(amount(p)); };
        const std::pair<MaterialPass, Formula> parts[] = {
            {MaterialPass::Diffuse,
             [&](const Point& p) { return (light(p) + sky * dim(p)) * body * (0.75f * kept(p)); }},
            {MaterialPass::Specular,
             [&](const Point& p) {
                 const double lightRough =
                     std::pow(1 - std::abs(Dot(p.normal, p.eye)), 8) * (1 - rough) + rough;
                 return Sum([&](const auto& l) {
                            return Microfacet(l, p.position, p.normal, p.eye, lightRough, row.compression);
                        }) *
                        amount(p) * (1.2f * dim(p));
             }},
            {MaterialPass::Reflection, [&](const Point& p) { return sky * amount(p) * dim(p); }},
            {MaterialPass::Refraction,
             [&](const Point& p) { return sky * glass * (0.25f * kept(p) * dim(p)); }}};
        for (const auto& [pass, formula] : parts) {
            SCOPED_TRACE(static_cast<int>(pass));
            Expect(pass, formula, 1e-2, 1e-3);
        }
    }
}

TEST_F(MaterialShading, EmissionFollowsFresnel) {
    h->material.illuminationIntensity = 2;
    h->material.illuminationColor = {255, 102, 0, 255};
    h->material.diffuseColor = {51, 255, 255, 255};
    h->settings.mixer.emissive = 0.5f;
    struct Row {
        float fresnel, bias;
        double exponent;
        bool useDiffuse;
    };
    for (const Row& row : {Row{0, 0.5f, 2.5, false}, Row{1, 0.5f, 2.5, false}, Row{0.5f, 1, 5, true},
                           Row{-1, 0.1f, 2, false}, Row{1, 0.001f, 0.005, false}}) {
        h->material.illuminationFresnel = row.fresnel;
        h->material.illuminationFresnelBias = row.bias;
        h->material.useDiffuseColor = row.useDiffuse;
        Expect(MaterialPass::Illumination, [&](const Point& p) {
            const auto f = static_cast<float>(
                reference::Fresnel(std::abs(Dot(p.normal, p.eye)), row.fresnel, row.exponent));
            const Point3 emitted = Point3{1, 0.4f, 0} * f;
            return row.useDiffuse ? emitted * Point3{0.2f, 1, 1} : emitted;
        });
    }
}

TEST_F(MaterialShading, FogInThreeForms) {
    surface = Wall(24, 24);
    // Tilted, so that depths differ over the picture.
    h->modelMatrix(0, 2) = 20;
    h->material.diffuseColor = {0, 0, 0, 255};
    h->settings.fog.enabled = true;
    h->settings.fog.colour = {1, 0.5f, 0.25f};
    h->settings.fog.opacity = 0.8f;
    struct Row {
        FogFalloff falloff;
        float start, range;
        std::function<double(double)> opacity; // of the distance
    };
    const auto ramp = [](double d, double start, double range) {
        return std::clamp((d - start) / range, 0.0, 1.0) * 0.8;
    };
    const Row rows[] = {
        {FogFalloff::Linear, 600, 800, [&](double d) { return ramp(d, 600, 800); }},
        {FogFalloff::Exponential, 600, 800, [&](double d) { return std::pow(ramp(d, 600, 800), 2); }},
        {FogFalloff::Taper, 1000, 500,
         [&](double d) { return std::pow((1 - std::min(1.0, std::abs(d - 1000) / 500)) * 0.8, 2); }},
        {FogFalloff::Linear, 1000, 0.01f, [&](double d) { return ramp(d, 1000, 0.1); }},
        {FogFalloff::Linear, 1400, -800, [&](double d) { return ramp(d, 1400, -800); }}, // nearer is denser
    };
    for (const Row& row : rows) {
        h->settings.fog.falloff = row.falloff;
        h->settings.fog.start = row.start, h->settings.fog.range = row.range;
        const Formula expected = [&](const Point& p) {
            return h->settings.fog.colour * static_cast<float>(row.opacity(Length(p.position - h->eye)));
        };
        for (const MaterialPass pass : {MaterialPass::Diffuse, MaterialPass::Image})
            Expect(pass, expected, 2e-3, 2e-3);
    }
}

TEST_F(MaterialShading, ChannelsAreGraded) {
    surface = Wall(24, 24);
    h->settings.renderMode = RenderMode::Draft;
    std::vector<Point4> pixels;
    for (int i = 0; i < 64; ++i) {
        const float t = static_cast<float>(i) / 63;
        pixels.push_back({t, t * t, 1.5f * (1 - t), 1});
    }
    h->SetTexture(TextureUnit::Diffuse, 8, 8, pixels);
    TextureChannel plain(Channel::Diffuse);
    plain.enabled = true, plain.path = "texture";
    plain.gamma = 1;
    const Written source = [&] {
        h->material.channels[0] = plain;
        return h->Draw(MaterialPass::Unlit, surface);
    }();
    struct Row {
        float contrast = 0, saturation = 0, brightness = 0, gamma = 1;
        std::array<float, 3> in{0, 0.5f, 1};
        std::array<float, 2> out{0, 1};
        float amount = 1;
        bool invert = false;
    };
    const Row rows[] = {{},
                        {.contrast = 0.5f},
                        {.contrast = -0.5f},
                        {.saturation = 0.5f},
                        {.saturation = -1},
                        {.brightness = 0.5f},
                        {.brightness = -0.25f},
                        {.contrast = 0.85f, .saturation = 0.85f, .brightness = 0.85f},
                        {.gamma = 2.2f},
                        {.in = {0.2f, 0.5f, 0.8f}},
                        {.in = {0, 0.6f, 1}},
                        {.out = {0.9f, 0.1f}},
                        {.amount = 0.25f},
                        {.invert = true},
                        {0.25f, -0.5f, 0.25f, 1.5f, {0.1f, 0.5f, 1.2f}, {0.05f, 0.9f}, 0.5f, true}};
    // Steeper in the last quarter, and doubled by every half.
    const auto grown = [](double c) { return std::exp2(2 * (c < 0.75 ? c : c + (c - 0.75) * 10)); };
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        TextureChannel& channel = h->material.channels[0];
        channel = plain;
        channel.contrast = row.contrast, channel.saturation = row.saturation;
        channel.brightness = row.brightness, channel.gamma = row.gamma;
        channel.inputLevels = row.in, channel.outputLevels = row.out;
        channel.amount = row.amount, channel.invert = row.invert;
        reference::Grade grade;
        grade.gamma = row.gamma * (row.in[1] > 0.5f ? 1 + (row.in[1] - 0.5f) * 10 : row.in[1] * 2);
        grade.contrast = row.contrast > 0 ? grown(row.contrast) : row.contrast;
        grade.saturation = row.saturation > 0 ? grown(row.saturation) : 1 + row.saturation;
        grade.brightness = 1 + row.brightness * (row.brightness > 0 ? 2 : 1);
        grade.inLow = row.in[0], grade.inHigh = row.in[2];
        grade.outLow = row.out[0], grade.outHigh = row.out[1];
        const Written drawn = h->Draw(MaterialPass::Unlit, surface);
        for (int y = 0; y < kSide; y += 3)
            for (int x = 0; x < kSide; x += 3) {
                const Point4 in = source.at(x, y), out = drawn.at(x, y);
                Point3 want = Graded({in.x, in.y, in.z}, grade);
                if (row.invert)
                    want = {std::max(0.0f, 1 - want.x), std::max(0.0f, 1 - want.y),
                            std::max(0.0f, 1 - want.z)};
                want = want * row.amount + Point3{1, 1, 1} * (1 - row.amount);
                ExpectColour({out.x, out.y, out.z}, want, 1e-3f);
            }
    }
}

// The picture's top row is up, its first column left; repeat and offset of channel, model and instance add
// up.
TEST_F(MaterialShading, TextureCoordinates) {
    surface = Wall(24, 24);
    const int n = 6;
    std::vector<Point4> pixels;
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
            pixels.push_back({static_cast<float>(x) / 8, static_cast<float>(y) / 8, 0, 1});
    h->SetTexture(TextureUnit::Diffuse, n, n, pixels);
    TextureChannel& channel = h->material.channels[0];
    channel.enabled = true, channel.path = "texture", channel.gamma = 1;
    struct Row {
        Point2 repeat{1, 1}, offset{}, modelRepeat{1, 1}, modelOffset{}, instance{};
    };
    const Row rows[] = {
        {},
        {.repeat = {2, 1}},
        {.offset = {0.5f, 0}},
        {.modelRepeat = {1, 3}, .modelOffset = {0, 0.25f}},
        {.repeat = {2, 2}, .offset = {0.125f, 0}, .modelOffset = {0.25f, 0}, .instance = {0, 0.5f}}};
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        channel.uvRepeat = row.repeat, channel.uvOffset = row.offset;
        h->model.uvRepeat = row.modelRepeat, h->model.uvOffset = row.modelOffset;
        h->manager.state().modelUvOffset = row.instance;
        const Written drawn = h->Draw(MaterialPass::Unlit, surface);
        for (int y = 1; y < kSide; y += 5)
            for (int x = 1; x < kSide; x += 5) {
                const double u =
                    (((x + 0.5) / kSide) * row.modelRepeat.x + row.modelOffset.x) * row.repeat.x +
                    row.offset.x + row.instance.x;
                const double v =
                    (((y + 0.5) / kSide) * row.modelRepeat.y + row.modelOffset.y) * row.repeat.y +
                    row.offset.y + row.instance.y;
                const auto texel = [&](double t) { return std::floor((t - std::floor(t)) * n) / 8; };
                EXPECT_NEAR(drawn.at(x, y).x, texel(u), 1e-4);
                EXPECT_NEAR(drawn.at(x, y).y, texel(v), 1e-4);
            }
    }
}

TEST_F(MaterialShading, AlphaThresholdCutsHoles) {
    surface = Wall(24, 24);
    h->SetTexture(TextureUnit::Diffuse, 2, 1, {{1, 1, 1, 0.3f}, {1, 1, 1, 0.7f}});
    h->material.channels[0].enabled = true, h->material.channels[0].path = "texture";
    for (const auto& [threshold, left, right] :
         {std::tuple{0.0f, true, true}, {0.5f, false, true}, {0.8f, false, false}}) {
        h->material.alphaThreshold = threshold;
        const Written drawn = h->Draw(MaterialPass::WorldPosition, surface);
        EXPECT_EQ(drawn.at(kSide / 4, 20).w != 0, left);
        EXPECT_EQ(drawn.at(3 * kSide / 4, 20).w != 0, right);
    }
}

TEST_F(MaterialShading, DataPasses) {
    h->settings.depthOutput = {950, 951, false, false}; // behind the end it grows on
    h->material.forceOpacity = 0.5f;
    Expect(MaterialPass::ZDepth, [&](const Point& p) {
        const float depth = std::max(0.0f, Length(p.position - h->eye) - 950);
        return Point3{depth, depth, depth};
    });
    EXPECT_NEAR(h->Draw(MaterialPass::ZDepth, surface).at(kMiddle, kMiddle).w, 0.5f, 1e-5);

    h->manager.state().objectId = 77;
    const Written property = h->Draw(MaterialPass::Property, surface);
    const int x = kMiddle + 9, y = kMiddle - 5;
    const Point4 n = property.at(x, y), view = property.at(x, y, 1);
    // The pixel's own ray, 1 unit a pixel at the distance of the origin, meets the ball of 22 units.
    const Point3 world{view.y, view.z, -view.w - kEye};
    const Point3 ray = Normalized(
        {static_cast<float>(x) + 0.5f - kSide / 2.0f, static_cast<float>(y) + 0.5f - kSide / 2.0f, kEye});
    EXPECT_EQ(view.x, 77);
    EXPECT_NEAR(Length(Normalized(world - h->eye) - ray), 0, 1e-5);
    EXPECT_NEAR(Length(world), 22, 0.05);
    EXPECT_NEAR(n.w, -1 / view.w, 1e-6);
    EXPECT_NEAR(Length(Point3{n.x, n.y, n.z} - Normalized(world)), 0, 5e-3);

    h->material.glowAmount = 0.75f;
    h->material.illuminationIntensity = 2, h->material.illuminationColor = {51, 255, 0, 255};
    const Written glow = h->Draw(MaterialPass::GlowProperty, surface);
    EXPECT_NEAR(glow.at(x, y).x, 0.75f, 1e-5);
    EXPECT_NEAR(glow.at(x, y).y, 2, 1e-4);
}

// A bump towards growing u or v tilts the normal to that side, on a plain and on a mirrored model, whichever
// of its faces is seen.
TEST_F(MaterialShading, NormalMaps) {
    surface = Wall(24, 24);
    TextureChannel& channel = h->material.channels[4];
    channel.enabled = true, channel.path = "texture";
    struct Row {
        const char* what;
        Point4 texel;
        Point3 expected;                                              // world
        bool MaterialSettings::*flag = &MaterialSettings::legacyFlag; // set for the row
        float amount = 1;
        bool twoChannel = false, modelFlip = false;
        Point3 scale{1, 1, 1};
    };
    const float z = -std::sqrt(1 - 0.36f);
    const Point4 u{0.8f, 0.5f, 1, 1}, v{0.5f, 0.8f, 1, 1};
    using M = MaterialSettings;
    const Row rows[] = {
        {"along u", u, {0.6f, 0, z}},
        {"along v", v, {0, 0.6f, z}},
        {"blue is rebuilt", {0.8f, 0.5f, 0, 1}, {0.6f, 0, z}},
        {.what = "two channels", .texel = {0, 0.5f, 0, 0.8f}, .expected = {0.6f, 0, z}, .twoChannel = true},
        {"swapped", u, {0, 0.6f, z}, &M::swapXY},
        {"inverted x", u, {-0.6f, 0, z}, &M::invertX},
        {"inverted y", v, {0, -0.6f, z}, &M::invertY},
        {"inverted depth", u, {-0.6f, 0, z}, &M::invertDepth},
        {.what = "half", .texel = u, .expected = {0.3f, 0, -std::sqrt(1 - 0.09f)}, .amount = 0.5f},
        {.what = "mirrored by a flip", .texel = u, .expected = {-0.6f, 0, z}, .modelFlip = true},
        {.what = "mirrored by its matrix", .texel = v, .expected = {0, -0.6f, z}, .scale = {1, -1, 1}},
        {.what = "scaled unevenly", .texel = {0.5f, 0.5f, 1, 1}, .expected = {0, 0, -1}, .scale = {1, 1, 3}}};
    h->cull = true; // the face must be the one that is drawn
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        h->SetTexture(TextureUnit::Normal, 1, 1, {row.texel});
        channel.amount = row.amount;
        h->fill.twoChannelNormals = row.twoChannel;
        h->model.flip[0] = row.modelFlip;
        h->modelMatrix = Matrix::Scale(row.scale);
        state().flipNormals = row.scale.y < 0;
        h->mirrored = row.modelFlip || row.scale.y < 0;
        h->material.*row.flag = true;
        for (const bool twoSided : {true, false}) {
            h->material.twoSidedLighting = twoSided;
            const Point4 c = h->Draw(MaterialPass::Property, surface).at(kMiddle, kMiddle);
            ExpectColour({c.x, c.y, c.z}, row.expected, 1e-4f);
        }
        h->material.*row.flag = false;
    }
}

// Without smoothing a triangle has the normal of its plane rather than those of its corners.
TEST_F(MaterialShading, SidesOfASurface) {
    struct Row {
        bool back, twoSided, inverted;
        float side; // of the normal: below 0 towards the viewer
    };
    surface = Wall(24, 24);
    for (ModelVertex& vertex : surface.vertices) vertex.normal = {0.6f, 0, -0.8f};
    for (const Row& row :
         {Row{false, true, false, -1}, Row{false, false, false, -1}, Row{true, true, false, -1},
          Row{true, false, false, 1}, Row{false, false, true, 1}, Row{false, true, true, -1}})
        for (const float smoothing : {1.0f, 0.5f, 0.0f}) {
            SCOPED_TRACE(testing::Message() << row.back << row.twoSided << row.inverted << smoothing);
            h->modelMatrix = row.back ? Matrix::Scale({-1, 1, -1}) : Matrix(); // a half turn
            h->material.twoSidedLighting = row.twoSided;
            h->model.invertNormals = row.inverted;
            h->material.smoothing = smoothing;
            const Point4 c = h->Draw(MaterialPass::Property, surface).at(kMiddle, kMiddle);
            const Point3 want = Normalized(Point3{0.6f * smoothing, 0, -1 + 0.2f * smoothing});
            ExpectColour({std::abs(c.x), c.y, c.z}, {want.x, 0, -want.z * row.side}, 1e-4f);
        }
}

} // namespace
} // namespace velorin
