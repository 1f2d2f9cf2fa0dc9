#pragma once

#include "core/document/SceneModel.h" // PathPoint
#include "model/vector/PdfCodeMaps.h"
#include "model/vector/PdfParser.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velorin {

using PdfContours = std::vector<std::vector<PathPoint>>;

// A font of a page's resources: codes of a string to glyphs, their widths and their outlines.
class PdfFont {
public:
    // Opens the embedded program, or a font of the system that resembles the named one. Throws PdfError.
    PdfFont(PdfParser& parser, const PdfDictionary* font);
    ~PdfFont();
    PdfFont(const PdfFont&) = delete;
    PdfFont& operator=(const PdfFont&) = delete;

    struct Code {
        std::uint32_t value = 0;
        bool isBlank = false; // the single byte 32, which word spacing widens
    };
    // Takes the next code off the string; one byte, or as many as the font's character map says.
    [[nodiscard]] Code Next(std::string_view& text) const;
    // Advance of a code in units of the font size.
    [[nodiscard]] double Width(std::uint32_t code) const;
    // Text runs down the page: how far each code goes down (negative y), and where its outline's origin lies
    // from the place that it is written at, all in units of the font size.
    struct Vertical {
        double advance = -1, originX = 0, originY = 0.88;
    };
    [[nodiscard]] bool isVertical() const { return vertical_; }
    [[nodiscard]] Vertical VerticalMetrics(std::uint32_t code) const;
    // Outline of a code in units of the font size, y up; made on first use. Empty for a blank.
    [[nodiscard]] const PdfContours& Outline(std::uint32_t code);

    // A font whose glyphs are content streams: the stream of a code, null when it has none.
    [[nodiscard]] bool isType3() const { return type3_; }
    [[nodiscard]] const PdfStream* Procedure(std::uint32_t code);
    [[nodiscard]] const PdfDictionary* dictionary() const { return font_; }

private:
    struct Program;
    void ReadSimpleEncoding();
    void ReadSimpleWidths();
    void ReadComposite(const PdfDictionary* descendant);
    template <class F>
    void RunCharacterMap(const std::string& text, F&& section);
    void ReadCharacterMap(const std::string& text);
    void ReadToUnicode(const std::string& text);
    void ReadCidWidths(const PdfDictionary* descendant);
    void ReadVerticalMetrics(const PdfDictionary* descendant);
    void ReadNamedMap(const std::string& name);
    void UseSystemFont(const PdfDictionary* descriptor);
    void UseStandardWidths();
    void OpenProgram(const PdfDictionary* descriptor);
    static void SortRanges(std::vector<PdfMappedRange>& ranges);
    [[nodiscard]] static std::optional<std::uint32_t> Mapped(const std::vector<PdfMappedRange>& ranges,
                                                             std::uint32_t code);
    [[nodiscard]] std::uint32_t CidOf(std::uint32_t code) const;
    [[nodiscard]] std::uint32_t UnicodeOf(std::uint32_t code) const;
    [[nodiscard]] std::optional<double> ToldWidth(std::uint32_t code) const;
    [[nodiscard]] std::optional<double> OwnWidth(std::uint32_t code) const;
    [[nodiscard]] std::uint32_t GlyphOf(std::uint32_t code) const;
    [[nodiscard]] std::uint32_t GlyphOfSimple(std::uint32_t code) const;

    PdfParser& parser_;
    const PdfDictionary* font_;
    std::unique_ptr<Program> program_;
    bool composite_ = false, type3_ = false, symbolic_ = false, hasEncoding_ = false, embedded_ = false;
    std::vector<std::string> names_;         // glyph names of the Differences, by code
    std::vector<std::uint32_t> characters_;  // Unicode by code, 0 unknown
    std::map<std::uint32_t, double> widths_; // by code, or by CID; thousandths
    double defaultWidth_ = 0;
    bool hasWidths_ = false;
    std::vector<PdfCodeRange> codeRanges_;
    std::vector<PdfMappedRange> cidRanges_, unicodeRanges_;
    bool unicodeCodes_ = false; // the codes themselves are UTF-16
    bool cidsUnknown_ = false;  // of the codes only their characters are known
    bool vertical_ = false;
    Vertical standardVertical_;                   // of CIDs that tell no own
    std::map<std::uint32_t, Vertical> verticals_; // by CID
    std::string cidToGlyph_;
    bool cidIdentity_ = true;
    std::map<std::uint32_t, PdfContours> outlines_;
};

} // namespace velorin
