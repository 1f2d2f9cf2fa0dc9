#pragma once

#include <string>

// Folders as UTF-8 without a closing slash. Nothing is cached: a change of the environment shows at the next
// call. A value of 500 or more UTF-16 units counts as absent.
namespace velorin {

// Folder of what ships for all users. First hit of: environment variable VELORIN_DATA_PATH; the system's
// folder of all users' application data (AllUsersDataFolder); else empty.
[[nodiscard]] std::string GetDataPath();

// Folder of what belongs to the user. First hit of: the machine's setting "VelorinUserPath" (MachineSetting:
// on Linux the first line of /etc/quenmarworks/VelorinUserPath); environment variable VELORIN_USER_PATH; the
// user's documents (DocumentsFolder); on Linux, where that folder need not exist, the home folder; else
// empty.
[[nodiscard]] std::string GetUserPath();

// Sets the process's working directory.
[[nodiscard]] bool ChangeDirectory(const std::string& path);

// Renames a file, replacing what stands at `newPath`. 0 on success, else the system's error number.
[[nodiscard]] int RenameFile(const std::string& oldPath, const std::string& newPath);

} // namespace velorin
