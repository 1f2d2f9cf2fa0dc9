#include "render/DrawRecord.h"
#include "render/FrameBuffers.h"
#include "render/LayerTexture.h"
#include "render/RenderSettings.h"
#include "render/Renderer.h"
#include "render/RendererPrefs.h"
#include "render/TextureManager.h"
#include "render/VelorinRenderer.h"
#include "render/gl/Handles.h"

#include "services/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>

// Starting and stopping: what must not share a renderer with other tests.

namespace velorin {
namespace {

TEST(RendererLife, StartsStopsAndStartsAgainWithoutLeavingAnything) {
    Renderer renderer;
    EXPECT_FALSE(renderer.ready());
    EXPECT_FALSE(renderer.SetContext());
    LayerTexture survivor;
    std::array<std::uint8_t, 16> pixels{};
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(renderer.Init(), InitError::Done) << renderer.InitMessage();
        ASSERT_TRUE(renderer.SetContext());
        EXPECT_TRUE(survivor.empty()); // its context is gone
        VelorinRenderer scene(renderer);
        ASSERT_TRUE(scene.Initialize());
        RenderSettings settings; // asks for 8 samples: the driver's limit is taken when it is lower
        renderer.SetFrameSize(16, 8);
        ASSERT_EQ(renderer.SetupRender(settings), SetupResult::Done);
        EXPECT_EQ(renderer.frameBuffers().key().sampleCount, ClampSamples(8, renderer.driver().maxSamples));
        scene.Render(settings, DrawList(), true);
        renderer.BlendToFinal(1);
        ASSERT_TRUE(renderer.UploadTexture({2, 2, 1, 8, pixels.data()}, survivor));
        EXPECT_GT(gl::LiveObjects(), 20u);
    }
    survivor = LayerTexture();
    renderer.Shutdown();
    EXPECT_EQ(gl::LiveObjects(), 0u);
    EXPECT_FALSE(renderer.ready());
    EXPECT_FALSE(renderer.SetContext());
}

TEST(RendererLife, HandlesMayDieOnAnyThread) {
    Renderer renderer;
    ASSERT_EQ(renderer.Init(), InitError::Done) << renderer.InitMessage();
    LayerTexture layer;
    std::array<std::uint8_t, 16> pixels{};
    ASSERT_TRUE(renderer.UploadTexture({2, 2, 1, 8, pixels.data()}, layer));
    const std::uint32_t live = gl::LiveObjects(gl::ObjectKind::Texture);
    std::thread([&layer] { layer = LayerTexture(); }).join();
    EXPECT_EQ(gl::LiveObjects(gl::ObjectKind::Texture), live); // waits for the context
    ASSERT_TRUE(renderer.SetContext());
    EXPECT_EQ(gl::LiveObjects(gl::ObjectKind::Texture), live - 1);
}

// The largest side is 1024 << value.
TEST(RendererLife, TheDetailOfTexturesIsAPreference) {
    const test::TemporaryFolder folder;
    const test::ScopedVariable settings("VELORIN_SETTINGS_DIR", folder.file("none"));
    const test::ScopedVariable data("VELORIN_DATA_PATH", folder.path());
    std::filesystem::create_directories(folder.file("Quenmarworks"));
    constexpr std::uint32_t kWide = 2000, kHigh = 256;
    std::string picture = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 256 +X 2000\n";
    picture.append(std::size_t{4} * kWide * kHigh, '\x80');
    folder.Put("wide.hdr", picture);
    for (const std::uint32_t value : {0u, 1u, 4000000000u}) {
        ASSERT_TRUE(SaveRendererPrefs({false, value, false}));
        Renderer renderer;
        ASSERT_EQ(renderer.Init(), InitError::Done) << renderer.InitMessage();
        TextureEntry* const entry = renderer.textures().GetTexture(folder.file("wide.hdr"), kTexturePlain);
        ASSERT_TRUE(entry);
        EXPECT_EQ(entry->width, value == 0 ? kWide / 2 : kWide);
        renderer.textures().ReleaseTexture(entry);
    }
}

TEST(RendererLife, SaysWhyThereIsNoContext) {
    const test::ScopedVariable platform("EGL_PLATFORM", "x11");
    const test::ScopedVariable display("DISPLAY", ":987"); // nobody listens there
    Renderer renderer;
    EXPECT_EQ(renderer.Init(), InitError::NoContext);
    EXPECT_FALSE(renderer.ready());
    EXPECT_FALSE(renderer.InitMessage().empty());
    VelorinRenderer scene(renderer);
    EXPECT_FALSE(scene.Initialize());
    scene.Render(RenderSettings(), DrawList(), true); // nothing happens
    EXPECT_TRUE(scene.pickList().empty());
}

TEST(Samples, AreAPowerOfTwoWithinTheLimit) {
    for (const auto& [wished, limit, expected] :
         {std::array{0, 8, 0}, {-1, 8, 0}, {32, 8, 8}, {16, 4, 4}, {6, 8, 4}, {1, 8, 1}, {8, 0, 0}})
        EXPECT_EQ(ClampSamples(wished, limit), expected) << wished << " of " << limit;
}

} // namespace
} // namespace velorin
