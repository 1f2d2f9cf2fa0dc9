#include "model/vector/PdfEncoding.h"

#include <algorithm>
#include <charconv>

namespace velorin {

namespace {

struct GlyphName {
    std::string_view name;
    char16_t character;
};

// The Latin character set of the standard fonts, sorted by name.
constexpr GlyphName kGlyphNames[] = {
    {"A", 0x41},
    {"AE", 0xC6},
    {"Aacute", 0xC1},
    {"Acircumflex", 0xC2},
    {"Adieresis", 0xC4},
    {"Agrave", 0xC0},
    {"Aring", 0xC5},
    {"Atilde", 0xC3},
    {"B", 0x42},
    {"C", 0x43},
    {"Ccedilla", 0xC7},
    {"D", 0x44},
    {"E", 0x45},
    {"Eacute", 0xC9},
    {"Ecircumflex", 0xCA},
    {"Edieresis", 0xCB},
    {"Egrave", 0xC8},
    {"Eth", 0xD0},
    {"Euro", 0x20AC},
    {"F", 0x46},
    {"G", 0x47},
    {"H", 0x48},
    {"I", 0x49},
    {"Iacute", 0xCD},
    {"Icircumflex", 0xCE},
    {"Idieresis", 0xCF},
    {"Igrave", 0xCC},
    {"J", 0x4A},
    {"K", 0x4B},
    {"L", 0x4C},
    {"Lslash", 0x141},
    {"M", 0x4D},
    {"N", 0x4E},
    {"Ntilde", 0xD1},
    {"O", 0x4F},
    {"OE", 0x152},
    {"Oacute", 0xD3},
    {"Ocircumflex", 0xD4},
    {"Odieresis", 0xD6},
    {"Ograve", 0xD2},
    {"Oslash", 0xD8},
    {"Otilde", 0xD5},
    {"P", 0x50},
    {"Q", 0x51},
    {"R", 0x52},
    {"S", 0x53},
    {"Scaron", 0x160},
    {"T", 0x54},
    {"Thorn", 0xDE},
    {"U", 0x55},
    {"Uacute", 0xDA},
    {"Ucircumflex", 0xDB},
    {"Udieresis", 0xDC},
    {"Ugrave", 0xD9},
    {"V", 0x56},
    {"W", 0x57},
    {"X", 0x58},
    {"Y", 0x59},
    {"Yacute", 0xDD},
    {"Ydieresis", 0x178},
    {"Z", 0x5A},
    {"Zcaron", 0x17D},
    {"a", 0x61},
    {"aacute", 0xE1},
    {"acircumflex", 0xE2},
    {"acute", 0xB4},
    {"adieresis", 0xE4},
    {"ae", 0xE6},
    {"agrave", 0xE0},
    {"ampersand", 0x26},
    {"aring", 0xE5},
    {"asciicircum", 0x5E},
    {"asciitilde", 0x7E},
    {"asterisk", 0x2A},
    {"at", 0x40},
    {"atilde", 0xE3},
    {"b", 0x62},
    {"backslash", 0x5C},
    {"bar", 0x7C},
    {"braceleft", 0x7B},
    {"braceright", 0x7D},
    {"bracketleft", 0x5B},
    {"bracketright", 0x5D},
    {"breve", 0x2D8},
    {"brokenbar", 0xA6},
    {"bullet", 0x2022},
    {"c", 0x63},
    {"caron", 0x2C7},
    {"ccedilla", 0xE7},
    {"cedilla", 0xB8},
    {"cent", 0xA2},
    {"circumflex", 0x2C6},
    {"colon", 0x3A},
    {"comma", 0x2C},
    {"copyright", 0xA9},
    {"currency", 0xA4},
    {"d", 0x64},
    {"dagger", 0x2020},
    {"daggerdbl", 0x2021},
    {"degree", 0xB0},
    {"dieresis", 0xA8},
    {"divide", 0xF7},
    {"dollar", 0x24},
    {"dotaccent", 0x2D9},
    {"dotlessi", 0x131},
    {"e", 0x65},
    {"eacute", 0xE9},
    {"ecircumflex", 0xEA},
    {"edieresis", 0xEB},
    {"egrave", 0xE8},
    {"eight", 0x38},
    {"ellipsis", 0x2026},
    {"emdash", 0x2014},
    {"endash", 0x2013},
    {"equal", 0x3D},
    {"eth", 0xF0},
    {"exclam", 0x21},
    {"exclamdown", 0xA1},
    {"f", 0x66},
    {"ff", 0xFB00},
    {"ffi", 0xFB03},
    {"ffl", 0xFB04},
    {"fi", 0xFB01},
    {"five", 0x35},
    {"fl", 0xFB02},
    {"florin", 0x192},
    {"four", 0x34},
    {"fraction", 0x2044},
    {"g", 0x67},
    {"germandbls", 0xDF},
    {"grave", 0x60},
    {"greater", 0x3E},
    {"guillemotleft", 0xAB},
    {"guillemotright", 0xBB},
    {"guilsinglleft", 0x2039},
    {"guilsinglright", 0x203A},
    {"h", 0x68},
    {"hungarumlaut", 0x2DD},
    {"hyphen", 0x2D},
    {"i", 0x69},
    {"iacute", 0xED},
    {"icircumflex", 0xEE},
    {"idieresis", 0xEF},
    {"igrave", 0xEC},
    {"j", 0x6A},
    {"k", 0x6B},
    {"l", 0x6C},
    {"less", 0x3C},
    {"logicalnot", 0xAC},
    {"lslash", 0x142},
    {"m", 0x6D},
    {"macron", 0xAF},
    {"minus", 0x2212},
    {"mu", 0xB5},
    {"multiply", 0xD7},
    {"n", 0x6E},
    {"nbspace", 0xA0},
    {"nine", 0x39},
    {"ntilde", 0xF1},
    {"numbersign", 0x23},
    {"o", 0x6F},
    {"oacute", 0xF3},
    {"ocircumflex", 0xF4},
    {"odieresis", 0xF6},
    {"oe", 0x153},
    {"ogonek", 0x2DB},
    {"ograve", 0xF2},
    {"one", 0x31},
    {"onehalf", 0xBD},
    {"onequarter", 0xBC},
    {"onesuperior", 0xB9},
    {"ordfeminine", 0xAA},
    {"ordmasculine", 0xBA},
    {"oslash", 0xF8},
    {"otilde", 0xF5},
    {"p", 0x70},
    {"paragraph", 0xB6},
    {"parenleft", 0x28},
    {"parenright", 0x29},
    {"percent", 0x25},
    {"period", 0x2E},
    {"periodcentered", 0xB7},
    {"perthousand", 0x2030},
    {"plus", 0x2B},
    {"plusminus", 0xB1},
    {"q", 0x71},
    {"question", 0x3F},
    {"questiondown", 0xBF},
    {"quotedbl", 0x22},
    {"quotedblbase", 0x201E},
    {"quotedblleft", 0x201C},
    {"quotedblright", 0x201D},
    {"quoteleft", 0x2018},
    {"quoteright", 0x2019},
    {"quotesinglbase", 0x201A},
    {"quotesingle", 0x27},
    {"r", 0x72},
    {"registered", 0xAE},
    {"ring", 0x2DA},
    {"s", 0x73},
    {"scaron", 0x161},
    {"section", 0xA7},
    {"semicolon", 0x3B},
    {"seven", 0x37},
    {"six", 0x36},
    {"slash", 0x2F},
    {"space", 0x20},
    {"sterling", 0xA3},
    {"t", 0x74},
    {"thorn", 0xFE},
    {"three", 0x33},
    {"threequarters", 0xBE},
    {"threesuperior", 0xB3},
    {"tilde", 0x2DC},
    {"trademark", 0x2122},
    {"two", 0x32},
    {"twosuperior", 0xB2},
    {"u", 0x75},
    {"uacute", 0xFA},
    {"ucircumflex", 0xFB},
    {"udieresis", 0xFC},
    {"ugrave", 0xF9},
    {"underscore", 0x5F},
    {"v", 0x76},
    {"w", 0x77},
    {"x", 0x78},
    {"y", 0x79},
    {"yacute", 0xFD},
    {"ydieresis", 0xFF},
    {"yen", 0xA5},
    {"z", 0x7A},
    {"zcaron", 0x17E},
    {"zero", 0x30},
};

constexpr char16_t kWinAnsiHigh[32] = {0x20AC, 0x2022, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                       0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x2022, 0x017D, 0x2022,
                                       0x2022, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                       0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x2022, 0x017E, 0x0178};

constexpr char16_t kMacRomanHigh[128] = {
    0xC4,   0xC5,   0xC7,   0xC9,   0xD1,   0xD6,   0xDC,   0xE1,   0xE0,   0xE2,   0xE4, 0xE3,   0xE5,
    0xE7,   0xE9,   0xE8,   0xEA,   0xEB,   0xED,   0xEC,   0xEE,   0xEF,   0xF1,   0xF3, 0xF2,   0xF4,
    0xF6,   0xF5,   0xFA,   0xF9,   0xFB,   0xFC,   0x2020, 0xB0,   0xA2,   0xA3,   0xA7, 0x2022, 0xB6,
    0xDF,   0xAE,   0xA9,   0x2122, 0xB4,   0xA8,   0x2260, 0xC6,   0xD8,   0x221E, 0xB1, 0x2264, 0x2265,
    0xA5,   0xB5,   0x2202, 0x2211, 0x220F, 0x3C0,  0x222B, 0xAA,   0xBA,   0x3A9,  0xE6, 0xF8,   0xBF,
    0xA1,   0xAC,   0x221A, 0x192,  0x2248, 0x2206, 0xAB,   0xBB,   0x2026, 0xA0,   0xC0, 0xC3,   0xD5,
    0x152,  0x153,  0x2013, 0x2014, 0x201C, 0x201D, 0x2018, 0x2019, 0xF7,   0x25CA, 0xFF, 0x178,  0x2044,
    0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02, 0x2021, 0xB7,   0x201A, 0x201E, 0x2030, 0xC2, 0xCA,   0xC1,
    0xCB,   0xC8,   0xCD,   0xCE,   0xCF,   0xCC,   0xD3,   0xD4,   0xF8FF, 0xD2,   0xDA, 0xDB,   0xD9,
    0x131,  0x2C6,  0x2DC,  0xAF,   0x2D8,  0x2D9,  0x2DA,  0xB8,   0x2DD,  0x2DB,  0x2C7};

// From 0xA1 on.
constexpr char16_t kStandardHigh[95] = {
    0xA1,   0xA2,   0xA3,   0x2044, 0xA5,   0x192,  0xA7,  0xA4,  0x27,   0x201C, 0xAB,   0x2039, 0x203A,
    0xFB01, 0xFB02, 0,      0x2013, 0x2020, 0x2021, 0xB7,  0,     0xB6,   0x2022, 0x201A, 0x201E, 0x201D,
    0xBB,   0x2026, 0x2030, 0,      0xBF,   0,      0x60,  0xB4,  0x2C6,  0x2DC,  0xAF,   0x2D8,  0x2D9,
    0xA8,   0,      0x2DA,  0xB8,   0,      0x2DD,  0x2DB, 0x2C7, 0x2014, 0,      0,      0,      0,
    0,      0,      0,      0,      0,      0,      0,     0,     0,      0,      0,      0,      0xC6,
    0,      0xAA,   0,      0,      0,      0,      0x141, 0xD8,  0x152,  0xBA,   0,      0,      0,
    0,      0,      0xE6,   0,      0,      0,      0x131, 0,     0,      0x142,  0xF8,   0x153,  0xDF};

PdfEncodingTable Ascii() {
    PdfEncodingTable table{};
    for (std::size_t c = 0x20; c < 0x7F; ++c) table[c] = static_cast<char16_t>(c);
    return table;
}

std::uint32_t HexCharacter(std::string_view digits) {
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    return error == std::errc() && end == digits.data() + digits.size() && value < 0x110000 ? value : 0;
}

} // namespace

const PdfEncodingTable& StandardEncoding() {
    static const PdfEncodingTable table = [] {
        PdfEncodingTable t = Ascii();
        t[0x27] = 0x2019, t[0x60] = 0x2018;
        std::copy(std::begin(kStandardHigh), std::end(kStandardHigh), t.begin() + 0xA1);
        return t;
    }();
    return table;
}

const PdfEncodingTable& WinAnsiEncoding() {
    static const PdfEncodingTable table = [] {
        PdfEncodingTable t = Ascii();
        t[0x7F] = 0x2022;
        std::copy(std::begin(kWinAnsiHigh), std::end(kWinAnsiHigh), t.begin() + 0x80);
        for (std::size_t c = 0xA0; c < 0x100; ++c) t[c] = static_cast<char16_t>(c);
        return t;
    }();
    return table;
}

const PdfEncodingTable& MacRomanEncoding() {
    static const PdfEncodingTable table = [] {
        PdfEncodingTable t = Ascii();
        std::copy(std::begin(kMacRomanHigh), std::end(kMacRomanHigh), t.begin() + 0x80);
        return t;
    }();
    return table;
}

std::uint32_t UnicodeOfGlyphName(std::string_view name) {
    name = name.substr(0, name.find('.'));
    const auto found =
        std::lower_bound(std::begin(kGlyphNames), std::end(kGlyphNames), name,
                         [](const GlyphName& entry, std::string_view n) { return entry.name < n; });
    if (found != std::end(kGlyphNames) && found->name == name) return found->character;
    if (name.size() == 7 && name.substr(0, 3) == "uni") return HexCharacter(name.substr(3));
    if (name.size() >= 5 && name.size() <= 7 && name[0] == 'u') return HexCharacter(name.substr(1));
    return 0;
}

} // namespace velorin
