#pragma once

#include "core/document/SceneModel.h" // PathPoint
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
    // Outline of a code in units of the font size, y up; made on first use. Empty for a blank.
    [[nodiscard]] const PdfContours& Outline(std::uint32_t code);

    // A font whose glyphs are content streams: the stream of a code, null when it has none.
    [[nodiscard]] bool isType3() const { return type3_; }
    [[nodiscard]] const PdfStream* Procedure(std::uint32_t code);
    [[nodiscard]] const PdfDictionary* dictionary() const { return font_; }

private:
    struct Program;
    struct CodeRange {
        std::uint32_t low, high;
        int bytes;
    };
    struct MappedRange { // codes low to high stand for `to` and on
        std::uint32_t low, high, to;
    };

    void ReadSimpleEncoding();
    void ReadSimpleWidths();
    void ReadComposite(const PdfDictionary* descendant);
    template <class F>
    void RunCharacterMap(const std::string& text, F&& section);
    void ReadCharacterMap(const std::string& text);
    void ReadToUnicode(const std::string& text);
    void ReadCidWidths(const PdfDictionary* descendant);
    void OpenProgram(const PdfDictionary* descriptor);
    static void SortRanges(std::vector<MappedRange>& ranges);
    [[nodiscard]] static std::optional<std::uint32_t> Mapped(const std::vector<MappedRange>& ranges,
                                                             std::uint32_t code);
    [[nodiscard]] std::uint32_t CidOf(std::uint32_t code) const;
    [[nodiscard]] std::uint32_t UnicodeOf(std::uint32_t code) const;
    [[nodiscard]] std::uint32_t GlyphOf(std::uint32_t code);
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
    std::vector<CodeRange> codeRanges_;
    std::vector<MappedRange> cidRanges_, unicodeRanges_;
    bool unicodeCodes_ = false; // the codes themselves are UTF-16
    std::string cidToGlyph_;
    bool cidIdentity_ = true;
    std::map<std::uint32_t, PdfContours> outlines_;
};

} // namespace velorin
