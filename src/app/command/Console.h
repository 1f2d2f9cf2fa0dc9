#pragma once

#include <string>
#include <vector>

namespace velorin::app {

// What the command says on stderr: one line an error or warning, and a progress bar when a person watches.
class Console {
public:
    explicit Console(bool quiet);

    void Error(const std::string& sentence);
    void Warn(const std::string& sentence); // told once; silent when quiet, but kept
    // `done` of `total` frames, and how far the one under work is (0 to 1).
    void Progress(int done, int total, double inFrame);
    void EndProgress();

    [[nodiscard]] const std::vector<std::string>& errors() const { return errors_; }
    [[nodiscard]] const std::vector<std::string>& warnings() const { return warnings_; }

private:
    void Line(const char* kind, const std::string& sentence);

    bool quiet_;
    bool bar_; // a terminal shows it
    bool barShown_ = false;
    int lastPermille_ = -1;
    std::vector<std::string> errors_, warnings_;
};

} // namespace velorin::app
