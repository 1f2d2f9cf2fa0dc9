#include "host/LayerInputs.h"
#include "host/SmartRects.h"

#include "host/FakeHost.h"
#include "host/ParamsSetup.h"

#include <gtest/gtest.h>

#include <random>

namespace velorin {
namespace {

// The standard library's minimal standard generator, driven the same way.
A_long Independent(double seed, int layer, A_long current, A_long total) {
    auto start = static_cast<std::uint64_t>(seed + 1000.0 * layer) % 2147483647u;
    std::minstd_rand generator(static_cast<std::uint32_t>(start == 0 ? 1 : start));
    for (int i = 0; i < 10; ++i) generator();
    const std::uint64_t part = (2147483646u) / (static_cast<std::uint64_t>(total) + 1);
    std::uint64_t draw;
    do draw = (generator() - 1) / part;
    while (draw > static_cast<std::uint64_t>(total));
    return static_cast<A_long>((static_cast<std::int64_t>(draw) + current) % total);
}

TEST(RandomLayerTime, FollowsTheMinimalStandardGenerator) {
    std::minstd_rand reference(1);
    reference.discard(9999);
    ASSERT_EQ(reference(), 399268537u); // as its standard demands
    for (const float seed : {0.0f, 1.0f, 5000.0f, 5000.7f, 99999.0f})
        for (int layer = 0; layer < 10; ++layer)
            for (const A_long total : {1, 24, 240, 100000})
                for (const A_long current : {0, 7, 239})
                    ASSERT_EQ(RandomLayerTime(seed, layer, current, total),
                              Independent(std::trunc(static_cast<double>(seed)), layer, current, total))
                        << seed << " " << layer << " " << total << " " << current;
}

TEST(RandomLayerTime, StaysInsideTheLayer) {
    EXPECT_EQ(RandomLayerTime(5, 0, 12, 0), 12);
    EXPECT_EQ(RandomLayerTime(5, 0, 12, -4), 12);
    for (const A_long current : {-1000, -1, 0, 5000}) {
        const A_long time = RandomLayerTime(5000, 3, current, 48);
        EXPECT_GE(time, 0);
        EXPECT_LT(time, 48);
    }
    // Layers draw apart from each other.
    EXPECT_NE(RandomLayerTime(5000, 0, 0, 100000), RandomLayerTime(5000, 1, 0, 100000));
}

TEST(SmartRects, ResultsJoinWhenBothAreThere) {
    const PF_LRect none{}, a{10, 20, 30, 40}, b{-5, 25, 12, 90};
    const auto same = [](const PF_LRect& x, const PF_LRect& y) {
        return x.left == y.left && x.top == y.top && x.right == y.right && x.bottom == y.bottom;
    };
    EXPECT_TRUE(same(JoinResult(none, a), a));
    EXPECT_TRUE(same(JoinResult(a, none), none));
    EXPECT_TRUE(same(JoinResult(a, b), {-5, 20, 30, 90}));
}

TEST(SmartRects, OutputRegionFollowsDownsamplingAndWorld) {
    struct Case {
        A_long width, height;
        PF_RationalScale x, y;
        A_long worldWidth, worldHeight, originX, originY;
        std::int32_t expectedWidth, expectedHeight, expectedX, expectedY;
    };
    const Case cases[] = {
        {1280, 720, {1, 1}, {1, 1}, 1280, 720, 0, 0, 1280, 720, 0, 0},
        {1280, 721, {1, 2}, {1, 3}, 2000, 2000, 5, -7, 640, 241, 5, 0}, // rounded up
        {1280, 720, {1, 1}, {1, 1}, 400, 300, 1, 2, 400, 300, 1, 2},    // cut to the world
        {1280, 720, {0, 0}, {0, 1}, 1280, 720, 0, 0, 1280, 720, 0, 0},  // hosts may give 0
    };
    for (const Case& c : cases) {
        PF_InData in{};
        in.width = c.width;
        in.height = c.height;
        in.downsample_x = c.x;
        in.downsample_y = c.y;
        in.pixel_aspect_ratio = {3, 2};
        PF_EffectWorld world{};
        int pixels = 0;
        world.data = reinterpret_cast<PF_PixelPtr>(&pixels);
        world.width = c.worldWidth;
        world.height = c.worldHeight;
        world.origin_x = c.originX;
        world.origin_y = c.originY;
        const OutputTarget target = MakeOutputTarget(in, &world, 2);
        EXPECT_EQ(target.width, c.expectedWidth);
        EXPECT_EQ(target.height, c.expectedHeight);
        EXPECT_EQ(target.originX, c.expectedX);
        EXPECT_EQ(target.originY, c.expectedY);
        EXPECT_EQ(target.image.bytesPerChannel, 2u);
        EXPECT_NEAR(target.pixelAspect, 2.0f / 3, 1e-6);
    }
    EXPECT_EQ(MakeOutputTarget(PF_InData{}, nullptr, 1).width, 0);
}

TEST(LayerInputs, TimesFollowTheSamplingModes) {
    FakeHost host;
    std::vector<std::uint32_t> index;
    A_long count = 0;
    ASSERT_EQ(AddParams(host.in, nullptr, index, count), PF_Err_NONE);
    host.in.current_time = 30;
    host.Row(1864).u.pd.value = 2;
    host.Row(1865).u.pd.value = 3;
    host.Row(504).u.pd.value = 6;        // group 2: Layer
    host.Row(3604 + 100).u.pd.value = 8; // group 5: Layer Grid
    PluginCall call(&host.in, &host.out, nullptr, nullptr);
    const ParamReader rows(call, index);
    const LayerInputs inputs = FindLayerInputs(call, rows);
    EXPECT_EQ(inputs.overrideLayer.diskId, 20u);
    EXPECT_EQ(inputs.customTextures[0].diskId, 1852u);
    EXPECT_EQ(inputs.customTextures[0].time, 30);
    EXPECT_EQ(inputs.customTextures[1].time, 0);
    EXPECT_EQ(inputs.customTextures[2].time, Independent(5000, 2, 30, 240));
    EXPECT_EQ(inputs.customTextures[9].diskId, 1861u);
    EXPECT_EQ(inputs.groupLayers[0].diskId, 0u);
    EXPECT_EQ(inputs.groupLayers[1].diskId, 514u);
    EXPECT_EQ(inputs.groupLayers[4].diskId, 3714u);
    EXPECT_EQ(host.checkedOut, 0);
}

// Receipts of the host decide, and the size; without receipts nothing counts as unchanged.
TEST(LayerInputs, UnchangedLayersAreKnown) {
    FakeHost host;
    const std::vector<std::uint32_t> index(100, 1);
    int pixel = 0;
    ImageHeader image{4, 4, 1, 16, &pixel};
    const auto changed = [&](LayerSource& source) {
        PluginCall call(&host.in, &host.out, nullptr, nullptr);
        return LayerChanged(call, ParamReader(call, index), {20, 0}, image, source);
    };
    LayerSource without;
    EXPECT_TRUE(changed(without));
    EXPECT_TRUE(changed(without));
    host.OfferReceipts();
    LayerSource source;
    EXPECT_TRUE(changed(source));
    EXPECT_FALSE(changed(source));
    image.width = 5;
    EXPECT_TRUE(changed(source));
    image.bytesPerChannel = 2;
    EXPECT_TRUE(changed(source));
    EXPECT_FALSE(changed(source));
    host.receipt = 2;
    EXPECT_TRUE(changed(source));
    EXPECT_EQ(host.suitesOut, 0);
}

} // namespace
} // namespace velorin
