#include "model/ContentBundle.h"

#include "model/ModelData.h"
#include "model/ModelLoader.h"
#include "model/ModelRecord.h"
#include "services/MappedFile.h"
#include "services/SafeFile.h"
#include "services/StringConversion.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <set>
#include <string_view>

namespace velorin {

namespace {

constexpr const char* kIdEntry = "pack_id";
constexpr const char* kFoldersEntry = "pack_folders";
constexpr const char* kIndexEntry = "pack_index";
constexpr std::string_view kSeparator = "||";

std::vector<std::string> Split(std::string_view list) {
    std::vector<std::string> parts;
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(kSeparator), list.size());
        if (end != 0) parts.emplace_back(list.substr(0, end));
        list.remove_prefix(std::min(end + kSeparator.size(), list.size()));
    }
    return parts;
}

std::string Join(const std::vector<std::string>& parts) {
    std::string list;
    for (const std::string& part : parts) {
        if (!list.empty()) list += kSeparator;
        list += part;
    }
    return list;
}

std::string TextOf(PackFile& pack, const char* name) {
    const PackEntry entry = pack.Get(name);
    return {reinterpret_cast<const char*>(entry.bytes().data()), entry.bytes().size()};
}

std::string WithSlash(const std::string& folder) {
    return folder.empty() || folder.ends_with('/') ? folder : folder + '/';
}

// What is stored as it stands.
bool IsPlainItem(const std::string& extension) {
    constexpr std::string_view kinds[] = {".qmx", ".qmt", ".qbv", ".png", ".jpg",
                                          ".hdr", ".exr", ".pic", ".dds"};
    return std::find(std::begin(kinds), std::end(kinds), extension) != std::end(kinds);
}

// What a file is in a bundle; nothing, with the reason, when it is left out.
std::optional<std::vector<std::byte>> ItemOf(const std::string& path, const std::string& name,
                                             std::string& reason) {
    const std::string extension = SmallExtension(name);
    const bool isModel = extension == ".obj";
    if (!isModel && !IsPlainItem(extension)) {
        reason = "is no model, preset or picture";
    } else if (name.find(kSeparator) != std::string::npos) {
        reason = "has \"||\" in its name, which parts the names of the index";
    } else if (isModel) {
        ModelData data;
        if (LoadModelFile(path, true, true, data, {}, &reason)) return WriteModelRecord(data, 0);
    } else {
        const MappedFile file = MappedFile::Open(path, FileAccess::Read);
        const Bytes bytes = file.bytes();
        if (!bytes.empty()) return std::vector(bytes.begin(), bytes.end());
        reason = file.valid() ? "is empty" : "cannot be read: " + file.reason();
    }
    return std::nullopt;
}

// "a/b/c.obj" stands in the folders "a/" and "a/b/".
void AddFoldersOf(const std::string& name, std::set<std::string>& folders) {
    for (std::size_t slash = name.find('/'); slash != std::string::npos; slash = name.find('/', slash + 1))
        folders.insert(name.substr(0, slash + 1));
}

bool PutText(PackFile& pack, const char* name, const std::string& text) {
    return text.empty() || pack.Put(name, AsBytes(text));
}

// Fills a new pack. False when it has no room.
bool AddFiles(PackFile& pack, const std::string& folder, const std::vector<std::string>& files,
              const std::string& id, BundleResult& result) {
    std::vector<std::string> items;
    std::set<std::string> folders;
    for (const std::string& name : files) {
        if (SmallExtension(name) == ".mtl") continue;
        std::string reason;
        const auto item = ItemOf(folder + "/" + name, name, reason);
        if (!item) {
            result.skipped.push_back({name, reason});
            continue;
        }
        if (!pack.Put(name, *item)) return false;
        items.push_back(name);
        AddFoldersOf(name, folders);
    }
    result.items = items.size();
    return PutText(pack, kIdEntry, id.empty() ? "content" : id) &&
           PutText(pack, kFoldersEntry, Join({folders.begin(), folders.end()})) &&
           PutText(pack, kIndexEntry, Join(items));
}

} // namespace

ContentBundle::ContentBundle(const std::string& path) {
    pack_.Open(path, true, false);
}

bool ContentBundle::IsOpen() {
    ReadIndex();
    return pack_.state() == PackFile::State::Open;
}

std::string ContentBundle::Id() {
    return TextOf(pack_, kIdEntry);
}

void ContentBundle::ReadIndex() {
    if (indexed_) return;
    indexed_ = true;
    folders_ = Split(TextOf(pack_, kFoldersEntry));
    items_ = Split(TextOf(pack_, kIndexEntry));
}

const std::vector<std::string>& ContentBundle::Folders() {
    ReadIndex();
    return folders_;
}

const std::vector<std::string>& ContentBundle::Items() {
    ReadIndex();
    return items_;
}

std::vector<std::string> ContentBundle::ListFolders(const std::string& parent) {
    const std::string start = WithSlash(parent);
    std::vector<std::string> names;
    std::set<std::string> seen;
    for (const std::string& folder : Folders()) {
        if (!folder.starts_with(start)) continue;
        std::string name = folder.substr(start.size());
        name = name.substr(0, name.find('/'));
        if (!name.empty() && seen.insert(name).second) names.push_back(std::move(name));
    }
    return names;
}

std::vector<std::string> ContentBundle::ListFolderItems(const std::string& folder) {
    const std::string start = WithSlash(folder);
    std::vector<std::string> names;
    for (const std::string& item : Items())
        if (item.size() > start.size() && item.starts_with(start) &&
            item.find('/', start.size()) == std::string::npos)
            names.push_back(item.substr(start.size()));
    return names;
}

std::vector<std::string> ListFilesBelow(const std::string& folder,
                                        std::vector<BundleResult::Skipped>* unread) {
    namespace fs = std::filesystem;
    std::vector<std::string> names;
    std::error_code error;
    const fs::path root(std::u8string(folder.begin(), folder.end()));
    fs::recursive_directory_iterator entry(root, fs::directory_options::skip_permission_denied, error), end;
    for (; !error && entry != end; entry.increment(error)) {
        if (entry->is_symlink(error)) continue;
        const std::string name = entry->path().lexically_relative(root).generic_string();
        if (entry->is_regular_file(error)) {
            names.push_back(name);
        } else if (unread && entry->is_directory(error)) {
            std::error_code refusal;
            const fs::directory_iterator probe(entry->path(), refusal);
            if (refusal) unread->push_back({name, "cannot be read: " + refusal.message()});
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

BundleResult CreateBundle(const std::string& folder, const std::string& path, const std::string& id) {
    BundleResult result;
    std::error_code ignored;
    const std::filesystem::path root(std::u8string(folder.begin(), folder.end()));
    if (!std::filesystem::is_directory(root, ignored)) {
        result.error = folder + ": is not a folder.";
        return result;
    }
    std::error_code refusal;
    const std::filesystem::directory_iterator probe(root, refusal);
    const std::vector<std::string> files = ListFilesBelow(folder, &result.skipped);
    SafeFile file(path);
    result.error = refusal ? folder + ": cannot be read: " + refusal.message() + "." : file.error();
    if (!result.error.empty()) return result;
    bool fits = true;
    {
        PackFile pack;
        pack.Open(file.temporary(), false, false);
        fits = AddFiles(pack, folder, files, id, result);
    }
    const std::string lock = file.temporary() + ".lock";
    std::filesystem::remove(std::u8string(lock.begin(), lock.end()), ignored);
    if (!fits)
        result.error = path + ": the bundle has no room for all files, or the disk is full.";
    else if (!file.Commit())
        result.error = file.error();
    result.ok = result.error.empty();
    return result;
}

} // namespace velorin
