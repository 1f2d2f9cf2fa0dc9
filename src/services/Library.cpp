#include "services/Library.h"

#include "platform/FileSystem.h"
#include "platform/Process.h"
#include "services/Paths.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

namespace velorin {
namespace {

constexpr const char* kFolder = "/Quenmarworks";
constexpr std::string_view kBundleEnd = ".qbndl>";

bool IsAbsolute(const std::string& path) {
    return !path.empty() && (path.front() == '/' || (path.size() > 1 && path[1] == ':'));
}

std::string Join(const std::string& folder, const std::string& path) {
    return std::filesystem::path(folder.empty() ? path : folder + "/" + path)
        .lexically_normal()
        .generic_string();
}

} // namespace

LibraryPlaces GetLibraryPlaces() {
    LibraryPlaces places;
    if (const std::string user = GetUserPath(); !user.empty()) places.user = user + kFolder;
    if (const std::string data = GetDataPath(); !data.empty()) places.shared = data + kFolder;
    const std::string module = ModulePath();
    if (const std::size_t slash = module.find_last_of('/'); slash != std::string::npos)
        places.beside = module.substr(0, slash) + "/content";
    return places;
}

std::string FindAsset(const std::string& path, const std::string& dataFolder) {
    if (const auto place = SplitBundlePath(path))
        return FindAsset(place->bundle, dataFolder) + '>' + place->entry;
    std::string name = path;
    std::replace(name.begin(), name.end(), '\\', '/');
    if (IsAbsolute(name)) return Join({}, name);
    const std::string plain = Join(dataFolder, name);
    if (name.empty()) return plain;
    const LibraryPlaces places = GetLibraryPlaces();
    const std::string candidates[] = {places.user.empty() ? std::string() : Join(places.user, name), plain,
                                      places.shared.empty() ? std::string() : Join(places.shared, name),
                                      places.beside.empty() ? std::string() : Join(places.beside, name)};
    for (const std::string& candidate : candidates)
        if (!candidate.empty() && IsRegularFile(candidate)) return candidate;
    return plain;
}

std::optional<BundlePath> SplitBundlePath(const std::string& path) {
    const std::size_t at = path.find(kBundleEnd);
    if (at == std::string::npos) return std::nullopt;
    const std::size_t entry = at + kBundleEnd.size();
    return BundlePath{path.substr(0, entry - 1), path.substr(entry)};
}

std::string FileOnDisk(const std::string& path) {
    const auto place = SplitBundlePath(path);
    return place ? place->bundle : path;
}

} // namespace velorin
