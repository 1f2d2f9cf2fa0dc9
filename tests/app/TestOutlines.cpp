#include "app/host/Outlines.h"

#include "services/Fonts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include <ft2build.h>
#include FT_FREETYPE_H

namespace velorin::app {
namespace {

struct Box {
    double left = 1e9, top = 1e9, right = -1e9, bottom = -1e9;
};

Box BoxOf(const std::vector<Outline>& outlines) {
    Box box;
    for (const Outline& outline : outlines)
        for (const PF_PathVertex& v : outline.vertices) {
            box.left = std::min(box.left, v.x), box.right = std::max(box.right, v.x);
            box.top = std::min(box.top, v.y), box.bottom = std::max(box.bottom, v.y);
        }
    return box;
}

std::vector<Outline> Set(const Layer& layer, double seconds = 0) {
    std::vector<Outline> outlines;
    std::string reason;
    if (!MakeTextOutlines(layer, TextStyleAt(layer, seconds), outlines, reason)) ADD_FAILURE() << reason;
    return outlines;
}

Layer TextOf(const std::string& text) {
    Layer layer;
    layer.kind = LayerKind::Text;
    layer.text = text;
    layer.size = 100;
    return layer;
}

// Twice the signed area of the polygon through the vertices.
double Area(const Outline& outline) {
    double sum = 0;
    for (std::size_t i = 0; i + 1 < outline.vertices.size(); ++i)
        sum += outline.vertices[i].x * outline.vertices[i + 1].y -
               outline.vertices[i + 1].x * outline.vertices[i].y;
    return sum;
}

TEST(Outlines, LettersAreClosedPathsAboveTheBaseline) {
    const auto outlines = Set(TextOf("HO"));
    ASSERT_EQ(outlines.size(), 3U); // H, and the two rings of O
    for (const Outline& outline : outlines) {
        EXPECT_FALSE(outline.open);
        ASSERT_GT(outline.vertices.size(), 4U);
        EXPECT_EQ(outline.vertices.front().x, outline.vertices.back().x);
        EXPECT_EQ(outline.vertices.front().y, outline.vertices.back().y);
        EXPECT_NE(Area(outline), 0);
    }
    EXPECT_LT(Area(outlines[1]) * Area(outlines[2]), 0); // the hole winds the other way
    const Box h = BoxOf({outlines[0]});
    EXPECT_NEAR(h.bottom, 0, 1e-6); // stands on the baseline, which is the origin
    EXPECT_LT(h.top, -60);          // capitals are about 0.7 of the size
    EXPECT_GT(h.top, -85);
    EXPECT_GE(h.left, 0);
    EXPECT_LT(h.right, BoxOf({outlines[1]}).left);
    // H has straight sides only: its tangents rest on their vertices.
    for (const PF_PathVertex& v : outlines[0].vertices) {
        EXPECT_EQ(v.tan_in_x, v.x);
        EXPECT_EQ(v.tan_out_y, v.y);
    }
    EXPECT_TRUE(std::any_of(outlines[1].vertices.begin(), outlines[1].vertices.end(),
                            [](const PF_PathVertex& v) { return v.tan_out_x != v.x || v.tan_out_y != v.y; }));
}

TEST(Outlines, AlignmentTrackingAndLinesMoveTheLetters) {
    const double width = BoxOf(Set(TextOf("HH"))).right;
    Layer centred = TextOf("HH");
    centred.alignment = TextAlignment::Center;
    const Box middle = BoxOf(Set(centred));
    EXPECT_NEAR(middle.left, -middle.right, 1.0);
    Layer wide = TextOf("HH");
    wide.tracking = 500; // half the size
    EXPECT_NEAR(BoxOf(Set(wide)).right, width + 50, 1e-6);
    Layer lines = TextOf("H\nH");
    lines.leading = 130;
    const Box two = BoxOf(Set(lines));
    EXPECT_NEAR(two.bottom, 130, 1e-6);
    Layer twice = TextOf("HH");
    twice.size = 200;
    EXPECT_NEAR(BoxOf(Set(twice)).right, 2 * width, 1e-6);
    twice.size.keys = {{0, {100}}, {2, {200}}};
    EXPECT_NEAR(BoxOf(Set(twice, 1)).right, 1.5 * width, 1e-6);
    EXPECT_TRUE(Set(TextOf("")).empty());
    EXPECT_TRUE(Set(TextOf("  \n\t\r\n ")).empty());
    EXPECT_NO_FATAL_FAILURE((void)Set(TextOf("\xff\xfe"
                                             "A")));
}

TEST(Outlines, AFontThatIsNotInstalledIsToldOf) {
    Layer layer = TextOf("H");
    std::vector<Outline> outlines;
    for (const auto& [font, told] :
         {std::pair{"Nonesuch Grotesk:bold", true}, {"dejavu sans", false}, {"serif", false}}) {
        std::string reason;
        layer.font = font;
        EXPECT_TRUE(MakeTextOutlines(layer, TextStyleAt(layer, 0), outlines, reason));
        EXPECT_EQ(reason.find("the font \"Nonesuch Grotesk:bold\" is not installed") == 0, told) << reason;
        EXPECT_EQ(reason.empty(), !told) << reason;
    }
    EXPECT_EQ(outlines.size(), 3U); // one an H
}

// Pairs move together by what the font's older table says as well, which FreeType reads.
TEST(Outlines, PairsAreKernedAndLettersStaySingle) {
    FT_Library library = nullptr;
    ASSERT_EQ(FT_Init_FreeType(&library), 0);
    FT_Face face = nullptr;
    ASSERT_EQ(FT_New_Face(library, FindFont("DejaVu Sans").path.c_str(), 0, &face), 0);
    if (!FT_HAS_KERNING(face)) GTEST_SKIP() << "another font stands in for DejaVu Sans";
    int kerned = 0;
    for (const char* pair : {"AV", "To", "VA", "LT", "HH", "Yo"}) {
        const FT_UInt a = FT_Get_Char_Index(face, static_cast<FT_ULong>(pair[0])),
                      b = FT_Get_Char_Index(face, static_cast<FT_ULong>(pair[1]));
        FT_Vector kerning{};
        FT_Get_Kerning(face, a, b, FT_KERNING_UNSCALED, &kerning);
        FT_Load_Glyph(face, a, FT_LOAD_NO_SCALE);
        const double advance = static_cast<double>(face->glyph->advance.x + kerning.x) / face->units_per_EM;
        const double alone = BoxOf(Set(TextOf(pair + 1))).right;
        EXPECT_NEAR(BoxOf(Set(TextOf(pair))).right, 100 * advance + alone, 0.01) << pair;
        kerned += kerning.x < 0;
    }
    EXPECT_GE(kerned, 4);
    EXPECT_EQ(Set(TextOf("ffi")).size(), 4U); // two f, and an i with its dot
    FT_Done_Face(face);
    FT_Done_FreeType(library);
}

TEST(Outlines, CharactersThatTheFontLacksComeFromAnother) {
    const char* const alef = "\xd8\xa7"; // the sans face has Arabic, the serif one has none
    Layer layer = TextOf(alef);
    const auto sans = Set(layer);
    layer.font = "DejaVu Serif";
    std::string reason;
    std::vector<Outline> outlines;
    ASSERT_TRUE(MakeTextOutlines(layer, TextStyleAt(layer, 0), outlines, reason));
    EXPECT_EQ(reason, "");
    ASSERT_EQ(outlines.size(), sans.size());
    EXPECT_NEAR(BoxOf(outlines).top, BoxOf(sans).top, 1e-6);
    layer.text = "A\xf4\x8f\xbf\xbd"; // the last private character
    ASSERT_TRUE(MakeTextOutlines(layer, TextStyleAt(layer, 0), outlines, reason));
    EXPECT_EQ(reason, "no installed font has the character U+10FFFD");
}

TEST(Outlines, MasksCarryTangentsAsPointsAndCloseOnThemselves) {
    Mask mask;
    mask.vertices.resize(2);
    mask.vertices[0].position = AnimatedValue(10, 20, 0);
    mask.vertices[0].out = AnimatedValue(3, -1, 0);
    mask.vertices[1].position = AnimatedValue(50, 20, 0);
    mask.vertices[1].in = AnimatedValue(-5, 0, 0);
    const Outline closed = MaskOutlineAt(mask, 0);
    ASSERT_EQ(closed.segments(), 2);
    EXPECT_EQ(closed.vertices[0].tan_out_x, 13);
    EXPECT_EQ(closed.vertices[0].tan_out_y, 19);
    EXPECT_EQ(closed.vertices[1].tan_in_x, 45);
    EXPECT_EQ(closed.vertices[2].x, 10);
    mask.closed = false;
    EXPECT_EQ(MaskOutlineAt(mask, 0).segments(), 1);
    EXPECT_EQ(MaskOutlineAt({}, 0).segments(), 0);
}

} // namespace
} // namespace velorin::app
