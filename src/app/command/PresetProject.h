#pragma once

#include "app/command/Console.h"
#include "app/host/Host.h"
#include "app/project/Project.h"
#include "app/project/ProjectReader.h"

#include <optional>
#include <string>
#include <vector>

namespace velorin::app {

// The text of a project that shows presets and models, as ProjectTextForModels does; nothing, with an error
// on the console, when the plug-in cannot read one of them. The paths that the presets name are written
// relative to `folder` where that is shorter.
[[nodiscard]] std::optional<std::string> ProjectTextForPresets(const std::vector<std::string>& files,
                                                               const std::string& folder,
                                                               double durationSeconds, SizeOverride size,
                                                               Host& host, Console& console);

// The default project around a preset.
[[nodiscard]] std::optional<Project> ReadPresetProject(const std::string& path, double durationSeconds,
                                                       SizeOverride size, Host& host, Console& console);

} // namespace velorin::app
