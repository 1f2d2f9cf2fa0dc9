#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velorin::app {

// What is wrong with a run's input, one sentence each: file, place in it, reason. Errors end the run,
// warnings do not.
struct Diagnostics {
    std::vector<std::string> errors;
    std::vector<std::string> warnings;
};

// One text under reading: turns byte offsets into `file:line:column`.
class TextSource {
public:
    // An argument of the command line has no lines: its name alone stands before the reason.
    enum class Kind { File, Argument };
    TextSource(std::string name, std::string_view text, Diagnostics& diagnostics, Kind kind = Kind::File)
        : name_(std::move(name)), text_(text), diagnostics_(diagnostics), kind_(kind) {}

    void Error(std::size_t offset, const std::string& reason) const;
    void Warn(std::size_t offset, const std::string& reason) const;

    [[nodiscard]] const std::string& name() const { return name_; }
    [[nodiscard]] std::string_view text() const { return text_; }

private:
    [[nodiscard]] std::string Place(std::size_t offset) const;

    std::string name_;
    std::string_view text_; // of the caller
    Diagnostics& diagnostics_;
    Kind kind_;
};

} // namespace velorin::app
