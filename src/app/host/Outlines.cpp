#include "app/host/Outlines.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include <memory>

namespace velorin::app {

namespace {

struct FontFile {
    std::string path;
    int index = 0;
    std::string standIn; // family, when another was asked for
};

// Names that stand for whatever the system has of a kind.
bool IsGeneric(const std::string& family) {
    for (const char* name :
         {"serif", "sans", "sans-serif", "monospace", "mono", "cursive", "fantasy", "system-ui"})
        if (FcStrCmpIgnoreCase(reinterpret_cast<const FcChar8*>(name),
                               reinterpret_cast<const FcChar8*>(family.c_str())) == 0)
            return true;
    return false;
}

// The names of a pattern's families.
std::vector<std::string> FamiliesOf(const FcPattern* pattern) {
    std::vector<std::string> families;
    FcChar8* family = nullptr;
    for (int i = 0; FcPatternGetString(pattern, FC_FAMILY, i, &family) == FcResultMatch; ++i)
        families.emplace_back(reinterpret_cast<const char*>(family));
    return families;
}

// Empty when one of the families asked for was found.
std::string StandIn(const std::vector<std::string>& asked, const std::vector<std::string>& found) {
    for (const std::string& family : asked) {
        if (IsGeneric(family)) return {};
        for (const std::string& name : found)
            if (FcStrCmpIgnoreCase(reinterpret_cast<const FcChar8*>(name.c_str()),
                                   reinterpret_cast<const FcChar8*>(family.c_str())) == 0)
                return {};
    }
    return asked.empty() || found.empty() ? std::string() : found.front();
}

// Of our own, so that it ends with the process; fontconfig's global one keeps some of its memory.
FcConfig* Configuration() {
    static const std::unique_ptr<FcConfig, void (*)(FcConfig*)> config(FcInitLoadConfigAndFonts(),
                                                                       FcConfigDestroy);
    return config.get();
}

bool FindFont(const std::string& name, FontFile& file) {
    FcConfig* const config = Configuration();
    if (!config) return false;
    const std::unique_ptr<FcPattern, void (*)(FcPattern*)> pattern(
        FcNameParse(reinterpret_cast<const FcChar8*>(name.c_str())), FcPatternDestroy);
    if (!pattern) return false;
    const std::vector<std::string> asked = FamiliesOf(pattern.get());
    FcPatternAddBool(pattern.get(), FC_SCALABLE, FcTrue);
    FcConfigSubstitute(config, pattern.get(), FcMatchPattern);
    FcDefaultSubstitute(pattern.get());
    FcResult result = FcResultNoMatch;
    const std::unique_ptr<FcPattern, void (*)(FcPattern*)> match(FcFontMatch(config, pattern.get(), &result),
                                                                 FcPatternDestroy);
    FcChar8* path = nullptr;
    if (!match || FcPatternGetString(match.get(), FC_FILE, 0, &path) != FcResultMatch) return false;
    file.path = reinterpret_cast<const char*>(path);
    FcPatternGetInteger(match.get(), FC_INDEX, 0, &file.index);
    file.standIn = StandIn(asked, FamiliesOf(match.get()));
    return true;
}

// Characters of a text; a malformed sequence counts as the replacement character.
std::u32string Decode(const std::string& text) {
    std::u32string out;
    for (std::size_t i = 0; i < text.size();) {
        FcChar32 c = 0xFFFD;
        const int used = FcUtf8ToUcs4(reinterpret_cast<const FcChar8*>(text.data() + i), &c,
                                      static_cast<int>(text.size() - i));
        out += used > 0 ? static_cast<char32_t>(c) : char32_t{0xFFFD};
        i += used > 0 ? static_cast<std::size_t>(used) : 1;
    }
    return out;
}

// Receives one glyph's path from FreeType, which draws y upward in font units scaled to pixels.
struct GlyphPen {
    std::vector<Outline>* outlines;
    double x = 0, y = 0; // of the glyph's origin, layer pixels
    double scale = 1;    // pixels a font unit

    [[nodiscard]] PF_PathVertex Point(const FT_Vector* v) const {
        const double px = x + static_cast<double>(v->x) * scale, py = y - static_cast<double>(v->y) * scale;
        return {px, py, px, py, px, py};
    }
    void CloseLast() const {
        if (outlines->empty()) return;
        std::vector<PF_PathVertex>& path = outlines->back().vertices;
        if (path.empty() || outlines->back().open) return;
        PF_PathVertex &first = path.front(), &last = path.back();
        if (path.size() > 1 && first.x == last.x && first.y == last.y) {
            // The last drawn vertex is the first again: one vertex with the tangents of both.
            first.tan_in_x = last.tan_in_x, first.tan_in_y = last.tan_in_y;
            last = first;
        } else {
            const PF_PathVertex copy = first; // of an element of the vector that grows
            path.push_back(copy);
        }
    }
    void Cubic(PF_PathVertex a, PF_PathVertex b, PF_PathVertex to) const {
        std::vector<PF_PathVertex>& path = outlines->back().vertices;
        path.back().tan_out_x = a.x, path.back().tan_out_y = a.y;
        to.tan_in_x = b.x, to.tan_in_y = b.y;
        path.push_back(to);
    }
};

int MoveTo(const FT_Vector* to, void* user) {
    const auto* pen = static_cast<GlyphPen*>(user);
    pen->CloseLast();
    pen->outlines->emplace_back().vertices.push_back(pen->Point(to));
    return 0;
}

int LineTo(const FT_Vector* to, void* user) {
    const auto* pen = static_cast<GlyphPen*>(user);
    pen->outlines->back().vertices.push_back(pen->Point(to));
    return 0;
}

int ConicTo(const FT_Vector* control, const FT_Vector* to, void* user) {
    const auto* pen = static_cast<GlyphPen*>(user);
    const PF_PathVertex from = pen->outlines->back().vertices.back(), c = pen->Point(control),
                        end = pen->Point(to);
    // The same curve as a cubic: its inner points stand two thirds of the way to the control point.
    const auto mix = [](double a, double b) { return a + (b - a) * 2 / 3; };
    PF_PathVertex a{}, b{};
    a.x = mix(from.x, c.x), a.y = mix(from.y, c.y);
    b.x = mix(end.x, c.x), b.y = mix(end.y, c.y);
    pen->Cubic(a, b, end);
    return 0;
}

int CubicTo(const FT_Vector* a, const FT_Vector* b, const FT_Vector* to, void* user) {
    const auto* pen = static_cast<GlyphPen*>(user);
    pen->Cubic(pen->Point(a), pen->Point(b), pen->Point(to));
    return 0;
}

class TextSetter {
public:
    TextSetter(FT_Face face, const Layer& layer, std::vector<Outline>& outlines)
        : face_(face),
          layer_(layer),
          outlines_(outlines),
          scale_(layer.size / (face->units_per_EM > 0 ? face->units_per_EM : 1000)) {}

    void Set(const std::u32string& text) {
        double y = 0;
        const double leading = layer_.leading > 0 ? layer_.leading : layer_.size * 1.2;
        for (std::size_t begin = 0; begin <= text.size(); y += leading) {
            const std::size_t end = std::min(text.find(U'\n', begin), text.size());
            SetLine(text.substr(begin, end - begin), y);
            begin = end + 1;
        }
    }

private:
    // Font units from this glyph's origin to the next one's.
    double Advance(FT_UInt glyph, FT_UInt next) const {
        FT_Vector kerning{};
        if (next && FT_HAS_KERNING(face_)) FT_Get_Kerning(face_, glyph, next, FT_KERNING_UNSCALED, &kerning);
        return static_cast<double>(face_->glyph->advance.x + kerning.x) +
               layer_.tracking / 1000 * face_->units_per_EM;
    }
    void SetLine(const std::u32string& line, double y) {
        std::vector<FT_UInt> glyphs;
        for (const char32_t c : line) glyphs.push_back(FT_Get_Char_Index(face_, c));
        double width = 0;
        for (std::size_t i = 0; i < glyphs.size(); ++i)
            if (Load(glyphs[i])) width += Advance(glyphs[i], i + 1 < glyphs.size() ? glyphs[i + 1] : 0);
        double x = layer_.alignment == TextAlignment::Left     ? 0
                   : layer_.alignment == TextAlignment::Center ? -width * scale_ / 2
                                                               : -width * scale_;
        for (std::size_t i = 0; i < glyphs.size(); ++i) {
            if (!Load(glyphs[i])) continue;
            GlyphPen pen{&outlines_, x, y, scale_};
            FT_Outline_Funcs callbacks{MoveTo, LineTo, ConicTo, CubicTo, 0, 0};
            // What a broken font refuses stays away; the rest of the text is set.
            if (face_->glyph->format == FT_GLYPH_FORMAT_OUTLINE)
                (void)FT_Outline_Decompose(&face_->glyph->outline, &callbacks, &pen);
            pen.CloseLast();
            x += Advance(glyphs[i], i + 1 < glyphs.size() ? glyphs[i + 1] : 0) * scale_;
        }
    }
    [[nodiscard]] bool Load(FT_UInt glyph) const {
        return FT_Load_Glyph(face_, glyph, FT_LOAD_NO_SCALE) == 0;
    }

    FT_Face face_;
    const Layer& layer_;
    std::vector<Outline>& outlines_;
    double scale_;
};

} // namespace

bool MakeTextOutlines(const Layer& layer, std::vector<Outline>& outlines, std::string& reason) {
    FontFile font;
    if (!FindFont(layer.font, font)) {
        reason = "no font can be found for \"" + layer.font + "\"";
        return false;
    }
    FT_Library library = nullptr;
    if (FT_Init_FreeType(&library) != 0) {
        reason = "the font library does not start";
        return false;
    }
    const std::unique_ptr<FT_LibraryRec_, FT_Error (*)(FT_Library)> ownedLibrary(library, FT_Done_FreeType);
    FT_Face face = nullptr;
    if (FT_New_Face(library, font.path.c_str(), font.index, &face) != 0) {
        reason = "the font \"" + font.path + "\" cannot be read";
        return false;
    }
    const std::unique_ptr<FT_FaceRec_, FT_Error (*)(FT_Face)> ownedFace(face, FT_Done_Face);
    TextSetter(face, layer, outlines).Set(Decode(layer.text));
    if (!font.standIn.empty())
        reason =
            "the font \"" + layer.font + "\" is not installed, \"" + font.standIn + "\" stands in for it";
    return true;
}

Outline MaskOutlineAt(const Mask& mask, double seconds) {
    Outline outline;
    outline.open = !mask.closed;
    for (const MaskVertex& v : mask.vertices) {
        const Components p = v.position.At(seconds), in = v.in.At(seconds), out = v.out.At(seconds);
        outline.vertices.push_back({p[0], p[1], p[0] + in[0], p[1] + in[1], p[0] + out[0], p[1] + out[1]});
    }
    if (mask.closed && !outline.vertices.empty()) {
        const PF_PathVertex first = outline.vertices.front();
        outline.vertices.push_back(first);
    }
    return outline;
}

} // namespace velorin::app
