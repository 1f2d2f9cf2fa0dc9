#pragma once

#include "app/command/Console.h"
#include "app/host/Host.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>

// Requests to the plug-in (host/api/Introspection.h) whose refusals go to the console.
namespace velorin::app {

// The reply; nothing, with one error, when the plug-in refuses. A refusal for want of a name gets the nearest
// one that there is. `subject` stands before the plug-in's reason unless that begins with a path; may be
// empty. `effect` is the one that is asked, where that matters.
[[nodiscard]] std::optional<nlohmann::ordered_json> Ask(Host& host, const nlohmann::ordered_json& request,
                                                        Bytes payload, const std::string& subject,
                                                        Console& console, EffectInstance* effect = nullptr);
// The same for a raw reply, without its mark.
[[nodiscard]] std::optional<std::string> AskRaw(Host& host, const nlohmann::ordered_json& request,
                                                const std::string& subject, Console& console);

// The document of the first effect's scene as bytes; nothing, with an error, when the project has none.
[[nodiscard]] std::optional<std::string> FlatSceneOf(Host& host, const std::string& subject,
                                                     Console& console);

} // namespace velorin::app
