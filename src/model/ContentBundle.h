#pragma once

#include "model/PackFile.h"

#include <cstddef>
#include <string>
#include <vector>

// Content bundles (".qbndl"): read-only packs of models, presets and pictures with an index of their own.
namespace velorin {

class ContentBundle {
public:
    explicit ContentBundle(const std::string& path);

    // False when the file is missing or no pack.
    [[nodiscard]] bool IsOpen();
    // The bundle's identifier; empty when it has none.
    [[nodiscard]] std::string Id();
    // All folders, and the names of all items with their folders, as the index has them. Read once and kept.
    [[nodiscard]] const std::vector<std::string>& Folders();
    [[nodiscard]] const std::vector<std::string>& Items();
    // The names of the folders directly in `parent`, each once, and of the items directly in `folder`. A name
    // without its closing slash gets one; an empty one stands for the top.
    [[nodiscard]] std::vector<std::string> ListFolders(const std::string& parent);
    [[nodiscard]] std::vector<std::string> ListFolderItems(const std::string& folder);

    [[nodiscard]] PackFile& pack() { return pack_; }

private:
    void ReadIndex();

    PackFile pack_;
    bool indexed_ = false;
    std::vector<std::string> folders_, items_;
};

struct BundleResult {
    bool ok = false;
    std::string error; // one sentence that names the file
    std::size_t items = 0;
    struct Skipped {
        std::string name;   // of the file, below the folder
        std::string reason; // "is no model, preset or picture"
    };
    std::vector<Skipped> skipped;
};

// Makes a bundle of a folder: its models (".obj") as compiled records under the names of their files, its
// presets and pictures as they are. Everything stands under its path below `folder`. What is left out is
// told, but for the ".mtl" files, which are part of their models. The file is written beside its place and
// renamed over it.
[[nodiscard]] BundleResult CreateBundle(const std::string& folder, const std::string& path,
                                        const std::string& id);

// Files of a folder and all below it, as paths relative to it with "/", sorted; links are not followed.
// `unread` gets the folders among them that cannot be read, with the reason.
[[nodiscard]] std::vector<std::string> ListFilesBelow(const std::string& folder,
                                                      std::vector<BundleResult::Skipped>* unread = nullptr);

} // namespace velorin
