#pragma once

#include "app/project/Diagnostics.h"
#include "app/project/Project.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>

namespace velorin::app {

// A size of the composition in place of the file's own; what depends on it follows.
struct SizeOverride {
    int width = 0, height = 0; // 0: the file's
};

// Reads a project file. Nothing, with at least one error, when it cannot be used; the errors are all that
// were found.
[[nodiscard]] std::optional<Project> ReadProjectFile(const std::string& path, Diagnostics& diagnostics,
                                                     SizeOverride size = {});
// The same from text; `path` names it in messages and is the base of relative paths.
[[nodiscard]] std::optional<Project> ReadProjectText(const std::string& path, std::string text,
                                                     Diagnostics& diagnostics, SizeOverride size = {});

// The absolute folder that an input's relative paths start from: its own, or that of the bundle that it is
// in.
[[nodiscard]] std::string FolderOfInput(const std::string& path);

// A file's path as a project in `folder` (absolute) writes it: relative, where that is shorter.
[[nodiscard]] std::string PathForProject(const std::string& file, const std::string& folder);

// The text of a project that shows models: one file alone in the middle of the frame, several side by side,
// each in a replicator group of its own (five at most). Paths are written relative to `folder` (absolute),
// where that is shorter than the whole path. Another size of the composition shows the same picture.
[[nodiscard]] std::string ProjectTextForModels(const std::vector<std::string>& files,
                                               const std::string& folder, double durationSeconds,
                                               SizeOverride size = {});
// The same around a scene (the form of a project's "scene") whose `count` top-level models stand each in a
// group of its own. The absolute paths in it are written relative to `folder` where that is shorter.
[[nodiscard]] std::string ProjectTextForScene(nlohmann::ordered_json scene, std::size_t count,
                                              const std::string& folder, double durationSeconds,
                                              SizeOverride size = {});
inline constexpr std::size_t kMostModels = 5;

} // namespace velorin::app
