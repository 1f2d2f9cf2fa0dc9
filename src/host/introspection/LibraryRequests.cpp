#include "host/introspection/Request.h"
#include "model/ContentBundle.h"
#include "platform/FileSystem.h"
#include "services/Library.h"

#include <algorithm>
#include <string>
#include <vector>

namespace velorin {
namespace {

std::string Text(const Request& request, const char* key) {
    return request.json.value(key, std::string());
}

// Why a bundle cannot be used; empty when it is open.
std::string Open(ContentBundle& bundle, const std::string& file) {
    if (!IsRegularFile(file)) return file + ": the file does not exist";
    return bundle.IsOpen() ? std::string() : file + ": this is no bundle, or it is damaged";
}

// The items in the order of the index; of a pack without one all its entries by name.
std::vector<std::string> ItemsOf(ContentBundle& bundle) {
    if (!bundle.Items().empty()) return bundle.Items();
    std::vector<std::string> names = bundle.pack().Names();
    std::erase_if(names, [](const std::string& name) { return name.starts_with("pack_"); });
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

std::string AnswerBundleCreate(const Request& request) {
    const std::string file = Text(request, "file");
    const BundleResult result = CreateBundle(Text(request, "folder"), file, Text(request, "id"));
    if (!result.ok) return RequestError(result.error);
    Json skipped = Json::array();
    for (const auto& [name, reason] : result.skipped) skipped.push_back({{"name", name}, {"reason", reason}});
    return DumpJson(Json{{"items", result.items}, {"skipped", skipped}});
}

std::string AnswerBundleList(const Request& request) {
    const std::string file = Text(request, "file");
    ContentBundle bundle(file);
    if (const std::string error = Open(bundle, file); !error.empty()) return RequestError(error, "/file");
    Json items = Json::array();
    for (const std::string& name : ItemsOf(bundle))
        items.push_back({{"name", name}, {"bytes", bundle.pack().Get(name).bytes().size()}});
    return DumpJson(Json{{"id", bundle.Id()}, {"folders", bundle.Folders()}, {"items", items}});
}

std::string AnswerBundleExtract(const Request& request) {
    const std::string file = Text(request, "file"), name = Text(request, "entry");
    ContentBundle bundle(file);
    if (const std::string error = Open(bundle, file); !error.empty()) return RequestError(error, "/file");
    const PackEntry entry = bundle.pack().Get(name);
    if (entry) return RawReply(entry.bytes());
    return RequestUnknown(file + ": the bundle has no entry \"" + name + "\"", "/entry", ItemsOf(bundle));
}

std::string AnswerLibrary(const Request&) {
    const LibraryPlaces places = GetLibraryPlaces();
    const struct {
        const char* what;
        const std::string& folder;
    } rows[] = {{"user", places.user}, {"shared", places.shared}, {"shipped", places.beside}};
    Json json = Json::array();
    for (const auto& row : rows) {
        const bool there = !row.folder.empty() && IsFolder(row.folder);
        json.push_back({{"what", row.what},
                        {"folder", row.folder},
                        {"exists", there},
                        {"files", there ? ListFilesBelow(row.folder).size() : 0}});
    }
    return DumpJson(json);
}

} // namespace velorin
