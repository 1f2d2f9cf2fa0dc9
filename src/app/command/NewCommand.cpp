#include "app/command/Commands.h"

#include "platform/FileSystem.h"

#include "services/SafeFile.h"

#include <filesystem>

namespace velorin::app {

int RunNew(const NewOptions& options) {
    Console console(false);
    if (KindOfInput(options.output) != InputKind::Project) {
        console.Error("-o " + options.output + ": a project is a .json file");
        return kWrongUsage;
    }
    if (options.files.size() > kMostModels) {
        console.Error("new: a project shows up to " + std::to_string(kMostModels) + " models, one a group");
        return kWrongUsage;
    }
    for (const std::string& file : options.files) {
        if (KindOfInput(file) != InputKind::Model) {
            console.Error(file + ": this is no model (.obj)");
            return kFailed;
        }
        if (!IsRegularFile(file)) {
            console.Error(file + ": the model does not exist");
            return kFailed;
        }
    }
    constexpr double kDuration = 5; // seconds
    std::error_code ignored;
    const std::string folder =
        std::filesystem::absolute(options.output, ignored).parent_path().lexically_normal().string();
    const std::string text = ProjectTextForModels(options.files, folder, kDuration);
    std::string error;
    if (WriteFileSafely(options.output, std::as_bytes(std::span(text)), error)) return kDone;
    console.Error(error);
    return kFailed;
}

} // namespace velorin::app
