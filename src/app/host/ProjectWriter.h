#pragma once

#include "app/host/Host.h"

#include <string>
#include <vector>

namespace velorin::app {

// What a project's file says of one effect beside its values.
struct SavedEffect {
    StoredEffect stored;
    std::string scene; // readable, as JSON; empty when only the bytes say it all
};

// What the host has open as the text of a project file in `folder` (absolute): the composition with its
// camera, lights and layers, each with its id, and every effect with the rows that are not at their default.
// `effects` has an entry an instance, in their order. Read again, it opens to the same values.
[[nodiscard]] std::string ProjectText(Host& host, const std::vector<SavedEffect>& effects,
                                      const std::string& folder);

} // namespace velorin::app
