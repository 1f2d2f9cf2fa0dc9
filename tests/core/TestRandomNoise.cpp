#include "core/Noise.h"
#include "core/Random.h"
#include "core/SinCos.h"
#include "services/NxMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <vector>

namespace velorin {
namespace {

TEST(Random, GivesTheKnownSequence) {
    // The published start of this generator's sequence from 1.
    Random random(1);
    for (const std::uint32_t expected : {41u, 18467u, 6334u, 26500u, 19169u, 15724u, 11478u, 29358u})
        EXPECT_EQ(random.Draw(), expected);
    EXPECT_FLOAT_EQ(Random(1).Draw01(), 41.0f / 32767);
}

TEST(Random, SkipsAsIfStepping) {
    for (const std::uint64_t count : {0u, 1u, 2u, 3u, 17u, 100000u}) {
        Random stepped(77), skipped(77);
        for (std::uint64_t i = 0; i < count; ++i) stepped.Step();
        skipped.Skip(count);
        EXPECT_EQ(stepped.Draw(), skipped.Draw()) << count;
    }
    Random whole(5), same(5);
    whole.Skip(std::uint64_t{1} << 32); // the full period
    EXPECT_EQ(whole.Draw(), same.Draw());
}

TEST(SinCos, FollowsTheExactValuesAndLeavesOddAnglesToTheLibrary) {
    std::vector<float> angles;
    for (int i = -4000; i <= 4000; ++i) angles.push_back(static_cast<float>(i) * 1.713f);
    for (int i = -64; i <= 64; ++i)
        angles.push_back(static_cast<float>(i) * (kPi / 16)); // at and near the quarters
    std::vector<float> sines(angles.size()), cosines(angles.size());
    SinCos(angles.data(), sines.data(), cosines.data(), angles.size());
    for (std::size_t i = 0; i < angles.size(); ++i) {
        const auto x = static_cast<double>(angles[i]);
        EXPECT_NEAR(static_cast<double>(sines[i]), std::sin(x), 4e-7) << x;
        EXPECT_NEAR(static_cast<double>(cosines[i]), std::cos(x), 4e-7) << x;
    }
    const float odd[3] = {1e6f, std::numeric_limits<float>::infinity(), 0.5f};
    float sine[3], cosine[3];
    SinCos(odd, sine, cosine, 3);
    EXPECT_FLOAT_EQ(sine[0], std::sin(1e6f));
    EXPECT_TRUE(std::isnan(cosine[1]));
    EXPECT_FLOAT_EQ(sine[2], std::sin(0.5f));
}

TEST(Noise, GivesThePublishedValuesVanishesOnTheLatticeAndRepeatsEvery256) {
    // K. Perlin's reference implementation at these places.
    EXPECT_NEAR(Noise3(3.14f, 42, 7), 0.13691995878400012, 1e-5);
    EXPECT_NEAR(Noise3(-4.20f, 10, 6), 0.14208000000000043, 1e-5);
    for (const float x : {-300.0f, -1.0f, 0.0f, 5.0f, 255.0f, 256.0f, 1e6f}) {
        EXPECT_EQ(Noise2(x, 3), 0);
        EXPECT_EQ(Noise3(x, 3, -7), 0);
    }
    for (float x = -2; x < 2; x += 0.3125f) {
        EXPECT_EQ(Noise2(x, 0.25f), Noise2(x + 256, 0.25f - 512));
        EXPECT_EQ(Noise3(x, 0.25f, 0.5f), Noise3(x + 256, 0.25f, 0.5f - 256));
    }
    constexpr float nan = std::numeric_limits<float>::quiet_NaN(),
                    inf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(Noise2(nan, 0) + Noise2(0.5f, -inf) + Noise3(0.5f, 0.5f, inf), 0) << "no place";
    EXPECT_TRUE(std::isfinite(Noise2(3e38f, -3e38f)));
}

TEST(Noise, TwoDimensionsTakeTheGradientAtZeroHeight) {
    // Along the lattice line y = 0 the value near a corner is linear with a slope that is one of the
    // gradients' x parts, 0, 1 or -1.
    std::set<float> slopes;
    for (int x = 0; x < 256; ++x) {
        const float slope = Noise2(static_cast<float>(x) + 1e-3f, 0) / 1e-3f;
        slopes.insert(std::round(slope));
        EXPECT_NEAR(slope, std::round(slope), 0.05);
        EXPECT_LE(std::fabs(slope), 1.05);
    }
    EXPECT_EQ(slopes, (std::set<float>{-1, 0, 1}));
}

} // namespace
} // namespace velorin
