#include "app/command/Console.h"

#include "platform/Process.h"

#include <algorithm>
#include <cstdio>

namespace velorin::app {

Console::Console(bool quiet) : quiet_(quiet), bar_(!quiet && StderrIsTerminal()) {
}

void Console::Line(const char* kind, const std::string& sentence) {
    EndProgress();
    std::fprintf(stderr, "velorin: %s: %s\n", kind, sentence.c_str());
}

void Console::Error(const std::string& sentence) {
    errors_.push_back(sentence);
    Line("error", sentence);
}

void Console::Warn(const std::string& sentence) {
    if (std::find(warnings_.begin(), warnings_.end(), sentence) != warnings_.end()) return;
    warnings_.push_back(sentence);
    if (!quiet_) Line("warning", sentence);
}

void Console::Progress(int done, int total, double inFrame) {
    if (!bar_ || total <= 0) return;
    constexpr int kWidth = 40;
    const double share = (done + std::clamp(inFrame, 0.0, 1.0)) / total;
    const int permille = static_cast<int>(share * 1000);
    if (barShown_ && permille == lastPermille_) return;
    lastPermille_ = permille;
    barShown_ = true;
    const int filled = static_cast<int>(share * kWidth);
    const std::string bar = std::string(static_cast<std::size_t>(filled), '=') +
                            std::string(static_cast<std::size_t>(kWidth - filled), ' ');
    std::fprintf(stderr, "\r[%s] %3d %%  frame %d of %d", bar.c_str(), permille / 10,
                 std::min(done + 1, total), total);
    std::fflush(stderr);
}

void Console::EndProgress() {
    if (!barShown_) return;
    std::fprintf(stderr, "\r\033[K");
    barShown_ = false;
    lastPermille_ = -1;
}

} // namespace velorin::app
