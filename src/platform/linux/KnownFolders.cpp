#include "platform/KnownFolders.h"

#include "platform/Environment.h"
#include "platform/FileSystem.h"

#include <pwd.h>
#include <unistd.h>

#include <fstream>
#include <string_view>

namespace velorin {
namespace {

std::string WithoutClosingSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

// The value of XDG_DOCUMENTS_DIR in the user's file of folders: a quoted string that is absolute or starts
// with
// "$HOME/" (freedesktop.org, xdg-user-dirs).
std::string ConfiguredDocuments(const std::string& home) {
    const std::string folder = EnvironmentVariable("XDG_CONFIG_HOME").value_or(home + "/.config");
    std::ifstream file(folder + "/user-dirs.dirs");
    constexpr std::string_view key = "XDG_DOCUMENTS_DIR=\"", homeVariable = "$HOME";
    for (std::string line; std::getline(file, line);) {
        if (line.compare(0, key.size(), key) != 0) continue;
        std::string path;
        for (std::size_t i = key.size(); i < line.size() && line[i] != '"'; ++i) {
            if (line[i] == '\\' && i + 1 < line.size()) ++i;
            path += line[i];
        }
        if (path.compare(0, homeVariable.size(), homeVariable) == 0)
            path.replace(0, homeVariable.size(), home);
        return path.starts_with('/') ? WithoutClosingSlash(path) : std::string();
    }
    return {};
}

} // namespace

std::string HomeFolder() {
    if (const auto home = EnvironmentVariable("HOME")) return WithoutClosingSlash(*home);
    const passwd* entry = getpwuid(getuid());
    return entry && entry->pw_dir ? WithoutClosingSlash(entry->pw_dir) : std::string();
}

std::string DocumentsFolder() {
    const std::string home = HomeFolder();
    std::string folder = ConfiguredDocuments(home);
    if (folder.empty() && !home.empty()) folder = home + "/Documents";
    return IsFolder(folder) ? folder : std::string();
}

std::string AllUsersDataFolder() {
    const std::string list = EnvironmentVariable("XDG_DATA_DIRS").value_or("/usr/local/share:/usr/share");
    std::string first;
    for (std::size_t start = 0; start <= list.size();) {
        std::size_t end = list.find(':', start);
        if (end == std::string::npos) end = list.size();
        const std::string folder = WithoutClosingSlash(list.substr(start, end - start));
        start = end + 1;
        if (!folder.starts_with('/') || !IsFolder(folder)) continue;
        if (IsFolder(folder + "/Quenmarworks")) return folder;
        if (first.empty()) first = folder;
    }
    return first;
}

std::string TemporaryFolder() {
    const auto folder = EnvironmentVariable("TMPDIR");
    return folder && IsFolder(*folder) ? WithoutClosingSlash(*folder) : "/tmp";
}

std::string MachineSetting(const std::string& name) {
    const std::string folder = EnvironmentVariable("VELORIN_SETTINGS_DIR").value_or("/etc/quenmarworks");
    if (!IsRegularFile(folder + "/" + name)) return {};
    std::ifstream file(folder + "/" + name);
    std::string line;
    std::getline(file, line);
    while (!line.empty() && static_cast<unsigned char>(line.back()) <= ' ') line.pop_back();
    return line;
}

} // namespace velorin
