#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace velorin {

// Character codes of simple fonts to Unicode; 0 where a code means nothing.
using PdfEncodingTable = std::array<char16_t, 256>;

[[nodiscard]] const PdfEncodingTable& StandardEncoding();
[[nodiscard]] const PdfEncodingTable& WinAnsiEncoding();
[[nodiscard]] const PdfEncodingTable& MacRomanEncoding();

// The character of a glyph name: "A", "eacute", "uni20AC", "u1F600", "a.alt" by its part before the point; 0
// when the name tells none.
[[nodiscard]] std::uint32_t UnicodeOfGlyphName(std::string_view name);

} // namespace velorin
