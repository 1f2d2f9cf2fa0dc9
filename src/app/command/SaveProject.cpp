#include "app/command/SaveProject.h"

#include "app/host/ProjectWriter.h"

#include "services/SafeFile.h"

#include <nlohmann/json.hpp>

#include <filesystem>

namespace velorin::app {

namespace {

using Json = nlohmann::ordered_json;

// Paths of models and textures below the project's folder become relative to it.
void ShortenPaths(Json& json, const std::string& prefix) {
    for (auto& [key, value] : json.items()) {
        if (value.is_structured())
            ShortenPaths(value, prefix);
        else if (value.is_string() && key == "path" &&
                 value.get_ref<const std::string&>().starts_with(prefix))
            value = value.get_ref<const std::string&>().substr(prefix.size());
    }
}

// The scene as a person reads it; empty when that would not read back to the same bytes.
std::string ReadableScene(Host& host, const std::string& flat, const std::string& folder) {
    std::string reason;
    const auto answer =
        host.Introspect(nullptr, R"({"do":"flatToScene"})", std::as_bytes(std::span(flat)), reason);
    Json scene = answer ? Json::parse(*answer, nullptr, false) : Json();
    if (!scene.is_object() || scene.contains("error")) return {};
    ShortenPaths(scene, folder + "/");
    Json request{{"do", "sceneToFlat"}, {"import", false}, {"folder", folder}, {"scene", scene}};
    const auto back =
        host.Introspect(nullptr, request.dump(-1, ' ', false, Json::error_handler_t::replace), {}, reason);
    return back == flat ? scene.dump(-1, ' ', false, Json::error_handler_t::replace) : std::string();
}

} // namespace

bool SaveProject(Session& session, const std::string& path, Console& console) {
    Host& host = *session.host;
    std::error_code ignored;
    const std::string folder =
        std::filesystem::absolute(path, ignored).parent_path().lexically_normal().string();
    std::vector<StoredEffect> stored;
    if (const HostResult result = host.Save(&stored); !result.good()) {
        console.Error(path + ": the project is not saved: " + result.text);
        return false;
    }
    std::vector<SavedEffect> effects;
    for (StoredEffect& effect : stored) {
        std::string scene = ReadableScene(host, effect.scene, folder);
        effects.push_back({std::move(effect), std::move(scene)});
    }
    const std::string text = ProjectText(host, effects, folder);
    std::string error;
    if (WriteFileSafely(path, std::as_bytes(std::span(text)), error)) return true;
    console.Error(error);
    return false;
}

} // namespace velorin::app
