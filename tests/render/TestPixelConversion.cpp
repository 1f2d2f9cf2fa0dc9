#include "render/PixelConversion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace velorin {
namespace {

TEST(PixelConversion, RoundsToTheNearestAndCutsBothEnds) {
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    struct Row {
        float value;
        std::uint8_t as8;
        std::uint16_t as16;
    };
    const std::vector<Row> rows{
        {0, 0, 0},           {1, 255, 32768},    {0.5f, 128, 16384}, // 127.5 rounds up
        {0.4f / 255, 0, 51},                                         // 51.4
        {0.6f / 255, 1, 77},                                         // 77.1
        {-0.25f, 0, 0},      {1.5f, 255, 32768},                     // 16 bit stops at 32768
        {inf, 255, 32768},   {-inf, 0, 0},       {nan, 0, 0}};
    for (const Row& row : rows) {
        std::uint8_t as8 = 77;
        std::uint16_t as16 = 77;
        ConvertChannels8(&row.value, &as8, 1);
        ConvertChannels16(&row.value, &as16, 1);
        EXPECT_EQ(as8, row.as8) << row.value;
        EXPECT_EQ(as16, row.as16) << row.value;
        // Long runs go another way than single values, and end with a rest of every length.
        for (std::size_t count = 2; count < 40; ++count) {
            const std::vector<float> run(count, row.value);
            std::vector<std::uint8_t> run8(count + 1, 77);
            std::vector<std::uint16_t> run16(count + 1, 77);
            ConvertChannels8(run.data(), run8.data(), count);
            ConvertChannels16(run.data(), run16.data(), count);
            for (std::size_t i = 0; i < count; ++i) {
                ASSERT_EQ(run8[i], row.as8) << row.value << " at " << i << " of " << count;
                ASSERT_EQ(run16[i], row.as16) << row.value << " at " << i << " of " << count;
            }
            EXPECT_EQ(run8[count], 77);
            EXPECT_EQ(run16[count], 77);
        }
    }
}

// Every half but those that are no number, against its definition: 1.f * 2^(e - 15), 0.f * 2^-14.
TEST(PixelConversion, EveryHalfHasItsValue) {
    std::vector<std::uint16_t> halves(65536 + 3);
    for (std::size_t i = 0; i < halves.size(); ++i) halves[i] = static_cast<std::uint16_t>(i);
    std::vector<float> floats(halves.size()); // three more than whole groups
    HalvesToFloats(halves.data(), floats.data(), halves.size());
    for (std::size_t i = 0; i < halves.size(); ++i) {
        const int exponent = halves[i] >> 10 & 31, fraction = halves[i] & 1023;
        double value = exponent == 0 ? std::ldexp(fraction, -24) : std::ldexp(1024 + fraction, exponent - 25);
        if (exponent == 31) value = std::numeric_limits<double>::infinity();
        if (halves[i] & 0x8000) value = -value;
        if (exponent == 31 && fraction)
            ASSERT_TRUE(std::isnan(floats[i])) << i;
        else
            ASSERT_EQ(static_cast<double>(floats[i]), value) << i;
        ASSERT_EQ(std::signbit(floats[i]), (halves[i] & 0x8000) != 0) << i;
    }
}

// The half below n / 255 or n / 255 itself, n below 256: less than 1/8 of a step of 8 bits away.
std::uint16_t HalfOf(int n) {
    if (n == 0) return 0;
    int exponent = 0;
    const double fraction = std::frexp(n / 255.0, &exponent); // 0.5 to 1
    return static_cast<std::uint16_t>(((exponent + 14) << 10) + static_cast<int>(fraction * 2048) - 1024);
}

// A 3 by 2 picture whose channel values tell where they come from.
std::vector<std::uint16_t> Picture() {
    std::vector<std::uint16_t> argb;
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            for (int c = 0; c < 4; ++c) argb.push_back(HalfOf(100 * y + 10 * x + c));
    return argb;
}

TEST(PixelConversion, FillsTheRectangleAndNothingElse) {
    struct Case {
        int originX, originY;
    };
    // Inside, over the right and lower edge, over the left and upper edge.
    for (const Case& c : {Case{1, 1}, Case{3, 3}, Case{-1, -1}}) {
        constexpr std::uint32_t kWidth = 5, kHeight = 4, kRowBytes = 5 * 4 + 12;
        std::vector<std::uint8_t> world(kRowBytes * kHeight, 0xEE);
        OutputTarget target;
        target.image = {kWidth, kHeight, 1, kRowBytes, world.data()};
        target.originX = c.originX;
        target.originY = c.originY;
        ASSERT_TRUE(WritePicture(Picture().data(), 3, 2, target));
        for (int y = 0; y < static_cast<int>(kHeight); ++y) {
            for (int i = 0; i < static_cast<int>(kRowBytes); ++i) {
                const int x = i / 4 - c.originX, row = y - c.originY;
                const bool inside = i < 20 && x >= 0 && x < 3 && row >= 0 && row < 2;
                const int expected = inside ? 100 * row + 10 * x + i % 4 : 0xEE;
                ASSERT_EQ(world[static_cast<std::size_t>(y) * kRowBytes + static_cast<std::size_t>(i)],
                          expected)
                    << "origin " << c.originX << " byte " << i << " row " << y;
            }
        }
    }
}

TEST(PixelConversion, RefusesWorldsThatCannotHoldThePicture) {
    std::vector<float> world(64, 9);
    OutputTarget target;
    target.image = {3, 2, 4, 48, world.data()};
    EXPECT_TRUE(WritePicture(Picture().data(), 3, 2, target));
    EXPECT_NEAR(world[4], 10.0f / 255, 3e-5f);
    target.originX = 3;
    EXPECT_FALSE(WritePicture(Picture().data(), 3, 2, target)); // no overlap
    target.originX = 0;
    target.image.rowBytes = 47;
    EXPECT_FALSE(WritePicture(Picture().data(), 3, 2, target));
    target.image = {3, 2, 3, 48, world.data()};
    EXPECT_FALSE(WritePicture(Picture().data(), 3, 2, target));
    target.image = {3, 2, 4, 48, nullptr};
    EXPECT_FALSE(WritePicture(Picture().data(), 3, 2, target));
}

} // namespace
} // namespace velorin
