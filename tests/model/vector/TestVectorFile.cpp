#include "Deflate.h"
#include "FormatChecks.h"

#include "model/extrusion/Contours.h"
#include "model/extrusion/FlattenPath.h"
#include "model/vector/PdfEncoding.h"
#include "model/vector/VectorFile.h"
#include "services/MappedFile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ctime>
#include <filesystem>
#include <sys/resource.h>

namespace velorin {
namespace {

using test::Deflate;

// Writes a document with a cross-reference table out of the bodies of its objects, numbered from 1; object 1
// is the root.
std::string Document(const std::vector<std::string>& objects, const std::string& trailer = "") {
    std::string file = "%PDF-1.7\n";
    std::vector<std::size_t> offsets;
    for (std::size_t i = 0; i < objects.size(); ++i) {
        offsets.push_back(file.size());
        file += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    const std::size_t table = file.size();
    file += "xref\n0 " + std::to_string(objects.size() + 1) + "\n0000000000 65535 f \n";
    for (const std::size_t offset : offsets) {
        char row[32];
        std::snprintf(row, sizeof row, "%010zu 00000 n \n", offset);
        file += row;
    }
    return file + "trailer << /Root 1 0 R /Size 9 " + trailer + " >>\nstartxref\n" + std::to_string(table) +
           "\n%%EOF\n";
}

std::string Stream(const std::string& content, const std::string& entries = "") {
    return "<< /Length " + std::to_string(content.size()) + " " + entries + " >>\nstream\n" + content +
           "\nendstream";
}

std::string Page(const std::string& content, const std::string& resources = "<< >>",
                 const std::vector<std::string>& more = {}) {
    std::vector<std::string> objects = {"<< /Type /Catalog /Pages 2 0 R >>",
                                        "<< /Type /Pages /Kids [3 0 R] /Count 1 /Resources " + resources +
                                            " >>",
                                        "<< /Type /Page /Parent 2 0 R /Contents 4 0 R >>", Stream(content)};
    objects.insert(objects.end(), more.begin(), more.end());
    return Document(objects);
}

struct Outcome {
    bool read = false;
    std::string reason;
    PathSet set;
};
Outcome Load(const std::string& file) {
    Outcome outcome;
    outcome.read = LoadVectorBytes(outcome.set, AsBytes(file), outcome.reason);
    return outcome;
}

double Area(const PathSet& set) { // of all contours, in the sense that they run
    double area = 0;
    for (const auto& path : set.paths)
        area += SignedArea2(FlattenPath(path, false, PathResolution::Extreme, 0)) / 2;
    return area;
}

TEST(VectorFile, PathOperatorsGiveTheirShapes) {
    const struct {
        const char* name;
        std::string content;
        std::size_t paths;
        double area; // y down, so that a shape drawn counter-clockwise is negative
    } rows[] = {
        {"rectangle", "10 10 30 20 re f", 1, -600},
        {"triangle", "0 0 m 10 0 l 0 10 l h f*", 1, -50},
        {"scaled", "q 2 0 0 3 5 5 cm 0 0 10 10 re f Q 0 0 1 1 re f", 2, -601},
        {"mirrored", "-1 0 0 1 0 0 cm 0 0 10 10 re f", 1, 100},
        {"two subpaths", "0 0 10 10 re 20 20 5 5 re B", 2, -125},
        {"not painted", "0 0 10 10 re n 0 0 m 4 0 l 4 4 l b", 1, -8},
        {"one point", "3 3 m f 0 0 m 4 0 l 4 4 l s", 1, -8},
        {"quarters of a circle",
         "10 0 m 10 5.522847 5.522847 10 0 10 c -5.522847 10 -10 5.522847 -10 0 c "
         "-10 -5.522847 -5.522847 -10 0 -10 c 5.522847 -10 10 -5.522847 10 0 c f",
         1, -314.2},
        // Each curve encloses 30 with its chord, by integrating (x dy - y dx) / 2.
        {"v and y", "0 0 m 0 10 10 10 v 10 0 0 0 y f", 1, 60},
        {"inline image", "BI /W 2 /H 1 ID \x01 0 0 9 9 re f \x02 EI 0 0 2 2 re f", 1, -4},
        {"signs without number", "0 0 --10 +-5.5.9 re f", 1, -55},
        {"junk", "/Name (text) [1 2] << /A 1 >> unknown 5 gs 0 0 2 2 re f", 1, -4},
    };
    for (const auto& row : rows) {
        const Outcome outcome = Load(Page(row.content));
        ASSERT_TRUE(outcome.read) << row.name << ": " << outcome.reason;
        EXPECT_EQ(outcome.set.paths.size(), row.paths) << row.name;
        EXPECT_NEAR(Area(outcome.set), row.area, std::fabs(row.area) * 2e-3) << row.name;
    }
}

TEST(VectorFile, FormsFontsOfContentAndInheritedResources) {
    const std::string form = Stream("0 0 10 10 re f", "/Subtype /Form /Matrix [2 0 0 2 100 0]");
    const Outcome outcome = Load(Page("/F Do 0 0 1 1 re f", "<< /XObject << /F 5 0 R >> >>", {form}));
    ASSERT_EQ(outcome.set.paths.size(), 2u);
    EXPECT_EQ(outcome.set.paths[0][2].position, (Point2{120, -20}));
    // A form that draws itself does so once.
    const std::string self =
        Stream("0 0 1 1 re f /F Do", "/Subtype /Form /Resources << /XObject << /F 5 0 R >> >>");
    EXPECT_EQ(Load(Page("/F Do", "<< /XObject << /F 5 0 R >> >>", {self})).set.paths.size(), 1u);
    // A font whose glyphs are content, too.
    const std::string font =
        "<< /Type /Font /Subtype /Type3 /FontMatrix [0.01 0 0 0.01 0 0] /CharProcs << /box 6 0 R >> "
        "/Encoding << /Differences [65 /box] >> /FirstChar 65 /LastChar 65 /Widths [60] >>";
    const Outcome text = Load(
        Page("BT /F1 10 Tf (AA) Tj ET", "<< /Font << /F1 5 0 R >> >>", {font, Stream("0 0 50 100 re f")}));
    ASSERT_EQ(text.set.paths.size(), 2u);
    EXPECT_EQ(text.set.paths[0][2].position, (Point2{5, -10}));
    EXPECT_NEAR(text.set.paths[1][0].position.x, 0.6f, 1e-5f); // width 60 thousandths of size 10
}

TEST(VectorFile, TextOfASystemFontHasItsHeightAndAdvance) {
    const std::string font =
        "<< /Type /Font /Subtype /TrueType /BaseFont /DejaVuSans /Encoding /WinAnsiEncoding >>";
    const std::string resources = "<< /Font << /F1 5 0 R >> >>";
    const Outcome one = Load(Page("BT /F1 100 Tf 10 20 Td (I) Tj ET", resources, {font}));
    if (one.set.paths.empty()) GTEST_SKIP() << "no font on this machine";
    float top = 0, bottom = -1000;
    for (const PathPoint& p : one.set.paths[0])
        top = std::min(top, p.position.y), bottom = std::max(bottom, p.position.y);
    EXPECT_FLOAT_EQ(bottom, -20);     // stands on its line
    EXPECT_NEAR(bottom - top, 72, 6); // capitals are about 0.72 em high
    // Spacing and scaling move the second letter: widths cancel in the difference.
    const auto second = [&](const std::string& state) {
        const Outcome two = Load(Page("BT /F1 100 Tf " + state + " (II) Tj ET", resources, {font}));
        return two.set.paths.at(1)[0].position.x - two.set.paths.at(0)[0].position.x;
    };
    EXPECT_NEAR(second("7 Tc") - second(""), 7, 1e-3);
    EXPECT_NEAR(second("50 Tz"), second("") / 2, 1e-3);
    EXPECT_NEAR(second("9 Tw"), second(""), 1e-3); // no blank between them
    const Outcome kerned = Load(Page("BT /F1 100 Tf [(I) -250 (I)] TJ ET", resources, {font}));
    EXPECT_NEAR(kerned.set.paths.at(1)[0].position.x - kerned.set.paths.at(0)[0].position.x - second(""), 25,
                1e-3);
    EXPECT_TRUE(Load(Page("BT /F1 100 Tf 3 Tr (I) Tj ET", resources, {font})).set.paths.empty()); // invisible
}

TEST(VectorFile, CompositeTextWithoutItsFontShowsItsCharacters) {
    // The numbers of the missing font's glyphs are its own: what to show is told by the map to Unicode, or by
    // codes that are characters themselves.
    const std::string descendant = "<< /Type /Font /Subtype /CIDFontType2 /BaseFont /DejaVuSans /DW 1000 >>";
    const auto load = [&](const std::string& encoding, const std::string& map, const std::string& text) {
        const std::string font = "<< /Type /Font /Subtype /Type0 /BaseFont /DejaVuSans /Encoding /" +
                                 encoding + " /DescendantFonts [6 0 R] /ToUnicode 7 0 R >>";
        return Load(Page("BT /F1 100 Tf " + text + " Tj ET", "<< /Font << /F1 5 0 R >> >>",
                         {font, descendant, Stream(map)}))
            .set.paths;
    };
    const auto simple = Load(Page("BT /F1 100 Tf (I) Tj ET", "<< /Font << /F1 5 0 R >> >>",
                                  {"<< /Type /Font /Subtype /TrueType /BaseFont /DejaVuSans >>"}))
                            .set.paths;
    if (simple.empty()) GTEST_SKIP() << "no font on this machine";
    const std::string range = "1 beginbfrange <0007> <0009> <0048> endbfrange", // 8 is I
        list = "1 beginbfrange <0007> <0008> [<0041> <0049>] endbfrange",
                      single = "1 beginbfchar <0008> <0049> endbfchar";
    for (const std::string& map : {range, list, single}) EXPECT_EQ(load("Identity-H", map, "<0008>"), simple);
    EXPECT_EQ(load("UniGB-UTF16-H", "", "<0049>"), simple);
    // Codes of one and two bytes of an older character set: I and a Greek Alpha; pairs of halves.
    EXPECT_EQ(load("90ms-RKSJ-H", "", "<49839F49>"), load("UniJIS-UTF16-H", "", "<004903910049>"));
    EXPECT_EQ(load("UniJIS-UTF16-H", "", "<D835DC000049>"), load("UniJIS-UTF32-H", "", "<0001D40000000049>"));
    // Down the page: the middle of a letter's top, 0.88 above its line, is where it is written.
    const auto down = load("UniJIS-UTF16-V", "", "<00490049>"),
               across = load("UniJIS-UTF16-H", "", "<00490049>");
    ASSERT_EQ(down.size(), 2u);
    const Point2 first = down[0][0].position, step = across[1][0].position - across[0][0].position;
    EXPECT_NEAR(first.x, across[0][0].position.x - step.x / 2, 1e-3);
    EXPECT_NEAR(first.y, across[0][0].position.y + 88, 1e-3);
    EXPECT_NEAR(down[1][0].position.x, first.x, 1e-3);
    EXPECT_NEAR(down[1][0].position.y, first.y + 100, 1e-3);
    EXPECT_TRUE(load("Identity-H", "", "<0008>").empty());
}

TEST(VectorFile, StandInsKeepTheWidthsOfTheirFonts) {
    const std::string resources = "<< /Font << /F1 5 0 R >> >>", text = "BT /F1 100 Tf (HH) Tj ET";
    const auto load = [&](const std::string& name, const std::string& widths) {
        return Load(Page(text, resources,
                         {"<< /Type /Font /Subtype /Type1 /BaseFont /" + name + widths + " >>"}))
            .set.paths;
    };
    const auto own = load("DejaVuSans", "");
    if (own.size() != 2) GTEST_SKIP() << "no font on this machine";
    const auto extent = [](const std::vector<PathPoint>& path) {
        Point2 low{1e9f, 1e9f}, high{-1e9f, -1e9f};
        for (const PathPoint& p : path) {
            low = {std::min(low.x, p.position.x), std::min(low.y, p.position.y)};
            high = {std::max(high.x, p.position.x), std::max(high.y, p.position.y)};
        }
        return high - low;
    };
    const auto advance = [](const auto& paths) {
        return paths.at(1)[0].position.x - paths.at(0)[0].position.x;
    };
    const float half = advance(own) * 5; // thousandths of the size
    const auto narrow = load("DejaVuSans", " /FirstChar 72 /Widths [" + std::to_string(half) + "]");
    EXPECT_NEAR(extent(narrow[0]).x, extent(own[0]).x / 2, 1e-2);
    EXPECT_FLOAT_EQ(extent(narrow[0]).y, extent(own[0]).y);
    EXPECT_NEAR(extent(load("DejaVuSans", " /FirstChar 72 /Widths [2000]")[0]).x, extent(own[0]).x, 1e-3);
    // Widths that a file need not tell, whatever font is installed.
    EXPECT_NEAR(advance(load("Helvetica", "")), 72.2, 1e-3);
    EXPECT_NEAR(advance(load("TimesNewRoman,BoldItalic", "")), 77.8, 1e-3);
    EXPECT_NEAR(advance(load("Courier-Bold", "")), 60, 1e-3);
}

TEST(VectorFile, PagesThatAreShownTurned) {
    // A dot near the lower left corner of a page of 100 x 60 at (10, 20).
    const struct {
        const char* degrees;
        Point2 middle; // from the lower left corner as shown, y down
    } rows[] = {{"90", {5, -97}}, {"180", {97, -55}}, {"-90", {55, -3}}, {"450", {5, -97}}};
    for (const auto& row : rows) {
        const Outcome outcome = Load(
            Document({"<< /Type /Catalog /Pages 2 0 R >>",
                      std::string("<< /Kids [3 0 R] /MediaBox [110 80 10 20] /Rotate ") + row.degrees + " >>",
                      "<< /Type /Page /Contents 4 0 R >>", Stream("12 24 2 2 re f")}));
        ASSERT_EQ(outcome.set.paths.size(), 1u) << outcome.reason;
        const auto& path = outcome.set.paths[0];
        const Point2 middle = (path[0].position + path[2].position) * 0.5f;
        EXPECT_NEAR(middle.x, row.middle.x, 1e-4) << row.degrees;
        EXPECT_NEAR(middle.y, row.middle.y, 1e-4) << row.degrees;
    }
}

TEST(VectorFile, StructuresOfRealFiles) {
    const std::string square = "0 0 10 10 re f";
    const std::vector<std::string> page = {"<< /Type /Catalog /Pages 2 0 R >>",
                                           "<< /Type /Pages /Kids [3 0 R] >>",
                                           "<< /Type /Page /Contents 4 0 R >>"};
    const auto withLength = [&](const std::string& length) {
        auto objects = page;
        objects.push_back("<< /Length " + length + " >>\nstream\n" + square + "\nendstream");
        objects.push_back(std::to_string(square.size()));
        return Document(objects);
    };
    // Every offset shifted, then no table at all.
    std::string moved = Page(square);
    moved.insert(9, "% a line that shifts every offset\n");
    const std::string bare = moved.substr(0, moved.rfind("xref\n"));
    for (const std::string& file : {withLength("5 0 R"), withLength("3"), moved, bare})
        EXPECT_EQ(Load(file).set.paths.size(), 1u) << file;
    // A later version of an object, in a table of its own.
    std::string updated = Page(square);
    const std::size_t old = updated.rfind("xref\n0"), at = updated.size();
    updated += "4 0 obj\n" + Stream("0 0 1 1 re 5 5 1 1 re f") + "\nendobj\n";
    const std::size_t table = updated.size();
    char row[32];
    std::snprintf(row, sizeof row, "%010zu 00000 n \n", at);
    updated += std::string("xref\n4 1\n") + row + "trailer << /Root 1 0 R /Prev " + std::to_string(old) +
               " >>\nstartxref\n" + std::to_string(table) + "\n%%EOF";
    EXPECT_EQ(Load(updated).set.paths.size(), 2u);
}

TEST(VectorFile, HostileFilesEndInOneSentence) {
    std::string deep = "%PDF-1.4\n1 0 obj\n";
    deep.append(100'000, '[');
    const std::string stream = Stream(Deflate(std::string(64 << 20, ' ')), "/Filter /FlateDecode");
    const std::string rows[] = {
        "",
        "%PDF",
        "not a pdf at all",
        "%PDF-1.4\n",
        deep,
        Document({"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [2 0 R 2 0 R] >>"}),
        Document({"1 0 R"}),
        Document({"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] >>",
                  "<< /Type /Page /Contents [4 0 R 4 0 R 4 0 R 4 0 R 4 0 R] >>", stream}),
    };
    for (const std::string& row : rows) {
        const Outcome outcome = Load(row);
        EXPECT_FALSE(outcome.read) << row.substr(0, 80);
        EXPECT_FALSE(outcome.reason.empty());
        EXPECT_TRUE(outcome.set.paths.empty());
    }
    const Outcome locked = Load(Document(
        {"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] >>", "<< /Type /Page >>"},
        "/Encrypt << /V 1 >>"));
    EXPECT_EQ(locked.reason, "The file is encrypted.");
    // Every truncation of a good file, in an allocation of its own.
    const std::string good =
        Page("q 1 0 0 1 0 0 cm 0 0 10 10 re f Q BT /F1 1 Tf (a) Tj ET", "<< /Font << >> >>");
    test::ForEachTruncation(AsBytes(good), [](Bytes part) {
        PathSet set;
        std::string reason;
        static_cast<void>(LoadVectorBytes(set, part, reason));
    });
}

// Small files that ask for much: each is read or refused within bounds, whatever it gives.
TEST(VectorFile, BombsCostLittle) {
    const auto repeat = [](int times, const auto& text) {
        std::string all;
        for (int i = 0; i < times; ++i) all += text(i);
        return all;
    };
    const auto number = [](int i) { return std::to_string(i); };
    const std::string root = "<< /Type /Catalog /Pages 2 0 R >>";
    // 3,000 nodes of a page tree that all have the same 3,000 kids.
    std::vector<std::string> wide = {
        root, "<< /Kids 3 0 R >>", "[" + repeat(3000, [&](int i) { return number(i + 4) + " 0 R "; }) + "]"};
    for (int i = 0; i < 3000; ++i) wide.push_back("<< /Kids 3 0 R >>");
    // Strings that never end, one begun in another.
    const std::string open =
        "%PDF-1.4\n" + repeat(20'000, [&](int i) { return number(i + 1) + " 0 obj (\n"; });
    const std::string streams =
        "%PDF-1.4\n" + repeat(20'000, [&](int i) { return number(i + 1) + " 0 obj << >> stream\n"; });
    // Widths of 65,536 codes, told again and again.
    const std::string widths =
        "<< /Type /Font /W [" + repeat(20'000, [](int) { return "0 65535 1 "; }) + "] >>";
    const std::string composite = "<< /Type /Font /Subtype /Type0 /BaseFont /A /DescendantFonts [6 0 R] >>";
    const std::string fonts = "<< /Font << /F1 5 0 R >> >>";
    // Ten forms, each of which draws the next ten times; a glyph that shows itself ten times.
    std::vector<std::string> forms;
    for (int i = 6; i < 16; ++i)
        forms.push_back(Stream(repeat(10, [](int) { return "0 0 1 1 re f /F Do "; }),
                               "/Subtype /Form /Resources << /XObject << /F " + number(i) + " 0 R >> >>"));
    const std::string glyph =
        "<< /Type /Font /Subtype /Type3 /FontMatrix [1 0 0 1 0 0] /CharProcs << /a 6 0 R >> "
        "/Encoding << /Differences [97 /a] >> /Resources " +
        fonts + " >>";
    const std::string rows =
        Stream(std::string(1000, 'x'), "/Filter /LZWDecode /DecodeParms << /Predictor 12 "
                                       "/Columns 10000000 /Colors 32 /BitsPerComponent 16 >>");
    const std::string many =
        "<< " + repeat(20'000, [&](int i) { return "/F" + number(i) + " 5 0 R "; }) + " >>";
    const struct {
        const char* name;
        std::string file;
    } bombs[] = {
        {"wide page tree", Document(wide)},
        {"endless strings", open},
        {"endless streams", streams},
        {"widths", Page("BT /F1 9 Tf (ab) Tj ET", fonts, {composite, widths})},
        {"forms of forms", Page("/F Do", "<< /XObject << /F 5 0 R >> >>", forms)},
        {"self-showing glyph",
         Page("BT /F1 9 Tf (a) Tj ET", fonts, {glyph, Stream("BT /F1 1 Tf (aaaaaaaaaa) Tj ET")})},
        {"long rows", Document({root, "<< /Kids [3 0 R] >>", "<< /Contents 4 0 R >>", rows})},
        {"many names", Page(repeat(20'000, [&](int i) { return "/F" + number(i) + " Do "; }),
                            "<< /XObject " + many + " >>", {Stream("0 0 1 1 re f", "/Subtype /Form")})},
        {"zeros of zeros", Document({root, "<< /Kids [3 0 R] >>", "<< /Contents 4 0 R >>",
                                     Stream(std::string(1 << 20, 'z'), "/Filter [/A85 /Fl /A85 /A85]")})},
    };
    for (const auto& bomb : bombs) {
        rusage before{}, after{};
        getrusage(RUSAGE_SELF, &before);
        const std::clock_t start = std::clock();
        const Outcome outcome = Load(bomb.file);
        const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        getrusage(RUSAGE_SELF, &after);
        EXPECT_EQ(outcome.read, outcome.reason.empty()) << bomb.name;
        EXPECT_LT(seconds, 20) << bomb.name; // a second, where nothing slows the program down
        EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 1 << 20) << bomb.name; // kilobytes
    }
}

TEST(PdfEncoding, CodesAndNamesAgreeWithTheirCharacters) {
    EXPECT_EQ(WinAnsiEncoding()[0x80], 0x20AC);
    EXPECT_EQ(WinAnsiEncoding()[0xE9], 0xE9);
    EXPECT_EQ(MacRomanEncoding()[0x8E], 0xE9);
    EXPECT_EQ(MacRomanEncoding()[0xFF], 0x2C7);
    EXPECT_EQ(StandardEncoding()[0xE1], 0xC6);
    EXPECT_EQ(StandardEncoding()[0xFB], 0xDF);
    EXPECT_EQ(StandardEncoding()[0x27], 0x2019);
    const struct {
        const char* name;
        std::uint32_t character;
    } names[] = {{"A", 'A'},          {"zero", '0'},       {"zcaron", 0x17E}, {"AE", 0xC6}, {"a.alt", 'a'},
                 {"uni20AC", 0x20AC}, {"u1F600", 0x1F600}, {"nosuch", 0},     {"", 0}};
    for (const auto& row : names) EXPECT_EQ(UnicodeOfGlyphName(row.name), row.character) << row.name;
}

TEST(VectorFile, BrokenFilesOfOthersEnd) {
    const std::filesystem::path folder = std::filesystem::path(VELORIN_SOURCE_DIR) / "../shared/data/broken";
    if (!std::filesystem::exists(folder)) GTEST_SKIP() << "test data is not here";
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const MappedFile file = MappedFile::Open(entry.path().string(), FileAccess::Read);
        PathSet set;
        std::string reason;
        const bool read = LoadVectorBytes(set, file.bytes(), reason);
        EXPECT_EQ(read, reason.empty()) << entry.path();
    }
}

} // namespace
} // namespace velorin
