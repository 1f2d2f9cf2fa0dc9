#include "app/command/Commands.h"

#include "app/command/PresetProject.h"

#include "platform/FileSystem.h"

#include "services/Library.h"
#include "services/SafeFile.h"

namespace velorin::app {

int RunNew(const Arguments& options) {
    Console console(false);
    if (KindOfInput(options.output) != InputKind::Project) {
        console.Error("-o " + options.output + ": a project is a .json file");
        return kWrongUsage;
    }
    if (options.files.size() > kMostModels) {
        console.Error("new: a project shows up to " + std::to_string(kMostModels) + " models, one a group");
        return kWrongUsage;
    }
    bool presets = false;
    for (const std::string& file : options.files) {
        const InputKind kind = KindOfInput(file);
        if (kind != InputKind::Model && kind != InputKind::Preset) {
            console.Error(file + ": this is no " + kModelOrPreset);
            return kFailed;
        }
        if (!IsRegularFile(FileOnDisk(file))) {
            console.Error(file + (kind == InputKind::Model ? ": the model does not exist"
                                                           : ": the preset does not exist"));
            return kFailed;
        }
        presets = presets || kind == InputKind::Preset;
    }
    constexpr double kDuration = 5; // seconds
    const std::string folder = FolderOfInput(options.output);
    std::optional<std::string> text;
    if (presets) {
        Session session;
        session.host = StartHost(options.session, console);
        if (session.host)
            text = ProjectTextForPresets(options.files, folder, kDuration, {}, *session.host, console);
        if (session.host && !session.Close(console)) return kFailed;
    } else {
        text = ProjectTextForModels(options.files, folder, kDuration);
    }
    if (!text) return kFailed;
    std::string error;
    if (WriteFileSafely(options.output, std::as_bytes(std::span(*text)), error)) return kDone;
    console.Error(error);
    return kFailed;
}

} // namespace velorin::app
