#include "model/obj/DigitRuns.h"
#include "model/obj/NumberScan.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

namespace velorin::obj {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

struct Scanned {
    bool found = false;
    float value = 0;
    std::size_t length = 0;
};
// From memory of exactly the text's size, so that a sanitizer sees a read behind it.
Scanned Scan(const std::string& text) {
    const std::vector<char> exact(text.begin(), text.end());
    Scanned result;
    const char* const end = ScanFloat(exact.data(), exact.data() + exact.size(), result.value);
    result.found = end != nullptr;
    if (end) result.length = static_cast<std::size_t>(end - exact.data());
    return result;
}

TEST(ScanFloat, TakesWhatScanfTakes) {
    struct Case {
        const char* text;
        float value;
        std::size_t length;
    };
    const Case cases[] = {
        {"0", 0, 1},
        {"-1.5", -1.5f, 4},
        {"+2.25", 2.25f, 5},
        {".5", 0.5f, 2},
        {"5.", 5, 2},
        {"-.5e1", -5, 5},
        {"1e3", 1000, 3},
        {"1e+2x", 100, 4},
        {"1e", 1, 1},
        {"1e+", 1, 1},
        {"1,5", 1, 1},
        {"3/4", 3, 1},
        {"1-2", 1, 1},
        {"0.000000000000000000000000000001", 1e-30f, 32},
        {"1234567890123456789012345678901234567890", kInfinity, 40},
        {"3.4028235e38", std::numeric_limits<float>::max(), 12},
        {"-1e400", -kInfinity, 6},
        {"1e99999999999", kInfinity, 13},
        {"0e99999999999", 0, 13},
        {"0.0001e-400", 0, 11},
        {"1e-45", std::numeric_limits<float>::denorm_min(), 5},
        {"1.17549435e-38", std::numeric_limits<float>::min(), 14},
        {"00000000000000000000000000012", 12, 29},
        {"inf", kInfinity, 3},
        {"-Infinity", -kInfinity, 9},
        {"0x10", 16, 4},
        {"0x", 0, 1},
        {"0xg", 0, 1},
    };
    for (const Case& c : cases) {
        const Scanned scanned = Scan(c.text);
        EXPECT_TRUE(scanned.found) << c.text;
        EXPECT_EQ(scanned.value, c.value) << c.text;
        EXPECT_EQ(scanned.length, c.length) << c.text;
    }
    EXPECT_TRUE(std::isnan(Scan("nan").value));
    EXPECT_TRUE(std::signbit(Scan("-0").value));
    for (const char* text : {"", "-", "+", ".", "-.", "+-1", "-+1", "--1", "e5", "x", ",5", "/", "ab"})
        EXPECT_FALSE(Scan(text).found) << text;
}

// The distance in representable floats.
std::int64_t UlpDistance(float a, float b) {
    const auto order = [](float f) {
        const auto bits = std::bit_cast<std::int32_t>(f);
        return static_cast<std::int64_t>(bits < 0 ? INT32_MIN - bits : bits);
    };
    return std::abs(order(a) - order(b));
}

// As DigitRuns reads it inside a line, or as ScanFloat where that refuses.
float ScanInLine(const std::string& text) {
    const std::string line = text + '\n' + std::string(2 * kFarBytes, ' ');
    DigitRuns runs(line.data());
    float value = 0;
    if (!runs.Float(value)) return Scan(text).value;
    EXPECT_EQ(runs.place(), line.data() + text.size()) << text;
    return value;
}

TEST(ScanFloat, IsWithinOneUnitOfTheCLibrary) {
    std::mt19937 random(1);
    const char* const formats[] = {"%.6f",  "%.3f", "%.8f", "%g",    "%.9g",
                                   "%.17g", "%.1f", "%.0f", "%.12e", "%.20f"};
    for (int i = 0; i < 200000; ++i) {
        // Bit patterns of all magnitudes, and numbers as models have them, many halfway between two floats.
        double number = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
        if (i % 2) number = static_cast<double>(static_cast<std::int32_t>(random())) / (1 << (random() % 31));
        if (!std::isfinite(number)) continue;
        char text[512];
        std::snprintf(text, sizeof text, formats[random() % std::size(formats)], number);
        const float expected = std::strtof(text, nullptr);
        for (const float scanned : {Scan(text).value, ScanInLine(text)}) {
            ASSERT_LE(UlpDistance(scanned, expected), 1) << text;
            if (scanned == expected || std::isinf(expected)) continue;
            // Then the written number lies in the middle between the two.
            const long double written = std::strtold(text, nullptr);
            const long double half = std::abs(static_cast<long double>(scanned) - expected) / 2;
            ASSERT_LE(std::abs(scanned - written), half * (1 + 1e-7L)) << text;
        }
    }
}

// Numbers at every distance from the end of the mask that DigitRuns works with.
TEST(DigitRuns, NumbersAcrossTheEndOfTheMask) {
    for (int before = 0; before < 80; ++before) {
        for (const char* number :
             {"1", "-12.5", "1234567.12345678", "123456.", "-1234567.1", "123456789.5", "0.123456789"}) {
            std::string line;
            for (int i = 0; i < before / 2; ++i) line += "1 ";
            if (before % 2) line.insert(0, "2");
            const std::size_t start = line.size();
            line += number + std::string("\n") + std::string(2 * kFarBytes, ' ');
            DigitRuns runs(line.data());
            float value = 0;
            bool ok = true;
            while (ok && static_cast<std::size_t>(runs.place() - line.data()) < start) {
                ok = runs.Float(value);
                if (ok) runs.Step();
            }
            if (!ok || !runs.Float(value)) continue; // for others to read
            EXPECT_EQ(value, std::strtof(number, nullptr)) << before << ' ' << number;
        }
    }
}

TEST(ScanInt, SaturatesAndStops) {
    struct Case {
        const char* text;
        std::int32_t value;
        std::size_t length; // 0: none
    };
    const Case cases[] = {{"12", 12, 2},
                          {"-3/4", -3, 2},
                          {"+7", 7, 2},
                          {"2147483647", INT32_MAX, 10},
                          {"99999999999999999999", INT32_MAX, 20},
                          {"-99999999999", -INT32_MAX, 12},
                          {"", 0, 0},
                          {"-", 0, 0},
                          {"a", 0, 0}};
    for (const Case& c : cases) {
        const std::string text = c.text;
        std::int32_t value = 0;
        const char* const end = ScanInt(text.data(), text.data() + text.size(), value);
        EXPECT_EQ(end ? static_cast<std::size_t>(end - text.data()) : 0, c.length) << text;
        EXPECT_EQ(value, c.value) << text;
    }
}

} // namespace
} // namespace velorin::obj
