#include "model/obj/MtlReader.h"

#include "model/obj/NumberScan.h"
#include "services/StringConversion.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace velorin::obj {

namespace {

using Tokens = std::span<const std::string_view>;

// The token's number; 0 when the token is missing or no number.
float Number(Tokens tokens, std::size_t index) {
    float value = 0;
    if (index >= tokens.size()) return 0;
    const std::string_view token = tokens[index];
    return ScanFloat(token.data(), token.data() + token.size(), value) ? value : 0;
}

void ReadColour(Tokens tokens, Point3& colour) {
    if (tokens.size() < 2) return;
    const std::string kind = SmallLetters(tokens[1]);
    if (kind.starts_with("spectral") || kind.starts_with("xyz") || tokens.size() != 4) return;
    colour = {Number(tokens, 1), Number(tokens, 2), Number(tokens, 3)};
}

void ReadOpacity(Tokens tokens, bool isTransparency, float& opacity) {
    if (tokens.size() < 2) return;
    const bool halo = SmallLetters(tokens[1]).find("-halo") != std::string::npos;
    const float value = Number(tokens, halo ? 2 : 1);
    // A value that is not a number ends at 0.
    opacity = std::min(1.0f, std::max(0.0f, isTransparency ? 1 - value : value));
}

bool IsSupportedImage(std::string_view name) {
    const auto dot = name.rfind('.');
    if (dot == name.npos) return false;
    const std::string extension = SmallLetters(name.substr(dot));
    return extension == ".png" || extension == ".exr" || extension == ".hdr" || extension == ".dds" ||
           extension == ".jpg";
}

// `tokens` from the first behind the keyword on.
void ReadMap(Tokens tokens, MaterialObj& material, MapSlot slot) {
    ModelMap& map = material.maps[static_cast<std::size_t>(slot)];
    std::string_view name;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const std::string option = SmallLetters(tokens[i]);
        if (option == "-mm") {
            map.mmBase = Number(tokens, i + 1);
            map.mmGain = Number(tokens, i + 2);
            i += 2;
        } else if (option == "-o" || option == "-s") {
            (option == "-o" ? map.offset : map.scale) = {Number(tokens, i + 1), Number(tokens, i + 2)};
            i += 2;
        } else {
            name = tokens[i];
        }
    }
    if (IsSupportedImage(name)) map.path = name;
}

// "refl" with "-type sphere" somewhere: the pair is taken out of the statement.
void ReadReflection(Tokens tokens, MaterialObj& material) {
    std::vector<std::string_view> rest;
    for (std::size_t i = 1; i < tokens.size(); ++i) {
        if (i + 1 < tokens.size() && SmallLetters(tokens[i]) == "-type" &&
            SmallLetters(tokens[i + 1]) == "sphere") {
            material.sphereReflection = true;
            ++i;
        } else {
            rest.push_back(tokens[i]);
        }
    }
    ReadMap(rest, material, MapSlot::Reflection);
}

void ReadStatement(std::string_view keyword, Tokens tokens, MaterialObj& material) {
    const auto map = [&](MapSlot slot) {
        if (tokens.size() >= 2) ReadMap(tokens.subspan(1), material, slot);
    };
    if (keyword == "ns") {
        if (tokens.size() == 2) material.Ns = Number(tokens, 1);
    } else if (keyword == "ni") {
        if (tokens.size() == 2) material.Ni = Number(tokens, 1);
    } else if (keyword == "d" || keyword == "tr") {
        ReadOpacity(tokens, keyword == "tr", material.opacity);
    } else if (keyword.starts_with("ka") || keyword.starts_with("ke")) {
        ReadColour(tokens, material.Ka);
    } else if (keyword.starts_with("kd")) {
        ReadColour(tokens, material.Kd);
    } else if (keyword.starts_with("ks")) {
        ReadColour(tokens, material.Ks);
    } else if (keyword.starts_with("map_kd")) {
        map(MapSlot::Diffuse);
    } else if (keyword.starts_with("map_ks")) {
        map(MapSlot::Specular);
    } else if (keyword == "bump" || keyword == "map_bump") {
        map(MapSlot::Normal);
    } else if (keyword == "refl") {
        if (tokens.size() >= 4) ReadReflection(tokens, material);
    } else if (keyword == "map_refl") {
        map(MapSlot::Reflection);
    }
}

void Split(std::string_view line, std::vector<std::string_view>& tokens) {
    tokens.clear();
    const char* p = line.data();
    const char* const end = p + line.size();
    for (;;) {
        p = SkipBlanks(p, end);
        if (p == end) return;
        const char* const start = p;
        while (p < end && !IsBlank(*p)) ++p;
        tokens.emplace_back(start, static_cast<std::size_t>(p - start));
    }
}

} // namespace

void ReadMtl(Bytes library, std::span<MaterialObj> materials) {
    std::unordered_map<std::string_view, MaterialObj*> byName;
    for (MaterialObj& material : materials) byName.try_emplace(material.name, &material);
    std::string_view text(reinterpret_cast<const char*>(library.data()), library.size());
    std::vector<std::string_view> tokens;
    MaterialObj* current = nullptr;
    while (!text.empty()) {
        const std::size_t length = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, length);
        text.remove_prefix(std::min(length + 1, text.size()));
        if (line.ends_with('\r')) line.remove_suffix(1);
        Split(line, tokens);
        if (tokens.empty()) continue;
        const std::string keyword = SmallLetters(tokens[0]);
        if (keyword == "newmtl") {
            if (tokens.size() != 2) continue;
            const auto found = byName.find(tokens[1]);
            current = found == byName.end() ? nullptr : found->second;
        } else if (current) {
            ReadStatement(keyword, tokens, *current);
        }
    }
}

} // namespace velorin::obj
