#include "services/StringConversion.h"

#include <cstdint>

namespace velorin {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Takes one character from the front of `text`, or one maximal malformed piece as U+FFFD.
char32_t TakeUtf8(std::string_view text, std::size_t& position) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byte(position++);
    if (lead < 0x80) return lead;
    // Allowed range of the second byte: Unicode 15, table 3-7.
    int following = 0;
    unsigned low = 0x80, high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        following = 1;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        following = 2;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        following = 3;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return kReplacement;
    }
    char32_t character = lead & (0x3Fu >> following);
    for (; following > 0; --following) {
        if (position >= text.size() || byte(position) < low || byte(position) > high) return kReplacement;
        character = character << 6 | (byte(position++) & 0x3Fu);
        low = 0x80, high = 0xBF;
    }
    return character;
}

void AppendUtf8(char32_t c, std::string& out) {
    const auto add = [&](char32_t byte) { out += static_cast<char>(static_cast<unsigned char>(byte)); };
    if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = kReplacement;
    if (c < 0x80) {
        add(c);
    } else if (c < 0x800) {
        add(0xC0 | c >> 6), add(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        add(0xE0 | c >> 12), add(0x80 | (c >> 6 & 0x3F)), add(0x80 | (c & 0x3F));
    } else {
        add(0xF0 | c >> 18), add(0x80 | (c >> 12 & 0x3F)), add(0x80 | (c >> 6 & 0x3F)),
            add(0x80 | (c & 0x3F));
    }
}

template <class Char>
std::basic_string<Char> FromUtf8(std::string_view text) {
    std::basic_string<Char> out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const char32_t c = TakeUtf8(text, i);
        if (sizeof(Char) == 4 || c < 0x10000) {
            out += static_cast<Char>(c);
        } else {
            out += static_cast<Char>(0xD7C0 + (c >> 10)); // 0xD800 + ((c - 0x10000) >> 10)
            out += static_cast<Char>(0xDC00 + (c & 0x3FF));
        }
    }
    return out;
}

template <class Char>
std::string ToUtf8(std::basic_string_view<Char> text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t c = static_cast<char32_t>(text[i]);
        if (sizeof(Char) == 2 && c >= 0xD800 && c < 0xDC00 && i + 1 < text.size()) {
            const auto second = static_cast<char32_t>(text[i + 1]);
            if (second >= 0xDC00 && second < 0xE000) {
                c = ((c - 0xD7C0) << 10) + (second - 0xDC00);
                ++i;
            }
        }
        AppendUtf8(c, out);
    }
    return out;
}

} // namespace

std::u16string Utf8ToUtf16(std::string_view text) {
    return FromUtf8<char16_t>(text);
}
std::string Utf16ToUtf8(std::u16string_view text) {
    return ToUtf8(text);
}
std::wstring Utf8ToWide(std::string_view text) {
    return FromUtf8<wchar_t>(text);
}
std::string WideToUtf8(std::wstring_view text) {
    return ToUtf8(text);
}

std::string SmallLetters(std::string_view text) {
    std::string small(text);
    for (char& c : small)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return small;
}

std::string SmallExtension(std::string_view path) {
    const std::size_t name = path.find_last_of("/\\") + 1; // 0 when there is none
    const std::size_t dot = path.rfind('.');
    return dot == std::string_view::npos || dot <= name ? std::string() : SmallLetters(path.substr(dot));
}

} // namespace velorin
