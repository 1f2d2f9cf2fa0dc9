#include "model/ModelPaths.h"

#include <algorithm>

namespace velorin {

std::string FolderOf(const std::string& path) {
    const auto slash = path.find_last_of('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

std::string JoinPath(const std::string& folder, std::string_view path) {
    std::string name(path);
    std::replace(name.begin(), name.end(), '\\', '/');
    const bool absolute = name.starts_with('/') || (name.size() > 1 && name[1] == ':');
    return absolute || folder.empty() ? name : folder + "/" + name;
}

} // namespace velorin
