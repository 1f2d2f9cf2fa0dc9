// The presets of library.json, written with the product's own writers.
#include "Library.h"

#include "core/document/BevelPreset.h"
#include "core/document/Scene.h"
#include "core/document/SceneJson.h"
#include "model/ModelPreset.h"

#include <cstdio>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

namespace content {

namespace {

using nlohmann::ordered_json;
using Path = std::filesystem::path;
using velorin::Scene;
using velorin::SceneMaterial;

bool Fail(const std::string& what, const std::string& why) {
    std::fprintf(stderr, "%s: %s\n", what.c_str(), why.c_str());
    return false;
}

bool ReadScene(const ordered_json& json, const std::string& what, Scene& scene) {
    velorin::SceneJsonError error;
    return SceneFromJson(nlohmann::json(json), {}, scene, error) || Fail(what + error.at, error.message);
}

// Every picture that a material names must be in the library.
bool HasPictures(const SceneMaterial& material, const std::string& what, const Path& root) {
    for (const velorin::TextureChannel& channel : material.channels)
        if (!channel.path.empty() && !std::filesystem::is_regular_file(root / channel.path))
            return Fail(what, channel.path + " is not in the library.");
    return true;
}

class PresetWriter {
public:
    explicit PresetWriter(const Path& root) : root_(root) {}

    bool Material(const std::string& folder, const std::string& name, const ordered_json& json) {
        const std::string what = "Materials/" + folder + "/" + name;
        Scene scene;
        if (!ReadScene({{"materials", {json}}}, what, scene)) return false;
        const SceneMaterial& material = *scene.materials.front();
        places_[folder + "/" + name] = materials_.size();
        materials_.push_back(json);
        std::string error;
        return HasPictures(material, what, root_) && MakeFolder(root_ / "Materials" / folder) &&
               (material.WritePreset(root_ / (what + ".qmt"), {}, &error) || Fail(what, error));
    }

    bool Bevel(const std::string& folder, const std::string& name, ordered_json json) {
        const std::string what = "Bevels/" + folder + "/" + name;
        json.erase("name");
        Scene scene;
        if (!ReadScene({{"models", {{{"type", 3}, {"bevels", {json}}}}}}, what, scene)) return false;
        std::string error;
        return MakeFolder(root_ / "Bevels" / folder) &&
               (velorin::WriteBevelPreset(root_ / (what + ".qbv"), {scene.models.front()->bevels.front(), {}},
                                          &error) ||
                Fail(what, error));
    }

    // A model names its materials by their presets: "material": "Metals/Gold".
    bool Model(const std::string& folder, const std::string& name, ordered_json json) {
        const std::string what = "Models/" + folder + "/" + name;
        Scene scene;
        if (!Bind(json, what) || !ReadScene({{"materials", materials_}, {"models", {json}}}, what, scene))
            return false;
        std::string error;
        return MakeFolder(root_ / "Models" / folder) &&
               (velorin::SaveModelPreset(root_ / (what + ".qmx"), *scene.models.front(), scene, {}, &error) ||
                Fail(what, error));
    }

private:
    bool Bind(ordered_json& model, const std::string& what) const {
        if (const auto found = model.find("material"); found != model.end()) {
            const auto place = places_.find(found->get<std::string>());
            if (place == places_.end()) return Fail(what, found->dump() + " is no material of the library.");
            model["bindings"] = {place->second};
            model.erase("material");
        }
        if (const auto children = model.find("children"); children != model.end())
            for (ordered_json& child : *children)
                if (!Bind(child, what)) return false;
        return true;
    }

    Path root_;
    ordered_json materials_ = ordered_json::array();
    std::map<std::string, std::size_t> places_; // folder and name: position in materials_
};

} // namespace

bool MakePresets(const std::filesystem::path& table, const std::filesystem::path& root) {
    std::ifstream file(table);
    const ordered_json json = ordered_json::parse(file, nullptr, false);
    if (!json.is_object()) return Fail(table, "cannot be read as JSON.");
    PresetWriter writer(root);
    const auto each = [&](const char* kind, const auto& write) {
        const ordered_json folders = json.value(kind, ordered_json::object());
        for (const auto& [folder, presets] : folders.items())
            for (const ordered_json& preset : presets)
                if (!write(folder, preset.value("name", std::string("Unnamed")), preset)) return false;
        return true;
    };
    using Json = const ordered_json&;
    using Text = const std::string&;
    return each("materials",
                [&](Text folder, Text name, Json preset) { return writer.Material(folder, name, preset); }) &&
           each("bevels",
                [&](Text folder, Text name, Json preset) { return writer.Bevel(folder, name, preset); }) &&
           each("models",
                [&](Text folder, Text name, Json preset) { return writer.Model(folder, name, preset); });
}

} // namespace content
