#include "app/command/Session.h"

#include "app/command/PresetProject.h"
#include "app/host/ParameterInput.h"
#include "app/project/Json.h"
#include "app/project/ProjectReader.h"

#include "platform/FileSystem.h"
#include "platform/Process.h"

#include "services/Library.h"
#include "services/MappedFile.h"
#include "services/StringConversion.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>

namespace velorin::app {

namespace {

namespace fs = std::filesystem;

constexpr struct {
    const char* extension;
    InputKind kind;
} kInputs[] = {{".json", InputKind::Project}, {".obj", InputKind::Model},  {".pdf", InputKind::Model},
               {".ai", InputKind::Model},     {".qmx", InputKind::Preset}, {".qmt", InputKind::Preset},
               {".qbv", InputKind::Preset}};
constexpr double kModelDuration = 1; // seconds

bool Tell(const Diagnostics& diagnostics, Console& console) {
    for (const std::string& warning : diagnostics.warnings) console.Warn(warning);
    for (const std::string& error : diagnostics.errors) console.Error(error);
    return diagnostics.errors.empty();
}

// A text of the command line as a value: JSON when it reads as such, else the text itself.
std::shared_ptr<const JsonDocument> ArgumentValue(const std::string& text) {
    JsonError ignored;
    if (auto document = ParseJson(text, ignored))
        return std::make_shared<const JsonDocument>(std::move(*document));
    auto plain = std::make_shared<JsonDocument>();
    plain->source = text;
    plain->root.kind = JsonKind::String;
    plain->root.text = text;
    plain->root.end = text.size();
    return plain;
}

void ApplySetting(const ParameterSetting& setting, Host& host, EffectInstance& instance,
                  const std::string& place, Diagnostics& diagnostics) {
    const bool argument = setting.source == "--set";
    const TextSource source(argument ? "--set " + setting.key : setting.source, setting.document->source,
                            diagnostics, argument ? TextSource::Kind::Argument : TextSource::Kind::File);
    std::string reason;
    const ParameterRow* row = host.rows().Resolve(setting.key, reason);
    if (!row) {
        source.Error(setting.keyOffset, place + reason);
        return;
    }
    AnimatedValue value;
    if (ReadParameterValue(source, *row, *setting.value, host.comp(), value))
        host.SetValue(instance, *row, value);
}

// The plug-in's answer to a scene it does not take: where, and why.
bool IsRefusal(const std::string& answer, std::string& reason, std::string& pointer) {
    if (answer.empty() || answer.front() != '{') return false;
    const auto json = nlohmann::json::parse(answer, nullptr, false);
    if (!json.is_object() || !json.contains("error")) return false;
    reason = json["error"].is_string() ? json["error"].get<std::string>() : "the scene is refused";
    if (const auto at = json.find("at"); at != json.end() && at->is_string())
        pointer = at->get<std::string>();
    constexpr std::string_view kPrefix = "/scene";
    if (pointer.compare(0, kPrefix.size(), kPrefix) == 0) pointer.erase(0, kPrefix.size());
    return true;
}

// Asks for the flat form of an effect's readable scene. Nothing, with a reason, when the plug-in does not
// answer.
std::optional<std::string> AskForFlat(const Project& project, const Effect& effect, bool import, Host& host,
                                      std::string& reason) {
    const std::string& text = project.document->source;
    const std::string request =
        R"({"do":"sceneToFlat","folder":)" +
        nlohmann::json(project.folder).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) +
        ",\"import\":" + (import ? "true" : "false") +
        ",\"scene\":" + text.substr(effect.scene->begin, effect.scene->end - effect.scene->begin) + "}";
    return host.Introspect(nullptr, request, {}, reason);
}

bool FlatScene(const Project& project, const Effect& effect, const std::string& place, Host& host,
               std::string& flat, Diagnostics& diagnostics) {
    const TextSource source(project.path, project.document->source, diagnostics);
    std::string reason, pointer;
    // A scene that is still as it was saved is complete: nothing is imported once more.
    if (effect.storedScene && AskForFlat(project, effect, false, host, reason) == effect.storedScene) {
        flat = *effect.storedScene;
        return true;
    }
    const auto answer = AskForFlat(project, effect, true, host, reason);
    if (!answer) {
        source.Error(effect.scene->begin, place + "scene: " + reason);
        return false;
    }
    if (IsRefusal(*answer, reason, pointer)) {
        // The pointer leads on from the scene.
        JsonDocument part;
        part.root = *effect.scene;
        source.Error(part.At(pointer).begin,
                     place + "scene" + (pointer.empty() ? "" : " " + pointer) + ": " + reason);
        return false;
    }
    flat = *answer;
    return true;
}

void ApplyScene(const Project& project, const Effect& effect, const std::string& place, Host& host,
                EffectInstance& instance, Diagnostics& diagnostics) {
    const ParameterRow* row = host.arbitraryRow();
    if (!row || (!effect.scene && effect.sceneFile.empty() && !effect.storedScene)) return;
    std::string flat;
    MappedFile file;
    Bytes bytes;
    if (effect.scene) {
        Diagnostics found;
        const bool good = FlatScene(project, effect, place, host, flat, found);
        auto& told = good || effect.storedScene ? diagnostics.warnings : diagnostics.errors;
        for (const std::string& error : found.errors)
            told.push_back(effect.storedScene ? error + "; the stored scene is taken instead" : error);
        if (!good && !effect.storedScene) return;
        bytes = std::as_bytes(std::span(good ? flat : *effect.storedScene));
    } else if (!effect.sceneFile.empty()) {
        file = MappedFile::Open(effect.sceneFile, FileAccess::Read);
        if (!file.valid()) {
            diagnostics.errors.push_back(effect.sceneFile + ": the scene cannot be read: " + file.reason());
            return;
        }
        bytes = file.bytes();
    } else {
        bytes = std::as_bytes(std::span(*effect.storedScene));
    }
    const HostResult result = host.SetArbitrary(instance, *row, bytes);
    if (!result.good()) diagnostics.errors.push_back(project.path + ": " + place + "scene: " + result.text);
}

bool ApplyEffects(const Project& project, Host& host, Console& console) {
    Diagnostics diagnostics;
    for (std::size_t i = 0; i < project.effects.size(); ++i) {
        const Effect& effect = project.effects[i];
        const std::string place = "effects[" + std::to_string(i) + "].";
        EffectInstance& instance = host.instance(i);
        for (const ParameterSetting& setting : effect.parameters)
            ApplySetting(setting, host, instance,
                         setting.source == "--set" ? "" : place + "parameters: ", diagnostics);
        ApplyScene(project, effect, place, host, instance, diagnostics);
    }
    return Tell(diagnostics, console);
}

bool AddSettings(const std::vector<std::string>& settings, Project& project, Console& console) {
    for (const std::string& text : settings) {
        const std::size_t equal = text.find('=');
        if (equal == std::string::npos || equal == 0) {
            console.Error("--set " + text + ": expected KEY=VALUE");
            return false;
        }
        const auto document = ArgumentValue(text.substr(equal + 1));
        for (Effect& effect : project.effects)
            effect.parameters.push_back({text.substr(0, equal), "--set", document, 0, &document->root});
    }
    return true;
}

} // namespace

bool Session::Tell(Console& console) {
    const HostReports& reports = host->reports;
    for (; toldMessages_ < reports.messages().size(); ++toldMessages_)
        console.Warn(reports.messages()[toldMessages_]);
    for (; toldFaults_ < reports.faults().size(); ++toldFaults_)
        console.Error("the plug-in broke a rule of its host: " + reports.faults()[toldFaults_]);
    return reports.faults().empty();
}

bool Session::Close(Console& console) {
    host->Quit();
    return Tell(console);
}

InputKind KindOfInput(const std::string& path) {
    const std::string extension = SmallExtension(path);
    for (const auto& input : kInputs)
        if (extension == input.extension) return input.kind;
    return InputKind::Unknown;
}

std::optional<Project> ReadInput(const std::string& path, SizeOverride size, Console& console) {
    Diagnostics diagnostics;
    std::optional<Project> project;
    switch (KindOfInput(path)) {
    case InputKind::Project:
        project = ReadProjectFile(path, diagnostics, size);
        break;
    case InputKind::Model: {
        const MappedFile probe = MappedFile::Open(FileOnDisk(path), FileAccess::Read);
        if (!probe.valid()) {
            diagnostics.errors.push_back(path + ": the model cannot be read: " + probe.reason());
            break;
        }
        project = ReadProjectText(
            path, ProjectTextForModels({path}, FolderOfInput(path), kModelDuration, size), diagnostics, size);
        break;
    }
    case InputKind::Preset: // needs the plug-in
    case InputKind::Unknown:
        diagnostics.errors.push_back(path + ": this is no project (.json), " + kModelOrPreset);
        break;
    }
    return Tell(diagnostics, console) ? std::move(project) : std::nullopt;
}

std::unique_ptr<Host> StartHost(const SessionOptions& options, Console& console) {
    const std::string module = options.plugin.empty()
                                   ? (fs::path(ExecutablePath()).parent_path() / "Velorin.aex").string()
                                   : options.plugin;
    std::error_code ignored;
    const std::string absolute = fs::absolute(module, ignored).lexically_normal().string();
    if (!IsRegularFile(absolute)) {
        console.Error(module + ": the plug-in module does not exist");
        return nullptr;
    }
    std::string error;
    auto host = Host::Start(absolute, options.host, error);
    if (!host) console.Error(error);
    return host;
}

bool OpenProject(Session& session, Console& console) {
    Host& host = *session.host;
    HostResult result = host.Open(session.project);
    const bool applied = result.good() && ApplyEffects(session.project, host, console);
    // What the values show or hide, and then what a save would do.
    for (std::size_t i = 0; applied && result.good() && i < session.project.effects.size(); ++i)
        result = host.UpdateParameterUI(host.instance(i));
    if (applied && result.good()) result = host.Save();
    if (!result.good()) console.Error(session.project.path + ": " + result.text);
    return session.Tell(console) && applied && result.good();
}

bool OpenSession(const std::string& input, const SessionOptions& options, Console& console,
                 Session& session) {
    std::optional<Project> project;
    if (KindOfInput(input) == InputKind::Preset) {
        session.host = StartHost(options, console);
        if (session.host)
            project = ReadPresetProject(input, kModelDuration, options.size, *session.host, console);
    } else {
        project = ReadInput(input, options.size, console);
    }
    if (!project) return false;
    session.project = std::move(*project);
    if (options.depth != 0) session.project.composition.depth = options.depth;
    if (!AddSettings(options.settings, session.project, console)) return false;
    if (!session.host) session.host = StartHost(options, console);
    return session.host && OpenProject(session, console);
}

} // namespace velorin::app
