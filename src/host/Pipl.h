#pragma once

#include "host/PluginInfo.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// The plug-in property list: what the host reads from the file without running any code. Little-endian; each
// property is a vendor code, a key, an id of 0, the length of its data and the data, padded to 4 bytes.
namespace velorin {

inline constexpr std::size_t kPiplSize = 294;
using PiplBytes = std::array<std::uint8_t, kPiplSize>;

namespace detail {

class PiplWriter {
public:
    PiplBytes bytes{};
    std::size_t size = 0;

    constexpr void Short(std::uint32_t value) {
        Byte(value & 255);
        Byte((value >> 8) & 255);
    }
    constexpr void Long(std::uint32_t value) {
        Short(value & 0xffff);
        Short(value >> 16);
    }
    // Four-character codes stand with their bytes reversed.
    constexpr void Code(std::string_view code) {
        for (std::size_t i = 4; i-- > 0;) Byte(static_cast<std::uint8_t>(code[i]));
    }
    constexpr void Property(std::string_view key, std::size_t length) {
        Code("8BIM");
        Code(key);
        Long(0);
        Long(static_cast<std::uint32_t>((length + 3) & ~std::size_t{3}));
        dataStart_ = size;
    }
    constexpr void LongProperty(std::string_view key, std::uint32_t value) {
        Property(key, 4);
        Long(value);
    }
    constexpr void ShortsProperty(std::string_view key, std::uint32_t first, std::uint32_t second) {
        Property(key, 4);
        Short(first);
        Short(second);
    }
    // A length byte, then the text.
    constexpr void CountedText(std::string_view key, std::string_view text) {
        Property(key, text.size() + 1);
        Byte(static_cast<std::uint32_t>(text.size()));
        Text(text);
        Pad();
    }
    // The text, then a zero.
    constexpr void ClosedText(std::string_view key, std::string_view text) {
        Property(key, text.size() + 1);
        Text(text);
        Byte(0);
        Pad();
    }

private:
    constexpr void Byte(std::uint32_t value) { bytes[size++] = static_cast<std::uint8_t>(value); }
    constexpr void Text(std::string_view text) {
        for (const char c : text) Byte(static_cast<std::uint8_t>(c));
    }
    constexpr void Pad() {
        while ((size - dataStart_) % 4) Byte(0);
    }
    std::size_t dataStart_ = 0;
};

} // namespace detail

[[nodiscard]] constexpr PiplBytes MakePipl() {
    detail::PiplWriter out;
    out.Short(1);
    out.Long(0);  // version
    out.Long(12); // properties
    out.Property("kind", 4);
    out.Code("eFKT");
    out.CountedText("name", kEffectName);
    out.CountedText("catg", kEffectCategory);
    out.ClosedText("8664", kEntryPoint);
    out.ShortsProperty("ePVR", 2, 0);
    out.ShortsProperty("eSVR", kInterfaceMajor, kInterfaceMinor);
    out.LongProperty("eVER", kEffectVersion);
    out.LongProperty("eINF", 0);
    out.LongProperty("eGLO", static_cast<std::uint32_t>(kOutFlags));
    out.LongProperty("eGL2", static_cast<std::uint32_t>(kOutFlags2));
    out.CountedText("eMNA", kMatchName);
    out.LongProperty("aeFL", 0);
    if (out.size != kPiplSize) throw "the property list has another size";
    return out.bytes;
}

// The resource source that carries the same bytes in a Windows module (id 16000, type PIPL).
[[nodiscard]] std::string PiplResourceScript();

} // namespace velorin
