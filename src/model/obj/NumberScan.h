#pragma once

#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>

// Numbers in text, as "%f" and "%d" take them, without a locale and without a terminator. Each scanner starts
// at `p`, never reads at or behind `limit`, and returns the place behind the number, or null when there is
// none (`value` is then left alone).
namespace velorin::obj {

[[nodiscard]] constexpr bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}
[[nodiscard]] constexpr bool IsLineEnd(char c) {
    return c == '\n' || c == '\r';
}
[[nodiscard]] constexpr bool IsDigit(char c) {
    return static_cast<unsigned char>(c - '0') < 10;
}
[[nodiscard]] constexpr bool IsLetter(char c) {
    return static_cast<unsigned char>((c | 0x20) - 'a') < 26;
}
[[nodiscard]] inline const char* SkipBlanks(const char* p, const char* limit) {
    while (p < limit && IsBlank(*p)) ++p;
    return p;
}

// The careful half of ScanFloat: more than 19 digits, large exponents, hexadecimal, infinity and
// not-a-number.
[[nodiscard]] const char* ScanFloatCarefully(const char* p, const char* limit, float& value);

inline constexpr double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                          1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                          1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
inline constexpr int kLargestExactPower = 22; // the last power of ten that a double holds exactly

namespace detail {

inline constexpr std::uint64_t kIntegerPowersOfTen[] = {1,      10,      100,      1000,     10000,
                                                        100000, 1000000, 10000000, 100000000};

inline constexpr std::uint64_t kZeros = 0x3030303030303030u; // "00000000"

// The number of eight decimal digits, the first in the lowest byte. D. Lemire, "Quickly parsing eight
// digits", 2018.
inline std::uint32_t EightDigitsValue(std::uint64_t digits) {
    digits = digits * 10 + (digits >> 8);
    digits = ((digits & 0x000000FF000000FFu) * 0x000F424000000064u +
              ((digits >> 16) & 0x000000FF000000FFu) * 0x0000271000000001u) >>
             32;
    return static_cast<std::uint32_t>(digits);
}

// The digits at `p`, at most eight, read at once; returns their number. Eight bytes must be readable.
inline int ScanEightDigits(const char* p, std::uint32_t& value) {
    std::uint64_t t;
    std::memcpy(&t, p, 8);
    t ^= kZeros;
    // The high bit of each byte that is no digit; exact up to the first such byte, which is all that counts.
    const std::uint64_t others = ((t + 0x7676767676767676u) | t) & 0x8080808080808080u;
    const int count = others ? std::countr_zero(others) >> 3 : 8;
    if (count == 0) return 0;
    value = EightDigitsValue(t << (64 - 8 * count)); // zeros in front of the digits
    return count;
}

inline const char* ScanDigits(const char* p, const char* limit, std::uint64_t& mantissa) {
    while (limit - p >= 8) {
        std::uint32_t value = 0;
        const int count = ScanEightDigits(p, value);
        mantissa = mantissa * kIntegerPowersOfTen[count] + value;
        p += count;
        if (count < 8) return p;
    }
    for (; p < limit && IsDigit(*p); ++p) mantissa = mantissa * 10 + static_cast<unsigned>(*p - '0');
    return p;
}

} // namespace detail

// The result is at most half a unit in the last place, and a ten-millionth of that more, from the written
// value.
[[nodiscard]] inline const char* ScanFloat(const char* p, const char* limit, float& value) {
    const char* const start = p;
    bool negative = false;
    if (p < limit && (*p == '-' || *p == '+')) negative = *p++ == '-';
    std::uint64_t mantissa = 0;
    const char* const digits = p;
    // Up to three digits before the point is the usual case and not worth a wide read.
    for (; p < limit && IsDigit(*p) && p - digits < 20; ++p)
        mantissa = mantissa * 10 + static_cast<unsigned>(*p - '0');
    std::ptrdiff_t count = p - digits;
    std::ptrdiff_t exponent = 0;
    if (p < limit && *p == '.') {
        const char* const fraction = ++p;
        p = detail::ScanDigits(p, limit, mantissa);
        exponent = fraction - p;
        count += p - fraction;
    }
    if (count == 0 || count > 19) return ScanFloatCarefully(start, limit, value);
    if (p < limit && (*p | 0x20) == 'e') {
        const char* q = p + 1;
        bool negativeExponent = false;
        if (q < limit && (*q == '-' || *q == '+')) negativeExponent = *q++ == '-';
        const char* const first = q;
        int written = 0;
        for (; q < limit && IsDigit(*q) && q - first < 4; ++q) written = written * 10 + (*q - '0');
        if (q - first == 4) return ScanFloatCarefully(start, limit, value);
        if (q > first) {
            exponent += negativeExponent ? -written : written;
            p = q;
        }
    } else if (count == 1 && p < limit && (*p | 0x20) == 'x') {
        return ScanFloatCarefully(start, limit, value);
    }
    if (exponent < -kLargestExactPower || exponent > kLargestExactPower)
        return ScanFloatCarefully(start, limit, value);
    // One rounding of the mantissa and one of the quotient, both 2^-53: nothing beside a float's 2^-24, and
    // none at all for a number that lies between two floats.
    double result = static_cast<double>(mantissa);
    if (exponent < 0)
        result /= kPowersOfTen[-exponent];
    else
        result *= kPowersOfTen[exponent];
    value = static_cast<float>(negative ? -result : result);
    return p;
}

// Saturates beyond 32 bits.
[[nodiscard]] inline const char* ScanInt(const char* p, const char* limit, std::int32_t& value) {
    bool negative = false;
    if (p < limit && (*p == '-' || *p == '+')) negative = *p++ == '-';
    if (p == limit || !IsDigit(*p)) return nullptr;
    std::int64_t result = 0;
    for (; p < limit && IsDigit(*p); ++p)
        if (result <= INT32_MAX) result = result * 10 + (*p - '0');
    if (result > INT32_MAX) result = INT32_MAX;
    value = static_cast<std::int32_t>(negative ? -result : result);
    return p;
}

} // namespace velorin::obj
