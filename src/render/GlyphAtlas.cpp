#include "render/GlyphAtlas.h"

#include "services/Fonts.h"
#include "services/Log.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <ft2build.h>
#include <memory>
#include <type_traits>
#include FT_FREETYPE_H
#include FT_LCD_FILTER_H

namespace velorin {

namespace {

constexpr int kAtlasWidth = 512;

struct Range {
    char16_t first, last;
};
constexpr std::array kRanges{Range{0x20, 0x7e}, Range{0xa0, 0x17f}, Range{0x370, 0x3ff}, Range{0x400, 0x45f}};

struct LibraryDeleter {
    void operator()(FT_Library library) const { FT_Done_FreeType(library); }
};
struct FaceDeleter {
    void operator()(FT_Face face) const { FT_Done_Face(face); }
};
using LibraryHandle = std::unique_ptr<std::remove_pointer_t<FT_Library>, LibraryDeleter>;
using FaceHandle = std::unique_ptr<std::remove_pointer_t<FT_Face>, FaceDeleter>;

// Fills rows from left to right; each row is as high as its highest glyph.
class Shelves {
public:
    explicit Shelves(GlyphAtlas& atlas) : atlas_(atlas) { atlas_.width = kAtlasWidth; }

    void Add(char16_t character, Glyph glyph, const FT_Bitmap& bitmap) {
        constexpr int kGap = 1; // keeps neighbours apart
        if (x_ + glyph.width + kGap > kAtlasWidth) {
            x_ = 0;
            y_ += rowHeight_ + kGap;
            rowHeight_ = 0;
        }
        if (glyph.width > kAtlasWidth) return;
        glyph.x = x_;
        glyph.y = y_;
        x_ += glyph.width + kGap;
        rowHeight_ = std::max(rowHeight_, glyph.height);
        atlas_.height = std::max(atlas_.height, y_ + glyph.height);
        atlas_.rgb.resize(std::size_t{3} * kAtlasWidth * static_cast<std::size_t>(atlas_.height));
        for (int row = 0; row < glyph.height; ++row)
            std::copy_n(bitmap.buffer + std::ptrdiff_t{row} * bitmap.pitch, 3 * glyph.width,
                        atlas_.rgb.begin() + std::ptrdiff_t{3} * ((glyph.y + row) * kAtlasWidth + glyph.x));
        atlas_.glyphs[character] = glyph;
    }

private:
    GlyphAtlas& atlas_;
    int x_ = 0, y_ = 0, rowHeight_ = 0;
};

// 26.6 fixed point to whole pixels.
int Rounded(FT_Pos value) {
    return static_cast<int>((value + 32) >> 6);
}

void AddCharacter(FT_Face face, char16_t character, Shelves& shelves) {
    const FT_UInt index = FT_Get_Char_Index(face, character);
    if (index == 0 || FT_Load_Glyph(face, index, FT_LOAD_TARGET_LCD) != 0 ||
        FT_Render_Glyph(face->glyph, FT_RENDER_MODE_LCD) != 0)
        return;
    const FT_GlyphSlot slot = face->glyph;
    const FT_Bitmap& bitmap = slot->bitmap;
    Glyph glyph;
    glyph.advance = Rounded(slot->advance.x);
    if (bitmap.pixel_mode == FT_PIXEL_MODE_LCD) {
        glyph.width = static_cast<int>(bitmap.width / 3);
        glyph.height = static_cast<int>(bitmap.rows);
        glyph.left = slot->bitmap_left;
        glyph.top = -slot->bitmap_top;
    }
    shelves.Add(character, glyph, bitmap);
}

} // namespace

const Glyph& GlyphAtlas::at(char16_t character) const {
    static const Glyph none;
    auto found = glyphs.find(character);
    if (found == glyphs.end()) found = glyphs.find(u'?');
    return found == glyphs.end() ? none : found->second;
}

std::optional<GlyphAtlas> BuildGlyphAtlas(const std::string& pattern, int pixelHeight) {
    const FontFile font = FindFont(pattern);
    if (font.path.empty()) {
        LogError("No font is installed for \"%s\"; text is left out.", pattern.c_str());
        return std::nullopt;
    }
    FT_Library newLibrary = nullptr;
    if (FT_Init_FreeType(&newLibrary) != 0) {
        LogError("The font library does not start; text is left out.");
        return std::nullopt;
    }
    const LibraryHandle library(newLibrary);
    FT_Library_SetLcdFilter(library.get(), FT_LCD_FILTER_DEFAULT); // builds without it filter on their own
    FT_Face newFace = nullptr;
    if (FT_New_Face(library.get(), font.path.c_str(), font.index, &newFace) != 0) {
        LogError("The font file %s cannot be read; text is left out.", font.path.c_str());
        return std::nullopt;
    }
    const FaceHandle face(newFace);
    if (FT_Set_Pixel_Sizes(face.get(), 0, static_cast<FT_UInt>(std::clamp(pixelHeight, 4, 200))) != 0) {
        LogError("The font file %s has no size of %d pixels; text is left out.", font.path.c_str(),
                 pixelHeight);
        return std::nullopt;
    }
    GlyphAtlas atlas;
    const FT_Size_Metrics& metrics = face->size->metrics;
    atlas.ascent = Rounded(metrics.ascender);
    atlas.descent = Rounded(-metrics.descender);
    atlas.lineHeight = Rounded(metrics.height);
    Shelves shelves(atlas);
    for (const Range& range : kRanges)
        for (char32_t c = range.first; c <= range.last; ++c)
            AddCharacter(face.get(), static_cast<char16_t>(c), shelves);
    if (atlas.glyphs.empty()) {
        LogError("The font file %s has no letters; text is left out.", font.path.c_str());
        return std::nullopt;
    }
    return atlas;
}

} // namespace velorin
