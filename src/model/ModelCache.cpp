#include "model/ModelCache.h"

#include "core/document/SceneModel.h"
#include "model/ModelRecord.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <optional>

namespace velorin {

namespace {

std::atomic<ModelCache*> processCache{nullptr};

// Of the file and of the materials that exporters write beside it.
double LatestChange(const std::string& path) {
    std::filesystem::path materials(std::u8string(path.begin(), path.end()));
    materials.replace_extension(".mtl");
    const std::u8string name = materials.u8string();
    return std::max(PackTimeOfFile(path), PackTimeOfFile(std::string(name.begin(), name.end())));
}

// The low 32 bits, as a record keeps them.
std::optional<std::uint32_t> StoredSizeOf(const std::string& path) {
    std::error_code error;
    const auto size = std::filesystem::file_size(std::u8string(path.begin(), path.end()), error);
    if (error) return std::nullopt;
    return static_cast<std::uint32_t>(size);
}

} // namespace

ModelCache::ModelCache(const std::string& name) {
    pack_.Open(name, false, true);
}

bool ModelCache::Find(const SceneModel& model, const std::string& filePath, ModelData& data) {
    const auto size = StoredSizeOf(filePath);
    if (!size) return false;
    bool damaged = false;
    {
        const PackEntry entry = pack_.Get(model.path);
        if (entry && entry.created() >= LatestChange(filePath)) {
            const auto head = ReadModelRecordHead(entry.stream());
            damaged = !head || head->version != kModelRecordVersion;
            if (!damaged && head->sourceSize == *size) {
                if (ReadModelRecord(entry.stream(), data)) return true;
                damaged = true;
            }
        }
    }
    if (damaged || pack_.state() == PackFile::State::Failed) pack_.Clear();
    return false;
}

bool ModelCache::Store(const SceneModel& model, const std::string& filePath, const ModelData& data) {
    const auto size = StoredSizeOf(filePath);
    if (!size) return false;
    if (pack_.state() == PackFile::State::Failed) pack_.Clear();
    return pack_.Put(model.path, WriteModelRecord(data, *size));
}

void SetModelCache(ModelCache* cache) {
    processCache.store(cache);
}

ModelCache* GetModelCache() {
    return processCache.load();
}

} // namespace velorin
