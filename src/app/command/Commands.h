#pragma once

#include "app/command/Session.h"

#include <optional>
#include <string>
#include <vector>

namespace velorin::app {

enum ExitStatus : int { kDone = 0, kFailed = 1, kWrongUsage = 2 };

struct FrameRange {
    int first = 0, last = 0, step = 1;
};
// "A", "A-B" or "A-B/STEP".
[[nodiscard]] std::optional<FrameRange> ParseFrameRange(const std::string& text);
// "WxH".
[[nodiscard]] std::optional<SizeOverride> ParseSize(const std::string& text);
// The name with its last run of four or more '#' replaced by the frame's number, padded with zeros to the
// run's length. Nothing when there is no such run.
[[nodiscard]] std::optional<std::string> NumberedName(const std::string& name, int frame);

// What was typed on the command line; what was left out has its default.
struct Arguments {
    std::string input; // INPUT, DIR, FILE or PROJECT
    std::vector<std::string> files;
    std::string what, entry;
    std::string output, save;
    std::string frames, size, tile = "200x160"; // as typed
    std::string model, material, bevel, id;
    int depth = 0;
    int frame = 0;
    int group = 0; // 1 to 5; 0: left out
    int columns = 6;
    bool json = false, quiet = false, prepared = false, renew = false;
    SessionOptions session;
};

// The handlers of the commands. They tell errors and warnings themselves and give the exit status.
[[nodiscard]] int RunRender(const Arguments& arguments);
[[nodiscard]] int RunInspect(const Arguments& arguments);
[[nodiscard]] int RunNew(const Arguments& arguments);
[[nodiscard]] int RunExport(const Arguments& arguments);
[[nodiscard]] int RunPreset(const Arguments& arguments);
[[nodiscard]] int RunSheet(const Arguments& arguments);
[[nodiscard]] int RunBundleCreate(const Arguments& arguments);
[[nodiscard]] int RunBundleList(const Arguments& arguments);
[[nodiscard]] int RunBundleExtract(const Arguments& arguments);
[[nodiscard]] int RunSetup(const Arguments& arguments);

// What `inspect` can show.
[[nodiscard]] std::vector<std::string> InspectNames();

// The whole command line, from argv to the exit status.
[[nodiscard]] int RunCommand(int argc, char** argv);

} // namespace velorin::app
