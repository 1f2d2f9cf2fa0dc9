#pragma once

#include <string>

// The folders that the system names, as UTF-8 without a closing slash; empty when there is none.
namespace velorin {

// The user's documents: XDG_DOCUMENTS_DIR of the file user-dirs.dirs, else "Documents" in the home folder;
// empty when that is no folder.
[[nodiscard]] std::string DocumentsFolder();

// Application data of all users: of the folders of XDG_DATA_DIRS ("/usr/local/share:/usr/share" when unset)
// the first that holds a folder "Quenmarworks", else the first that exists.
[[nodiscard]] std::string AllUsersDataFolder();

[[nodiscard]] std::string HomeFolder();

// TMPDIR when that is a folder, else "/tmp".
[[nodiscard]] std::string TemporaryFolder();

// The machine-wide setting `name` that an administrator may make: the first line of the file
// "/etc/quenmarworks/<name>", without blanks at its end. Empty when there is no such file. (The environment
// variable VELORIN_SETTINGS_DIR names another folder than "/etc/quenmarworks", for tests.)
[[nodiscard]] std::string MachineSetting(const std::string& name);

} // namespace velorin
