#include "render/LayerTexture.h"
#include "render/SceneFixture.h"

#include "services/TemporaryFolder.h"

#include <GL/glew.h>

#include <array>
#include <map>
#include <string>
#include <vector>

// That frames of ever other settings leave nothing behind and make nothing twice.

namespace velorin {
namespace {

using test::RectMesh;

// What the driver has, found by asking for every name rather than by our own books.
std::map<std::string, int> NamesInUse() {
    constexpr GLuint kNames = 100000; // the driver counts on rather than take a name again
    std::map<std::string, int> names;
    for (GLuint i = 1; i < kNames; ++i) {
        names["textures"] += glIsTexture(i);
        names["buffers"] += glIsBuffer(i);
        names["frame buffers"] += glIsFramebuffer(i);
        names["render buffers"] += glIsRenderbuffer(i);
        names["vertex arrays"] += glIsVertexArray(i);
        names["shaders"] += glIsShader(i);
        names["programs"] += glIsProgram(i);
        names["queries"] += glIsQuery(i);
    }
    return names;
}

// A Radiance picture of one colour.
std::string HdrFile(int width, int height) {
    std::string file = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y " + std::to_string(height) + " +X " +
                       std::to_string(width) + "\n";
    for (int i = 0; i < width * height; ++i) file += "\x40\x80\xc0\x81";
    return file;
}

class ObjectLifeTest : public test::SceneTest {
protected:
    void SetUp() override {
        SceneTest::SetUp();
        folder.Put("kept.hdr", HdrFile(4, 2));
        folder.Put("other.hdr", HdrFile(2, 4));
        TextureChannel& kept = Add(RectMesh(-20, -20, 30, 30)).channel(Channel::Diffuse);
        kept.enabled = true, kept.path = folder.file("kept.hdr");
        Add(RectMesh(4, 4, 40, 40, -5));
    }

    // Every setting has a rhythm of its own, so that all meet all others.
    void Vary(int i) {
        const auto turn = [i](int length) { return i % length; };
        settings = RenderSettings();
        constexpr std::array kOutputs{Output::Composite, Output::ZDepth,        Output::Normals,
                                      Output::Focus,     Output::WorldPosition, Output::Wireframe,
                                      Output::Glow};
        settings.output = kOutputs[static_cast<std::size_t>(turn(7))];
        settings.renderMode = turn(35) == 0 ? RenderMode::Full : RenderMode::Draft;
        settings.sampleCount = turn(2) ? 4 : 0;
        settings.supersampling = 1 + turn(3);
        settings.polygonMode = static_cast<PolygonMode>(turn(5) ? 0 : 2);
        settings.fxaa = turn(3);
        settings.picking = turn(5) == 0;
        settings.sphericalCapture = turn(23) == 0;
        settings.subsamplePost = turn(11) == 0;
        settings.glow.enabled = turn(4) == 0;
        constexpr std::array kDof{DofMode::Off, DofMode::Preview, DofMode::Continuous, DofMode::Pixel,
                                  DofMode::FocusIndicator};
        settings.dof.mode = kDof[static_cast<std::size_t>(turn(35) / 7)];
        settings.ao.enabled = turn(9) == 0;
        settings.ao.sampleCount = 4;
        settings.shadow.mapLayers = turn(6) == 0 ? 2 : 0;
        settings.shadow.mapSize = 64;
        settings.shadow.pointLights = turn(8) == 0;
        settings.reflection.inUse = turn(10) == 0;
        settings.reflection.mapSize = 64;
        settings.backgroundColour.w = static_cast<float>(turn(2));
        SceneMaterial& second = materials[1];
        second.blendMode = static_cast<MaterialBlend>(turn(3));
        second.forceOpacity = turn(4) == 0 ? 0.5f : 1;
        second.type = turn(20) < 10 ? MaterialType::Standard : MaterialType::Physical;
        second.pbrGlossiness = static_cast<float>(turn(13)) / 13;
        TextureChannel& slot = second.channel(Channel::Diffuse);
        slot.enabled = turn(7) < 3;
        slot.path = folder.file("other.hdr");
        slot.customLayer = turn(14) < 7 ? -1 : 2;
    }

    // A frame of one to three time samples, delivered in one of the depths.
    void Frame(int i) {
        Vary(i);
        const int width = 6 + i % 7, height = 6 + i % 5;
        settings.camera = test::CompCamera(width, height);
        LayerTexture layer;
        std::array<std::uint8_t, 64> pixels{};
        ASSERT_TRUE(renderer().UploadTexture({2, 2, 4, 32, pixels.data()}, layer));
        list.layers.assign(kCustomLayers, nullptr);
        list.layers[2] = &layer;
        const auto depth = static_cast<std::uint32_t>(1 << i % 3);
        std::vector<std::byte> world(std::size_t{4} * depth * 12 * 12);
        OutputTarget target;
        target.image = {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), depth,
                        static_cast<std::int32_t>(4 * depth) * width, world.data()};
        target.width = width, target.height = height;
        renderer().SetOutput(target);
        ASSERT_EQ(renderer().SetupRender(settings), SetupResult::Done);
        const int samples = i % 8 == 0 ? 3 : 1;
        for (int k = 1; k <= samples; ++k) {
            list.instances[1].modelMatrix = Matrix::Translation({static_cast<float>(k), 0, 0});
            scene->Render(settings, list, k == samples);
            renderer().BlendToFinal(1 / static_cast<float>(k));
        }
        ASSERT_TRUE(renderer().EndRender());
    }

    // The plainest frame there is: what is left then is what stays.
    std::map<std::string, int> NamesAtRest() {
        settings = RenderSettings();
        settings.sampleCount = 0;
        settings.renderMode = RenderMode::Draft;
        materials[1].channel(Channel::Diffuse).enabled = false;
        list.layers.clear();
        (void)Draw(8, 8);
        EXPECT_TRUE(renderer().SetContext()); // deletes what died
        return NamesInUse();
    }

    test::TemporaryFolder folder;
};

TEST_F(ObjectLifeTest, AThousandFramesLeaveNothingAndMakeNothingTwice) {
    constexpr int kPeriod = 140; // of everything that asks for a program
    for (int i = 0; i < kPeriod; ++i) Frame(i);
    const std::map<std::string, int> names = NamesAtRest();
    const RenderStatistics before = renderer().statistics();
    int layers = 0, returns = 0;
    bool used = false; // the second picture, in the frame before
    for (int i = kPeriod; i < 1000 + kPeriod; ++i, ++layers) {
        Frame(i);
        const TextureChannel& slot = materials[1].channel(Channel::Diffuse);
        const bool uses = slot.enabled && slot.customLayer < 0;
        returns += uses && !used;
        used = uses;
    }
    EXPECT_EQ(NamesAtRest(), names);
    const RenderStatistics after = renderer().statistics();
    EXPECT_EQ(after.frames, before.frames + 1000);
    EXPECT_EQ(after.programsCompiled, before.programsCompiled);
    EXPECT_EQ(after.meshUploads, before.meshUploads);
    // One picture is never let go; the other is fetched when it is wanted again after a frame without it.
    EXPECT_EQ(after.textureUploads, before.textureUploads + static_cast<std::uint64_t>(layers + returns));
}

} // namespace
} // namespace velorin
