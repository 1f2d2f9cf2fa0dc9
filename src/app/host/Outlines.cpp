#include "app/host/Outlines.h"

#include "app/host/TextLayout.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

namespace velorin::app {

namespace {

// Receives one glyph's path from FreeType, which draws y upward in units of the font.
struct GlyphPen {
    std::vector<Outline>* outlines;
    double x = 0, y = 0; // of the glyph's origin, layer pixels
    double scale = 1;    // pixels a unit of the outline

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

} // namespace

bool MakeTextOutlines(const Layer& layer, const TextStyle& style, std::vector<Outline>& outlines,
                      std::string& reason) {
    const std::optional<TextLayout> layout = TextLayout::Make(layer, style, reason);
    if (!layout) return false;
    for (const PlacedGlyph& glyph : layout->glyphs()) {
        const FT_Face face = glyph.font->face();
        // What a broken font refuses stays away; the rest of the text is set.
        if (FT_Load_Glyph(face, glyph.index, FontFace::kLoadFlags) != 0 ||
            face->glyph->format != FT_GLYPH_FORMAT_OUTLINE)
            continue;
        GlyphPen pen{&outlines, glyph.x, glyph.y, glyph.font->pixelsPerUnit(style.size)};
        FT_Outline_Funcs callbacks{MoveTo, LineTo, ConicTo, CubicTo, 0, 0};
        (void)FT_Outline_Decompose(&face->glyph->outline, &callbacks, &pen);
        pen.CloseLast();
    }
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
