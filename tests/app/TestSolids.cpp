#include "app/CommandRunner.h"

#include "services/Fonts.h"

#include <gmock/gmock.h>

#include <ft2build.h>
#include FT_FREETYPE_H

#include <array>
#include <cmath>
#include <map>

// Text and masks of layers as solids, from the project file to the mesh that the plug-in tells.

namespace velorin::app {
namespace {

using testing::HasSubstr;
using Vec = std::array<double, 3>;

// What a font says of a line of text: the box of its outlines and the area that they fill, in pixels of the
// size. All of it from the font's own numbers.
struct TextFacts {
    double left = 1e9, top = 1e9, right = -1e9, bottom = -1e9, area = 0;
};

TextFacts FactsOf(const std::string& pattern, const std::string& text, unsigned size) {
    const FontFile font = FindFont(pattern);
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    FT_Init_FreeType(&library);
    EXPECT_EQ(FT_New_Face(library, font.path.c_str(), font.index, &face), 0);
    FT_Set_Pixel_Sizes(face, 0, size);
    TextFacts facts;
    const double unit = 1.0 * size / face->units_per_EM;
    double origin = 0;
    FT_UInt before = 0;
    for (const char c : text) {
        const FT_UInt glyph = FT_Get_Char_Index(face, static_cast<FT_ULong>(c));
        FT_Vector kerning{};
        if (before) FT_Get_Kerning(face, before, glyph, FT_KERNING_UNSCALED, &kerning);
        origin += static_cast<double>(kerning.x);
        EXPECT_EQ(FT_Load_Glyph(face, glyph, FT_LOAD_NO_SCALE), 0);
        const FT_Glyph_Metrics m = face->glyph->metrics;
        const double left = origin + static_cast<double>(m.horiBearingX);
        facts.left = std::min(facts.left, left * unit);
        facts.right = std::max(facts.right, (left + static_cast<double>(m.width)) * unit);
        facts.top = std::min(facts.top, static_cast<double>(-m.horiBearingY) * unit);
        facts.bottom = std::max(facts.bottom, static_cast<double>(m.height - m.horiBearingY) * unit);
        origin += static_cast<double>(face->glyph->advance.x);
        before = glyph;
        // The rasteriser says of each pixel how much of it is covered.
        EXPECT_EQ(FT_Load_Glyph(face, glyph, FT_LOAD_NO_HINTING | FT_LOAD_RENDER), 0);
        const FT_Bitmap& pixels = face->glyph->bitmap;
        for (unsigned i = 0; i < pixels.rows * static_cast<unsigned>(pixels.pitch); ++i)
            facts.area += pixels.buffer[i] / 255.0;
    }
    FT_Done_FreeType(library);
    return facts;
}

// Measures of a mesh as inspect tells it, at its true size.
struct Solid {
    Vec low{1e9, 1e9, 1e9}, high{-1e9, -1e9, -1e9};
    double volume = 0;    // by the divergence theorem, above 0 when wound outward
    double frontArea = 0; // of what faces the viewer squarely
    std::size_t meshes = 0;
    bool closed = true; // after welding every edge is run once each way
    [[nodiscard]] double Extent(std::size_t axis) const { return high[axis] - low[axis]; }
};

Solid Measure(const json& mesh) {
    Solid solid;
    solid.meshes = mesh["meshes"].size();
    const double size = mesh["size"].get<double>();
    std::map<Vec, int> places;
    std::map<std::pair<int, int>, int> edges;
    for (const json& part : mesh["meshes"])
        for (const json& group : part["groups"])
            for (const json& triangle : group["triangles"]) {
                std::array<Vec, 3> p;
                std::array<int, 3> id{};
                for (std::size_t k = 0; k < 3; ++k) {
                    const json& vertex = mesh["vertices"][triangle[k].get<std::size_t>()];
                    Vec raw{};
                    for (std::size_t axis = 0; axis < 3; ++axis) {
                        raw[axis] = vertex[axis].get<double>();
                        p[k][axis] = raw[axis] * size;
                        solid.low[axis] = std::min(solid.low[axis], p[k][axis]);
                        solid.high[axis] = std::max(solid.high[axis], p[k][axis]);
                    }
                    id[k] = places.try_emplace(raw, static_cast<int>(places.size())).first->second;
                }
                for (std::size_t k = 0; k < 3; ++k) {
                    ++edges[{id[k], id[(k + 1) % 3]}];
                    --edges[{id[(k + 1) % 3], id[k]}];
                }
                Vec a{}, b{};
                for (std::size_t i = 0; i < 3; ++i) a[i] = p[1][i] - p[0][i], b[i] = p[2][i] - p[0][i];
                const Vec n{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
                solid.volume += (p[0][0] * n[0] + p[0][1] * n[1] + p[0][2] * n[2]) / 6;
                if (-n[2] > 0.9999 * std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]))
                    solid.frontArea -= n[2] / 2;
            }
    for (const auto& [edge, balance] : edges) solid.closed = solid.closed && balance == 0;
    return solid;
}

class Solids : public PluginTest {
protected:
    // A plain extrusion 40 deep of the one layer: 4 times 10, scale 1, with next to no bevel.
    void Project(const json& layer, const json& parameters = {{"Path Layer 1", "Source"}}) const {
        json source = layer;
        source["name"] = "Source";
        const json bevel = {{"extrude", 4}, {"bevelSize", 0}, {"bevelDepth", 0}};
        const json model = {{"name", "Solid"},  {"type", 3},           {"groups", {1}},    {"bevelScale", 1},
                            {"spikeFilter", 0}, {"pathResolution", 2}, {"bevels", {bevel}}};
        Write("p.json",
              json{{"composition", {{"width", 160}, {"height", 90}, {"frameRate", 10}, {"duration", 2}}},
                   {"layers", {source}},
                   {"effects", {{{"parameters", parameters}, {"scene", {{"models", {model}}}}}}}}
                  .dump());
    }
    [[nodiscard]] Solid Inspect(const std::string& options = {}) const {
        const json mesh = Json("inspect mesh p.json " + options);
        return mesh.is_object() ? Measure(mesh) : Solid();
    }
};

json Square(double x, double y, double side, bool closed = true) {
    json vertices = json::array();
    for (const auto& [dx, dy] : {std::pair{0.0, 0.0}, {side, 0.0}, {side, side}, {0.0, side}})
        vertices.push_back({{"position", {x + dx, y + dy}}});
    return {{"closed", closed}, {"vertices", vertices}};
}

TEST_F(Solids, ATitleHasTheMeasuresOfItsFont) {
    const struct {
        const char *font, *text;
    } titles[] = {{"DejaVu Serif:bold", "AVo"}, {"DejaVu Sans", "a8&"}};
    for (const auto& [font, text] : titles) {
        Project({{"type", "text"}, {"text", text}, {"font", font}, {"size", 400}});
        const Solid solid = Inspect();
        const TextFacts facts = FactsOf(font, text, 400);
        SCOPED_TRACE(font);
        EXPECT_EQ(solid.meshes, 3u); // one a letter
        EXPECT_TRUE(solid.closed);
        EXPECT_NEAR(solid.Extent(0), facts.right - facts.left, 0.5);
        EXPECT_NEAR(solid.Extent(1), facts.bottom - facts.top, 0.5);
        EXPECT_NEAR(solid.Extent(2), 40, 0.01);
        // Chords of curves and the thinning of flat corners take a little.
        EXPECT_NEAR(solid.frontArea / facts.area, 1, 2e-3);
        EXPECT_NEAR(solid.volume / (facts.area * 40), 1, 2e-3);
    }
}

TEST_F(Solids, MasksMoveAndOpenOnesAreLeftOut) {
    // A square that grows from 100 to 300, a hole that stays, an open mask far away and an empty one.
    json growing = Square(0, 0, 100);
    growing["vertices"] = {{"keys",
                            {{{"frame", 0}, {"value", Square(0, 0, 100)["vertices"]}},
                             {{"frame", 10}, {"value", Square(-100, -100, 300)["vertices"]}}}}};
    Project({{"type", "solid"},
             {"masks",
              {growing, Square(25, 25, 50), Square(5000, 0, 40, false), {{"vertices", json::array()}}}}});
    const auto area = [](double side) { return side * side - 50 * 50; };
    for (const auto& [frame, side] : {std::pair{0, 100.0}, {5, 200.0}, {10, 300.0}}) {
        const Solid solid = Inspect("--frame " + std::to_string(frame));
        SCOPED_TRACE(frame);
        EXPECT_TRUE(solid.closed);
        EXPECT_EQ(solid.meshes, 1u);
        EXPECT_NEAR(solid.Extent(0), side, 0.01);
        EXPECT_NEAR(solid.frontArea / area(side), 1, 1e-3);
        EXPECT_NEAR(solid.volume / (area(side) * 40), 1, 1e-3);
    }
    // The scale brings the larger extent to 100 units where it is asked for.
    std::string text = Read("p.json");
    text.replace(text.find("\"bevelScale\""), 0, "\"autoPresetScale\":true,");
    Write("p.json", text);
    for (const int frame : {0, 7})
        EXPECT_NEAR(Inspect("--frame " + std::to_string(frame)).Extent(1), 100, 0.01);
}

TEST_F(Solids, CurvedMasksFollowTheirTangents) {
    constexpr double kQuarter = 0.5522847 * 100;
    const auto vertex = [](double x, double y, double inX, double inY) {
        return json{{"position", {x, y}}, {"in", {inX, inY}}, {"out", {-inX, -inY}}};
    };
    Project({{"type", "solid"},
             {"masks",
              {{{"vertices",
                 {vertex(100, 0, 0, -kQuarter), vertex(0, 100, kQuarter, 0), vertex(-100, 0, 0, kQuarter),
                  vertex(0, -100, -kQuarter, 0)}}}}}});
    const Solid solid = Inspect();
    EXPECT_TRUE(solid.closed);
    EXPECT_NEAR(solid.frontArea / (20 * 1e4 * std::sin(std::acos(-1.0) / 20)), 1, 1e-3); // 40 corners
}

TEST_F(Solids, APathLayerOfNothingIsAnEmptySolidWithOneWarning) {
    Project({{"type", "solid"}, {"masks", {Square(0, 0, 50, false)}}}, json::object());
    const Ran none = Velorin("render p.json --frames 0-2 -o f####.png");
    EXPECT_EQ(none.status, 0) << none.error;
    const std::string sentence = "Extrusion \"Solid\" is empty: Path Layer 1 names no layer.";
    ASSERT_THAT(none.error, HasSubstr(sentence));
    EXPECT_EQ(none.error.find(sentence, none.error.find(sentence) + 1), std::string::npos) << none.error;
    Project({{"type", "solid"}, {"masks", {Square(0, 0, 50, false)}}});
    EXPECT_THAT(Velorin("inspect mesh p.json").error, HasSubstr("has no closed outline"));
}

} // namespace
} // namespace velorin::app
