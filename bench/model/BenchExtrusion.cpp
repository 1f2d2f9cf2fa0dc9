// Solids of titles: forty letters at the finest useful settings beside what FreeType's stroker and the GLU
// tessellator take for the same outlines alone, then how the time grows with the length of the title in both
// ways of telling objects apart.

#include "../Measure.h"

#include "model/extrusion/BuildExtrusion.h"
#include "model/extrusion/Contours.h"
#include "model/extrusion/FlattenPath.h"

#include <GL/glu.h>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include <string>
#include FT_FREETYPE_H
#include FT_OUTLINE_H
#include FT_STROKER_H

namespace {

using namespace velorin;
using namespace velorin::bench;

constexpr int kSegments = 8;

class Font {
public:
    Font() {
        FcPattern* pattern = FcNameParse(reinterpret_cast<const FcChar8*>("serif"));
        FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
        FcDefaultSubstitute(pattern);
        FcResult result = FcResultNoMatch;
        FcPattern* match = FcFontMatch(nullptr, pattern, &result);
        FcChar8* file = nullptr;
        if (!match || FcPatternGetString(match, FC_FILE, 0, &file) != FcResultMatch ||
            FT_Init_FreeType(&library_) != 0 ||
            FT_New_Face(library_, reinterpret_cast<const char*>(file), 0, &face_) != 0) {
            std::fprintf(stderr, "no serif font is installed\n");
            std::exit(1);
        }
        name_ = reinterpret_cast<const char*>(file);
        FcPatternDestroy(match);
        FcPatternDestroy(pattern);
        FT_Set_Pixel_Sizes(face_, 0, 100);
    }
    ~Font() {
        FT_Done_Face(face_);
        FT_Done_FreeType(library_);
    }
    Font(const Font&) = delete;
    Font& operator=(const Font&) = delete;

    [[nodiscard]] FT_Library library() const { return library_; }
    [[nodiscard]] FT_Face face() const { return face_; }
    [[nodiscard]] const std::string& name() const { return name_; }

private:
    FT_Library library_ = nullptr;
    FT_Face face_ = nullptr;
    std::string name_;
};

// Forty letters a line at 100 pixels.
std::string TitleText(int letters) {
    constexpr std::string_view kPangram = "Sphinx of black quartz, judge my vow & 8";
    std::string text;
    while (static_cast<int>(text.size()) < letters) text += kPangram;
    text.resize(static_cast<std::size_t>(letters));
    return text;
}

struct Sink {
    PathSet* set;
    Point2 origin;
    [[nodiscard]] Point2 at(const FT_Vector* v) const {
        return origin + Point2{static_cast<float>(v->x) / 64, static_cast<float>(v->y) / -64};
    }
};

int MoveTo(const FT_Vector* to, void* user) {
    auto& sink = *static_cast<Sink*>(user);
    sink.set->paths.push_back({{sink.at(to), {}, {}}});
    return 0;
}
int LineTo(const FT_Vector* to, void* user) {
    auto& sink = *static_cast<Sink*>(user);
    sink.set->paths.back().push_back({sink.at(to), {}, {}});
    return 0;
}
int CubicTo(const FT_Vector* a, const FT_Vector* b, const FT_Vector* to, void* user) {
    auto& sink = *static_cast<Sink*>(user);
    auto& path = sink.set->paths.back();
    path.back().tangentOut = sink.at(a) - path.back().position;
    path.push_back({sink.at(to), sink.at(b) - sink.at(to), {}});
    return 0;
}
int ConicTo(const FT_Vector* c, const FT_Vector* to, void* user) {
    auto& sink = *static_cast<Sink*>(user);
    auto& path = sink.set->paths.back();
    const Point2 start = path.back().position, control = sink.at(c), end = sink.at(to);
    path.back().tangentOut = (control - start) * (2.0f / 3);
    path.push_back({end, (control - end) * (2.0f / 3), {}});
    return 0;
}

PathSet Title(const Font& font, int letters) {
    PathSet set;
    Sink sink{&set, {}};
    const FT_Outline_Funcs functions = {MoveTo, LineTo, ConicTo, CubicTo, 0, 0};
    int column = 0;
    for (const char c : TitleText(letters)) {
        if (FT_Load_Char(font.face(), static_cast<unsigned char>(c),
                         FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP) != 0)
            continue;
        FT_Outline_Decompose(&font.face()->glyph->outline, &functions, &sink);
        sink.origin.x += static_cast<float>(font.face()->glyph->advance.x) / 64;
        if (++column % 40 == 0) sink.origin = {0, sink.origin.y + 120};
    }
    return set;
}

ExtrusionOptions Options(SeparationMode mode) {
    ExtrusionOptions options;
    options.pathResolution = PathResolution::Ultra;
    options.separationMode = mode;
    options.bevelCopies = 3;
    for (BevelSettings& bevel : options.bevels) bevel.bevelSegments = kSegments;
    return options;
}

// The outlines as the shells are built on them.
std::vector<Contour> Contours(const PathSet& set) {
    std::vector<std::vector<Point2>> polygons;
    for (const auto& path : set.paths)
        polygons.push_back(ThinPoints(FlattenPath(path, false, PathResolution::Ultra, 0.5f)));
    WorkBudget budget(1u << 30);
    std::uint32_t objects = 0;
    return OrderContours(std::move(polygons), Options(SeparationMode::ByBoundingBox), objects, budget);
}

std::size_t PointCount(const std::vector<Contour>& contours) {
    std::size_t points = 0;
    for (const Contour& contour : contours) points += contour.points.size();
    return points;
}

bool Extrude(const PathSet& set, SeparationMode mode) {
    ModelData model;
    BuildExtrusion(model, set, Options(mode), {1, 1, 1});
    return !model.vertices.empty();
}

// Both rims of every letter by FreeType's stroker, once a shell and side: the offset outlines alone.
bool Stroke(const Font& font, int letters) {
    FT_Stroker stroker = nullptr;
    FT_Stroker_New(font.library(), &stroker);
    for (int side = 0; side < 4 * 2; ++side)
        for (const char c : TitleText(letters)) {
            if (FT_Load_Char(font.face(), static_cast<unsigned char>(c),
                             FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP) != 0)
                continue;
            FT_Stroker_Set(stroker, 64 * (side + 1) / 4, FT_STROKER_LINECAP_BUTT,
                           FT_STROKER_LINEJOIN_MITER_FIXED, 20 << 16);
            FT_Stroker_ParseOutline(stroker, &font.face()->glyph->outline, 0);
            FT_UInt points = 0, contours = 0;
            FT_Stroker_GetCounts(stroker, &points, &contours);
        }
    FT_Stroker_Done(stroker);
    return true;
}

void Ignore(GLenum) {
}
void IgnoreVertex(void*) {
}
void IgnoreFlag(GLboolean) {
}
void Merge(GLdouble at[3], void* [4], GLfloat[4], void** result) {
    *result = at;
}

// The caps alone: eight of the same outlines, letter after letter as the title is separated.
bool Tessellate(const std::vector<Contour>& contours) {
    GLUtesselator* tess = gluNewTess();
    gluTessCallback(tess, GLU_TESS_BEGIN, reinterpret_cast<void (*)()>(Ignore));
    gluTessCallback(tess, GLU_TESS_VERTEX, reinterpret_cast<void (*)()>(IgnoreVertex));
    gluTessCallback(tess, GLU_TESS_EDGE_FLAG, reinterpret_cast<void (*)()>(IgnoreFlag));
    gluTessCallback(tess, GLU_TESS_COMBINE, reinterpret_cast<void (*)()>(Merge));
    gluTessNormal(tess, 0, 0, 1);
    std::vector<std::vector<const Contour*>> objects;
    for (const Contour& contour : contours) {
        if (contour.object >= objects.size()) objects.resize(contour.object + 1);
        objects[contour.object].push_back(&contour);
    }
    for (int cap = 0; cap < 4 * 2; ++cap)
        for (const auto& object : objects) {
            gluTessBeginPolygon(tess, nullptr);
            for (const Contour* contour : object) {
                gluTessBeginContour(tess);
                for (const Point2& p : contour->points) {
                    GLdouble at[3] = {static_cast<double>(p.x), static_cast<double>(p.y), 0};
                    gluTessVertex(tess, at, const_cast<Point2*>(&p));
                }
                gluTessEndContour(tess);
            }
            gluTessEndPolygon(tess);
        }
    gluDeleteTess(tess);
    return true;
}

// The least processor time of some runs in a child: everything here runs on one thread, and other programs'
// share of the machine is none of its business.
double ProcessorSeconds(int runs, const std::function<bool()>& work) {
    return AskChild([&] {
        double best = 1e30;
        for (int i = 0; i < runs; ++i) {
            const std::clock_t start = std::clock();
            if (!work()) return -1.0;
            best = std::min(best, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
        }
        return best;
    });
}

void PrintTitle(const Font& font) {
    const PathSet set = Title(font, 40);
    const std::vector<Contour> contours = Contours(set);
    const auto points = static_cast<double>(PointCount(contours));
    std::printf("40 letters of %s, Ultra, 4 shells, %d segments: %.0f outline points\n", font.name().c_str(),
                kSegments, points);
    const auto row = [&](const char* name, const std::function<bool()>& work) {
        const double seconds = ProcessorSeconds(5, work);
        std::printf("  %-44s %8.2f ms  %7.2f ms a thousand points\n", name, seconds * 1e3,
                    seconds * 1e6 / points);
    };
    row("solid, By Bounding Box", [&] { return Extrude(set, SeparationMode::ByBoundingBox); });
    row("solid, By Geometry (Slow)", [&] { return Extrude(set, SeparationMode::ByGeometry); });
    row("its caps alone, by the GLU tessellator", [&] { return Tessellate(contours); });
    row("its rims alone, by FreeType's stroker", [&] { return Stroke(font, 40); });
}

void PrintGrowth(const Font& font) {
    std::printf("\n%8s %10s | %12s %10s | %12s %10s\n", "letters", "points", "box ms", "growth",
                "geometry ms", "growth");
    double lastPoints = 0, last[2] = {};
    for (int letters = 40; letters <= 640; letters *= 2) {
        const PathSet set = Title(font, letters);
        const auto points = static_cast<double>(PointCount(Contours(set)));
        std::printf("%8d %10.0f", letters, points);
        for (int mode = 0; mode < 2; ++mode) {
            const double seconds =
                ProcessorSeconds(3, [&] { return Extrude(set, static_cast<SeparationMode>(mode)); });
            // The power of the number of points that the time went with since the row before.
            const double power =
                last[mode] > 0 ? std::log(seconds / last[mode]) / std::log(points / lastPoints) : 0;
            std::printf(" | %12.2f %10.2f", seconds * 1e3, power);
            last[mode] = seconds;
        }
        std::printf("\n");
        lastPoints = points;
    }
}

} // namespace

int main() {
    const Font font;
    PrintTitle(font);
    PrintGrowth(font);
    return 0;
}
