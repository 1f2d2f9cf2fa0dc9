#include "model/vector/PdfFont.h"

#include "model/vector/PdfEncoding.h"
#include "services/Fonts.h"
#include "services/Log.h"

#include <algorithm>
#include <cmath>
#include <ft2build.h>
#include <utility>
#include FT_FREETYPE_H
#include FT_CID_H
#include FT_OUTLINE_H

namespace velorin {

namespace {

constexpr std::size_t kMostCodeRanges = 100;    // each is looked at for each code
constexpr std::size_t kMostWidths = 1u << 20;   // also where a list names some again
constexpr std::size_t kMostOutlines = 1u << 16; // that are kept

struct Library {
    FT_Library handle = nullptr;
    Library() {
        if (FT_Init_FreeType(&handle) != 0) handle = nullptr;
    }
    ~Library() {
        if (handle) FT_Done_FreeType(handle);
    }
};

// Gathers an outline as cubic contours, in units of the em.
struct OutlineSink {
    PdfContours contours;
    double scale = 1, squeeze = 1; // the latter of x alone
    [[nodiscard]] Point2 at(const FT_Vector* v) const {
        return {static_cast<float>(static_cast<double>(v->x) * scale * squeeze),
                static_cast<float>(static_cast<double>(v->y) * scale)};
    }
    void curve(Point2 c1, Point2 c2, Point2 end) {
        auto& contour = contours.back();
        contour.back().tangentOut = c1 - contour.back().position;
        contour.push_back({end, c2 - end, {}});
    }
};

int MoveTo(const FT_Vector* to, void* sink) {
    auto& out = *static_cast<OutlineSink*>(sink);
    out.contours.push_back({{out.at(to), {}, {}}});
    return 0;
}
int LineTo(const FT_Vector* to, void* sink) {
    auto& out = *static_cast<OutlineSink*>(sink);
    out.contours.back().push_back({out.at(to), {}, {}});
    return 0;
}
int ConicTo(const FT_Vector* control, const FT_Vector* to, void* sink) { // raised to a cubic curve
    auto& out = *static_cast<OutlineSink*>(sink);
    const Point2 start = out.contours.back().back().position, c = out.at(control), end = out.at(to);
    out.curve(start + (c - start) * (2.0f / 3), end + (c - end) * (2.0f / 3), end);
    return 0;
}
int CubicTo(const FT_Vector* c1, const FT_Vector* c2, const FT_Vector* to, void* sink) {
    auto& out = *static_cast<OutlineSink*>(sink);
    out.curve(out.at(c1), out.at(c2), out.at(to));
    return 0;
}

// A code as a character map writes it, high byte first; no bytes for what is no string.
struct StringCode {
    std::uint32_t value = 0;
    int bytes = 0;
};
StringCode CodeOf(const PdfObject* object) {
    StringCode code;
    const auto* string = As<PdfString>(object);
    code.bytes = string ? static_cast<int>(std::min<std::size_t>(string->bytes.size(), 4)) : 0;
    for (int k = 0; k < code.bytes; ++k)
        code.value =
            (code.value << 8) | static_cast<unsigned char>(string->bytes[static_cast<std::size_t>(k)]);
    return code;
}

} // namespace

struct PdfFont::Program {
    Library library; // one a font: the tables of a face die with it
    std::string bytes;
    FT_Face face = nullptr;
    std::map<std::uint32_t, std::uint32_t> glyphOfCid; // of a CID-keyed program
    ~Program() {
        if (face) FT_Done_Face(face);
    }
};

PdfFont::PdfFont(PdfParser& parser, const PdfDictionary* font) : parser_(parser), font_(font) {
    const std::string subtype = parser_.Name(font, "Subtype");
    type3_ = subtype == "Type3";
    composite_ = subtype == "Type0";
    names_.resize(256);
    characters_.resize(256);
    const PdfDictionary* descriptor = parser_.Get<PdfDictionary>(font, "FontDescriptor");
    if (composite_) {
        const auto* descendants = parser_.Get<PdfArray>(font, "DescendantFonts");
        const PdfDictionary* descendant =
            descendants && !descendants->items.empty() ? parser_.Dictionary(descendants->items[0]) : nullptr;
        descriptor = parser_.Get<PdfDictionary>(descendant, "FontDescriptor");
        ReadComposite(descendant);
    } else {
        symbolic_ = (static_cast<int>(parser_.Number(descriptor, "Flags", 0)) & 4) != 0;
        ReadSimpleEncoding();
        ReadSimpleWidths();
    }
    defaultWidth_ = composite_ ? defaultWidth_ : parser_.Number(descriptor, "MissingWidth", 0);
    if (!type3_) OpenProgram(descriptor);
    if (!type3_ && !composite_ && !embedded_ && !hasWidths_) UseStandardWidths();
}

PdfFont::~PdfFont() = default;

void PdfFont::ReadSimpleEncoding() {
    const PdfObject* encoding = parser_.Resolve(font_->raw("Encoding"));
    const auto* dictionary = As<PdfDictionary>(encoding);
    const auto* named = As<PdfName>(encoding);
    std::string base = named ? named->name : parser_.Name(dictionary, "BaseEncoding");
    hasEncoding_ = encoding != nullptr && (named || !base.empty() || (dictionary && !symbolic_));
    const PdfEncodingTable& table = base == "WinAnsiEncoding"    ? WinAnsiEncoding()
                                    : base == "MacRomanEncoding" ? MacRomanEncoding()
                                                                 : StandardEncoding();
    std::copy(table.begin(), table.end(), characters_.begin());
    const auto* differences = parser_.Get<PdfArray>(dictionary, "Differences");
    if (!differences) return;
    std::size_t code = 0;
    for (const PdfObject* item : differences->items) {
        const PdfObject* value = parser_.Resolve(item);
        if (const auto* number = As<PdfNumber>(value))
            code = static_cast<std::size_t>(std::clamp(number->value, 0.0, 256.0));
        const auto* name = As<PdfName>(value);
        if (!name || code > 255) continue;
        names_[code] = name->name;
        characters_[code] = UnicodeOfGlyphName(name->name);
        ++code;
    }
}

void PdfFont::ReadSimpleWidths() {
    const auto* widths = parser_.Get<PdfArray>(font_, "Widths");
    if (!widths) return;
    hasWidths_ = true;
    const double first = parser_.Number(font_, "FirstChar", 0);
    for (std::size_t i = 0; i < widths->items.size() && i < 256; ++i) {
        const double code = first + static_cast<double>(i);
        if (code >= 0 && code < 256)
            widths_[static_cast<std::uint32_t>(code)] = parser_.Number(widths->items[i], 0);
    }
}

void PdfFont::ReadComposite(const PdfDictionary* descendant) {
    const PdfObject* encoding = parser_.Resolve(font_->raw("Encoding"));
    if (const auto* stream = As<PdfStream>(encoding)) {
        cidIdentity_ = false;
        ReadCharacterMap(parser_.Decode(*stream));
    }
    if (const auto* named = As<PdfName>(encoding)) ReadNamedMap(named->name);
    if (const auto* map = parser_.Get<PdfStream>(font_, "ToUnicode")) ReadToUnicode(parser_.Decode(*map));
    if (codeRanges_.empty()) codeRanges_.push_back({0, 0xffff, 2});
    if (const auto* map =
            As<PdfStream>(parser_.Resolve(descendant ? descendant->raw("CIDToGIDMap") : nullptr)))
        cidToGlyph_ = parser_.Decode(*map);
    ReadCidWidths(descendant);
    if (vertical_) ReadVerticalMetrics(descendant);
}

void PdfFont::ReadNamedMap(const std::string& name) {
    vertical_ = name.ends_with("-V") || name == "V";
    if (name.starts_with("Identity")) return;
    if (auto map = FindNamedMap(name)) {
        cidsUnknown_ = true;
        unicodeCodes_ = map->codesAreUtf16;
        codeRanges_ = std::move(map->codes);
        unicodeRanges_ = std::move(map->characters);
    } else {
        Log("Font %s of a vector file: the character map %s is not known, its codes count as glyph numbers.",
            parser_.Name(font_, "BaseFont").c_str(), name.c_str());
    }
}

// The fonts that a file need not describe.
void PdfFont::UseStandardWidths() {
    const std::string name = parser_.Name(font_, "BaseFont");
    for (std::uint32_t code = 0; code < 256; ++code)
        if (const int width = StandardWidth(name, characters_[code])) widths_[code] = width;
}

// Runs a character map: calls section(word, operands) at the end of each of its lists.
template <class F>
void PdfFont::RunCharacterMap(const std::string& text, F&& section) {
    PdfLexer lexer(text, 0, parser_.pool());
    std::vector<const PdfObject*> operands;
    std::string word;
    while (!lexer.atEnd()) {
        if (const PdfObject* object = lexer.object(word, false)) {
            operands.push_back(object);
            if (operands.size() > 100'000) return;
            continue;
        }
        section(word, operands);
        operands.clear();
    }
}

// "<00> <ff>" pairs of code spaces, and lines that map ranges or single codes to CIDs.
void PdfFont::ReadCharacterMap(const std::string& text) {
    RunCharacterMap(text, [&](const std::string& word, const std::vector<const PdfObject*>& operands) {
        const auto cidOf = [](const PdfNumber* number) {
            return static_cast<std::uint32_t>(std::clamp(number->value, 0.0, 65535.0));
        };
        if (word == "def" && operands.size() >= 2)
            if (const auto* key = As<PdfName>(operands[operands.size() - 2]); key && key->name == "WMode")
                vertical_ = parser_.Number(operands.back(), 0) == 1;
        if (word == "endcodespacerange")
            for (std::size_t i = 0; i + 1 < operands.size(); i += 2) {
                const StringCode from = CodeOf(operands[i]), to = CodeOf(operands[i + 1]);
                if (from.bytes > 0 && from.bytes == to.bytes && codeRanges_.size() < kMostCodeRanges)
                    codeRanges_.push_back({from.value, to.value, from.bytes});
            }
        if (word == "endcidrange")
            for (std::size_t i = 0; i + 2 < operands.size(); i += 3)
                if (const auto* cid = As<PdfNumber>(operands[i + 2]))
                    cidRanges_.push_back(
                        {CodeOf(operands[i]).value, CodeOf(operands[i + 1]).value, cidOf(cid)});
        if (word == "endcidchar")
            for (std::size_t i = 0; i + 1 < operands.size(); i += 2)
                if (const auto* cid = As<PdfNumber>(operands[i + 1])) {
                    const std::uint32_t from = CodeOf(operands[i]).value;
                    cidRanges_.push_back({from, from, cidOf(cid)});
                }
    });
    SortRanges(cidRanges_);
}

// The map for searching and copying; here it tells what a font of the system shall show. A code that stands
// for several characters shows the first.
void PdfFont::ReadToUnicode(const std::string& text) {
    const auto character = [](const PdfObject* object) -> std::uint32_t {
        const auto* string = As<PdfString>(object);
        const auto unit = [&](std::size_t i) {
            return static_cast<std::uint32_t>(static_cast<unsigned char>(string->bytes[i])) << 8 |
                   static_cast<unsigned char>(string->bytes[i + 1]);
        };
        if (!string || string->bytes.size() < 2) return 0;
        const std::uint32_t first = unit(0);
        if ((first & 0xFC00) != 0xD800 || string->bytes.size() < 4) return first;
        return 0x10000 + ((first & 0x3FF) << 10) + (unit(2) & 0x3FF);
    };
    RunCharacterMap(text, [&](const std::string& word, const std::vector<const PdfObject*>& operands) {
        if (word == "endbfchar")
            for (std::size_t i = 0; i + 1 < operands.size(); i += 2) {
                const std::uint32_t from = CodeOf(operands[i]).value;
                unicodeRanges_.push_back({from, from, character(operands[i + 1])});
            }
        if (word != "endbfrange") return;
        for (std::size_t i = 0; i + 2 < operands.size(); i += 3) {
            const std::uint32_t from = CodeOf(operands[i]).value, to = CodeOf(operands[i + 1]).value;
            const auto* list = As<PdfArray>(operands[i + 2]);
            if (!list) unicodeRanges_.push_back({from, to, character(operands[i + 2])});
            for (std::size_t k = 0; list && k < list->items.size(); ++k) {
                const auto code = static_cast<std::uint32_t>(from + k);
                unicodeRanges_.push_back({code, code, character(list->items[k])});
            }
        }
    });
    SortRanges(unicodeRanges_);
}

void PdfFont::SortRanges(std::vector<PdfMappedRange>& ranges) {
    std::stable_sort(ranges.begin(), ranges.end(),
                     [](const PdfMappedRange& a, const PdfMappedRange& b) { return a.low < b.low; });
}

// Of ranges that begin alike the one read last counts.
std::optional<std::uint32_t> PdfFont::Mapped(const std::vector<PdfMappedRange>& ranges, std::uint32_t code) {
    const auto behind =
        std::upper_bound(ranges.begin(), ranges.end(), code,
                         [](std::uint32_t value, const PdfMappedRange& range) { return value < range.low; });
    if (behind == ranges.begin() || code > std::prev(behind)->high) return std::nullopt;
    return std::prev(behind)->to + (code - std::prev(behind)->low);
}

std::uint32_t PdfFont::UnicodeOf(std::uint32_t code) const {
    if (const auto mapped = Mapped(unicodeRanges_, code)) return *mapped;
    if (!unicodeCodes_) return 0;
    return code > 0xffff ? 0x10000 + ((code >> 16 & 0x3ff) << 10) + (code & 0x3ff) : code; // a pair of halves
}

void PdfFont::ReadCidWidths(const PdfDictionary* descendant) {
    defaultWidth_ = parser_.Number(descendant, "DW", 1000);
    hasWidths_ = true;
    const auto* list = parser_.Get<PdfArray>(descendant, "W");
    if (!list) return;
    // "first [w w w]" or "first last w".
    std::size_t told = 0;
    for (std::size_t i = 0; i + 1 < list->items.size() && told < kMostWidths;) {
        const double first = parser_.Number(list->items[i], -1);
        if (const auto* run = As<PdfArray>(parser_.Resolve(list->items[i + 1]))) {
            for (std::size_t k = 0;
                 k < run->items.size() && first >= 0 && first + static_cast<double>(k) < 65536; ++k, ++told)
                widths_[static_cast<std::uint32_t>(first) + static_cast<std::uint32_t>(k)] =
                    parser_.Number(run->items[k], defaultWidth_);
            i += 2;
            continue;
        }
        const double last = std::min(parser_.Number(list->items[i + 1], -1), 65535.0);
        const double width =
            i + 2 < list->items.size() ? parser_.Number(list->items[i + 2], defaultWidth_) : defaultWidth_;
        for (double cid = std::max(0.0, first); first >= 0 && cid <= last; ++cid, ++told)
            widths_[static_cast<std::uint32_t>(cid)] = width;
        i += 3;
    }
}

// "first [advance x y ...]" or "first last advance x y".
void PdfFont::ReadVerticalMetrics(const PdfDictionary* descendant) {
    const auto at = [&](const PdfArray* list, std::size_t i) {
        return i < list->items.size() ? parser_.Number(list->items[i], 0) / 1000 : 0;
    };
    if (const auto* standard = parser_.Get<PdfArray>(descendant, "DW2"))
        standardVertical_ = {at(standard, 1), 0, at(standard, 0)};
    const auto* list = parser_.Get<PdfArray>(descendant, "W2");
    if (!list) return;
    std::size_t told = 0;
    for (std::size_t i = 0; i + 1 < list->items.size() && told < kMostWidths;) {
        const double first = std::clamp(parser_.Number(list->items[i], 65536), 0.0, 65536.0);
        const auto* run = As<PdfArray>(parser_.Resolve(list->items[i + 1]));
        const double last = run ? first + std::floor(static_cast<double>(run->items.size()) / 3) - 1
                                : parser_.Number(list->items[i + 1], -1);
        for (double cid = first; cid <= std::min(last, 65535.0); ++cid, ++told) {
            const std::size_t k = run ? 3 * static_cast<std::size_t>(cid - first) : i + 2;
            const PdfArray* const from = run ? run : list;
            verticals_[static_cast<std::uint32_t>(cid)] = {at(from, k), at(from, k + 1), at(from, k + 2)};
        }
        i += run ? 2 : 5;
    }
}

void PdfFont::OpenProgram(const PdfDictionary* descriptor) {
    program_ = std::make_unique<Program>();
    if (!program_->library.handle) throw PdfError("ERROR: Library not initalized.");
    FT_Error error = 0;
    for (const char* key : {"FontFile", "FontFile2", "FontFile3"}) {
        const auto* stream = parser_.Get<PdfStream>(descriptor, key);
        if (!stream) continue;
        program_->bytes = parser_.Decode(*stream);
        error = FT_New_Memory_Face(program_->library.handle,
                                   reinterpret_cast<const FT_Byte*>(program_->bytes.data()),
                                   static_cast<FT_Long>(program_->bytes.size()), 0, &program_->face);
        if (error == FT_Err_Unknown_File_Format) throw PdfError("ERROR: Unsupported font format.");
        if (error) throw PdfError("ERROR: Opening font data buffer.");
        embedded_ = true;
        break;
    }
    if (embedded_ && cidsUnknown_ && FT_Select_Charmap(program_->face, FT_ENCODING_UNICODE) != 0) {
        Log("Font %s of a vector file: its glyphs cannot be told from their characters, an installed font "
            "takes "
            "its place.",
            parser_.Name(font_, "BaseFont").c_str());
        FT_Done_Face(std::exchange(program_->face, nullptr));
        embedded_ = false;
    }
    if (!embedded_) UseSystemFont(descriptor);
    if (!FT_IS_SCALABLE(program_->face)) throw PdfError("ERROR: Setting face size.");
    if (composite_ && FT_IS_CID_KEYED(program_->face)) {
        FT_UInt cid = 0;
        FT_Bool keyed = 0;
        if (FT_Get_CID_Is_Internally_CID_Keyed(program_->face, &keyed) == 0 && keyed)
            for (FT_Long glyph = 0; glyph < program_->face->num_glyphs; ++glyph)
                if (FT_Get_CID_From_Glyph_Index(program_->face, static_cast<FT_UInt>(glyph), &cid) == 0)
                    program_->glyphOfCid.try_emplace(cid, static_cast<std::uint32_t>(glyph));
    }
}

void PdfFont::UseSystemFont(const PdfDictionary* descriptor) {
    const int flags = static_cast<int>(parser_.Number(descriptor, "Flags", 0));
    const std::string name = parser_.Name(font_, "BaseFont");
    const bool serif = (flags & 2) != 0 || name.find("Times") != std::string::npos;
    const bool fixed = (flags & 1) != 0 || name.find("Courier") != std::string::npos;
    const FontFile file = FindSystemFont(name, fixed, serif);
    const FT_Error error =
        FT_New_Face(program_->library.handle, file.path.c_str(), file.index, &program_->face);
    if (error == FT_Err_Unknown_File_Format) throw PdfError("ERROR: Unsupported font format.");
    if (error) throw PdfError("ERROR: Opening font file.");
}

PdfFont::Code PdfFont::Next(std::string_view& text) const {
    if (!composite_) {
        const auto value = static_cast<std::uint32_t>(static_cast<unsigned char>(text[0]));
        text.remove_prefix(1);
        return {value, value == 32};
    }
    std::uint32_t value = 0;
    for (int bytes = 1; bytes <= 4 && static_cast<std::size_t>(bytes) <= text.size(); ++bytes) {
        value = (value << 8) | static_cast<unsigned char>(text[static_cast<std::size_t>(bytes) - 1]);
        for (const PdfCodeRange& range : codeRanges_)
            if (range.bytes == bytes && value >= range.low && value <= range.high) {
                text.remove_prefix(static_cast<std::size_t>(bytes));
                return {value, bytes == 1 && value == 32};
            }
    }
    const auto width = static_cast<std::size_t>(codeRanges_.front().bytes);
    text.remove_prefix(std::min(width, text.size()));
    return {value, false};
}

std::uint32_t PdfFont::CidOf(std::uint32_t code) const {
    if (cidIdentity_) return code;
    return Mapped(cidRanges_, code).value_or(0);
}

// What the file tells of a code.
std::optional<double> PdfFont::ToldWidth(std::uint32_t code) const {
    if (cidsUnknown_) return std::nullopt;
    const auto known = widths_.find(composite_ ? CidOf(code) : code);
    if (known != widths_.end()) return known->second / 1000;
    return std::nullopt;
}

// The advance of the font program's glyph.
std::optional<double> PdfFont::OwnWidth(std::uint32_t code) const {
    if (!program_ || !program_->face || FT_Load_Glyph(program_->face, GlyphOf(code), FT_LOAD_NO_SCALE) != 0)
        return std::nullopt;
    const int em = program_->face->units_per_EM;
    return static_cast<double>(program_->face->glyph->metrics.horiAdvance) / (em > 0 ? em : 1000);
}

double PdfFont::Width(std::uint32_t code) const {
    if (const auto told = ToldWidth(code)) return *told;
    if (hasWidths_ && !cidsUnknown_) return defaultWidth_ / 1000;
    return OwnWidth(code).value_or(defaultWidth_ / 1000);
}

PdfFont::Vertical PdfFont::VerticalMetrics(std::uint32_t code) const {
    if (const auto known = verticals_.find(CidOf(code)); known != verticals_.end() && !cidsUnknown_)
        return known->second;
    return {standardVertical_.advance, Width(code) / 2, standardVertical_.originY};
}

std::uint32_t PdfFont::GlyphOf(std::uint32_t code) const {
    if (!composite_) return GlyphOfSimple(code);
    if (!embedded_ || cidsUnknown_) { // the numbers of its glyphs mean nothing to another font
        const std::uint32_t character = UnicodeOf(code);
        return character && FT_Select_Charmap(program_->face, FT_ENCODING_UNICODE) == 0
                   ? FT_Get_Char_Index(program_->face, character)
                   : 0;
    }
    const std::uint32_t cid = CidOf(code);
    if (!program_->glyphOfCid.empty()) {
        const auto glyph = program_->glyphOfCid.find(cid);
        return glyph == program_->glyphOfCid.end() ? 0 : glyph->second;
    }
    const std::size_t place = static_cast<std::size_t>(cid) * 2;
    if (place + 1 < cidToGlyph_.size())
        return static_cast<std::uint32_t>(static_cast<unsigned char>(cidToGlyph_[place])) << 8 |
               static_cast<unsigned char>(cidToGlyph_[place + 1]);
    return cid;
}

std::uint32_t PdfFont::GlyphOfSimple(std::uint32_t code) const {
    FT_Face face = program_->face;
    code &= 255;
    const std::string& name = names_[code];
    if (!name.empty() && FT_HAS_GLYPH_NAMES(face))
        if (const FT_UInt glyph = FT_Get_Name_Index(face, name.c_str())) return glyph;
    // A symbolic font's own map goes before Unicode, as does a Type 1 font's built-in encoding when none is
    // named.
    const auto through = [&](FT_Encoding encoding, std::uint32_t character) -> FT_UInt {
        return FT_Select_Charmap(face, encoding) == 0 ? FT_Get_Char_Index(face, character) : 0;
    };
    if (embedded_ && (symbolic_ || !hasEncoding_) && name.empty()) {
        for (const FT_Encoding own :
             {FT_ENCODING_MS_SYMBOL, FT_ENCODING_ADOBE_CUSTOM, FT_ENCODING_ADOBE_STANDARD})
            for (const std::uint32_t offset : {0xF000u, 0u})
                if (const FT_UInt glyph = through(own, offset + code)) return glyph;
        if (const FT_UInt glyph = through(FT_ENCODING_APPLE_ROMAN, code)) return glyph;
    }
    if (characters_[code])
        if (const FT_UInt glyph = through(FT_ENCODING_UNICODE, characters_[code])) return glyph;
    if (const FT_UInt glyph = through(FT_ENCODING_APPLE_ROMAN, code)) return glyph;
    if (embedded_ && face->num_charmaps == 0) return code; // a bare subset
    return 0;
}

const PdfContours& PdfFont::Outline(std::uint32_t code) {
    const auto known = outlines_.find(code);
    if (known != outlines_.end()) return known->second;
    if (outlines_.size() >= kMostOutlines) outlines_.clear();
    PdfContours& result = outlines_[code];
    if (!program_ || !program_->face) return result;
    FT_Face face = program_->face;
    const std::uint32_t glyph = GlyphOf(code);
    if (glyph == 0 && composite_ && !embedded_) return result;
    if (FT_Load_Glyph(face, glyph, FT_LOAD_NO_SCALE | FT_LOAD_NO_BITMAP) != 0)
        throw PdfError("ERROR: Loading glyph.");
    if (face->glyph->format != FT_GLYPH_FORMAT_OUTLINE) throw PdfError("ERROR: Glyph has no outline.");
    OutlineSink sink;
    sink.scale = 1.0 / (face->units_per_EM > 0 ? face->units_per_EM : 1000);
    // A font that stands in for another is squeezed to its widths, so that letters do not overlap.
    const double own = static_cast<double>(face->glyph->metrics.horiAdvance) * sink.scale;
    const double told = ToldWidth(code).value_or(own);
    sink.squeeze = !embedded_ && told > 0 && told < own ? told / own : 1;
    static const FT_Outline_Funcs functions = {MoveTo, LineTo, ConicTo, CubicTo, 0, 0};
    FT_Outline_Decompose(&face->glyph->outline, &functions, &sink);
    // The end of a contour that meets its start again is one point: its incoming curve moves there.
    for (auto& contour : sink.contours)
        if (contour.size() > 1 && contour.back().position == contour.front().position) {
            contour.front().tangentIn = contour.back().tangentIn;
            contour.pop_back();
        }
    result = std::move(sink.contours);
    return result;
}

const PdfStream* PdfFont::Procedure(std::uint32_t code) {
    const auto* procedures = parser_.Get<PdfDictionary>(font_, "CharProcs");
    return procedures && code < 256 ? parser_.Get<PdfStream>(procedures, names_[code]) : nullptr;
}

} // namespace velorin
