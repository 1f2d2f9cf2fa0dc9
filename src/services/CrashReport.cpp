#include "services/CrashReport.h"

#include "platform/CrashHandler.h"
#include "platform/KnownFolders.h"
#include "services/Version.h"

#include <string>

namespace velorin {
namespace {

// The strings behind a CrashHandlerSettings, which points into them.
struct ReportTexts {
    std::string folder, tag, message;

    ReportTexts() {
        folder = DocumentsFolder();
        if (folder.empty()) folder = TemporaryFolder();
        folder += std::string("/") + kMakerName + "/Error Logs";
        tag = std::string(kProductName) + "_v" + std::to_string(kVersionMajor) + "." +
              std::to_string(kVersionMinor) + "." + std::to_string(kVersionBuild) + "." + kVersionStage;
        message = std::string(kProductName) + " has encountered an unrecoverable error.\n\n"
                                              "Please compress the following file and contact support:\n\n";
    }
    [[nodiscard]] CrashHandlerSettings settings() const {
        return {folder.c_str(), tag.c_str(), "Debug", message.c_str()};
    }
};

} // namespace

void InstallCrashReport() {
    InstallCrashHandler(ReportTexts().settings());
}
void RemoveCrashReport() {
    RemoveCrashHandler();
}

int WriteCrashReport() {
    WriteCrashReportNow(ReportTexts().settings());
    return 1;
}

void SetCrashReportGL(const char* vendor, const char* renderer, const char* version) {
    SetCrashNote("GL vendor", vendor ? vendor : "");
    SetCrashNote("GL renderer", renderer ? renderer : "");
    SetCrashNote("GL version", version ? version : "");
}

} // namespace velorin
