// Solids of the letters of installed fonts, held against areas and offsets that are computed here from the
// fonts' own outlines. By default some hundred combinations drawn by a fixed seed; with
// VELORIN_ALL_GLYPHS=1 in the environment every glyph at every resolution, bevel and expansion (minutes).

#include "../Coverage.h"
#include "Shapes.h"
#include "model/extrusion/BuildExtrusion.h"
#include "model/extrusion/Contours.h"
#include "services/Fonts.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include <gtest/gtest.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include <cstdlib>
#include <memory>
#include <random>
#include <set>

namespace velorin {
namespace {

using namespace coverage;

constexpr int kSteps[] = {2, 5, 10, 20, 40}; // of a curve, by resolution
constexpr float kDepths[] = {-0.5f, 0, 0.25f, 1};
constexpr float kExpands[] = {-2, -0.5f, 0, 0.5f, 2};

struct Sink {
    std::vector<std::vector<PathPoint>>& paths;
    float unit;
    [[nodiscard]] Point2 at(const FT_Vector* v) const {
        return {static_cast<float>(v->x) * unit, static_cast<float>(v->y) * -unit};
    }
    void curve(Point2 out, Point2 in, Point2 end) {
        paths.back().back().tangentOut = out;
        paths.back().push_back({end, in, {}});
    }
    [[nodiscard]] Point2 last() const { return paths.back().back().position; }
};

// The outline of a character at 100 units an em, y down; quadratic curves become cubic ones.
std::vector<std::vector<PathPoint>> GlyphPaths(FT_Face face, unsigned long character) {
    std::vector<std::vector<PathPoint>> paths;
    if (FT_Load_Char(face, character, FT_LOAD_NO_SCALE) != 0) return paths;
    Sink sink{paths, 100.0f / static_cast<float>(face->units_per_EM)};
    using V = const FT_Vector*;
    FT_Outline_Funcs to{};
    to.move_to = [](V p, void* s) {
        auto& out = *static_cast<Sink*>(s);
        out.paths.push_back({{out.at(p), {}, {}}});
        return 0;
    };
    to.line_to = [](V p, void* s) {
        auto& out = *static_cast<Sink*>(s);
        out.curve({}, {}, out.at(p));
        return 0;
    };
    to.conic_to = [](V c, V p, void* s) {
        auto& out = *static_cast<Sink*>(s);
        out.curve((out.at(c) - out.last()) * (2.0f / 3), (out.at(c) - out.at(p)) * (2.0f / 3), out.at(p));
        return 0;
    };
    to.cubic_to = [](V c, V d, V p, void* s) {
        auto& out = *static_cast<Sink*>(s);
        out.curve(out.at(c) - out.last(), out.at(d) - out.at(p), out.at(p));
        return 0;
    };
    FT_Outline_Decompose(&face->glyph->outline, &to, &sink);
    for (auto& path : paths)
        if (path.size() > 1 && path.back().position == path.front().position) { // closed by its last curve
            path.front().tangentIn = path.back().tangentIn;
            path.pop_back();
        }
    return paths;
}

double Cross2(Vec a, Vec b) {
    return a.x * b.y - a.y * b.x;
}
Vec Minus(Vec a, Vec b) {
    return {a.x - b.x, a.y - b.y};
}

bool AnyCrossing(const std::vector<Outline>& outlines) {
    struct Edge {
        Vec a, b;
        double left, right;
    };
    std::vector<Edge> edges;
    for (const Outline& o : outlines)
        for (std::size_t i = 0; i < o.size(); ++i) {
            const Vec a = o[i], b = o[(i + 1) % o.size()];
            edges.push_back({a, b, std::min(a.x, b.x), std::max(a.x, b.x)});
        }
    std::sort(edges.begin(), edges.end(), [](const Edge& p, const Edge& q) { return p.left < q.left; });
    for (std::size_t i = 0; i < edges.size(); ++i)
        for (std::size_t k = i + 1; k < edges.size() && edges[k].left <= edges[i].right; ++k) {
            const Edge &p = edges[i], &q = edges[k];
            const double s = Cross2(Minus(p.b, p.a), Minus(q.a, p.a)),
                         t = Cross2(Minus(p.b, p.a), Minus(q.b, p.a)),
                         u = Cross2(Minus(q.b, q.a), Minus(p.a, q.a)),
                         v = Cross2(Minus(q.b, q.a), Minus(p.b, q.a));
            if (s * t < 0 && u * v < 0) return true;
        }
    return false;
}

// The outline without points that repeat or lie on the line of their neighbours.
Outline Corners(const Outline& source) {
    Outline o, corners;
    for (const Vec p : source)
        if (o.empty() || std::hypot(p.x - o.back().x, p.y - o.back().y) > 1e-4) o.push_back(p);
    while (o.size() > 1 && std::hypot(o[0].x - o.back().x, o[0].y - o.back().y) <= 1e-4) o.pop_back();
    for (std::size_t i = 0, n = o.size(); i < n; ++i) {
        const Vec before = Minus(o[i], o[(i + n - 1) % n]), after = Minus(o[(i + 1) % n], o[i]);
        const double lengths = std::hypot(before.x, before.y) * std::hypot(after.x, after.y);
        if (std::fabs(Cross2(before, after)) > 1e-4 * lengths || before.x * after.x + before.y * after.y < 0)
            corners.push_back(o[i]);
    }
    return corners;
}

// Every edge moved out by the distance, neighbours met in the crossing of their lines.
Outline Mitred(const Outline& source, double distance) {
    const Outline o = Corners(source);
    Outline moved;
    for (std::size_t i = 0, n = o.size(); i < n; ++i) {
        const Vec before = Minus(o[i], o[(i + n - 1) % n]), after = Minus(o[(i + 1) % n], o[i]);
        const double lengthA = std::hypot(before.x, before.y), lengthB = std::hypot(after.x, after.y);
        const Vec a{before.y / lengthA, -before.x / lengthA}, b{after.y / lengthB, -after.x / lengthB};
        const double along = std::max(1e-3, 1 + a.x * b.x + a.y * b.y);
        moved.push_back({o[i].x + (a.x + b.x) / along * distance, o[i].y + (a.y + b.y) / along * distance});
    }
    return moved;
}

// Whether an edge of the moved outline runs backwards: the distance is more than the edge has room for.
bool AnyReversed(const Outline& source, const Outline& moved) {
    const Outline o = Corners(source);
    for (std::size_t i = 0, n = o.size(); i < n; ++i) {
        const Vec a = Minus(o[(i + 1) % n], o[i]), b = Minus(moved[(i + 1) % n], moved[i]);
        if (a.x * b.x + a.y * b.y < 0) return true;
    }
    return false;
}

double DistanceTo(const std::vector<Outline>& outlines, Vec p) {
    double best = 1e30;
    for (const Outline& o : outlines)
        for (std::size_t i = 0; i < o.size(); ++i) {
            const Vec a = o[i], d = Minus(o[(i + 1) % o.size()], a), v = Minus(p, a);
            const double square = d.x * d.x + d.y * d.y;
            const double t = square > 0 ? std::clamp((v.x * d.x + v.y * d.y) / square, 0.0, 1.0) : 0;
            best = std::min(best, std::hypot(v.x - d.x * t, v.y - d.y * t));
        }
    return best;
}

// Whether outlines of a symbol keep apart, and wind as they nest: holes against what they lie in.
bool ApartAndNested(const std::vector<Outline>& outlines) {
    for (const Outline& o : outlines) {
        if (o.empty()) return false; // collapsed
        int around = 0;
        for (const Outline& other : outlines) {
            if (&other == &o) continue;
            for (const Vec p : o)
                if (DistanceTo({other}, p) < 0.02) return false;
            around += Scan({other}, Fill::EvenOdd, 1).inside(o[0]);
        }
        if ((ShoelaceArea(o) > 0) != (around % 2 == 0)) return false;
    }
    return true;
}

struct Setting {
    int resolution = 0;
    float depth = 0, expand = 0, curve = 0;
    bool backside = false;
    bool wide = false; // the bevel reaches two units into the outline, more than half of many a hairline
};

struct Tally {
    int built = 0, held = 0, faults = 0;
};

ExtrusionOptions OptionsOf(const Setting& setting) {
    ExtrusionOptions options;
    options.pathResolution = static_cast<PathResolution>(setting.resolution);
    options.autoPresetScale = true; // lengths in hundredths of the glyph's larger extent
    options.bevelScale = 1;
    options.spikeFilter = 0;
    options.separateObjects = false;
    options.pathExpand = setting.expand;
    BevelSettings& bevel = options.bevels[0];
    bevel.bevelSize = 1;
    bevel.bevelDepth = setting.depth;
    bevel.bevelCurve = setting.curve;
    bevel.bevelBackside = setting.backside;
    bevel.outsideBevel = setting.depth == 0 ? 0.0001f : 0.5f;
    if (setting.wide) bevel.expandEdges = -2, bevel.outsideBevel = 2;
    return options;
}

// Outlines of a glyph at 100 units for the larger extent, filled where the winding is positive.
struct Reference {
    std::vector<Outline> outlines;
    double area = 0;
};

Reference ReferenceOf(const std::vector<std::vector<PathPoint>>& paths, int steps, double scale) {
    Reference reference;
    for (const auto& path : paths) {
        Outline o = Flatten(path, steps);
        for (Vec& p : o) p = {p.x * scale, p.y * scale};
        reference.area += ShoelaceArea(o);
        reference.outlines.push_back(std::move(o));
    }
    if (reference.area < 0)
        for (Outline& o : reference.outlines) std::reverse(o.begin(), o.end());
    reference.area = std::fabs(reference.area);
    return reference;
}

void Check(const std::vector<std::vector<PathPoint>>& paths, const Setting& setting, const std::string& name,
           Tally& tally) {
    PathSet set;
    set.paths = paths;
    Point2 low{1e9f, 1e9f}, high{-1e9f, -1e9f};
    for (const auto& path : paths)
        for (const PathPoint& p : path) {
            low = {std::min(low.x, p.position.x), std::min(low.y, p.position.y)};
            high = {std::max(high.x, p.position.x), std::max(high.y, p.position.y)};
        }
    set.scale = 100 / std::max(high.x - low.x, high.y - low.y);
    const ExtrusionOptions options = OptionsOf(setting);
    ModelData model;
    BuildExtrusion(model, set, options, {1, 1, 1});
    const shapes::Measures solid = shapes::Measure(model);
    ++tally.built;

    const Reference reference = ReferenceOf(paths, kSteps[setting.resolution], Wide(set.scale));
    const ShellMeasures shell = MeasureShells(options)[0];
    const double cap = Wide(setting.depth == 0 ? shell.wall : shell.cap), wall = Wide(shell.wall);
    std::vector<Outline> capOutlines, wallOutlines, widerOutlines; // the last a hair further out
    bool fits = !AnyCrossing(reference.outlines);
    for (const Outline& o : reference.outlines) {
        capOutlines.push_back(Mitred(o, cap));
        wallOutlines.push_back(Mitred(o, wall));
        widerOutlines.push_back(Mitred(o, wall + 0.05));
        for (const auto* outlines : {&capOutlines, &wallOutlines, &widerOutlines})
            fits = fits && !AnyReversed(o, outlines->back());
    }
    for (const auto* outlines : {&capOutlines, &wallOutlines, &widerOutlines})
        fits = fits && !AnyCrossing(*outlines) && ApartAndNested(*outlines);
    const auto expect = [&](bool holds, const char* what, double found, double of = 0) {
        if (holds || ++tally.faults > 9) return;
        ADD_FAILURE() << name << " resolution " << setting.resolution << " depth " << setting.depth
                      << " expand " << setting.expand << " curve " << setting.curve << " backside "
                      << setting.backside << " wide " << setting.wide << ": " << what << " " << found
                      << " of " << of;
    };
    expect(solid.finite, "numbers that are finite", 0);
    expect(solid.openEdges == 0, "open edges", static_cast<double>(solid.openEdges));
    if (!fits) {
        // Edges that run over each other: what winds positively is covered, whatever the walls do.
        const double filled = Area(capOutlines, Fill::Positive, 2000);
        return expect(solid.shownArea >= 0.98 * filled - 2, "cap", solid.shownArea, filled);
    }
    ++tally.held;
    expect(solid.triangles > 0, "triangles", 0);
    expect(solid.crowdedEdges == 0, "crowded edges", static_cast<double>(solid.crowdedEdges));
    expect(solid.volume > 0, "volume", solid.volume);
    double expected = 0;
    for (const Outline& o : capOutlines) expected += ShoelaceArea(o);
    const bool moved = setting.expand != 0 || setting.wide;
    if (!moved && setting.depth != 0) expected = reference.area;
    // What thinning takes at a corner counts more once the corner is moved.
    const double tolerance = moved ? 3e-3 : 1e-3;
    expect(std::fabs(solid.capArea - expected) <= tolerance * expected, "cap", solid.capArea, expected);
    const double volume = solid.capArea * Wide(shell.thickness);
    expect(setting.depth != 0 || std::fabs(solid.volume - volume) <= 1e-3 * volume, "volume", solid.volume,
           volume);
    // The solid is centred on its box; so is the wall's outline, which is the wider one.
    Vec boxLow{1e9, 1e9}, boxHigh{-1e9, -1e9};
    for (const Outline& o : wallOutlines)
        for (const Vec p : o) {
            boxLow = {std::min(boxLow.x, p.x), std::min(boxLow.y, p.y)};
            boxHigh = {std::max(boxHigh.x, p.x), std::max(boxHigh.y, p.y)};
        }
    double furthest = 0;
    const Scan wallArea(wallOutlines, Fill::Positive, 1);
    for (const auto& [x, y] : solid.places) {
        const Vec p{Wide(x) + (boxLow.x + boxHigh.x) / 2, Wide(y) + (boxLow.y + boxHigh.y) / 2};
        if (!wallArea.inside(p)) furthest = std::max(furthest, DistanceTo(wallOutlines, p));
    }
    // Points closer than a quarter of a unit are one to the solid, so its corners may lie that far off.
    expect(furthest <= 0.25, "units outside of the outline", furthest);
}

// The four families that are checked throughout come first; with `all`, all others that are installed.
constexpr std::size_t kThroughout = 4;
std::vector<std::string> Families(bool all) {
    std::vector<std::string> families{"serif", "sans-serif", "monospace", "Nimbus Roman"};
    if (!all) return families;
    const std::unique_ptr<FcConfig, void (*)(FcConfig*)> config(FcInitLoadConfigAndFonts(), FcConfigDestroy);
    const FcFontSet* const fonts = FcConfigGetFonts(config.get(), FcSetSystem);
    std::set<std::string> others;
    for (int i = 0; fonts && i < fonts->nfont; ++i) {
        FcChar8* family = nullptr;
        if (FcPatternGetString(fonts->fonts[i], FC_FAMILY, 0, &family) == FcResultMatch)
            others.insert(reinterpret_cast<const char*>(family));
    }
    families.insert(families.end(), others.begin(), others.end());
    return families;
}

TEST(Glyphs, SolidsAreClosedAndMeasureWhatTheirOutlinesDo) {
    const bool all = std::getenv("VELORIN_ALL_GLYPHS") != nullptr;
    FT_Library library = nullptr;
    ASSERT_EQ(FT_Init_FreeType(&library), 0);
    std::mt19937 random(20260711);
    Tally tally;
    std::set<std::string> files;
    const std::vector<std::string> families = Families(all);
    for (std::size_t f = 0; f < families.size(); ++f) {
        const std::string file = FindFont(families[f]).path;
        FT_Face face = nullptr;
        if (file.empty() || !files.insert(file).second || FT_New_Face(library, file.c_str(), 0, &face) != 0)
            continue;
        for (unsigned long c = 0x21; c < 0x7F; ++c) {
            const auto paths = GlyphPaths(face, c);
            const std::string name = file.substr(file.rfind('/') + 1) + " '" + static_cast<char>(c) + "'";
            if (paths.empty()) continue;
            for (const bool wide : {false, true})
                if (f >= kThroughout) Check(paths, {2, 1, 0, 1, false, wide}, name, tally);
            for (int resolution = 0; resolution < 5 && f < kThroughout; ++resolution)
                for (const float depth : kDepths)
                    for (const float expand : kExpands) {
                        const float curve = static_cast<float>(random() % 5) * 0.5f - 1;
                        const bool backside = random() % 2 == 0, drawn = random() % 400 == 0;
                        for (const bool wide : {false, true})
                            if (all || drawn)
                                Check(paths, {resolution, depth, expand, curve, backside, wide}, name, tally);
                    }
        }
        FT_Done_Face(face);
    }
    FT_Done_FreeType(library);
    if (tally.built == 0) GTEST_SKIP() << "no font on this machine";
    std::printf("%d solids, %d held against their outlines\n", tally.built, tally.held);
    EXPECT_EQ(tally.faults, 0);
    EXPECT_GT(tally.held, tally.built / 4);
}

} // namespace
} // namespace velorin
