#include "model/ModelLoader.h"

#include "core/document/SceneModel.h"
#include "model/DefaultModel.h"
#include "model/LayerPlane.h"
#include "model/ModelCache.h"
#include "model/ModelRecord.h"
#include "model/ModelTools.h"
#include "model/PackFile.h"
#include "model/extrusion/BuildExtrusion.h"
#include "model/obj/ModelObj.h"
#include "model/primitives/BuildPrimitive.h"
#include "model/vector/VectorFile.h"
#include "services/Library.h"
#include "services/Log.h"
#include "services/Warnings.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <memory>

namespace velorin {

namespace {

std::atomic<std::uint64_t> parsedModels{0}, cachedModels{0};

std::string LowerCaseExtension(const std::string& path) {
    const auto dot = path.find_last_of("./");
    if (dot == std::string::npos || path[dot] == '/') return {};
    std::string extension = path.substr(dot);
    for (char& c : extension)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    return extension;
}

struct FileReader {
    const char* extension;
    std::unique_ptr<FileModel> (*make)();
};
constexpr FileReader kFileReaders[] = {
    {".obj", []() -> std::unique_ptr<FileModel> { return std::make_unique<ModelObj>(); }},
};

// Never throws: a reader that runs out of memory is a file that cannot be read.
bool LoadGuarded(FileModel& file, const std::string& path, bool loadMaterials, bool loadAnimation,
                 std::string& reason) {
    try {
        const bool loaded = file.Load(path, loadMaterials, loadAnimation);
        reason = file.Reason();
        return loaded;
    } catch (const std::exception& error) {
        reason = error.what();
        return false;
    }
}

bool LoadBundleEntry(const BundlePath& place, const std::string& dataFolder, ModelData& data) {
    PackFile pack;
    pack.Open(ResolveModelPath(place.bundle, dataFolder), true, false);
    const PackEntry entry = pack.Get(place.entry);
    if (ReadModelRecord(entry.stream(), data)) return true;
    const char* const reason = !entry ? "is not in its bundle" : "is no model record";
    Log("Failed to load model: %s", (place.bundle + ">" + place.entry).c_str());
    ReportWarning("Model " + place.bundle + ">" + place.entry + " " + reason + ".");
    return false;
}

// A file is parsed once; what it gave is kept in the cache, with its materials or not at all.
bool LoadFile(const SceneModel& model, const std::string& dataFolder, ModelData& data, const PathLayers&) {
    if (const auto place = SplitBundlePath(model.path)) return LoadBundleEntry(*place, dataFolder, data);
    const std::string path = ResolveModelPath(model.path, dataFolder);
    ModelCache* const cache = model.noMaterials ? nullptr : GetModelCache();
    if (cache && cache->Find(model, path, data)) {
        ++cachedModels;
        return true;
    }
    if (!LoadModelFile(path, !model.noMaterials, model.type != ModelType::Sequence, data, model.path))
        return false;
    if (cache && !cache->Store(model, path, data)) Log("No room in the model cache for %s", path.c_str());
    return true;
}

bool LoadDefaultModel(const SceneModel&, const std::string&, ModelData& data, const PathLayers&) {
    return ReadModelRecord(DefaultModelRecord(), data);
}

bool LoadLayerPlane(const SceneModel&, const std::string&, ModelData& data, const PathLayers&) {
    data = MakeLayerPlane();
    return true;
}

bool LoadPrimitive(const SceneModel& model, const std::string&, ModelData& data, const PathLayers&) {
    BuildPrimitive(data, model.primitive, model.primitiveParameters);
    return !data.vertices.empty();
}

// An extrusion whose row gives nothing is empty, and told once.
bool LoadExtrusion(const SceneModel& model, const std::string&, ModelData& data, const PathLayers& layers) {
    const PathSet* const paths = model.customPath < layers.size() ? layers[model.customPath].get() : nullptr;
    if (paths && !paths->paths.empty()) {
        BuildExtrusion(data, *paths, model, {1, 1, 1});
        return !data.vertices.empty();
    }
    ReportWarning("Extrusion \"" + model.name + "\" is empty: Path Layer " +
                  std::to_string(model.customPath + 1) +
                  (paths ? " has no closed outline." : " names no layer."));
    return false;
}

// Stored paths go before the file that they came from.
bool LoadPathExtrusion(const SceneModel& model, const std::string& dataFolder, ModelData& data,
                       const PathLayers&) {
    PathSet paths;
    if (!model.storedPaths.empty()) {
        paths.paths = model.storedPaths;
        paths.scale = model.storedPathScale;
    } else if (!LoadVectorFile(paths, ResolveModelPath(model.path, dataFolder))) {
        return false;
    }
    BuildExtrusion(data, paths, model, {1, 1, 1});
    return !data.vertices.empty();
}

// Where each kind of model has its geometry from.
struct Source {
    ModelType type;
    bool (*load)(const SceneModel& model, const std::string& dataFolder, ModelData& data,
                 const PathLayers& layers);
};
constexpr Source kSources[] = {
    {ModelType::Default, LoadDefaultModel},  {ModelType::File, LoadFile},
    {ModelType::ImportedFile, LoadFile},     {ModelType::Extrusion, LoadExtrusion},
    {ModelType::LayerPlane, LoadLayerPlane}, {ModelType::Sequence, LoadFile},
    {ModelType::Primitive, LoadPrimitive},   {ModelType::PathExtrusion, LoadPathExtrusion},
};

} // namespace

bool LoadModelData(const SceneModel& model, const std::string& dataFolder, ModelData& data,
                   const PathLayers& layers) {
    if (model.type == ModelType::Folder) return false;
    for (const Source& source : kSources)
        if (source.type == model.type) return source.load(model, dataFolder, data, layers);
    Log("Unknown kind of model: %u", static_cast<unsigned>(model.type));
    return false;
}

bool LoadModelFile(const std::string& path, bool loadMaterials, bool loadAnimation, ModelData& data,
                   const std::string& writtenAs) {
    using Clock = std::chrono::steady_clock;
    const std::string extension = LowerCaseExtension(path);
    for (const FileReader& reader : kFileReaders) {
        if (extension != reader.extension) continue;
        const auto start = Clock::now();
        const std::unique_ptr<FileModel> file = reader.make();
        std::string reason;
        if (!LoadGuarded(*file, path, loadMaterials, loadAnimation, reason)) {
            Log("Failed to load model: %s", path.c_str());
            ReportWarning("Model " + (writtenAs.empty() ? path : writtenAs) + " " + reason + ".");
            return false;
        }
        const std::chrono::duration<double, std::milli> elapsed = Clock::now() - start;
        Log("Loading Model: %.2f ms", elapsed.count());
        ImportFile(data, *file);
        ++parsedModels;
        return true;
    }
    return false;
}

ModelLoadCounts GetModelLoadCounts() {
    return {parsedModels.load(), cachedModels.load()};
}

std::string ResolveModelPath(const std::string& path, const std::string& dataFolder) {
    return FindAsset(path, dataFolder);
}

} // namespace velorin
