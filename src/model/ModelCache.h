#pragma once

#include "model/PackFile.h"

#include <string>

namespace velorin {

class SceneModel;
struct ModelData;

// The user's store of compiled models, so that a file is parsed once: a pack of model records by the path
// that the model has in its scene. A cache that is full, damaged or cannot be written only costs time.
class ModelCache {
public:
    // In the user's folder; nothing touches the disk before the first use.
    explicit ModelCache(const std::string& name = "model_cache_2");

    // Fills `data` from the record of a model whose file stands at `filePath`. False when there is none, or
    // when the file has changed since: it, or the ".mtl" file of its name beside it, is younger than the
    // record, or it has another size. A record of another version wipes the cache.
    [[nodiscard]] bool Find(const SceneModel& model, const std::string& filePath, ModelData& data);
    // Puts the record of a model that was read from `filePath` into the cache. False when it did not fit.
    bool Store(const SceneModel& model, const std::string& filePath, const ModelData& data);

    [[nodiscard]] PackFile& pack() { return pack_; }

private:
    PackFile pack_;
};

// The cache that LoadModelData uses; null, as at the start, for none. Set by the process that renders for the
// user, before it loads a model; the cache must outlive its use.
void SetModelCache(ModelCache* cache);
[[nodiscard]] ModelCache* GetModelCache();

} // namespace velorin
