// What the reader makes of whole pages beside a viewer's picture of them: the ink of each page and of each of
// its coarse cells. Skipped where pdftocairo (poppler-utils) is not installed; pages are drawn with cairo
// where its library was found at build time, their structure is varied with qpdf where that is installed.

#include "../Coverage.h"
#include "services/TemporaryFolder.h"

#include "model/extrusion/Contours.h"
#include "model/extrusion/FlattenPath.h"
#include "model/vector/VectorFile.h"
#include "services/MappedFile.h"

#include <gtest/gtest.h>
#include <png.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#ifdef VELORIN_CAIRO
#include <cairo-pdf.h>
#include <cairo.h>
#endif

namespace velorin {
// Cairo draws text through fontconfig's global configuration, which keeps some of its memory; ours is not it.
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so";
}

namespace {

using namespace coverage;
using test::TemporaryFolder;
namespace fs = std::filesystem;

constexpr int kScale = 2; // pixels a point
constexpr int kCell = 16; // pixels a side of a coarse cell

bool Installed(const char* program) {
    return std::system((std::string("command -v ") + program + " >/dev/null 2>&1").c_str()) == 0;
}

// The viewer's picture of the first page: how opaque each pixel is on a page without paper.
std::optional<Picture> ViewerPicture(const std::string& pdf, const TemporaryFolder& folder) {
    const std::string out = folder.file("viewer");
    const std::string command = "pdftocairo -png -transp -singlefile -f 1 -l 1 -r " +
                                std::to_string(72 * kScale) + " '" + pdf + "' '" + out + "' 2>/dev/null";
    if (std::system(command.c_str()) != 0) return std::nullopt;
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, (out + ".png").c_str())) return std::nullopt;
    image.format = PNG_FORMAT_RGBA;
    std::vector<png_byte> bytes(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr)) return std::nullopt;
    Picture picture(static_cast<int>(image.width), static_cast<int>(image.height));
    for (std::size_t i = 0; i < picture.cells.size(); ++i) picture.cells[i] = bytes[4 * i + 3] / 255.0;
    return picture;
}

// The outlines stand above the lower left corner of the page, y negative.
Picture OurPicture(const PathSet& set, int width, int height) {
    std::vector<std::vector<Point2>> polygons;
    for (const auto& path : set.paths) {
        auto polygon = FlattenPath(path, false, PathResolution::Ultra, 0);
        for (Point2& p : polygon) p = {p.x * kScale, p.y * kScale + static_cast<float>(height)};
        polygons.push_back(std::move(polygon));
    }
    WorkBudget budget(1u << 30);
    std::uint32_t objects = 0;
    ExtrusionOptions options;
    options.separateObjects = false;
    std::vector<Outline> outlines;
    for (const Contour& contour : OrderContours(std::move(polygons), options, objects, budget)) {
        Outline outline;
        for (const Point2 p : contour.points) outline.push_back({Wide(p.x), Wide(p.y)});
        outlines.push_back(std::move(outline));
    }
    Picture picture(width, height);
    Paint(picture, outlines, Fill::Positive);
    return picture;
}

struct Comparison {
    double viewer = 0, ours = 0; // square points of ink
    double worstCell = 0;        // largest difference of a coarse cell, as a part of the cell
};

// `bottom`: how far down the page is compared, in points.
Comparison Compare(Picture& viewer, Picture& ours, int bottom) {
    Comparison result;
    for (int y = 0; y < std::min(viewer.height, bottom * kScale); y += kCell)
        for (int x = 0; x < viewer.width; x += kCell) {
            double a = 0, b = 0;
            for (int v = y; v < std::min(y + kCell, viewer.height); ++v)
                for (int u = x; u < std::min(x + kCell, viewer.width); ++u)
                    a += viewer.at(u, v), b += ours.at(u, v);
            result.viewer += a / (kScale * kScale), result.ours += b / (kScale * kScale);
            result.worstCell = std::max(result.worstCell, std::fabs(a - b) / (kCell * kCell));
        }
    return result;
}

PathSet Load(const std::string& path, std::string& reason) {
    PathSet set;
    const MappedFile file = MappedFile::Open(path, FileAccess::Read);
    if (!LoadVectorBytes(set, file.bytes(), reason)) set.paths.clear();
    return set;
}

void ExpectAsViewed(const std::string& name, const std::string& pdf, const TemporaryFolder& folder,
                    int bottom = 100'000) {
    auto viewer = ViewerPicture(pdf, folder);
    ASSERT_TRUE(viewer) << name;
    std::string reason;
    const PathSet set = Load(pdf, reason);
    ASSERT_EQ(reason, "") << name;
    Picture ours = OurPicture(set, viewer->width, viewer->height);
    const Comparison c = Compare(*viewer, ours, bottom);
    EXPECT_GT(c.viewer, 10) << name;
    EXPECT_NEAR(c.ours / c.viewer, 1, 0.02) << name;
    EXPECT_LT(c.worstCell, 0.06) << name;
}

TEST(PdfCoverage, FilesOfOthersShowTheInkThatAViewerShows) {
    const fs::path data = fs::path(VELORIN_SOURCE_DIR) / "../shared/data/vector";
    if (!fs::exists(data) || !Installed("pdftocairo")) GTEST_SKIP() << "test data or pdftocairo is not here";
    const TemporaryFolder folder;
    for (const char* file : {"inkscape-abc.pdf", "type1.pdf"})
        ExpectAsViewed(file, (data / file).string(), folder);
    ExpectAsViewed("fonts.pdf", (data / "fonts.pdf").string(), folder,
                   168); // below stand fonts of the system
}

#ifdef VELORIN_CAIRO

void DrawShapes(cairo_t* c) {
    cairo_rectangle(c, 20, 20, 80, 40);
    cairo_fill(c);
    cairo_set_fill_rule(c, CAIRO_FILL_RULE_EVEN_ODD);
    cairo_arc(c, 180, 60, 40, 0, 2 * M_PI);
    cairo_new_sub_path(c);
    cairo_arc(c, 180, 60, 25, 0, 2 * M_PI);
    cairo_fill(c);
    cairo_set_fill_rule(c, CAIRO_FILL_RULE_WINDING);
    for (int i = 0; i < 5; ++i)
        cairo_line_to(c, 300 + 45 * std::sin(4 * M_PI * i / 5), 65 - 45 * std::cos(4 * M_PI * i / 5));
    cairo_close_path(c);
    cairo_fill(c);
    cairo_save(c);
    cairo_translate(c, 100, 170);
    cairo_rotate(c, 0.4);
    cairo_scale(c, 2, 0.7);
    cairo_move_to(c, -30, 0);
    cairo_curve_to(c, -30, -60, 30, -60, 30, 0);
    cairo_curve_to(c, 30, 60, -30, 20, -30, 0);
    cairo_fill(c);
    cairo_restore(c);
}

// A group that is painted becomes a form of its own.
void DrawForms(cairo_t* c) {
    cairo_push_group(c);
    DrawShapes(c);
    cairo_pop_group_to_source(c);
    cairo_translate(c, 0, 240);
    cairo_scale(c, 0.9, 0.9);
    cairo_paint(c);
}

void DrawText(cairo_t* c, const char* family, cairo_font_weight_t weight) {
    cairo_select_font_face(c, family, CAIRO_FONT_SLANT_NORMAL, weight);
    cairo_set_font_size(c, 40);
    cairo_move_to(c, 20, 60);
    cairo_show_text(c, "Hamburgefonstiv");
    cairo_move_to(c, 20, 110);
    cairo_show_text(c, "0123456789 &@%$");
    cairo_save(c);
    cairo_translate(c, 40, 300);
    cairo_rotate(c, -0.3);
    cairo_set_font_size(c, 60);
    cairo_move_to(c, 0, 0);
    cairo_show_text(c, "\xC3\x84\xC3\xA9\xC3\x9F\xC5\x93 \xCE\xA9\xD0\x96");
    cairo_restore(c);
}

void MakePdf(const std::string& path, const std::function<void(cairo_t*)>& draw) {
    cairo_surface_t* surface = cairo_pdf_surface_create(path.c_str(), 400, 480);
    cairo_t* c = cairo_create(surface);
    draw(c);
    cairo_destroy(c);
    cairo_surface_finish(surface);
    cairo_surface_destroy(surface);
}

// Draws a page at a time and calls `check` with its name.
template <class Check>
void ForEachDrawing(const std::string& pdf, Check check) {
    MakePdf(pdf, DrawShapes);
    check("shapes");
    MakePdf(pdf, DrawForms);
    check("forms");
    // The fourth comes as a compact font program where it is installed.
    for (const char* family : {"serif", "sans-serif", "monospace", "Nimbus Roman", "Z003"}) {
        const bool bold = std::string_view(family) == "sans-serif";
        MakePdf(pdf, [&](cairo_t* c) {
            DrawText(c, family, bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
        });
        check(family);
    }
}

TEST(PdfCoverage, PagesDrawnWithCairoShowTheInkThatAViewerShows) {
    if (!Installed("pdftocairo")) GTEST_SKIP() << "pdftocairo is not installed";
    const TemporaryFolder folder;
    const std::string pdf = folder.file("page.pdf");
    ForEachDrawing(pdf, [&](const char* name) { ExpectAsViewed(name, pdf, folder); });
}

TEST(PdfCoverage, OutlinesDoNotDependOnTheStructureOfTheFile) {
    if (!Installed("qpdf")) GTEST_SKIP() << "qpdf is not installed";
    const TemporaryFolder folder;
    const std::string pdf = folder.file("page.pdf"), other = folder.file("other.pdf");
    ForEachDrawing(pdf, [&](const char* name) {
        std::string reason;
        const PathSet plain = Load(pdf, reason);
        EXPECT_FALSE(plain.paths.empty()) << name;
        for (const char* variant : {"--object-streams=disable --stream-data=uncompress", "--qdf",
                                    "--object-streams=generate --linearize",
                                    "--min-version=1.7 --recompress-flate --compression-level=1"}) {
            const std::string command =
                std::string("qpdf --warning-exit-0 ") + variant + " " + pdf + " " + other + " 2>/dev/null";
            ASSERT_EQ(std::system(command.c_str()), 0) << variant;
            EXPECT_EQ(Load(other, reason).paths, plain.paths) << name << " " << variant << ": " << reason;
        }
    });
}

#endif

} // namespace
} // namespace velorin
