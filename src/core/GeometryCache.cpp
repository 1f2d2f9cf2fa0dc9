#include "core/GeometryCache.h"

#include "core/document/AssetContext.h"
#include "core/document/SceneModel.h"
#include "model/ModelLoader.h"
#include "model/ModelTools.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "render/MeshBuffers.h"
#include "services/Library.h"
#include "services/Profiler.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <unordered_map>
#include <utility>

namespace velorin {
namespace {

// What a mesh is made from. Models of files share whatever their type says; generated kinds share by their
// settings.
struct Source {
    ModelType kind = ModelType::File;
    std::string path;         // as it is opened
    double modifiedTime = -1; // -1: no such file
    std::uint64_t fileSize = 0;
    bool noMaterials = false;
    ImportOptions options;
    PrimitiveKind primitive = PrimitiveKind::None;
    PrimitiveParameters primitiveParameters;
    std::shared_ptr<const PathSet> outlines; // of a path layer
    ExtrusionOptions extrusion;
    std::vector<std::vector<PathPoint>> storedPaths;
    float storedPathScale = 1;
    bool storedPathClosed = true;
    // Outlines are mostly the same object from frame to frame.
    [[nodiscard]] bool SameOutlines(const Source& o) const {
        return outlines == o.outlines || (outlines && o.outlines && *outlines == *o.outlines);
    }
    friend bool operator==(const Source& a, const Source& b) {
        return a.kind == b.kind && a.path == b.path && a.modifiedTime == b.modifiedTime &&
               a.fileSize == b.fileSize && a.noMaterials == b.noMaterials && a.options == b.options &&
               a.primitive == b.primitive && a.primitiveParameters == b.primitiveParameters &&
               a.extrusion == b.extrusion && a.storedPathScale == b.storedPathScale &&
               a.storedPathClosed == b.storedPathClosed && a.storedPaths == b.storedPaths &&
               a.SameOutlines(b);
    }
};

bool IsFile(ModelType type) {
    return type == ModelType::File || type == ModelType::ImportedFile || type == ModelType::Sequence;
}

// Whether both are one state of one file, however it is processed.
bool IsSameFile(const Source& a, const Source& b) {
    return a.kind == ModelType::File && b.kind == a.kind && a.path == b.path &&
           a.noMaterials == b.noMaterials && a.modifiedTime == b.modifiedTime && a.fileSize == b.fileSize;
}

Source SourceOf(const SceneModel& model, const std::string& path, const PathLayers& layers) {
    Source source;
    source.kind = IsFile(model.type) ? ModelType::File : model.type;
    source.options = model;
    if (IsFile(model.type) || model.type == ModelType::PathExtrusion) {
        source.path = ResolveModelPath(path, model.context ? model.context->dataFolder : std::string());
        if (const auto facts = GetFileFacts(FileOnDisk(source.path))) {
            source.modifiedTime = facts->modifiedTime;
            source.fileSize = facts->size;
        }
        source.noMaterials = model.noMaterials;
    }
    if (model.type == ModelType::Primitive) {
        source.primitive = model.primitive;
        source.primitiveParameters = model.primitiveParameters;
    }
    if (IsExtrusion(model.type)) {
        if (model.type == ModelType::Extrusion && model.customPath < layers.size())
            source.outlines = layers[model.customPath];
        source.extrusion = model;
        source.storedPaths = model.storedPaths;
        source.storedPathScale = model.storedPathScale;
        source.storedPathClosed = model.storedPathClosed;
    }
    return source;
}

// `path` takes the place of the model's.
bool ReadSource(const SceneModel& model, const std::string& path, const PathLayers& layers, ModelData& data) {
    const std::string folder = model.context ? model.context->dataFolder : std::string();
    if (path == model.path) return LoadModelData(model, folder, data, layers);
    SceneModel frame(model);
    frame.path = path;
    return LoadModelData(frame, folder, data, layers);
}

std::unique_ptr<MeshBuffers> Prepare(ModelData data, const Source& source) {
    auto mesh = std::make_unique<MeshBuffers>(PrepareMesh(std::move(data), source.options));
    mesh->sourcePath = source.path;
    mesh->sourceTime = source.modifiedTime;
    return mesh;
}

} // namespace

struct GeometryCache::State {
    struct Entry {
        Source source;
        std::unique_ptr<MeshBuffers> mesh; // null: what was found has no geometry
        std::uint32_t uses = 0;
    };
    std::unordered_multimap<std::string, Entry> byPath;

    // Generated kinds have no path to tell them apart; each of their settings gets a number.
    std::deque<std::pair<Source, std::uint64_t>> generated;
    std::uint64_t lastGenerated = 0;
    static constexpr std::size_t kMostGenerated = 64;
    // Kept over a frame; a sequence can name any number of files that are not there.
    static constexpr std::size_t kMostFailures = 4096;

    // Files that were read but not yet asked for as meshes.
    std::deque<std::pair<Source, ModelData>> fresh;

    // Reads the source, or takes what was read of it.
    bool Take(const SceneModel& model, const std::string& path, const Source& source,
              const PathLayers& layers, ModelData& data) {
        const auto known = std::find_if(fresh.begin(), fresh.end(),
                                        [&](const auto& item) { return IsSameFile(item.first, source); });
        if (known == fresh.end()) return ReadSource(model, path, layers, data);
        data = std::move(known->second);
        fresh.erase(known);
        return true;
    }

    Entry* Of(const MeshBuffers* mesh) {
        const auto [first, last] = byPath.equal_range(mesh->sourcePath);
        for (auto at = first; at != last; ++at)
            if (at->second.mesh.get() == mesh) return &at->second;
        return nullptr;
    }
};

GeometryCache::GeometryCache() : state_(std::make_unique<State>()) {
}
GeometryCache::~GeometryCache() = default;

MeshBuffers* GeometryCache::Find(const SceneModel& model, const std::string& path, const PathLayers& layers) {
    if (model.type == ModelType::Folder) return nullptr;
    const Source source = SourceOf(model, path, layers);
    const auto [first, last] = state_->byPath.equal_range(source.path);
    for (auto at = first; at != last; ++at)
        if (at->second.source == source) return at->second.mesh.get();
    // Failures that the file has outlived.
    for (auto at = first; at != last;) {
        const bool outlived = !at->second.mesh && at->second.source.kind == source.kind;
        at = outlived ? state_->byPath.erase(at) : std::next(at);
    }
    std::unique_ptr<MeshBuffers> mesh;
    {
        VELORIN_PROFILE("Velorin::FindGeometry", "LoadModel");
        ModelData data;
        if (state_->Take(model, path, source, layers, data)) mesh = Prepare(std::move(data), source);
    }
    if (mesh) ++loaded_;
    // Outlines that give nothing may pass with the frame.
    if (!mesh && model.type == ModelType::Extrusion) return nullptr;
    return state_->byPath.emplace(source.path, State::Entry{source, std::move(mesh), 0})->second.mesh.get();
}

const ModelData* GeometryCache::Read(const SceneModel& model) {
    if (model.type == ModelType::Folder) return nullptr;
    Source source = SourceOf(model, model.path, {});
    auto& fresh = state_->fresh;
    const auto known = std::find_if(fresh.begin(), fresh.end(),
                                    [&](const auto& item) { return IsSameFile(item.first, source); });
    if (known != fresh.end()) return &known->second;
    ModelData data;
    if (!ReadSource(model, model.path, {}, data)) return nullptr;
    return &fresh.emplace_back(std::move(source), std::move(data)).second;
}

std::string GeometryCache::Key(const SceneModel& model, const std::string& path,
                               const PathLayers& layers) const {
    const Source source = SourceOf(model, path, layers);
    std::string key = std::to_string(static_cast<unsigned>(source.kind)) + '|' + source.path;
    key += '|' + std::to_string(source.modifiedTime) + '|' + std::to_string(source.fileSize);
    if (IsFile(model.type)) return key;
    auto& generated = state_->generated;
    auto known =
        std::find_if(generated.begin(), generated.end(), [&](const auto& g) { return g.first == source; });
    if (known == generated.end()) {
        if (generated.size() == State::kMostGenerated) generated.pop_front();
        known = generated.insert(generated.end(), {source, ++state_->lastGenerated});
    }
    return key + '|' + std::to_string(known->second);
}

void GeometryCache::AddUse(const MeshBuffers* mesh) {
    if (State::Entry* const entry = mesh ? state_->Of(mesh) : nullptr) ++entry->uses;
}

void GeometryCache::DropUse(const MeshBuffers* mesh) {
    if (State::Entry* const entry = mesh ? state_->Of(mesh) : nullptr; entry && entry->uses > 0)
        --entry->uses;
}

MeshBuffers* GeometryCache::FindId(std::uint64_t id) const {
    for (const auto& [path, entry] : state_->byPath)
        if (entry.mesh && entry.mesh->id() == id) return entry.mesh.get();
    return nullptr;
}

void GeometryCache::FreeUnused() {
    const std::size_t failures = state_->byPath.size() - size();
    std::erase_if(state_->byPath, [&](const auto& item) {
        return item.second.mesh ? item.second.uses == 0 : failures > State::kMostFailures;
    });
    state_->fresh.clear();
}

std::vector<GeometryCache::Uses> GeometryCache::uses() const {
    std::vector<Uses> list;
    for (const auto& [path, entry] : state_->byPath)
        if (entry.mesh) list.push_back({path, entry.uses});
    return list;
}

std::size_t GeometryCache::size() const {
    return static_cast<std::size_t>(
        std::count_if(state_->byPath.begin(), state_->byPath.end(),
                      [](const auto& item) { return item.second.mesh != nullptr; }));
}

void GeometryCache::Clear() {
    state_->byPath.clear();
    state_->fresh.clear();
}

GeometryFacts FactsOf(const MeshBuffers& mesh) {
    const PreparedMesh& prepared = mesh.prepared();
    return {prepared.size, prepared.center, prepared.boundsMin, prepared.boundsMax};
}

} // namespace velorin
