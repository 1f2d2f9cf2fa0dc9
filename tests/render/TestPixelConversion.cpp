#include "render/PixelConversion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <vector>

namespace velorin {
namespace {

// What a half's bits stand for: 1.f * 2^(e - 15), without a leading 1 at 0.f * 2^-14.
double ValueOf(std::uint16_t half) {
    const int exponent = half >> 10 & 31, fraction = half & 1023;
    double value = exponent == 0 ? std::ldexp(fraction, -24) : std::ldexp(1024 + fraction, exponent - 25);
    if (exponent == 31) value = fraction ? std::nan("") : std::numeric_limits<double>::infinity();
    return half & 0x8000 ? -value : value;
}

// The nearest of 0 to `white`, halves upwards; what is no number is 0.
double Cut(double value, double white) {
    return value > 0 ? std::floor(std::min(value, 1.0) * white + 0.5) : 0;
}

// Every half there is, in runs and alone: these go different ways.
TEST(PixelConversion, EveryHalfInEveryDepth) {
    std::vector<std::uint16_t> halves(65536 + 5);
    for (std::size_t i = 0; i < halves.size(); ++i) halves[i] = static_cast<std::uint16_t>(i);
    const std::size_t count = halves.size();
    std::vector<std::uint8_t> bytes(count + 1, 77), byte(1);
    std::vector<std::uint16_t> words(count + 1, 77), word(1);
    std::vector<float> floats(count + 1, 77), one(1);
    ConvertHalves8(halves.data(), bytes.data(), count);
    ConvertHalves16(halves.data(), words.data(), count);
    ConvertHalves32(halves.data(), floats.data(), count);
    for (std::size_t i = 0; i < count; ++i) {
        const double value = ValueOf(halves[i]);
        ConvertHalves8(&halves[i], byte.data(), 1);
        ConvertHalves16(&halves[i], word.data(), 1);
        ConvertHalves32(&halves[i], one.data(), 1);
        ASSERT_EQ(bytes[i], Cut(value, 255)) << i;
        ASSERT_EQ(byte[0], bytes[i]) << i;
        ASSERT_EQ(words[i], Cut(value, 32768)) << i;
        ASSERT_EQ(word[0], words[i]) << i;
        ASSERT_EQ(std::bit_cast<std::uint32_t>(floats[i]), std::bit_cast<std::uint32_t>(one[0])) << i;
        ASSERT_TRUE(std::isnan(value) ? std::isnan(floats[i]) : static_cast<double>(floats[i]) == value) << i;
        ASSERT_EQ(std::signbit(floats[i]), (halves[i] & 0x8000) != 0) << i;
    }
    EXPECT_EQ(bytes[count], 77);
    EXPECT_EQ(words[count], 77);
    EXPECT_EQ(floats[count], 77);
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
    // Inside, over the right and lower edge, over the left and upper edge.
    for (const int origin : {1, 3, -1}) {
        constexpr std::uint32_t kWidth = 5, kHeight = 4, kRowBytes = 5 * 4 + 12;
        std::vector<std::uint8_t> world(kRowBytes * kHeight, 0xEE);
        OutputTarget target;
        target.image = {kWidth, kHeight, 1, kRowBytes, world.data()};
        target.originX = target.originY = origin;
        ASSERT_TRUE(WritePicture(Picture().data(), 3, 2, target));
        for (int y = 0; y < static_cast<int>(kHeight); ++y) {
            for (int i = 0; i < static_cast<int>(kRowBytes); ++i) {
                const int x = i / 4 - origin, row = y - origin;
                const bool inside = i < 20 && x >= 0 && x < 3 && row >= 0 && row < 2;
                const int expected = inside ? 100 * row + 10 * x + i % 4 : 0xEE;
                ASSERT_EQ(world[static_cast<std::size_t>(y) * kRowBytes + static_cast<std::size_t>(i)],
                          expected)
                    << "origin " << origin << " byte " << i << " row " << y;
            }
        }
    }
}

TEST(PixelConversion, RefusesWorldsThatCannotHoldThePicture) {
    std::vector<float> world(64, 9);
    struct Case {
        int originX;
        std::uint32_t bytes;
        int rowBytes;
        bool written, data = true;
    };
    for (const Case& c : {Case{0, 4, 48, true},
                          {3, 4, 48, false},
                          {0, 4, 47, false},
                          {0, 3, 48, false},
                          {0, 4, 48, false, false}}) {
        OutputTarget target;
        target.image = {3, 2, c.bytes, c.rowBytes, c.data ? world.data() : nullptr};
        target.originX = c.originX;
        EXPECT_EQ(WritePicture(Picture().data(), 3, 2, target), c.written)
            << c.originX << c.bytes << c.rowBytes;
    }
    EXPECT_NEAR(world[4], 10.0f / 255, 3e-5f);
}

} // namespace
} // namespace velorin
