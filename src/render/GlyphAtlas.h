#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velorin {

// One character of an atlas; whole pixels, y down.
struct Glyph {
    int x = 0, y = 0, width = 0, height = 0; // its texels
    int left = 0, top = 0;                   // from the pen on the base line to the texels' upper left corner
    int advance = 0;                         // to the next pen
};

// The characters of one font at one size as coverage, each of red, green and blue a third of a pixel wide, as
// on a flat panel. Latin, Greek and Cyrillic; a pixel's mean of the three is the part of it that is covered.
struct GlyphAtlas {
    int width = 0, height = 0;     // texels
    std::vector<std::uint8_t> rgb; // row 0 on top
    int ascent = 0, descent = 0;   // pixels above and below the base line
    int lineHeight = 0;            // pixels between base lines
    std::map<char16_t, Glyph> glyphs;

    // The character's glyph, or the question mark's where the font lacks it.
    [[nodiscard]] const Glyph& at(char16_t character) const;
};

// `pattern` is fontconfig's ("Arial", "DejaVu Sans:bold"): the installed font that resembles it most is
// taken. Empty without any font, with the reason in the log.
[[nodiscard]] std::optional<GlyphAtlas> BuildGlyphAtlas(const std::string& pattern, int pixelHeight);

} // namespace velorin
