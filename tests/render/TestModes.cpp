#include "render/LayerTexture.h"
#include "render/SceneFixture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

// Ways to draw that change what a pixel is made of: points, a shading of every sample, smoothing of edges.

namespace velorin {
namespace {

using test::Picture;
using test::QuadMesh;
using test::RectMesh;

constexpr int kWidth = 64, kHeight = 48;

using ModeTest = test::SceneTest;

// A square of the point's size around each corner in sight and nothing between; cutting the polygon at the
// frame's border, or at that of a tile, makes no corner.
TEST_F(ModeTest, PointCloudsShowCorners) {
    Add(RectMesh(16.5f, 12.5f, 84.5f, 36.5f)); // two corners lie beyond the right border
    settings.polygonMode = PolygonMode::Points;
    for (const int value : {1, 3}) {
        settings.supersampling = value;
        settings.pointSize = static_cast<float>(5 * settings.gridSide());
        const Picture picture = Draw(kWidth, kHeight);
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x) {
                const bool covered =
                    std::abs(x - 16) <= 2 && (std::abs(y - 12) <= 2 || std::abs(y - 36) <= 2);
                ASSERT_NEAR(picture.at(x, y).w, covered ? 1 : 0, 2e-3f) << x << "," << y << " of " << value;
            }
    }
}

// A hole that a texture's alpha cuts: samples within a pixel only differ when each of them is shaded.
TEST_F(ModeTest, EnhancedSamplesSmoothWhatATextureCuts) {
    if (!renderer().driver().sampleShading) GTEST_SKIP() << "the driver shades whole pixels only";
    std::array<float, 16> argb{1, 1, 1, 1, 0, 1, 1, 1, 1, 1, 1, 1, 0, 1, 1, 1};
    LayerTexture layer;
    ASSERT_TRUE(renderer().UploadTexture({2, 2, 4, 32, argb.data()}, layer));
    SceneMaterial& material = Add(QuadMesh({-10, -20, 0}, {70, 0, 0}, {74, 68, 0}, {-6, 48, 0}));
    material.alphaThreshold = 0.5f;
    TextureChannel& slot = material.channel(Channel::Diffuse);
    slot.enabled = true, slot.customLayer = 0;
    list.layers.assign(kCustomLayers, nullptr);
    list.layers[0] = &layer;
    settings.sampleCount = 4;
    std::array<int, 2> partial{};
    for (const bool enhanced : {false, true}) {
        settings.enhancedMultisampling = enhanced;
        const Picture picture = Draw(kWidth, kHeight);
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x) { // what is kept has half of the coverage at least
                const float alpha = picture.at(x, y).w;
                partial[enhanced] += alpha > 0.05f && alpha < 0.45f;
            }
    }
    EXPECT_EQ(partial[0], 0);
    EXPECT_GT(partial[1], 8);
}

// Stairs come nearer to the area that the edge covers; what is even stays, and so does the light in all.
TEST_F(ModeTest, SmoothingBringsStairsToTheirArea) {
    const auto edge = [](float x) { return 16 + 0.21f * x; };
    Add(QuadMesh({-10, edge(-10), 0}, {80, edge(80), 0}, {80, 60, 0}, {-10, 60, 0}));
    std::array<double, 3> error{}, sum{};
    for (const int iterations : {0, 1, 2}) {
        settings.fxaa = iterations;
        const Picture picture = Draw(kWidth, kHeight);
        const auto i = static_cast<std::size_t>(iterations);
        for (int y = 0; y < kHeight; ++y)
            for (int x = 4; x < kWidth - 4; ++x) {
                const double alpha = picture.at(x, y).w,
                             below = y + 1.0 - double{edge(static_cast<float>(x) + 0.5f)};
                const double area = std::clamp(below, 0.0, 1.0); // of a gentle slope
                error[i] += std::abs(alpha - area);
                sum[i] += alpha;
                if (below < -3 || below > 4) {
                    ASSERT_NEAR(alpha, area, 2e-3) << x << "," << y;
                }
            }
    }
    EXPECT_LT(error[1], 0.75 * error[0]);
    EXPECT_NEAR(sum[1], sum[0], 0.01 * sum[0]);
    EXPECT_NEAR(sum[2], sum[0], 0.01 * sum[0]);
    EXPECT_NE(error[2], error[1]); // a second time goes on
}

} // namespace
} // namespace velorin
