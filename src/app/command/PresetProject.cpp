#include "app/command/PresetProject.h"

#include "app/command/Ask.h"
#include "app/project/Diagnostics.h"

#include <nlohmann/json.hpp>

#include <filesystem>

namespace velorin::app {

namespace {

namespace fs = std::filesystem;
using nlohmann::ordered_json;

} // namespace

std::optional<std::string> ProjectTextForPresets(const std::vector<std::string>& files,
                                                 const std::string& folder, double durationSeconds,
                                                 SizeOverride size, Host& host, Console& console) {
    ordered_json paths = ordered_json::array();
    std::error_code ignored;
    for (const std::string& file : files)
        paths.push_back(fs::absolute(file, ignored).lexically_normal().generic_string());
    const auto scene = Ask(host, {{"do", "presetScene"}, {"files", paths}}, {}, {}, console);
    if (!scene) return std::nullopt;
    return ProjectTextForScene(*scene, files.size(), folder, durationSeconds, size);
}

std::optional<Project> ReadPresetProject(const std::string& path, double durationSeconds, SizeOverride size,
                                         Host& host, Console& console) {
    auto text = ProjectTextForPresets({path}, FolderOfInput(path), durationSeconds, size, host, console);
    if (!text) return std::nullopt;
    Diagnostics diagnostics;
    auto project = ReadProjectText(path, std::move(*text), diagnostics, size);
    for (const std::string& warning : diagnostics.warnings) console.Warn(warning);
    for (const std::string& error : diagnostics.errors) console.Error(error);
    if (!diagnostics.errors.empty()) return std::nullopt;
    return project;
}

} // namespace velorin::app
