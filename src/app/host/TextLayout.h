#pragma once

#include "app/project/Project.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

struct hb_font_t;

namespace velorin::app {

// An open face, ready to be measured and drawn in its own units (as 26.6 numbers, without hinting).
class FontFace {
public:
    static constexpr FT_Int32 kLoadFlags = FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP;

    // Null when the file is no font that can be scaled.
    [[nodiscard]] static std::unique_ptr<FontFace> Open(FT_Library library, const std::string& path,
                                                        int index);
    ~FontFace();
    FontFace(const FontFace&) = delete;
    FontFace& operator=(const FontFace&) = delete;

    [[nodiscard]] FT_Face face() const { return face_; }
    [[nodiscard]] hb_font_t* shaper() const { return shaper_; }
    [[nodiscard]] bool Has(char32_t character) const { return FT_Get_Char_Index(face_, character) != 0; }
    // At a size in pixels of the em square.
    [[nodiscard]] double pixelsPerUnit(double size) const;

private:
    explicit FontFace(FT_Face face);

    FT_Face face_;
    hb_font_t* shaper_;
};

struct PlacedGlyph {
    const FontFace* font = nullptr;
    FT_UInt index = 0;
    double x = 0, y = 0; // origin in layer pixels, y downward
};

// The letters of a text layer where they stand: kerned and joined by the font's own tables, without optional
// ligatures (an outline a letter, as designers expect them to come), from the start of the first baseline.
// Characters that the font lacks come from another one that has them.
class TextLayout {
public:
    // Nothing with a sentence when no font can be had; with a layout, `reason` is empty or tells of a font
    // that stands in, or of a character that no font has.
    [[nodiscard]] static std::optional<TextLayout> Make(const Layer& layer, const TextStyle& style,
                                                        std::string& reason);

    [[nodiscard]] const std::vector<PlacedGlyph>& glyphs() const { return glyphs_; }

private:
    friend class TextSetter;

    std::shared_ptr<FT_LibraryRec_> library_; // outlives the faces
    std::vector<std::unique_ptr<FontFace>> fonts_;
    std::vector<PlacedGlyph> glyphs_;
};

} // namespace velorin::app
