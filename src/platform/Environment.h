#pragma once

#include <optional>
#include <string>

namespace velorin {

// The environment variable's value as UTF-8; nothing when it is not set or empty.
[[nodiscard]] std::optional<std::string> EnvironmentVariable(const char* name);

// For tests and for preparing a child process; nothing removes the variable. Not safe while other threads
// read it.
void SetEnvironmentVariable(const char* name, const std::optional<std::string>& value);

} // namespace velorin
