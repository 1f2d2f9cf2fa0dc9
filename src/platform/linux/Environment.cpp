#include "platform/Environment.h"

#include <cstdlib>

namespace velorin {

std::optional<std::string> EnvironmentVariable(const char* name) {
    const char* value = std::getenv(name);
    if (!value || !*value) return std::nullopt;
    return std::string(value);
}

void SetEnvironmentVariable(const char* name, const std::optional<std::string>& value) {
    if (value)
        setenv(name, value->c_str(), 1);
    else
        unsetenv(name);
}

} // namespace velorin
