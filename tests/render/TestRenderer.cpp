#include "render/DriverMessages.h"
#include "render/FixedPrograms.h"
#include "render/FrameBuffers.h"
#include "render/FullScreenQuad.h"
#include "render/LayerTexture.h"
#include "render/RendererFixture.h"
#include "render/gl/Shaders.h"

#include <GL/glew.h>

#include <array>
#include <cmath>
#include <cstring>
#include <vector>

namespace velorin {
namespace {

using test::RendererTest;

// One value in the host's form of a depth, 1, 2 or 4 bytes.
void Put(std::byte* at, std::uint32_t depth, float value) {
    const auto v8 = static_cast<std::uint8_t>(value * 255 + 0.5f);
    const auto v16 = static_cast<std::uint16_t>(value * 32768 + 0.5f);
    std::memcpy(at,
                depth == 1   ? static_cast<const void*>(&v8)
                : depth == 2 ? &v16
                             : static_cast<const void*>(&value),
                depth);
}
float Value(const std::byte* at, std::uint32_t depth) {
    if (depth == 1) return static_cast<float>(*reinterpret_cast<const std::uint8_t*>(at)) / 255;
    if (depth == 2) return static_cast<float>(*reinterpret_cast<const std::uint16_t*>(at)) / 32768;
    return *reinterpret_cast<const float*>(at);
}

TEST_F(RendererTest, FaultyShadersGiveNoProgram) {
    for (int i = 0; i < static_cast<int>(PassProgram::Count); ++i)
        EXPECT_TRUE(renderer().programs().Has(static_cast<PassProgram>(i)))
            << FixedPrograms::NameOf(static_cast<PassProgram>(i));
    EXPECT_FALSE(gl::CreateShaderProgram(""));
    EXPECT_FALSE(gl::CreateShaderProgram("void main() { this is not a shader }"));
    EXPECT_FALSE(gl::CreateTwoStageProgram("#version 150 core\nvoid main() { gl_Position = vec4(0); }",
                                           "#version 150 core\nnonsense"));
    test::ForgiveDriverMessages();
}

TEST_F(RendererTest, RebuildsTargetsOnlyWhenSomethingChanged) {
    RenderSettings settings;
    settings.sampleCount = 4;
    const auto builds = [&] { return renderer().statistics().framebufferBuilds; };
    renderer().SetFrameSize(64, 48);
    ASSERT_EQ(renderer().SetupRender(settings), SetupResult::Done);
    const auto before = builds();
    ASSERT_EQ(renderer().SetupRender(settings), SetupResult::Done);
    EXPECT_EQ(builds(), before);

    using Change = void (*)(RenderSettings&);
    const std::vector<Change> changes{[](RenderSettings& s) { s.sampleCount = 0; },
                                      [](RenderSettings& s) { s.shadow.mapSize = 256; },
                                      [](RenderSettings& s) { s.shadow.mapLayers = 2; },
                                      [](RenderSettings& s) { s.shadow.pointLights = 1; },
                                      [](RenderSettings& s) { s.ao.enabled = true, s.ao.sampleCount = 2; },
                                      [](RenderSettings& s) { s.ao.maskSampleCount = 4; },
                                      [](RenderSettings& s) { s.reflection.inUse = true; },
                                      [](RenderSettings& s) { s.reflection.mapSize = 256; },
                                      [](RenderSettings& s) { s.picking = true; }};
    std::uint64_t expected = before;
    for (std::size_t i = 0; i < changes.size(); ++i) {
        changes[i](settings);
        ASSERT_EQ(renderer().SetupRender(settings), SetupResult::Done) << i;
        EXPECT_EQ(builds(), ++expected) << i;
    }
    settings.reflection.inUse = false;
    ASSERT_EQ(renderer().SetupRender(settings), SetupResult::Done);
    settings.reflection.mapSize = 64; // not looked at while reflections are off
    settings.fog.enabled = true;
    ASSERT_EQ(renderer().SetupRender(settings), SetupResult::Done);
    EXPECT_EQ(builds(), ++expected);
}

TEST_F(RendererTest, RefusesSizesOverTheLimitAndTouchesNothing) {
    RenderSettings settings;
    renderer().SetFrameSize(32, 32);
    ASSERT_EQ(renderer().SetupRender(settings), SetupResult::Done);
    const auto builds = renderer().statistics().framebufferBuilds;
    renderer().SetFrameSize(renderer().driver().maxTextureSize + 1, 16);
    EXPECT_EQ(renderer().SetupRender(settings), SetupResult::SizeNotPossible);
    EXPECT_EQ(renderer().width(), 1);
    EXPECT_EQ(renderer().height(), 1);
    EXPECT_EQ(renderer().statistics().framebufferBuilds, builds);
}

// A picture whose four quarters differ goes from the result buffer to 8, 16 and 32 bits; row 0 must stay on
// top.
TEST_F(RendererTest, DeliversTheMeanInEveryDepth) {
    RenderSettings settings;
    settings.gamma = 2;
    constexpr int kWidth = 6, kHeight = 4;
    renderer().SetFrameSize(kWidth, kHeight);
    ASSERT_EQ(renderer().SetupRender(settings), SetupResult::Done);
    FrameBuffers& buffers = renderer().frameBuffers();
    // Top half red 0.25 at half coverage (premultiplied 0.125), lower half opaque green 1.
    const auto fill = [&](float red, float green) {
        glBindFramebuffer(GL_FRAMEBUFFER, buffers.resultFramebuffer.name());
        glDrawBuffer(GL_COLOR_ATTACHMENT0);
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, 0, kWidth, kHeight / 2);
        glClearColor(red * 0.5f, 0, 0, 0.5f);
        glClear(GL_COLOR_BUFFER_BIT);
        glScissor(0, kHeight / 2, kWidth, kHeight / 2);
        glClearColor(0, green, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glDisable(GL_SCISSOR_TEST);
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
    };
    // The mean of two samples: weight 1, then 1/2. 0.25 is the mean of 0.1 and 0.4.
    fill(0.1f, 0.5f);
    renderer().BlendToFinal(1);
    fill(0.4f, 1.5f);
    renderer().BlendToFinal(0.5f);

    for (const std::uint32_t depth : {1u, 2u, 4u}) {
        const int rowBytes = static_cast<int>(4 * depth * kWidth) + 8;
        std::vector<std::byte> world(static_cast<std::size_t>(rowBytes) * kHeight);
        OutputTarget target;
        target.image = {kWidth, kHeight, depth, rowBytes, world.data()};
        target.width = kWidth;
        target.height = kHeight;
        renderer().SetOutput(target);
        ASSERT_TRUE(renderer().EndRender());
        const auto expectPixel = [&](int x, int y, const std::array<float, 4>& argb) {
            for (int c = 0; c < 4; ++c) {
                const int at = y * rowBytes + static_cast<int>(depth) * (4 * x + c);
                EXPECT_NEAR(Value(world.data() + at, depth), argb[static_cast<std::size_t>(c)], 0.003f)
                    << depth << ' ' << c;
            }
        };
        for (const int x : {0, kWidth - 1}) {
            expectPixel(x, 0, {0.5f, 0.5f, 0, 0}); // straight 0.25 through gamma 2
            expectPixel(x, kHeight - 1, {1, 0, 1, 0});
        }
    }
    settings.backgroundColour = {0, 0, 0.5f, 1}; // 0.25 in linear light, behind what lets it through
    renderer().SetFrameSettings(settings);
    std::vector<float> rgba(std::size_t{4} * kWidth * kHeight);
    ASSERT_TRUE(renderer().ReadFrame(rgba.data()));
    EXPECT_NEAR(rgba[0], std::sqrt(0.125f), 0.001f);
    EXPECT_NEAR(rgba[2], std::sqrt(0.125f), 0.001f);
    EXPECT_NEAR(rgba[3], 1, 0.001f);
}

TEST_F(RendererTest, LayersKeepTheirPixelsInEveryDepth) {
    // 2 by 2 pixels, alpha first; the samplers must give red, green, blue, alpha.
    const float values[2][2][4] = {{{1, 1, 0, 0}, {1, 0, 1, 0}}, {{0.5f, 0, 0, 1}, {0, 0.25f, 0.5f, 0.75f}}};
    for (const std::uint32_t depth : {1u, 2u, 4u}) {
        const int rowBytes = static_cast<int>(8 * depth) + (depth == 4 ? 4 : static_cast<int>(4 * depth));
        std::vector<std::byte> world(static_cast<std::size_t>(rowBytes) * 2);
        for (int y = 0; y < 2; ++y)
            for (int i = 0; i < 8; ++i) {
                std::byte* at = world.data() + y * rowBytes + i * static_cast<int>(depth);
                Put(at, depth, values[y][i / 4][i % 4]);
            }
        LayerTexture layer;
        ASSERT_TRUE(renderer().UploadTexture({2, 2, depth, rowBytes, world.data()}, layer));
        const auto name = layer.texture.name();
        ASSERT_TRUE(renderer().UploadTexture({2, 2, depth, rowBytes, world.data()}, layer));
        EXPECT_EQ(layer.texture.name(), name) << "storage must stay";

        renderer().SetFrameSize(2, 2);
        RenderSettings settings;
        ASSERT_EQ(renderer().SetupRender(settings), SetupResult::Done);
        glBindFramebuffer(GL_FRAMEBUFFER, renderer().frameBuffers().resultFramebuffer.name());
        glDrawBuffer(GL_COLOR_ATTACHMENT0);
        glViewport(0, 0, 2, 2);
        glActiveTexture(GL_TEXTURE0);
        glBindTexture(GL_TEXTURE_2D, name);
        EXPECT_TRUE(renderer().programs().Use(PassProgram::ColorCopy)); // texels meet pixels
        renderer().quad().Draw();
        glUseProgram(0);
        float pixels[16];
        glReadPixels(0, 0, 2, 2, GL_RGBA, GL_FLOAT, pixels);
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        for (int p = 0; p < 4; ++p)
            for (int c = 0; c < 4; ++c)
                EXPECT_NEAR(pixels[4 * p + c], values[p / 2][p % 2][(c + 1) % 4], 0.003f)
                    << "depth " << depth << " pixel " << p << " channel " << c;

        ASSERT_TRUE(renderer().UploadTexture({}, layer)); // a layer of size 0 clears its texture
        EXPECT_TRUE(layer.empty());
    }
    LayerTexture layer;
    EXPECT_FALSE(renderer().UploadTexture({2, 2, 1, 7, &layer}, layer)); // rows shorter than the pixels
}

} // namespace
} // namespace velorin
