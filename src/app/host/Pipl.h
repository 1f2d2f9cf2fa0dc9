#pragma once

#include "host/api/Types.h"

#include <cstdint>
#include <optional>
#include <string>

namespace velorin::app {

// What a module says of itself before any of its code runs.
struct PiplFacts {
    std::string name, category, entryPoint = "PluginMain", matchName;
    A_u_long version = 0;
    A_long outFlags = 0, outFlags2 = 0;
};

// Reads the section ".pipl" of an ELF file of 64 bits. Nothing when there is none, or when it is damaged.
[[nodiscard]] std::optional<PiplFacts> ReadPipl(const std::string& modulePath);

} // namespace velorin::app
