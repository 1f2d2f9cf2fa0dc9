#pragma once

#include "app/command/Session.h"

#include <string>

namespace velorin::app {

// Writes what the session has open as a project file, beside its place and renamed: the values, each effect's
// stores as bytes, and its scene readable where that says the same. False with an error on the console.
[[nodiscard]] bool SaveProject(Session& session, const std::string& path, Console& console);

} // namespace velorin::app
