#include "app/host/TextLayout.h"

#include "services/Fonts.h"

#include <hb-ft.h>
#include <hb.h>

#include <algorithm>
#include <array>
#include <cstdio>

namespace velorin::app {

namespace {

struct BufferDeleter {
    void operator()(hb_buffer_t* buffer) const { hb_buffer_destroy(buffer); }
};
using Buffer = std::unique_ptr<hb_buffer_t, BufferDeleter>;

// Joined letters only where a script cannot do without.
constexpr std::array<hb_feature_t, 4> kFeatures{
    {{HB_TAG('l', 'i', 'g', 'a'), 0, HB_FEATURE_GLOBAL_START, HB_FEATURE_GLOBAL_END},
     {HB_TAG('c', 'l', 'i', 'g'), 0, HB_FEATURE_GLOBAL_START, HB_FEATURE_GLOBAL_END},
     {HB_TAG('d', 'l', 'i', 'g'), 0, HB_FEATURE_GLOBAL_START, HB_FEATURE_GLOBAL_END},
     {HB_TAG('k', 'e', 'r', 'n'), 1, HB_FEATURE_GLOBAL_START, HB_FEATURE_GLOBAL_END}}};

// Characters of a text; a malformed sequence counts as the replacement character. Every kind of line end is a
// line feed, and a tabulator a space.
std::u32string Decode(const std::string& text) {
    const Buffer buffer(hb_buffer_create());
    hb_buffer_add_utf8(buffer.get(), text.data(), static_cast<int>(text.size()), 0, -1);
    unsigned count = 0;
    const hb_glyph_info_t* info = hb_buffer_get_glyph_infos(buffer.get(), &count);
    std::u32string out;
    for (unsigned i = 0; i < count; ++i) {
        const auto c = static_cast<char32_t>(info[i].codepoint);
        if (c == U'\n' && i > 0 && info[i - 1].codepoint == U'\r') continue;
        out += c == U'\r' || c == U'\v' ? U'\n' : c == U'\t' ? U' ' : c;
    }
    return out;
}

std::string CodePoint(char32_t c) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "U+%04X", static_cast<unsigned>(c));
    return text.data();
}

// What is drawn by nothing, whatever the font has for it.
bool IsBlank(char32_t c) {
    hb_unicode_funcs_t* const unicode = hb_unicode_funcs_get_default();
    switch (hb_unicode_general_category(unicode, c)) {
    case HB_UNICODE_GENERAL_CATEGORY_CONTROL:
    case HB_UNICODE_GENERAL_CATEGORY_FORMAT:
    case HB_UNICODE_GENERAL_CATEGORY_SPACE_SEPARATOR:
    case HB_UNICODE_GENERAL_CATEGORY_LINE_SEPARATOR:
    case HB_UNICODE_GENERAL_CATEGORY_PARAGRAPH_SEPARATOR:
        return true;
    default:
        return false;
    }
}

// A stretch of one line in one font and script.
struct Run {
    std::size_t begin = 0, end = 0;
    const FontFace* font = nullptr;
    hb_script_t script = HB_SCRIPT_COMMON; // until a letter of one
};

bool IsOfAnyScript(hb_script_t script) {
    return script == HB_SCRIPT_COMMON || script == HB_SCRIPT_INHERITED || script == HB_SCRIPT_UNKNOWN;
}

} // namespace

std::unique_ptr<FontFace> FontFace::Open(FT_Library library, const std::string& path, int index) {
    FT_Face face = nullptr;
    if (FT_New_Face(library, path.c_str(), index, &face) != 0) return nullptr;
    std::unique_ptr<FontFace> font(new FontFace(face));
    // One pixel a unit of the font.
    const FT_UInt units = face->units_per_EM > 0 ? face->units_per_EM : 1000;
    if (!FT_IS_SCALABLE(face) || FT_Set_Pixel_Sizes(face, units, units) != 0) return nullptr;
    hb_ft_font_changed(font->shaper_);
    return font;
}

FontFace::FontFace(FT_Face face) : face_(face), shaper_(hb_ft_font_create_referenced(face)) {
    hb_ft_font_set_load_flags(shaper_, kLoadFlags);
}

FontFace::~FontFace() {
    hb_font_destroy(shaper_);
    FT_Done_Face(face_);
}

double FontFace::pixelsPerUnit(double size) const {
    return size / (face_->units_per_EM > 0 ? face_->units_per_EM : 1000) / 64;
}

class TextSetter {
public:
    TextSetter(const Layer& layer, const TextStyle& style, TextLayout& layout, std::string& reason)
        : layer_(layer), style_(style), layout_(layout), reason_(reason) {}

    void Set(const std::u32string& text) {
        double y = 0;
        for (std::size_t begin = 0; begin <= text.size(); y += style_.leading) {
            const std::size_t end = std::min(text.find(U'\n', begin), text.size());
            SetLine(text.substr(begin, end - begin), y);
            begin = end + 1;
        }
    }

private:
    void SetLine(const std::u32string& line, double y) {
        const std::size_t first = layout_.glyphs_.size();
        double x = 0;
        for (const Run& run : RunsOf(line)) Shape(line, run, x, y);
        const double shift = layer_.alignment == TextAlignment::Left     ? 0
                             : layer_.alignment == TextAlignment::Center ? -x / 2
                                                                         : -x;
        for (std::size_t i = first; i < layout_.glyphs_.size(); ++i) layout_.glyphs_[i].x += shift;
    }

    // What belongs to the letter before it (an accent, a space) stays with its font where that has it.
    std::vector<Run> RunsOf(const std::u32string& line) {
        std::vector<Run> runs;
        hb_unicode_funcs_t* const unicode = hb_unicode_funcs_get_default();
        for (std::size_t i = 0; i < line.size(); ++i) {
            const FontFace* before = runs.empty() ? nullptr : runs.back().font;
            const bool follows = IsBlank(line[i]) || hb_unicode_combining_class(unicode, line[i]) != 0;
            const FontFace* font = before && follows && before->Has(line[i]) ? before : FontFor(line[i]);
            const hb_script_t script = hb_unicode_script(unicode, line[i]);
            const bool joins =
                font == before &&
                (IsOfAnyScript(script) || IsOfAnyScript(runs.back().script) || script == runs.back().script);
            if (!joins) runs.push_back({i, i + 1, font, script});
            runs.back().end = i + 1;
            if (IsOfAnyScript(runs.back().script)) runs.back().script = script;
        }
        return runs;
    }

    const FontFace* FontFor(char32_t c) {
        for (const auto& font : layout_.fonts_)
            if (font->Has(c)) return font.get();
        const FontFace* const own = layout_.fonts_.front().get();
        if (IsBlank(c) || missing_.find(c) != std::u32string::npos) return own;
        const FontFile file = FindFont(layer_.font, c);
        auto font =
            file.path.empty() ? nullptr : FontFace::Open(layout_.library_.get(), file.path, file.index);
        if (font && font->Has(c)) return layout_.fonts_.emplace_back(std::move(font)).get();
        missing_ += c;
        if (reason_.empty()) reason_ = "no installed font has the character " + CodePoint(c);
        return own;
    }

    // Moves `x` behind the run.
    void Shape(const std::u32string& line, const Run& run, double& x, double y) {
        const Buffer buffer(hb_buffer_create());
        hb_buffer_add_utf32(buffer.get(), reinterpret_cast<const std::uint32_t*>(line.data()),
                            static_cast<int>(line.size()), static_cast<unsigned>(run.begin),
                            static_cast<int>(run.end - run.begin));
        hb_buffer_guess_segment_properties(buffer.get());
        hb_shape(run.font->shaper(), buffer.get(), kFeatures.data(), static_cast<unsigned>(kFeatures.size()));
        unsigned count = 0;
        const hb_glyph_info_t* info = hb_buffer_get_glyph_infos(buffer.get(), &count);
        const hb_glyph_position_t* place = hb_buffer_get_glyph_positions(buffer.get(), &count);
        const double scale = run.font->pixelsPerUnit(style_.size);
        for (unsigned i = 0; i < count; ++i) {
            layout_.glyphs_.push_back(
                {run.font, info[i].codepoint, x + place[i].x_offset * scale, y - place[i].y_offset * scale});
            x += place[i].x_advance * scale;
            // Between letters, not between a letter and its accents.
            if (i + 1 == count || info[i + 1].cluster != info[i].cluster) x += style_.tracking;
        }
    }

    const Layer& layer_;
    const TextStyle& style_;
    TextLayout& layout_;
    std::string& reason_;
    std::u32string missing_; // told of once
};

std::optional<TextLayout> TextLayout::Make(const Layer& layer, const TextStyle& style, std::string& reason) {
    const FontFile file = FindFont(layer.font);
    if (file.path.empty()) {
        reason = "no font can be found for \"" + layer.font + "\"";
        return std::nullopt;
    }
    FT_Library library = nullptr;
    if (FT_Init_FreeType(&library) != 0) {
        reason = "the font library does not start";
        return std::nullopt;
    }
    TextLayout layout;
    layout.library_ = {library, FT_Done_FreeType};
    auto font = FontFace::Open(library, file.path, file.index);
    if (!font) {
        reason = "the font \"" + file.path + "\" cannot be read";
        return std::nullopt;
    }
    layout.fonts_.push_back(std::move(font));
    if (!file.standIn.empty())
        reason =
            "the font \"" + layer.font + "\" is not installed, \"" + file.standIn + "\" stands in for it";
    TextSetter(layer, style, layout, reason).Set(Decode(layer.text));
    return layout;
}

} // namespace velorin::app
