#include "app/command/CommandTable.h"

#include <climits>

namespace velorin::app {

namespace {

// The member at the end of a chain of members.
template <auto... Members>
constexpr auto& At(Arguments& arguments) {
    // clang-format off
    return (arguments .* ... .* Members);
    // clang-format on
}

constexpr bool kRequired = true;
constexpr const char* kAnyInput = "A project (.json), model (.obj, .pdf, .ai) or preset (.qmx, .qmt, .qbv)";

constexpr OptionRow kFrame{
    "--frame", "N", "Frame to look at, counted from 0", &At<&Arguments::frame>, false, 0, INT_MAX};
constexpr OptionRow kJson{"--json", nullptr, "Prints JSON in place of a table", &At<&Arguments::json>};

// An argument by its place.
constexpr OptionRow Place(const char* name, const char* help, bool required = kRequired) {
    return {name, nullptr, help, &At<&Arguments::input>, required};
}
constexpr OptionRow Output(const char* type, const char* help) {
    return {"-o,--output", type, help, &At<&Arguments::output>, kRequired};
}
constexpr OptionRow Group(const char* help) {
    return {"--group", "G", help, &At<&Arguments::group>, false, 1, 5};
}

constexpr OptionRow kRender[] = {
    Place("INPUT", kAnyInput),
    Output("OUTPUT", "A .png or .exr file; #### in its name is the frame's number"),
    {"--frames", "A-B[/STEP]", "Frames to render, counted from 0", &At<&Arguments::frames>},
    {"--size", "WxH", "Size of the composition in pixels", &At<&Arguments::size>},
    {"--depth", "8|16|32", "Bits of a colour channel", &At<&Arguments::depth>},
    {"--set", "KEY=VALUE", "Sets one parameter; may be repeated",
     &At<&Arguments::session, &SessionOptions::settings>},
    {"--save", "PROJECT.json", "Writes the project as it was rendered", &At<&Arguments::save>},
    {"--json", nullptr, "Prints a report as one JSON object at the end", &At<&Arguments::json>},
    {"--quiet", nullptr, "Shows neither progress nor warnings", &At<&Arguments::quiet>},
};

constexpr OptionRow kInspect[] = {
    {"WHAT", nullptr, "One of:", &At<&Arguments::what>, kRequired, 0, 0, InspectNames},
    Place("INPUT", kAnyInput, !kRequired),
    kFrame,
    Group("Replicator group, 1 to 5"),
    {"--model", "NAME", "Name of a model of the scene", &At<&Arguments::model>},
    {"--prepared", nullptr, "The mesh as it is drawn, after all processing", &At<&Arguments::prepared>},
    kJson,
};

constexpr OptionRow kNew[] = {
    {"FILE", nullptr, "Models (.obj, .pdf, .ai) and presets (.qmx, .qmt, .qbv), up to five",
     &At<&Arguments::files>, kRequired},
    Output("PROJECT.json", "The project to write"),
};

constexpr OptionRow kExport[] = {
    Place("INPUT", kAnyInput),
    Output("OUT.obj", "The file to write"),
    Group("Replicator group, 1 to 5; all of them when left out"),
    kFrame,
};

constexpr OptionRow kPreset[] = {
    Place("INPUT", kAnyInput),
    {"--model", "NAME", "The model to keep, with all below it", &At<&Arguments::model>},
    {"--material", "NAME", "The material to keep", &At<&Arguments::material>},
    {"--bevel", "MODEL:N", "The bevel of an extruded model to keep; without a number its first",
     &At<&Arguments::bevel>},
    Output("FILE", "The preset to write: .qmx, .qmt or .qbv"),
};

constexpr OptionRow kSheet[] = {
    Place("DIR", "A folder of presets"),
    Output("FILE.png", "The picture to write"),
    {"--tile", "WxH", "Size of a preset's picture in pixels", &At<&Arguments::tile>},
    {"--columns", "N", "Pictures in a row", &At<&Arguments::columns>, false, 1, 40},
    {"--renew", nullptr, "Also draws the picture inside each preset anew", &At<&Arguments::renew>},
};

constexpr OptionRow kBundleCreate[] = {
    Place("DIR", "The folder"),
    Output("FILE.qbndl", "The bundle to write"),
    {"--id", "TEXT", "The bundle's identifier, in place of its name", &At<&Arguments::id>},
};
constexpr OptionRow kBundleList[] = {Place("FILE", "The bundle"), kJson};
constexpr OptionRow kBundleExtract[] = {
    Place("FILE", "The bundle"),
    {"ENTRY", nullptr, "The entry, as it is listed", &At<&Arguments::entry>, kRequired},
    Output("OUT", "The file to write"),
};

constexpr OptionRow kSetup[] = {Place("PROJECT", "A project (.json)")};

constexpr OptionRow kCommon[] = {
    {"--plugin", "FILE", "The plug-in module, in place of Velorin.aex beside this program",
     &At<&Arguments::session, &SessionOptions::plugin>},
};

constexpr OptionRow kHostModes[] = {
    {"--host-strict", nullptr, nullptr,
     &At<&Arguments::session, &SessionOptions::host, &HostOptions::strict>},
    {"--host-two-copies", nullptr, nullptr,
     &At<&Arguments::session, &SessionOptions::host, &HostOptions::twoCopies>},
    {"--host-cancel-at", "N", nullptr,
     &At<&Arguments::session, &SessionOptions::host, &HostOptions::cancelAt>},
    {"--host-without-suite", "NAME", nullptr,
     &At<&Arguments::session, &SessionOptions::host, &HostOptions::missingSuites>},
};

constexpr bool kHostModesToo = true;
constexpr CommandRow kCommands[] = {
    {"render", "Renders frames of a project, a model or a preset", kRender, RunRender, kHostModesToo},
    {"inspect", "Prints what the system knows", kInspect, RunInspect, kHostModesToo},
    {"new", "Writes a project that shows models", kNew, RunNew},
    {"export", "Writes what the groups show as OBJ", kExport, RunExport, kHostModesToo},
    {"preset", "Keeps a model, material or bevel of a project as a preset", kPreset, RunPreset},
    {"sheet", "Draws all presets of a folder on one picture", kSheet, RunSheet},
    {"bundle", "Makes and reads content bundles", {}, nullptr},
    {"bundle create", "Makes a bundle of a folder of models, presets and pictures", kBundleCreate,
     RunBundleCreate},
    {"bundle list", "Lists the entries of a bundle", kBundleList, RunBundleList},
    {"bundle extract", "Writes an entry of a bundle as a file of its own", kBundleExtract, RunBundleExtract},
    {"setup", "Opens the scene of a project in its window", kSetup, RunSetup},
};

} // namespace

std::span<const CommandRow> CommandRows() {
    return kCommands;
}

std::span<const OptionRow> CommonOptions() {
    return kCommon;
}

std::span<const OptionRow> HostModeOptions() {
    return kHostModes;
}

} // namespace velorin::app
