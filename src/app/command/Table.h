#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace velorin::app {

// JSON for people: a list of objects as columns, the keys on top; an object as a line a key, lists inside it
// as tables below; anything else as it is.
[[nodiscard]] std::string TableText(const nlohmann::ordered_json& json);

} // namespace velorin::app
