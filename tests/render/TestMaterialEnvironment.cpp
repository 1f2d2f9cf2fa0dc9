#include "render/MaterialHarness.h"
#include "render/ShadingReference.h"
#include "render/TextureManager.h"

#include <GL/glew.h>

#include <algorithm>

namespace velorin {
namespace {

namespace reference = test::reference;
using test::Ball;
using test::ExpectColour;
using test::Written;

// A colour that tells its direction.
Point3 ColourOf(Point3 d) {
    return Point3{0.5f, 0.5f, 0.5f} + d * 0.4f;
}

class MaterialEnvironment : public test::MaterialTest {
protected:
    void SetUp() override {
        MaterialTest::SetUp();
        h->settings.environment.lightingInfluence = 0;
        channel.enabled = true, channel.path = "environment", channel.gamma = 1;
        h->settings.environment.channel = &channel;
        h->material.diffuseColor = {0, 0, 0, 255};
    }
    // Longitudes and latitudes, twice as wide as high.
    static std::vector<Point4> PictureOf(const std::function<Point3(Point3)>& colour, int width) {
        std::vector<Point4> pixels;
        for (int y = 0; y < width / 2; ++y)
            for (int x = 0; x < width; ++x) {
                const auto w = static_cast<float>(width);
                const Point3 c = colour(
                    DirectionOf((static_cast<float>(x) + 0.5f) / w, (static_cast<float>(y) + 0.5f) / w * 2));
                pixels.push_back({c.x, c.y, c.z, 1});
            }
        return pixels;
    }
    void SetPicture(const std::function<Point3(Point3)>& colour) {
        h->SetTexture(TextureUnit::Environment, 256, 128, PictureOf(colour, 256), true);
    }
    static Point3 DirectionOf(float u, float v) {
        const float longitude = (u - 0.5f) * 2 * kPi, latitude = (v - 0.5f) * kPi;
        return {std::cos(latitude) * std::sin(longitude), std::sin(latitude),
                std::cos(latitude) * std::cos(longitude)};
    }
    // A mirror by the Standard shading.
    void MakeMirror() {
        h->material.type = MaterialType::Standard;
        h->material.reflectionIntensity = 1;
        h->material.reflectionBlend = ReflectionBlend::Add;
    }
    void MakePhysical(float glossiness, float reflectivity, Colour tint = kWhite) {
        h->material.type = MaterialType::Physical;
        h->material.pbrGlossiness = glossiness;
        h->material.pbrReflectivity = reflectivity;
        h->material.pbrReflectivityColor = tint;
    }

    TextureChannel channel{Channel::Environment};
    test::Surface ball = Ball(22);
};

TEST_F(MaterialEnvironment, PictureStandsUprightAndTurns) {
    SetPicture([](Point3 d) { return ColourOf(d); });
    MakeMirror();
    for (const Matrix& turn : {Matrix(), ToMatrix(QuaternionFromEuler(0.3f, -0.7f, 0.2f))}) {
        h->settings.environment.rotation = turn;
        for (const Point& p : Points(MaterialPass::Image, ball))
            ExpectColour(p.colour, ColourOf(TransformDirection(reference::Reflected(-p.eye, p.normal), turn)),
                         0.02f);
    }
    // What is up in the world is the top row of the picture, in the upper part of the ball.
    h->settings.environment.rotation = {};
    h->SetTexture(TextureUnit::Environment, 1, 4, {{1, 0, 0, 1}, {0, 0, 0, 1}, {0, 0, 0, 1}, {0, 1, 0, 1}});
    const Written drawn = h->Draw(MaterialPass::Image, ball);
    EXPECT_EQ(drawn.at(kMiddle, kMiddle - 15).x, 1);
    EXPECT_EQ(drawn.at(kMiddle, kMiddle + 15).y, 1);
}

TEST_F(MaterialEnvironment, RepeatsAndGrades) {
    SetPicture([](Point3 d) { return ColourOf(d); });
    MakeMirror();
    channel.uvRepeat = {2, 1}, channel.uvOffset = {0.25f, 0};
    channel.gamma = 2;
    h->settings.environment.exposure = 0.5f;
    h->settings.environment.gamma = 0.75f;
    h->settings.environment.tint = {1, 0.5f, 0.25f};
    int compared = 0;
    for (const Point& p : Points(MaterialPass::Image, ball)) {
        const Point2 uv = reference::PictureOf(reference::Reflected(-p.eye, p.normal));
        const Point3 texel = ColourOf(DirectionOf(uv.x * 2 + 0.25f, uv.y));
        const Point3 want =
            reference::Graded(texel, {.gamma = 1.5, .brightness = 0.5}) * Point3{1, 0.5f, 0.25f};
        if (uv.y < 0.05f || uv.y > 0.95f) continue; // two directions side by side
        ExpectColour(p.colour, want, 0.03f);
        ++compared;
    }
    EXPECT_GT(compared, 400);
}

TEST_F(MaterialEnvironment, RefractionBendsBySnellius) {
    SetPicture([](Point3 d) { return ColourOf(d); });
    h->material.type = MaterialType::Standard;
    h->material.refractionIntensity = 1;
    h->material.refractionBlend = ReflectionBlend::Add;
    h->material.refractionIoR = 1.25f;
    for (const Point& p : Points(MaterialPass::Image, ball)) {
        const float cosine = Dot(p.eye, p.normal);
        const float sine = std::sqrt(1 - cosine * cosine) / 1.25f; // behind the surface
        const Point3 across = Normalized(p.normal * cosine - p.eye);
        const Point3 bent = p.normal * -std::sqrt(1 - sine * sine) + across * sine;
        ExpectColour(p.colour, ColourOf(bent), 0.02f);
    }
}

TEST_F(MaterialEnvironment, ReflectionOverAndAdded) {
    SetPicture([](Point3) { return Point3{0.5f, 1, 2}; });
    h->material.type = MaterialType::Standard;
    h->material.diffuseColor = {255, 255, 255, 255};
    SceneLight ambient;
    ambient.type = LightType::Ambient;
    ambient.colour = {0.3f, 0.3f, 0.3f};
    h->settings.lights = {ambient};
    struct Row {
        ReflectionBlend mode;
        float intensity;
        double below, above; // shares
    };
    for (const Row& row :
         {Row{ReflectionBlend::Normal, 0.25f, 0.75, 0.25}, Row{ReflectionBlend::Normal, 3, 0, 3},
          Row{ReflectionBlend::NormalClamp, 3, 0, 1}, Row{ReflectionBlend::Add, 3, 1, 3}}) {
        h->material.reflectionBlend = row.mode;
        h->material.reflectionIntensity = row.intensity;
        const Point4 c = h->Draw(MaterialPass::Image, ball).at(kSide / 2, kSide / 2);
        EXPECT_NEAR(c.x, 0.3 * row.below + 0.5 * row.above, 1e-4);
        EXPECT_NEAR(c.z, 0.3 * row.below + 2 * row.above, 1e-4);
    }
}

// A white body in even light is not to be told from its surroundings, however it reflects.
TEST_F(MaterialEnvironment, WhiteFurnace) {
    h->SetCube(TextureUnit::Ibl, 64, 7, [](Point3, int) { return Point4{1, 1, 1, 1}; });
    for (const bool conserving : {false, true})
        for (const float glossiness : {0.0f, 0.3f, 0.7f, 1.0f})
            for (const float reflectivity : {0.0f, 0.4f, 1.0f}) {
                MakePhysical(glossiness, reflectivity);
                h->material.pbrDiffuseColor = kWhite;
                h->material.energyConservation = conserving;
                for (const Point& p : Points(MaterialPass::Image, ball))
                    ExpectColour(p.colour, {1, 1, 1}, 1e-3f);
            }
    // A refracting one neither.
    h->material.pbrRefraction = 0.6f;
    for (const Point& p : Points(MaterialPass::Image, ball)) ExpectColour(p.colour, {1, 1, 1}, 1e-3f);
    // Without the environment there is no light.
    h->model.disableEnvironment = true;
    for (const Point& p : Points(MaterialPass::Image, ball)) ExpectColour(p.colour, {0, 0, 0}, 1e-6f);
}

// A mirror sees the level of its roughness, a matte body the last one at its normal.
TEST_F(MaterialEnvironment, RoughnessChoosesTheLevel) {
    h->SetCube(TextureUnit::Ibl, 64, 7, [](Point3 d, int level) {
        const auto l = static_cast<float>(level);
        return Point4{l / 8, 1 - l / 8, 0.5f + 0.4f * d.y, 1};
    });
    for (const float glossiness : {1.0f, 0.75f, 0.5f, 0.0f}) {
        MakePhysical(glossiness, 1);
        for (const Point& p : Points(MaterialPass::Reflection, ball)) {
            const float e = 1 - std::abs(Dot(p.normal, p.eye));
            const float rough = (1 - glossiness) + glossiness * std::pow(e, 64.0f);
            ExpectColour({p.colour.x, p.colour.y, 0}, {rough * 6 / 8, 1 - rough * 6 / 8, 0}, 5e-3f);
        }
    }
    MakePhysical(0, 0);
    h->material.pbrDiffuseColor = kWhite;
    for (const Point& p : Points(MaterialPass::Diffuse, ball)) {
        const Point3 light = p.colour * (1 / (p.colour.x + p.colour.y)); // of all but what is reflected
        EXPECT_NEAR(light.x, 0.75f, 5e-3f);
        EXPECT_NEAR(light.z, 0.5f + 0.4f * p.normal.y, 0.25f); // of one texel a face
    }
}

TEST_F(MaterialEnvironment, IblRepeatsAsThePictureDoes) {
    h->SetCube(TextureUnit::Ibl, 64, 1, [](Point3 d, int) {
        const Point3 c = ColourOf(d);
        return Point4{c.x, c.y, c.z, 1};
    });
    MakePhysical(1, 1);
    for (const Point& p : Points(MaterialPass::Reflection, ball))
        ExpectColour(p.colour, ColourOf(reference::Reflected(-p.eye, p.normal)), 0.03f);
    channel.uvOffset = {0.25f, 0}; // a quarter turn
    for (const Point& p : Points(MaterialPass::Reflection, ball)) {
        const Point2 uv = reference::PictureOf(reference::Reflected(-p.eye, p.normal));
        if (uv.y < 0.05f || uv.y > 0.95f) continue;
        ExpectColour(p.colour, ColourOf(DirectionOf(uv.x + 0.25f, uv.y)), 0.04f);
    }
}

// Parts of the picture, drawn by their own programs.
class MaterialParts : public MaterialEnvironment {
protected:
    void SetUp() override {
        MaterialEnvironment::SetUp();
        SetPicture([](Point3) { return Point3{1, 1, 1}; });
        h->SetCube(TextureUnit::Ibl, 32, 6, [](Point3 d, int level) {
            const Point3 c = ColourOf(d) * (1 + static_cast<float>(level) / 4);
            return Point4{c.x, c.y, c.z, 1};
        });
        SceneLight spot, ambient;
        spot.type = LightType::Spot, spot.position = {-60, -50, -90},
        spot.direction = Normalized({0.6f, 0.5f, 0.9f});
        spot.coneAngle = 1, spot.colour = {0.9f, 0.7f, 0.5f};
        ambient.type = LightType::Ambient, ambient.colour = {0.1f, 0.15f, 0.2f};
        h->settings.lights = {spot, ambient};
        h->settings.environment.lightingInfluence = 0.3f;
        h->material.diffuseColor = h->material.pbrDiffuseColor = {200, 150, 90, 255};
        h->material.illuminationIntensity = 0.4f;
        h->material.illuminationFresnel = 0.5f;
        h->manager.state().modelColor = {0.9f, 0.8f, 1, 1};
    }
    std::vector<Point3> Colours(MaterialPass pass) {
        std::vector<Point3> colours;
        for (const Point& p : Points(pass, ball)) colours.push_back(p.colour);
        return colours;
    }
    void SetTexture(Channel number, TextureUnit unit, Point4 texel) {
        TextureChannel& slot = h->material.channel(number);
        slot.enabled = true, slot.path = "texture", slot.gamma = 1;
        h->SetTexture(unit, 1, 1, {texel});
    }
    static void ExpectScaled(const std::vector<Point3>& got, const std::vector<Point3>& plain, Point3 factor,
                             float tolerance = 1e-4f) {
        for (std::size_t i = 0; i < plain.size(); ++i) ExpectColour(got[i], plain[i] * factor, tolerance);
    }
};

TEST_F(MaterialParts, PhysicalPartsAddUp) {
    MakePhysical(0.6f, 0.35f, {255, 200, 100, 255});
    h->material.pbrRefraction = 0.3f, h->material.pbrIoR = 1.4f;
    h->material.pbrSpecularMultiplier = 1.5f;
    for (const bool fog : {false, true}) {
        h->settings.fog.enabled = fog;
        h->settings.fog.colour = {0.2f, 0.3f, 0.9f};
        h->settings.fog.start = 0, h->settings.fog.range = 4000;
        // The body's own light is added without the fog.
        h->material.illuminationIntensity = fog ? 0 : 0.4f;
        const auto whole = Colours(MaterialPass::Image);
        std::vector<Point3> sum(whole.size());
        for (const MaterialPass part :
             {MaterialPass::Diffuse, MaterialPass::Specular, MaterialPass::Reflection,
              MaterialPass::Refraction, MaterialPass::Illumination}) {
            const auto colours = Colours(part);
            double light = 0;
            for (std::size_t i = 0; i < sum.size(); ++i) sum[i] += colours[i], light += colours[i].x;
            EXPECT_TRUE(light > 1 || (fog && part == MaterialPass::Illumination)) << static_cast<int>(part);
        }
        ExpectScaled(sum, whole, {1, 1, 1}, 2e-3f);
    }
}

TEST_F(MaterialParts, MixerScalesItsPart) {
    h->material.reflectionIntensity = 0.4f;
    h->material.refractionIntensity = 0.3f;
    h->material.reflectionBlend = h->material.refractionBlend = ReflectionBlend::Add;
    for (const auto type : {MaterialType::Standard, MaterialType::Physical}) {
        h->material.type = type;
        h->material.pbrReflectivity = 0.4f, h->material.pbrRefraction = 0.3f;
        for (const auto& [share, part] : {std::pair{&MixerSettings::specular, MaterialPass::Specular},
                                          {&MixerSettings::emissive, MaterialPass::Illumination},
                                          {&MixerSettings::refract, MaterialPass::Refraction},
                                          {&MixerSettings::reflect, MaterialPass::Reflection}}) {
            // A Physical body that reflects less has more of the rest, and its edge still reflects.
            if (type == MaterialType::Physical && part == MaterialPass::Reflection) continue;
            const auto full = Colours(part);
            h->settings.mixer.*share = 0.5f;
            ExpectScaled(Colours(part), full, {0.5f, 0.5f, 0.5f});
            h->settings.mixer.*share = 1;
        }
    }
}

// A channel's texture scales what it stands for, in both kinds of shading.
TEST_F(MaterialParts, TexturesReachTheirChannels) {
    const Point4 texel{0.5f, 0.25f, 0.75f, 1};
    struct Row {
        Channel channel;
        TextureUnit unit;
        MaterialPass pass;
        MaterialType type = MaterialType::Standard;
    };
    using enum Channel;
    using P = MaterialPass;
    for (const Row& row : {Row{Diffuse, TextureUnit::Diffuse, P::Diffuse},
                           {Specular, TextureUnit::Specular, P::Specular},
                           {Specular, TextureUnit::Specular, P::Reflection},
                           {Reflection, TextureUnit::Reflect, P::Reflection},
                           {Reflection, TextureUnit::Reflect, P::Refraction},
                           {Occlusion, TextureUnit::Occlusion, P::Image},
                           {Illumination, TextureUnit::Emissive, P::Illumination},
                           {Occlusion, TextureUnit::Occlusion, P::Diffuse, MaterialType::Physical}}) {
        SCOPED_TRACE(testing::Message()
                     << static_cast<int>(row.channel) << ' ' << static_cast<int>(row.pass));
        h->material.type = row.type;
        h->material.affectRefraction = false;
        const bool picture = row.pass == MaterialPass::Image; // of light from lamps alone
        h->material.illuminationIntensity = picture ? 0 : 0.4f;
        h->material.reflectionIntensity = picture ? 0 : 0.4f;
        h->material.refractionIntensity = picture ? 0 : 0.3f;
        const auto plain = Colours(row.pass);
        SetTexture(row.channel, row.unit, texel);
        ExpectScaled(Colours(row.pass), plain, {texel.x, texel.y, texel.z});
        h->material.channel(row.channel).enabled = false;
    }
    // Grey textures of a Physical body are shares of its two controls.
    for (const bool gloss : {true, false}) {
        MakePhysical(0.8f, 0.6f);
        SetTexture(gloss ? Specular : Reflection, gloss ? TextureUnit::Specular : TextureUnit::Reflect,
                   {0.5f, 0.5f, 0.5f, 1});
        const auto textured = Colours(P::Image);
        h->material.channel(gloss ? Specular : Reflection).enabled = false;
        MakePhysical(gloss ? 0.4f : 0.8f, gloss ? 0.6f : 0.3f);
        ExpectScaled(textured, Colours(P::Image), {1, 1, 1});
    }
}

} // namespace
} // namespace velorin
