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
#include "services/StringConversion.h"
#include "services/Warnings.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <iterator>
#include <memory>
#include <utility>

namespace velorin {

namespace {

std::atomic<std::uint64_t> parsedModels{0}, cachedModels{0};

struct FileReader {
    const char* extension;
    std::unique_ptr<FileModel> (*make)(); // null for a kind that is known but has no reader
};
constexpr FileReader kFileReaders[] = {
    {".obj", []() -> std::unique_ptr<FileModel> { return std::make_unique<ModelObj>(); }},
    {".c4d", nullptr},
};

// Null for a file of an unknown kind.
const FileReader* FindReader(const std::string& path) {
    const std::string extension = SmallExtension(path);
    const auto found = std::find_if(std::begin(kFileReaders), std::end(kFileReaders),
                                    [&](const FileReader& reader) { return extension == reader.extension; });
    return found == std::end(kFileReaders) ? nullptr : &*found;
}

void WarnOf(const std::string& path, const std::string& reason) {
    ReportWarning("Model " + path + " " + reason + ".");
}

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
    const std::string path = place.bundle + ">" + place.entry;
    Log("Failed to load model: %s", path.c_str());
    if (entry)
        WarnOf(path, "is no model record");
    else if (pack.state() == PackFile::State::Open)
        WarnOf(path, "is not in its bundle");
    else if (pack.state() == PackFile::State::Unavailable)
        WarnOf(path, "cannot be read: its bundle cannot be opened");
    else
        WarnOf(path, "cannot be read: its bundle is damaged");
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
    if (!LoadModelFile(path, !model.noMaterials, model.type != ModelType::Sequence, data, model.path)) {
        if (!model.path.empty() && !FindReader(path)) WarnOf(model.path, "is of no known kind of model file");
        return false;
    }
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
                   const std::string& writtenAs, std::string* reason) {
    using Clock = std::chrono::steady_clock;
    const FileReader* const reader = FindReader(path);
    if (!reader) return false;
    const auto start = Clock::now();
    const std::unique_ptr<FileModel> file = reader->make ? reader->make() : nullptr;
    std::string why = "is of a kind that this version does not read";
    if (!file || !LoadGuarded(*file, path, loadMaterials, loadAnimation, why)) {
        Log("Failed to load model: %s", path.c_str());
        if (reason)
            *reason = std::move(why);
        else
            WarnOf(writtenAs.empty() ? path : writtenAs, why);
        return false;
    }
    const std::chrono::duration<double, std::milli> elapsed = Clock::now() - start;
    Log("Loading Model: %.2f ms", elapsed.count());
    ImportFile(data, *file);
    ++parsedModels;
    return true;
}

ModelLoadCounts GetModelLoadCounts() {
    return {parsedModels.load(), cachedModels.load()};
}

std::string ResolveModelPath(const std::string& path, const std::string& dataFolder) {
    return FindAsset(path, dataFolder);
}

} // namespace velorin
