#include "app/host/Outlines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

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
    }
    EXPECT_LT(Area(outlines[1]) * Area(outlines[2]), 0); // the hole winds the other way
    const Box h = BoxOf({outlines[0]});
    EXPECT_NEAR(h.bottom, 0, 1e-6); // stands on the baseline, which is the origin
    EXPECT_NEAR(h.top, -72, 12);    // capitals are about 0.7 of the size
    EXPECT_GE(h.left, 0);
    // H has straight sides only: its tangents rest on their vertices.
    for (const PF_PathVertex& v : outlines[0].vertices) EXPECT_TRUE(v.tan_in_x == v.x && v.tan_out_y == v.y);
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
    EXPECT_EQ(Set(TextOf("\xff\xfe"
                         "A"))
                  .back()
                  .vertices.size(),
              Set(TextOf("A")).back().vertices.size());
    EXPECT_EQ(Set(TextOf("ffi")).size(), 4U); // two f, and an i with its dot: no ligature
}

TEST(Outlines, FontsAndCharactersThatAreNotThereAreReplaced) {
    const char* const alef = "\xd8\xa7"; // the sans face has Arabic, the serif one has none
    const struct {
        const char *font, *text, *says;
        double top; // 0: any
    } cases[] = {
        {"Nonesuch Grotesk:bold", "H", "the font \"Nonesuch Grotesk:bold\" is not installed", 0},
        {"dejavu sans", "H", "", 0},
        {"serif", "H", "", 0},
        {"DejaVu Serif", alef, "", BoxOf(Set(TextOf(alef))).top},
        {"serif", "A\xf4\x8f\xbf\xbd", "no installed font has the character U+10FFFD", 0}, // private
    };
    for (const auto& c : cases) {
        Layer layer = TextOf(c.text);
        layer.font = c.font;
        std::string reason;
        std::vector<Outline> outlines;
        ASSERT_TRUE(MakeTextOutlines(layer, TextStyleAt(layer, 0), outlines, reason)) << c.font;
        EXPECT_EQ(reason.find(c.says), 0U) << reason;
        EXPECT_EQ(reason.empty(), c.says[0] == 0) << reason;
        EXPECT_FALSE(outlines.empty()) << c.font;
        if (c.top != 0) {
            EXPECT_NEAR(BoxOf(outlines).top, c.top, 1e-6);
        }
    }
}

} // namespace
} // namespace velorin::app
