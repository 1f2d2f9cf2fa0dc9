#pragma once

#include "host/api/Effect.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velorin::app {

// One row that the plug-in added, with copies of all texts.
struct ParameterRow {
    int index = 0; // host parameter index, from 1
    int diskId = 0;
    PF_ParamDef def{}; // text pointers null
    std::string name;
    std::vector<std::string> choices; // of a popup
    std::string label;                // of a check
    std::string path;                 // names of the groups around it and its own, with '/' between

    [[nodiscard]] PF_ParamType type() const { return def.param_type; }
    [[nodiscard]] const char* kindName() const; // "float", "popup"...
    [[nodiscard]] bool hasValue() const;
};

// The rows in host order, with the checks that a host makes when an effect is loaded.
class ParameterRows {
public:
    // One add_param. False (and nothing added) for an index other than "append" or an unknown kind.
    [[nodiscard]] bool Add(PF_ParamIndex index, const PF_ParamDef& def);
    // After the last row: `declared` is the count that the plug-in reports, with the input layer. Each fault
    // is a sentence; `warnings` gets what is mended (a popup default that is no choice becomes 1).
    void Finish(int declared, std::vector<std::string>& faults, std::vector<std::string>& warnings);

    [[nodiscard]] std::span<const ParameterRow> rows() const { return rows_; }
    [[nodiscard]] int count() const { return static_cast<int>(rows_.size()); }
    // By host index (1 to count); null for another number.
    [[nodiscard]] const ParameterRow* At(int index) const;

    // The one row that a key of a project means: a disk id in decimal, a row's name, or a path of names from
    // a group down. Null with a sentence that says what is wrong and what is near.
    [[nodiscard]] const ParameterRow* Resolve(std::string_view key, std::string& reason) const;

private:
    std::vector<ParameterRow> rows_;
    std::vector<std::string> openGroups_;
    bool unbalanced_ = false;
};

} // namespace velorin::app
