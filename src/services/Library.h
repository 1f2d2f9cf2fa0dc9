#pragma once

#include <optional>
#include <string>
#include <vector>

// The content library: folders of models ("Models"), materials ("Materials", with the environment maps in
// "Materials/Environment") and bevels ("Bevels"). The user's own comes before the one that ships, so that a
// file of the user takes the place of the shipped one of the same name.
namespace velorin {

// Folders as UTF-8 without a closing slash; empty where the system names none. Nothing is cached.
struct LibraryPlaces {
    std::string user;   // "<user path>/Quenmarworks"
    std::string shared; // "<data path>/Quenmarworks": installed for all users of the machine
    std::string
        beside; // "content" in the folder of the module: in a build tree, and where all came in one folder
};
[[nodiscard]] LibraryPlaces GetLibraryPlaces();

// The file that a path of a scene stands for. An absolute path is itself. A relative one is looked for in the
// user's library, in `dataFolder` (empty: the working directory), then in the shipped library; a file that is
// nowhere gets its path in `dataFolder`. "." and ".." are resolved, backslashes become slashes. Of a path
// into a content bundle ("content.qbndl>entry") the bundle is looked for.
[[nodiscard]] std::string FindAsset(const std::string& path, const std::string& dataFolder);

// The two parts of a path into a content bundle, "content.qbndl>folder/ship.obj"; nothing for other paths.
struct BundlePath {
    std::string bundle;
    std::string entry;
};
[[nodiscard]] std::optional<BundlePath> SplitBundlePath(const std::string& path);
// The file that a path leads to: of a path into a bundle the bundle, else the path itself.
[[nodiscard]] std::string FileOnDisk(const std::string& path);

} // namespace velorin
