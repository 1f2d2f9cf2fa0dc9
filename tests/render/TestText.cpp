#include "render/FrameBuffers.h"
#include "render/GlyphAtlas.h"
#include "render/RendererFixture.h"
#include "render/TextDrawer.h"
#include "services/Fonts.h"

#include <GL/glew.h>

#include <algorithm>
#include <cmath>
#include <ft2build.h>
#include <string>
#include <vector>
#include FT_FREETYPE_H

namespace velorin {
namespace {

constexpr int kWidth = 96, kHeight = 64, kSize = 24;
constexpr const char* kFont = "DejaVu Sans";

class TextTest : public test::RendererTest {
protected:
    void SetUp() override {
        RendererTest::SetUp();
        renderer().SetFrameSize(kWidth, kHeight);
        ASSERT_EQ(renderer().SetupRender(RenderSettings()), SetupResult::Done);
        if (text.LineHeight() == 0) GTEST_SKIP() << "no font is installed";
    }

    // What a text leaves on an even ground; RGBA, row 0 on top.
    std::vector<float> Draw(const std::string& line, Point2 baseline, Point4 colour = {1, 1, 1, 1},
                            float ground = 0) {
        glBindFramebuffer(GL_FRAMEBUFFER, renderer().frameBuffers().resultFramebuffer.name());
        glDrawBuffer(GL_COLOR_ATTACHMENT0);
        glReadBuffer(GL_COLOR_ATTACHMENT0);
        glViewport(0, 0, kWidth, kHeight);
        glClearColor(ground, ground, ground, ground);
        glClear(GL_COLOR_BUFFER_BIT);
        text.Draw(line, baseline, colour, TextDrawer::PixelProjection(kWidth, kHeight));
        std::vector<float> pixels(std::size_t{4} * kWidth * kHeight);
        glReadPixels(0, 0, kWidth, kHeight, GL_RGBA, GL_FLOAT, pixels.data());
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        return pixels;
    }

    TextDrawer text{kFont, kSize};
};

// Covered area in pixels, and its middle.
struct Ink {
    double area = 0, x = 0, y = 0;
    void Add(double coverage, double atX, double atY) {
        area += coverage, x += coverage * atX, y += coverage * atY;
    }
    [[nodiscard]] Point2 middle() const {
        return {static_cast<float>(x / area), static_cast<float>(y / area)};
    }
};

Ink InkOf(const std::vector<float>& pixels) {
    Ink ink;
    for (std::size_t i = 0; i < pixels.size(); i += 4)
        ink.Add((pixels[i] + pixels[i + 1] + pixels[i + 2]) / 3.0,
                static_cast<double>((i / 4) % kWidth) + 0.5, static_cast<double>((i / 4) / kWidth) + 0.5);
    return ink;
}

// The same character as the font library draws it in grey, its pen at the origin.
Ink GreyInkOf(char32_t character) {
    const FontFile font = FindFont(kFont);
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    Ink ink;
    if (FT_Init_FreeType(&library) != 0) return ink;
    if (FT_New_Face(library, font.path.c_str(), font.index, &face) == 0 &&
        FT_Set_Pixel_Sizes(face, 0, kSize) == 0 && FT_Load_Char(face, character, FT_LOAD_TARGET_LCD) == 0 &&
        FT_Render_Glyph(face->glyph, FT_RENDER_MODE_NORMAL) == 0) {
        const FT_Bitmap& bitmap = face->glyph->bitmap;
        for (unsigned row = 0; row < bitmap.rows; ++row)
            for (unsigned column = 0; column < bitmap.width; ++column)
                ink.Add(bitmap.buffer[row * static_cast<unsigned>(bitmap.pitch) + column] / 255.0,
                        face->glyph->bitmap_left + static_cast<int>(column) + 0.5,
                        static_cast<int>(row) - face->glyph->bitmap_top + 0.5);
    }
    FT_Done_FreeType(library); // with its faces
    return ink;
}

TEST_F(TextTest, CharactersHaveTheirInkInTheirPlace) {
    for (const auto& [utf8, character] : {std::pair{"H", U'H'},
                                          {"g", U'g'},
                                          {"\xc3\xa9", U'\u00e9'},
                                          {"\xd0\x96", U'\u0416'},
                                          {"\xe4\xb8\xad", U'?'}}) {
        const Ink expected = GreyInkOf(character), drawn = InkOf(Draw(utf8, {30, 40}));
        ASSERT_GT(expected.area, 10) << utf8;
        EXPECT_NEAR(drawn.area, expected.area, 0.02 * expected.area) << utf8;
        EXPECT_NEAR(drawn.middle().x, 30 + expected.middle().x, 0.1) << utf8;
        EXPECT_NEAR(drawn.middle().y, 40 + expected.middle().y, 0.05) << utf8;
    }
}

TEST_F(TextTest, LinesAddUpAndMoveAsAWhole) {
    const std::vector<float> one = Draw("Ab", {8, 20}), moved = Draw("Ab", {13, 31});
    for (std::size_t y = 0; y + 11 < kHeight; ++y)
        for (std::size_t i = 0; i < 4 * (kWidth - 5); ++i)
            ASSERT_NEAR(one[4 * kWidth * y + i], moved[4 * kWidth * (y + 11) + i + 20], 1e-3f);
    // The second line stands below the first one's start.
    const Ink first = InkOf(Draw("A", {8, 20})), both = InkOf(Draw("A\nA", {8, 20}));
    EXPECT_NEAR(both.area, 2 * first.area, 1e-2);
    EXPECT_NEAR(both.middle().x, first.middle().x, 1e-2);
    EXPECT_NEAR(both.middle().y, first.middle().y + static_cast<float>(text.LineHeight()) / 2, 1e-2);
    // A pen's advance: what follows "AA" stands that much further right.
    const Ink far = InkOf(Draw("  A", {8, 20}));
    EXPECT_NEAR(far.middle().x - first.middle().x, text.Width("  "), 1e-2);
    EXPECT_EQ(text.Width("AA"), 2 * text.Width("A"));
}

// Over a light ground dark letters take away what white ones add to a dark ground.
TEST_F(TextTest, ColourAndAlphaBlendOverThePicture) {
    const std::vector<float> white = Draw("Velorin", {4, 40});
    const std::vector<float> black = Draw("Velorin", {4, 40}, {0, 0, 0, 1}, 1);
    const std::vector<float> faint = Draw("Velorin", {4, 40}, {1, 0.5f, 0, 0.25f});
    int covered = 0;
    for (std::size_t i = 0; i < white.size(); i += 4) {
        const float sum = white[i] + white[i + 1] + white[i + 2];
        const float alpha = std::min(1.0f, sum / 2);
        EXPECT_NEAR(white[i + 3], alpha, 4e-3f);
        EXPECT_NEAR(black[i], 1 - alpha, 4e-3f);
        EXPECT_NEAR(faint[i], white[i] / 4, 2e-3f);
        EXPECT_NEAR(faint[i + 1], white[i + 1] / 8, 2e-3f);
        EXPECT_NEAR(faint[i + 3], alpha / 4, 4e-3f);
        covered += sum > 2.9f;
    }
    EXPECT_GT(covered, 100); // stems are solid
}

TEST_F(TextTest, AFontIsTakenForAnotherOnlyWhenAsked) {
    const int before = text.Width("Wide");
    text.SetFont(kFont, 2 * kSize);
    EXPECT_NEAR(text.Width("Wide"), 2 * before, 4);
    text.SetFont("no such font is installed", kSize);
    EXPECT_GT(text.Width("Wide"), 0); // what resembles it most
    EXPECT_GT(InkOf(Draw("Wide", {4, 40})).area, 20);
}

} // namespace
} // namespace velorin
