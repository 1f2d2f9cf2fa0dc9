#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace velorin {

// Codes of `bytes` bytes, high byte first, from low to high.
struct PdfCodeRange {
    std::uint32_t low = 0, high = 0;
    int bytes = 1;
};

// Codes low to high stand for `to` and on.
struct PdfMappedRange {
    std::uint32_t low = 0, high = 0, to = 0;
};

// What is known of a character map that files name instead of holding it: how long its codes are and which
// characters they mean, but not the numbers that a font gives them.
struct PdfNamedMap {
    std::vector<PdfCodeRange> codes;
    std::vector<PdfMappedRange> characters; // in order
    bool codesAreUtf16 = false;             // as they stand; `characters` is empty
};

// By a name like "UniGB-UTF16-H", "90ms-RKSJ-V" or "ETen-B5-H"; nothing for others. "Identity-H" is none: its
// codes are a font's own numbers.
[[nodiscard]] std::optional<PdfNamedMap> FindNamedMap(std::string_view name);

// Width of a character of the text fonts that every reader knows (Helvetica, Times and Courier with their
// styles, and what stands for them), thousandths of the size; 0 for other fonts and outside of ASCII.
[[nodiscard]] int StandardWidth(std::string_view fontName, std::uint32_t character);

} // namespace velorin
