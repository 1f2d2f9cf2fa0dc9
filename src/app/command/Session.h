#pragma once

#include "app/command/Console.h"
#include "app/host/Host.h"
#include "app/project/Diagnostics.h"
#include "app/project/Project.h"
#include "app/project/ProjectReader.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velorin::app {

// What the commands have in common on their command lines.
struct SessionOptions {
    std::string plugin;                // module file; empty is Velorin.aex beside this program
    std::vector<std::string> settings; // KEY=VALUE
    SizeOverride size;
    int depth = 0; // 0: the project's
    HostOptions host;
};

// A project in the host, ready to render.
struct Session {
    Project project;
    std::unique_ptr<Host> host;

    // Tells what the host and the plug-in found so far. True when nothing went against the rules.
    bool Tell(Console& console);
    // Sets the plug-in down and tells the rest.
    bool Close(Console& console);

private:
    std::size_t toldFaults_ = 0, toldMessages_ = 0;
};

enum class InputKind { Project, Model, Preset, Unknown };
[[nodiscard]] InputKind KindOfInput(const std::string& path);
// The kinds by their extensions, for help and errors.
inline constexpr const char* kModelOrPreset = "model (.obj, .pdf, .ai) or preset (.qmx, .qmt, .qbv)";

// Reads a project, or makes the default one around a model. Nothing when that fails, with errors on the
// console.
[[nodiscard]] std::optional<Project> ReadInput(const std::string& path, SizeOverride size, Console& console);

// Starts the module; null with an error on the console.
[[nodiscard]] std::unique_ptr<Host> StartHost(const SessionOptions& options, Console& console);

// Opens the session's project in its host: effects with their values and scenes, flattened and set up again.
[[nodiscard]] bool OpenProject(Session& session, Console& console);

// The whole way: input, module, effects with their values and scenes, flattened and set up again.
[[nodiscard]] bool OpenSession(const std::string& input, const SessionOptions& options, Console& console,
                               Session& session);

} // namespace velorin::app
