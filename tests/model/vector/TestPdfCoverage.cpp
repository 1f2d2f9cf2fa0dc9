// What the reader makes of whole pages beside a viewer's picture of them: the ink of each page and of each of
// its coarse cells. Skipped where pdftocairo (poppler-utils) is not installed; pages are drawn with cairo
// where its library was found at build time, their structure is varied with qpdf where that is installed.

#include "../Coverage.h"
#include "services/TemporaryFolder.h"

#include "model/extrusion/Contours.h"
#include "model/extrusion/FlattenPath.h"
#include "model/vector/VectorFile.h"
#include "services/Fonts.h"
#include "services/MappedFile.h"

#include <gtest/gtest.h>
#include <png.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <sstream>
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

enum class Layers {
    Solid, // what the extrusion fills: outlines and holes told apart by how they nest
    Each   // every contour on top of those before, as a page shows filled areas that cover each other
};

// The outlines stand above the lower left corner of the page, y negative.
Picture OurPicture(const PathSet& set, int width, int height, Layers layers) {
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
    if (layers == Layers::Solid) Paint(picture, outlines, Fill::Positive);
    for (const Outline& outline : outlines)
        if (layers == Layers::Each) Paint(picture, {outline}, Fill::NonZero);
    return picture;
}

struct Region {
    double left = 0, top = 0, right = 1e6, bottom = 1e6; // points, from the top of the page
};

struct Comparison {
    double viewer = 0, ours = 0; // square points of ink
    double worstCell = 0;        // largest difference of a coarse cell, as a part of the cell
};

Comparison Compare(Picture& viewer, Picture& ours, const Region& region) {
    Comparison result;
    const auto first = [](double v) { return static_cast<int>(v * kScale) / kCell * kCell; };
    const int right = std::min(viewer.width, first(region.right)),
              bottom = std::min(viewer.height, first(region.bottom));
    for (int y = first(region.top); y < bottom; y += kCell)
        for (int x = first(region.left); x < right; x += kCell) {
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
                    Layers layers, const Region& region) {
    auto viewer = ViewerPicture(pdf, folder);
    ASSERT_TRUE(viewer) << name;
    std::string reason;
    const PathSet set = Load(pdf, reason);
    ASSERT_EQ(reason, "") << name;
    Picture ours = OurPicture(set, viewer->width, viewer->height, layers);
    const Comparison c = Compare(*viewer, ours, region);
    std::printf("%-32s viewer %10.1f, ours %10.1f square points (%+.2f %%), worst cell %.1f %%\n",
                name.c_str(), c.viewer, c.ours, 100 * (c.ours / c.viewer - 1), 100 * c.worstCell);
    EXPECT_GT(c.viewer, 10) << name;
    EXPECT_NEAR(c.ours / c.viewer, 1, 0.02) << name;
    EXPECT_LT(c.worstCell, 0.06) << name;
}

// A copy of the file without the lines that it draws with a width, which are no outlines: their operators
// become "n" or "f", so that no offset changes.
bool WithoutLines(const std::string& from, const std::string& to) {
    const std::string command =
        "qpdf --warning-exit-0 --qdf --object-streams=disable '" + from + "' '" + to + "' >/dev/null 2>&1";
    if (std::system(command.c_str()) != 0) return false;
    std::stringstream bytes;
    bytes << std::ifstream(to, std::ios::binary).rdbuf();
    std::string text = bytes.str();
    const auto blank = [&](std::size_t i) { return text[i] == ' ' || text[i] == '\n'; };
    for (std::size_t i = 2; i + 1 < text.size(); ++i)
        if (blank(i - 1) && blank(i + 1) &&
            std::string_view("lcvyeh").find(text[i - 2]) != std::string_view::npos) {
            if (text[i] == 'S' || text[i] == 's') text[i] = 'n';
            if (text[i] == 'B' || text[i] == 'b') text[i] = 'f';
        }
    std::ofstream(to, std::ios::binary) << text;
    return true;
}

// Whether a font file is of one of the families with Helvetica's widths.
bool IsLikeHelvetica(const std::string& path) {
    for (const char* family :
         {"Helvetica", "Arial", "NimbusSans", "LiberationSans", "texgyreheros", "FreeSans"})
        if (path.find(family) != std::string::npos) return true;
    return false;
}

TEST(PdfCoverage, FilesOfOthersShowTheInkThatAViewerShows) {
    const fs::path data = fs::path(VELORIN_SOURCE_DIR) / "../shared/data/vector";
    if (!fs::exists(data) || !Installed("pdftocairo")) GTEST_SKIP() << "test data or pdftocairo is not here";
    const TemporaryFolder folder;
    const struct {
        const char* file;
        Layers layers;
        bool lines;             // that are taken out first
        Region region;          // leaves out bitmaps, annotations and what is clipped
        bool helvetica = false; // is shown by a font that is not in the file
    } rows[] = {
        {"american_flag.pdf", Layers::Each, false, {}},
        {"fonts.pdf", Layers::Solid, false, {0, 0, 470, 168}},
        {"fonts.pdf", Layers::Solid, false, {0, 224, 470, 288}, true},
        {"inkscape-abc.pdf", Layers::Solid, false, {}},
        {"type1.pdf", Layers::Solid, false, {}},
        {"paths.pdf", Layers::Solid, true, {}},
        {"reportlab-overlay.pdf", Layers::Solid, true, {}},
        {"custom-render-demo.pdf", Layers::Solid, true, {0, 192, 612, 288}},
    };
    for (const auto& row : rows) {
        // A viewer squeezes any other font to Helvetica's widths.
        if (row.helvetica && !IsLikeHelvetica(FindSystemFont("Helvetica", false, false).path)) continue;
        std::string path = (data / row.file).string();
        if (row.lines &&
            !WithoutLines(std::exchange(path, folder.file("filled.pdf")), folder.file("filled.pdf")))
            continue;
        ExpectAsViewed(row.file, path, folder, row.layers, row.region);
    }
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

// A group painted twice becomes a form of its own.
void DrawForms(cairo_t* c) {
    cairo_push_group(c);
    DrawShapes(c);
    cairo_pattern_t* group = cairo_pop_group(c);
    for (const double y : {0.0, 240.0}) {
        cairo_save(c);
        cairo_translate(c, 0, y);
        cairo_scale(c, 0.9, 0.9);
        cairo_set_source(c, group);
        cairo_paint(c);
        cairo_restore(c);
    }
    cairo_pattern_destroy(group);
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

struct Drawing {
    const char* name;
    std::function<void(cairo_t*)> draw;
};

std::vector<Drawing> Drawings() {
    const auto text = [](const char* family, cairo_font_weight_t weight = CAIRO_FONT_WEIGHT_NORMAL) {
        return [family, weight](cairo_t* c) { DrawText(c, family, weight); };
    };
    return {{"shapes", DrawShapes},
            {"forms", DrawForms},
            {"text in serif", text("serif")},
            {"text in bold sans", text("sans-serif", CAIRO_FONT_WEIGHT_BOLD)},
            {"text in mono", text("monospace")},
            {"text in Nimbus Roman", text("Nimbus Roman")}, // as a compact font program where it is installed
            {"text in Z003", text("Z003")}};
}

TEST(PdfCoverage, PagesDrawnWithCairoShowTheInkThatAViewerShows) {
    if (!Installed("pdftocairo")) GTEST_SKIP() << "pdftocairo is not installed";
    const TemporaryFolder folder;
    for (const Drawing& drawing : Drawings()) {
        const std::string pdf = folder.file("page.pdf");
        MakePdf(pdf, drawing.draw);
        ExpectAsViewed(drawing.name, pdf, folder, Layers::Solid, {});
    }
}

TEST(PdfCoverage, OutlinesDoNotDependOnTheStructureOfTheFile) {
    if (!Installed("qpdf")) GTEST_SKIP() << "qpdf is not installed";
    const TemporaryFolder folder;
    const char* const variants[] = {"--object-streams=generate",
                                    "--object-streams=disable --stream-data=uncompress",
                                    "--linearize",
                                    "--qdf",
                                    "--object-streams=generate --linearize",
                                    "--min-version=1.7 --recompress-flate --compression-level=1"};
    for (const Drawing& drawing : Drawings()) {
        const std::string pdf = folder.file("page.pdf"), other = folder.file("other.pdf");
        MakePdf(pdf, drawing.draw);
        std::string reason;
        const PathSet plain = Load(pdf, reason);
        EXPECT_FALSE(plain.paths.empty()) << drawing.name;
        for (const char* variant : variants) {
            const std::string command = std::string("qpdf --warning-exit-0 ") + variant + " '" + pdf + "' '" +
                                        other + "' 2>/dev/null";
            ASSERT_EQ(std::system(command.c_str()), 0) << variant;
            EXPECT_EQ(Load(other, reason).paths, plain.paths)
                << drawing.name << " " << variant << ": " << reason;
        }
    }
    const std::string pdf = folder.file("page.pdf"), locked = folder.file("locked.pdf");
    for (const char* bits : {"40", "128", "256"}) {
        const std::string command = "qpdf --allow-weak-crypto --encrypt user owner " + std::string(bits) +
                                    " -- '" + pdf + "' '" + locked + "' 2>/dev/null";
        if (std::system(command.c_str()) != 0) continue;
        std::string reason;
        EXPECT_TRUE(Load(locked, reason).paths.empty());
        EXPECT_EQ(reason, "The file is encrypted.") << bits;
    }
}

#endif

} // namespace
} // namespace velorin
