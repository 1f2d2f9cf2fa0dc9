#include "app/project/Base64.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace velorin::app {

namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kPadding = '=';

} // namespace

std::string ToBase64(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        std::uint32_t word = 0;
        for (std::size_t i = 0; i < 3; ++i)
            word = word << 8 | (at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0U);
        for (std::size_t i = 0; i < 4; ++i)
            text += i <= bytes.size() - at ? kAlphabet[word >> (18 - 6 * i) & 63] : kPadding;
    }
    return text;
}

std::optional<std::string> FromBase64(std::string_view text) {
    if (text.size() % 4 != 0) return std::nullopt;
    std::size_t padding = 0;
    while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == kPadding) ++padding;
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t word = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::size_t value = at < text.size() - padding ? kAlphabet.find(text[at]) : 0;
        if (value == std::string_view::npos) return std::nullopt;
        word = word << 6 | static_cast<std::uint32_t>(value);
        if (at % 4 == 3)
            for (const int shift : {16, 8, 0}) bytes += static_cast<char>(word >> shift & 0xff);
    }
    bytes.resize(bytes.size() - padding);
    return bytes;
}

} // namespace velorin::app
