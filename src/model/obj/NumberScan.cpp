#include "model/obj/NumberScan.h"

#include <limits>

namespace velorin::obj {

namespace {

// A decimal number too large or too small for a float: infinity or zero. Tells by the place of its first
// digit that counts.
bool IsHuge(const char* p, const char* end) {
    std::int64_t place = 0; // decimal exponent of the digit at hand
    bool seen = false, point = false;
    for (; p < end && (*p == '.' || IsDigit(*p)); ++p) {
        if (*p == '.') {
            point = true;
        } else if (seen) {
            place += point ? 0 : 1;
        } else {
            place -= point ? 1 : 0;
            seen = *p != '0';
        }
    }
    if (p < end && (*p | 0x20) == 'e') {
        ++p;
        bool negative = false;
        if (p < end && (*p == '-' || *p == '+')) negative = *p++ == '-';
        std::int64_t written = 0;
        for (; p < end && IsDigit(*p); ++p)
            if (written < INT32_MAX) written = written * 10 + (*p - '0');
        place += negative ? -written : written;
    }
    return place > 0;
}

} // namespace

const char* ScanFloatCarefully(const char* p, const char* limit, float& value) {
    bool negative = false;
    if (p < limit && (*p == '-' || *p == '+')) negative = *p++ == '-';
    if (p == limit || *p == '-' || *p == '+') return nullptr;
    auto format = std::chars_format::general;
    const char* start = p;
    if (limit - p > 2 && *p == '0' && (p[1] | 0x20) == 'x') {
        float whole = 0;
        if (std::from_chars(p + 2, limit, whole, std::chars_format::hex).ptr != p + 2) {
            start = p + 2;
            format = std::chars_format::hex;
        }
    }
    float result = 0;
    const auto [end, error] = std::from_chars(start, limit, result, format);
    if (error == std::errc::invalid_argument) return nullptr;
    if (error == std::errc::result_out_of_range) {
        double wide = 0;
        if (format == std::chars_format::general &&
            std::from_chars(start, limit, wide, format).ec == std::errc{})
            result = static_cast<float>(wide); // a subnormal float, or beyond its range
        else
            result = IsHuge(start, end) ? std::numeric_limits<float>::infinity() : 0;
    }
    value = negative ? -result : result;
    return end;
}

} // namespace velorin::obj
