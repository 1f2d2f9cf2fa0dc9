#include "services/Paths.h"

#include "platform/Environment.h"
#include "platform/FileSystem.h"
#include "platform/KnownFolders.h"
#include "services/StringConversion.h"

#include <cstddef>
#include <optional>

namespace velorin {
namespace {

constexpr std::size_t kValueCapacity = 500; // wide characters, with the terminating zero

bool Fits(const std::string& value) {
    return !value.empty() && Utf8ToUtf16(value).size() < kValueCapacity;
}

std::string VariableOrEmpty(const char* name) {
    std::optional<std::string> value = EnvironmentVariable(name);
    return value && Fits(*value) ? *value : std::string();
}

} // namespace

std::string GetDataPath() {
    if (std::string path = VariableOrEmpty("VELORIN_DATA_PATH"); !path.empty()) return path;
    return AllUsersDataFolder();
}

std::string GetUserPath() {
    if (std::string path = MachineSetting("VelorinUserPath"); Fits(path)) return path;
    if (std::string path = VariableOrEmpty("VELORIN_USER_PATH"); !path.empty()) return path;
    if (std::string path = DocumentsFolder(); !path.empty()) return path;
    return HomeFolder();
}

bool ChangeDirectory(const std::string& path) {
    return SetWorkingDirectory(path);
}

int RenameFile(const std::string& oldPath, const std::string& newPath) {
    return RenamePath(oldPath, newPath);
}

} // namespace velorin
