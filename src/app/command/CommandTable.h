#pragma once

#include "app/command/Commands.h"

#include <span>
#include <string>
#include <variant>
#include <vector>

// Every command with its options: what the command line is parsed by, what the help prints, and what the
// users' page of the command is held to.
namespace velorin::app {

// Where an argument goes; its type says how it is read.
using Field = std::variant<std::string& (*)(Arguments&), int& (*)(Arguments&), bool& (*)(Arguments&),
                           std::vector<std::string>& (*)(Arguments&)>;

struct OptionRow {
    const char* names; // "-o,--output", or "INPUT" for an argument by its place
    const char* type;  // what its value is called in the help; null for a switch and for places
    const char* help;  // null: not shown
    Field field;
    bool required = false;
    int least = 0, most = 0;                         // of a number, where most is above least
    std::vector<std::string> (*choices)() = nullptr; // listed behind the help
};

struct CommandRow {
    const char* name; // "render", or two words for one of a family: "bundle list"
    const char* help;
    std::span<const OptionRow> options;
    int (*run)(const Arguments&); // null for the head of a family
    bool hostModes = false;       // takes the hidden options of tests
};

[[nodiscard]] std::span<const CommandRow> CommandRows();
// What every command takes besides its own.
[[nodiscard]] std::span<const OptionRow> CommonOptions();
// What tests ask of the host beyond a plain run.
[[nodiscard]] std::span<const OptionRow> HostModeOptions();

} // namespace velorin::app
