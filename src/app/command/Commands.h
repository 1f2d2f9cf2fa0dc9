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

struct RenderOptions {
    std::string input, output;
    std::string save;         // project to write; empty: none
    std::string frames, size; // as typed
    int depth = 0;
    bool json = false, quiet = false;
    SessionOptions session;
};
[[nodiscard]] int RunRender(RenderOptions options);

struct InspectOptions {
    std::string what, input;
    int frame = 0;
    int group = 1;
    std::string model;
    bool prepared = false, json = false;
    SessionOptions session;
};
[[nodiscard]] int RunInspect(const InspectOptions& options);

struct ExportOptions {
    std::string input, output;
    int group = 0; // 1 to 5; 0: all
    int frame = 0;
    SessionOptions session;
};
[[nodiscard]] int RunExport(const ExportOptions& options);

struct NewOptions {
    std::vector<std::string> files;
    std::string output;
    SessionOptions session;
};
[[nodiscard]] int RunNew(const NewOptions& options);

struct PresetOptions {
    std::string input, output;
    std::string model, material, bevel; // one of them; a bevel is "MODEL:N"
    SessionOptions session;
};
[[nodiscard]] int RunPreset(const PresetOptions& options);

enum class BundleAction { Create, List, Extract };
struct BundleOptions {
    BundleAction action = BundleAction::List;
    std::string input; // a folder to create from, else a bundle
    std::string output, entry, id;
    bool json = false;
    SessionOptions session;
};
[[nodiscard]] int RunBundle(const BundleOptions& options);

struct SheetOptions {
    std::string input, output;
    std::string tile = "200x160"; // as typed
    int columns = 6;
    bool renew = false; // the pictures in the presets too
    SessionOptions session;
};
[[nodiscard]] int RunSheet(const SheetOptions& options);

// The whole command line, from argv to the exit status.
[[nodiscard]] int RunCommand(int argc, char** argv);

} // namespace velorin::app
