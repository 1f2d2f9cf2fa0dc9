#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace velorin {

class Scene;

// Where and why a scene in JSON was refused: a pointer into it ("/models/0/groups/1") and one sentence.
struct SceneJsonError {
    std::string at;
    std::string message;
};

// Replaces the contents of `scene`. The keys are the field names of the records; what is left out has its
// default, an unknown key is an error that names the nearest known one. A relative path of a model or texture
// that names a file in `folder` becomes that file's path; others stay as they are. On failure the scene is
// empty.
[[nodiscard]] bool SceneFromJson(const nlohmann::json& json, const std::string& folder, Scene& scene,
                                 SceneJsonError& error);
// The same from text. A syntax error has an empty `at` and says line and column.
[[nodiscard]] bool SceneFromJsonText(const std::string& text, const std::string& folder, Scene& scene,
                                     SceneJsonError& error);

// Fields at their default are left out unless `withDefaults`. What it gives, SceneFromJson takes.
[[nodiscard]] nlohmann::ordered_json SceneToJson(const Scene& scene, bool withDefaults);
[[nodiscard]] std::string SceneToJsonText(const Scene& scene, bool withDefaults, int indent = 2);

} // namespace velorin
