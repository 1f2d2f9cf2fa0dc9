#include "model/vector/PdfCodeMaps.h"

#include "services/CharacterSets.h"

#include <array>
#include <map>
#include <mutex>

namespace velorin {

namespace {

// Widths of 0x20 to 0x7E. Oblique styles of Helvetica are as wide as the upright ones.
constexpr std::array<std::uint16_t, 95> kWidths[] = {
    // Helvetica
    {278, 278, 355, 556, 556, 889, 667, 191, 333, 333, 389, 584, 278, 333,  278, 278, 556, 556, 556,
     556, 556, 556, 556, 556, 556, 556, 278, 278, 584, 584, 584, 556, 1015, 667, 667, 722, 722, 667,
     611, 778, 722, 278, 500, 667, 556, 833, 722, 778, 667, 778, 722, 667,  611, 722, 667, 944, 667,
     667, 611, 278, 278, 278, 469, 556, 333, 556, 556, 500, 556, 556, 278,  556, 556, 222, 222, 500,
     222, 833, 556, 556, 556, 556, 333, 500, 278, 556, 500, 722, 500, 500,  500, 334, 260, 334, 584},
    // Helvetica-Bold
    {278, 333, 474, 556, 556, 889, 722, 238, 333, 333, 389, 584, 278, 333, 278, 278, 556, 556, 556,
     556, 556, 556, 556, 556, 556, 556, 333, 333, 584, 584, 584, 611, 975, 722, 722, 722, 722, 667,
     611, 778, 722, 278, 556, 722, 611, 833, 722, 778, 667, 778, 722, 667, 611, 722, 667, 944, 667,
     667, 611, 333, 278, 333, 584, 556, 333, 556, 611, 556, 611, 556, 333, 611, 611, 278, 278, 556,
     278, 889, 611, 611, 611, 611, 389, 556, 333, 611, 556, 778, 556, 556, 500, 389, 280, 389, 584},
    // Times-Roman
    {250, 333, 408, 500, 500, 833, 778, 180, 333, 333, 500, 564, 250, 333, 250, 278, 500, 500, 500,
     500, 500, 500, 500, 500, 500, 500, 278, 278, 564, 564, 564, 444, 921, 722, 667, 667, 722, 611,
     556, 722, 722, 333, 389, 722, 611, 889, 722, 722, 556, 722, 667, 556, 611, 722, 722, 944, 722,
     722, 611, 333, 278, 333, 469, 500, 333, 444, 500, 444, 500, 444, 333, 500, 500, 278, 278, 500,
     278, 778, 500, 500, 500, 500, 333, 389, 278, 500, 500, 722, 500, 500, 444, 480, 200, 480, 541},
    // Times-Bold
    {250, 333, 555, 500, 500, 1000, 833, 278, 333, 333, 500, 570, 250, 333, 250, 278, 500, 500,  500,
     500, 500, 500, 500, 500, 500,  500, 333, 333, 570, 570, 570, 500, 930, 722, 667, 722, 722,  667,
     611, 778, 778, 389, 500, 778,  667, 944, 722, 778, 611, 778, 722, 556, 667, 722, 722, 1000, 722,
     722, 667, 333, 278, 333, 581,  500, 333, 500, 556, 444, 556, 444, 333, 500, 556, 278, 333,  556,
     278, 833, 556, 500, 556, 556,  444, 389, 333, 556, 500, 722, 500, 500, 444, 394, 220, 394,  520},
    // Times-Italic
    {250, 333, 420, 500, 500, 833, 778, 214, 333, 333, 500, 675, 250, 333, 250, 278, 500, 500, 500,
     500, 500, 500, 500, 500, 500, 500, 333, 333, 675, 675, 675, 500, 920, 611, 611, 667, 722, 611,
     611, 722, 722, 333, 444, 667, 556, 833, 667, 722, 611, 722, 611, 500, 556, 722, 611, 833, 611,
     556, 556, 389, 278, 389, 422, 500, 333, 500, 500, 444, 500, 444, 278, 500, 500, 278, 278, 444,
     278, 722, 500, 500, 500, 500, 389, 389, 278, 500, 444, 667, 444, 444, 389, 400, 275, 400, 541},
    // Times-BoldItalic
    {250, 389, 555, 500, 500, 833, 778, 278, 333, 333, 500, 570, 250, 333, 250, 278, 500, 500, 500,
     500, 500, 500, 500, 500, 500, 500, 333, 333, 570, 570, 570, 500, 832, 667, 667, 667, 722, 667,
     667, 722, 778, 389, 500, 667, 611, 889, 722, 722, 611, 722, 667, 556, 611, 722, 667, 889, 667,
     611, 611, 333, 278, 333, 570, 500, 333, 500, 500, 444, 500, 444, 333, 500, 556, 278, 278, 500,
     278, 778, 556, 500, 500, 500, 389, 389, 278, 556, 444, 667, 500, 444, 389, 348, 220, 348, 570},
};
constexpr int kCourierWidth = 600;

// Named maps over a character set, by the part of their names before the direction.
struct SetName {
    std::string_view map;
    const char* set;
};
constexpr SetName kSets[] = {
    {"GB-EUC", "GB2312"},       {"GBpc-EUC", "GB2312"}, {"GBK-EUC", "GBK"},        {"GBKp-EUC", "GBK"},
    {"GBK2K", "GB18030"},       {"B5pc", "BIG5"},       {"ETen-B5", "CP950"},      {"ETenms-B5", "CP950"},
    {"HKscs-B5", "BIG5-HKSCS"}, {"83pv-RKSJ", "CP932"}, {"90ms-RKSJ", "CP932"},    {"90msp-RKSJ", "CP932"},
    {"90pv-RKSJ", "CP932"},     {"Add-RKSJ", "CP932"},  {"Ext-RKSJ", "CP932"},     {"EUC", "EUC-JP"},
    {"KSC-EUC", "EUC-KR"},      {"KSCms-UHC", "CP949"}, {"KSCms-UHC-HW", "CP949"}, {"KSCpc-EUC", "EUC-KR"},
};

// Codes of one byte, and of two where the first is none by itself.
PdfNamedMap MapOverSet(const CharacterSet& set) {
    PdfNamedMap map;
    const auto add = [&](std::uint32_t code, char32_t character) {
        auto& ranges = map.characters;
        const std::uint32_t place = ranges.empty() ? 0 : code - ranges.back().low;
        if (!ranges.empty() && ranges.back().high + 1 == code && ranges.back().to + place == character)
            ranges.back().high = code;
        else
            ranges.push_back({code, code, character});
    };
    const auto allow = [&](std::uint32_t low, std::uint32_t high, int bytes) {
        auto& codes = map.codes;
        if (!codes.empty() && codes.back().bytes == bytes && codes.back().high + 1 == low)
            codes.back().high = high;
        else
            codes.push_back({low, high, bytes});
    };
    std::array<bool, 256> leads{};
    for (std::uint32_t first = 0; first < 256; ++first) {
        const char single[] = {static_cast<char>(first)};
        const char32_t character = set.character({single, 1});
        leads[first] = first > 0 && character == 0;
        if (character != 0) add(first, character);
        if (!leads[first]) allow(first, first, 1);
    }
    for (std::uint32_t first = 0; first < 256; ++first) {
        if (!leads[first]) continue;
        allow(first << 8, first << 8 | 255, 2);
        for (std::uint32_t second = 0x30; second < 256; ++second) {
            const char pair[] = {static_cast<char>(first), static_cast<char>(second)};
            if (const char32_t character = set.character({pair, 2})) add(first << 8 | second, character);
        }
    }
    return map;
}

// Each is made once: it takes some milliseconds, and a file may name it many times.
const PdfNamedMap& MapOverSet(const SetName& name) {
    static std::mutex mutex;
    static std::map<std::string_view, PdfNamedMap> made;
    const std::lock_guard lock(mutex);
    const auto known = made.find(name.set);
    return known != made.end() ? known->second
                               : made.emplace(name.set, MapOverSet(CharacterSet(name.set))).first->second;
}

} // namespace

std::optional<PdfNamedMap> FindNamedMap(std::string_view name) {
    if (name.size() < 2 || !(name.ends_with("-H") || name.ends_with("-V"))) return std::nullopt;
    name.remove_suffix(2);
    if (name.ends_with("-UCS2") || name.ends_with("-UCS2-HW")) return PdfNamedMap{{{0, 0xffff, 2}}, {}, true};
    if (name.ends_with("-UTF16"))
        return PdfNamedMap{{{0, 0xd7ff, 2}, {0xe000, 0xffff, 2}, {0xd800dc00, 0xdbffdfff, 4}}, {}, true};
    if (name.ends_with("-UTF32")) return PdfNamedMap{{{0, 0x10ffff, 4}}, {{0, 0x10ffff, 0}}, false};
    for (const SetName& row : kSets)
        if (row.map == name)
            if (const PdfNamedMap& map = MapOverSet(row); !map.characters.empty()) return map;
    return std::nullopt;
}

int StandardWidth(std::string_view fontName, std::uint32_t character) {
    if (character < 0x20 || character > 0x7E) return 0;
    const auto has = [&](std::string_view part) { return fontName.find(part) != std::string_view::npos; };
    if (has("Narrow") || has("Condensed") || has("Light") || has("Black")) return 0;
    std::string_view family = fontName.substr(0, fontName.find_first_of("-,"));
    if (family.ends_with("MT")) family.remove_suffix(2);
    if (family.ends_with("PS")) family.remove_suffix(2);
    const std::size_t bold = has("Bold"), italic = has("Italic") || has("Oblique");
    std::size_t row = 0;
    if (family == "Helvetica" || family == "Arial")
        row = bold;
    else if (family == "Times" || family == "TimesNewRoman")
        row = 2 + bold + 2 * italic;
    else
        return family == "Courier" || family == "CourierNew" ? kCourierWidth : 0;
    return kWidths[row][character - 0x20];
}

} // namespace velorin
