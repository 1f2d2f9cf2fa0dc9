#include "app/command/Commands.h"

#include "app/project/NearestName.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace velorin::app {

namespace {

void AddPlugin(CLI::App& command, SessionOptions& session) {
    command
        .add_option("--plugin", session.plugin,
                    "The plug-in module, in place of Velorin.aex beside this program")
        ->type_name("FILE");
}

// What tests ask of the host beyond a plain run; not shown in the help.
void AddHostModes(CLI::App& command, HostOptions& host) {
    command.add_flag("--host-strict", host.strict)->group("");
    command.add_flag("--host-two-copies", host.twoCopies)->group("");
    command.add_option("--host-cancel-at", host.cancelAt)->group("");
    command.add_option("--host-without-suite", host.missingSuites)->group("");
}

void DescribeRender(CLI::App& command, RenderOptions& options) {
    command
        .add_option("INPUT", options.input, "A project (.json), model (.obj) or preset (.qmx, .qmt, .qbv)")
        ->required();
    command
        .add_option("-o,--output", options.output,
                    "A .png or .exr file; #### in its name is the frame's number")
        ->required()
        ->type_name("OUTPUT");
    command.add_option("--frames", options.frames, "Frames to render, counted from 0")
        ->type_name("A-B[/STEP]");
    command.add_option("--size", options.size, "Size of the composition in pixels")->type_name("WxH");
    command.add_option("--depth", options.depth, "Bits of a colour channel")->type_name("8|16|32");
    command.add_option("--set", options.session.settings, "Sets one parameter; may be repeated")
        ->type_name("KEY=VALUE")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    command.add_option("--save", options.save, "Writes the project as it was rendered")
        ->type_name("PROJECT.json");
    command.add_flag("--json", options.json, "Prints a report as one JSON object at the end");
    command.add_flag("--quiet", options.quiet, "Shows neither progress nor warnings");
    AddPlugin(command, options.session);
    AddHostModes(command, options.session.host);
}

void DescribePreset(CLI::App& command, PresetOptions& options) {
    command.add_option("INPUT", options.input, "A project (.json), model (.obj) or preset")->required();
    command.add_option("--model", options.model, "The model to keep, with all below it")->type_name("NAME");
    command.add_option("--material", options.material, "The material to keep")->type_name("NAME");
    command
        .add_option("--bevel", options.bevel,
                    "The bevel of an extruded model to keep; without a number its first")
        ->type_name("MODEL:N");
    command.add_option("-o,--output", options.output, "The preset to write: .qmx, .qmt or .qbv")
        ->required()
        ->type_name("FILE");
    AddPlugin(command, options.session);
}

// The three commands around a bundle; which one was given is known when the line is parsed.
void DescribeBundle(CLI::App& command, BundleOptions& options) {
    command.require_subcommand(1);
    CLI::App* create =
        command.add_subcommand("create", "Makes a bundle of a folder of models, presets and pictures");
    create->add_option("DIR", options.input, "The folder")->required();
    create->add_option("-o,--output", options.output, "The bundle to write")
        ->required()
        ->type_name("FILE.qbndl");
    create->add_option("--id", options.id, "The bundle's identifier, in place of its name");
    CLI::App* list = command.add_subcommand("list", "Lists the entries of a bundle");
    list->add_option("FILE", options.input, "The bundle")->required();
    list->add_flag("--json", options.json, "Prints JSON in place of a table");
    CLI::App* extract = command.add_subcommand("extract", "Writes an entry of a bundle as a file of its own");
    extract->add_option("FILE", options.input, "The bundle")->required();
    extract->add_option("ENTRY", options.entry, "The entry, as it is listed")->required();
    extract->add_option("-o,--output", options.output, "The file to write")->required()->type_name("OUT");
    create->callback([&] { options.action = BundleAction::Create; });
    list->callback([&] { options.action = BundleAction::List; });
    extract->callback([&] { options.action = BundleAction::Extract; });
    for (CLI::App* action : {create, list, extract}) AddPlugin(*action, options.session);
}

void DescribeSheet(CLI::App& command, SheetOptions& options) {
    command.add_option("DIR", options.input, "A folder of presets")->required();
    command.add_option("-o,--output", options.output, "The picture to write")
        ->required()
        ->type_name("FILE.png");
    command.add_option("--tile", options.tile, "Size of a preset's picture in pixels")->type_name("WxH");
    command.add_flag("--renew", options.renew, "Also draws the picture inside each preset anew");
    command.add_option("--columns", options.columns, "Pictures in a row")
        ->type_name("N")
        ->check(CLI::Range(1, 40));
    AddPlugin(command, options.session);
}

void DescribeInspect(CLI::App& command, InspectOptions& options) {
    command
        .add_option("WHAT", options.what, "params, scene, particles, mesh, draws, devices, preset or library")
        ->required()
        ->check(
            CLI::IsMember({"params", "scene", "particles", "mesh", "draws", "devices", "preset", "library"}));
    command.add_option("INPUT", options.input,
                       "A project (.json), model (.obj) or preset (.qmx, .qmt, .qbv)");
    command.add_option("--frame", options.frame, "Frame to look at, counted from 0")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);
    command.add_option("--group", options.group, "Replicator group, 1 to 5")
        ->type_name("G")
        ->check(CLI::Range(1, 5));
    command.add_option("--model", options.model, "Name of a model of the scene")->type_name("NAME");
    command.add_flag("--prepared", options.prepared, "The mesh as it is drawn, after all processing");
    command.add_flag("--json", options.json, "Prints JSON in place of a table");
    AddPlugin(command, options.session);
    AddHostModes(command, options.session.host);
}

void DescribeExport(CLI::App& command, ExportOptions& options) {
    command.add_option("INPUT", options.input, "A project (.json) or a model (.obj)")->required();
    command.add_option("-o,--output", options.output, "The file to write")->required()->type_name("OUT.obj");
    command.add_option("--group", options.group, "Replicator group, 1 to 5; all of them when left out")
        ->type_name("G")
        ->check(CLI::Range(1, 5));
    command.add_option("--frame", options.frame, "Frame, counted from 0")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);
    AddPlugin(command, options.session);
    AddHostModes(command, options.session.host);
}

int AnswerMissing(const char* what) {
    Console console(false);
    console.Error(std::string(what) + ": this version of the effect has no such operation yet");
    return kFailed;
}

} // namespace

int RunCommand(int argc, char** argv) {
    CLI::App app("Renders projects and models with the Velorin effect.", "velorin");
    app.require_subcommand(1);
    app.failure_message([](const CLI::App* failed, const CLI::Error& error) {
        return "velorin: error: " + std::string(error.what()) + "\nType `velorin " +
               (failed->get_subcommands().empty() ? std::string()
                                                  : failed->get_subcommands().front()->get_name() + " ") +
               "--help` for the usage.\n";
    });

    RenderOptions render;
    CLI::App* renderCommand = app.add_subcommand("render", "Renders frames of a project or a model");
    DescribeRender(*renderCommand, render);
    InspectOptions inspect;
    CLI::App* inspectCommand = app.add_subcommand("inspect", "Prints what the system knows");
    DescribeInspect(*inspectCommand, inspect);
    NewOptions fresh;
    CLI::App* newCommand = app.add_subcommand("new", "Writes a project that shows models");
    newCommand->add_option("FILE", fresh.files, "Models (.obj) and presets (.qmx, .qmt, .qbv), up to five")
        ->required();
    newCommand->add_option("-o,--output", fresh.output, "The project to write")
        ->required()
        ->type_name("PROJECT.json");
    AddPlugin(*newCommand, fresh.session);
    ExportOptions exported;
    CLI::App* exportCommand = app.add_subcommand("export", "Writes what the groups show as OBJ");
    DescribeExport(*exportCommand, exported);
    PresetOptions preset;
    CLI::App* presetCommand =
        app.add_subcommand("preset", "Keeps a model, material or bevel of a project as a preset");
    DescribePreset(*presetCommand, preset);
    BundleOptions bundle;
    CLI::App* bundleCommand = app.add_subcommand("bundle", "Makes and reads content bundles");
    DescribeBundle(*bundleCommand, bundle);
    SheetOptions sheet;
    CLI::App* sheetCommand = app.add_subcommand("sheet", "Draws all presets of a folder on one picture");
    DescribeSheet(*sheetCommand, sheet);
    std::string setupProject;
    CLI::App* setupCommand = app.add_subcommand("setup", "Opens the scene of a project in its window");
    setupCommand->add_option("PROJECT", setupProject, "A project (.json)")->required();

    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
        names.push_back(command->get_name());
    if (const std::string first = argc > 1 ? argv[1] : "-";
        !first.starts_with('-') && std::find(names.begin(), names.end(), first) == names.end()) {
        Console(false).Error("there is no command \"" + first + "\"" + NearestHint(first, names));
        return kWrongUsage;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kWrongUsage;
    }
    if (*renderCommand) return RunRender(render);
    if (*inspectCommand) return RunInspect(inspect);
    if (*newCommand) return RunNew(fresh);
    if (*exportCommand) return RunExport(exported);
    if (*presetCommand) return RunPreset(preset);
    if (*bundleCommand) return RunBundle(bundle);
    if (*sheetCommand) return RunSheet(sheet);
    return AnswerMissing("setup");
}

} // namespace velorin::app
