#include "services/Fonts.h"

#include <fontconfig/fontconfig.h>

#include <memory>
#include <vector>

namespace velorin {

namespace {

struct ConfigDeleter {
    void operator()(FcConfig* config) const { FcConfigDestroy(config); }
};
struct PatternDeleter {
    void operator()(FcPattern* pattern) const { FcPatternDestroy(pattern); }
};
using Pattern = std::unique_ptr<FcPattern, PatternDeleter>;

// A configuration of our own: fontconfig's global one belongs to the process that we are a guest of, which we
// may neither set up nor end.
FcConfig* Configuration() {
    static const std::unique_ptr<FcConfig, ConfigDeleter> config(FcInitLoadConfigAndFonts());
    return config.get();
}

const FcChar8* Text(const char* text) {
    return reinterpret_cast<const FcChar8*>(text);
}

// Names that stand for whatever the system has of a kind.
bool IsGeneric(const std::string& family) {
    for (const char* name :
         {"serif", "sans", "sans-serif", "monospace", "mono", "cursive", "fantasy", "system-ui"})
        if (FcStrCmpIgnoreCase(Text(name), Text(family.c_str())) == 0) return true;
    return false;
}

// The names of a pattern's families.
std::vector<std::string> FamiliesOf(const FcPattern* pattern) {
    std::vector<std::string> families;
    FcChar8* family = nullptr;
    for (int i = 0; FcPatternGetString(pattern, FC_FAMILY, i, &family) == FcResultMatch; ++i)
        families.emplace_back(reinterpret_cast<const char*>(family));
    return families;
}

// Empty when one of the families asked for was found.
std::string StandIn(const std::vector<std::string>& asked, const std::vector<std::string>& found) {
    for (const std::string& family : asked) {
        if (IsGeneric(family)) return {};
        for (const std::string& name : found)
            if (FcStrCmpIgnoreCase(Text(name.c_str()), Text(family.c_str())) == 0) return {};
    }
    return asked.empty() || found.empty() ? std::string() : found.front();
}

// Fills the pattern up with what the system prefers.
FontFile Match(FcConfig* config, FcPattern* wanted) {
    const std::vector<std::string> asked = FamiliesOf(wanted);
    FcConfigSubstitute(config, wanted, FcMatchPattern);
    FcDefaultSubstitute(wanted);
    FcResult result = FcResultNoMatch;
    const Pattern match(FcFontMatch(config, wanted, &result));
    FcChar8* path = nullptr;
    if (!match || FcPatternGetString(match.get(), FC_FILE, 0, &path) != FcResultMatch) return {};
    FontFile file{reinterpret_cast<const char*>(path), 0, StandIn(asked, FamiliesOf(match.get()))};
    if (FcPatternGetInteger(match.get(), FC_INDEX, 0, &file.index) != FcResultMatch) file.index = 0;
    return file;
}

} // namespace

FontFile FindFont(const std::string& pattern, char32_t character) {
    FcConfig* const config = Configuration();
    const Pattern wanted(config ? FcNameParse(Text(pattern.c_str())) : nullptr);
    if (!wanted) return {};
    FcPatternAddBool(wanted.get(), FC_SCALABLE, FcTrue);
    if (character != 0) {
        const std::unique_ptr<FcCharSet, void (*)(FcCharSet*)> characters(FcCharSetCreate(),
                                                                          FcCharSetDestroy);
        FcCharSetAddChar(characters.get(), character);
        FcPatternAddCharSet(wanted.get(), FC_CHARSET, characters.get());
    }
    return Match(config, wanted.get());
}

FontFile FindSystemFont(std::string name, bool fixedPitch, bool serif) {
    if (const std::size_t plus = name.find('+'); plus == 6) name.erase(0, 7); // the tag of a subset
    const bool bold = name.find("Bold") != std::string::npos;
    const bool italic = name.find("Italic") != std::string::npos || name.find("Oblique") != std::string::npos;
    std::string family = name.substr(0, name.find_first_of("-,"));
    if (family.ends_with("MT")) family.erase(family.size() - 2);
    if (family == "TimesNewRoman" || family == "TimesNewRomanPS") family = "Times New Roman";
    FcConfig* const config = Configuration();
    const Pattern pattern(config ? FcPatternCreate() : nullptr);
    if (!pattern) return {};
    FcPatternAddString(pattern.get(), FC_FAMILY, Text(family.c_str()));
    FcPatternAddString(pattern.get(), FC_FAMILY,
                       Text(fixedPitch ? "monospace"
                            : serif    ? "serif"
                                       : "sans-serif"));
    FcPatternAddInteger(pattern.get(), FC_WEIGHT, bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
    FcPatternAddInteger(pattern.get(), FC_SLANT, italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
    FcPatternAddBool(pattern.get(), FC_OUTLINE, FcTrue);
    return Match(config, pattern.get());
}

} // namespace velorin
