#include "core/Velorin.h"

#include "core/DrawBuilder.h"
#include "core/ExportScene.h"
#include "core/GeometryCache.h"
#include "core/Replicator.h"
#include "core/SequencePath.h"
#include "core/document/Scene.h"
#include "model/ModelCache.h"
#include "platform/FileSystem.h"
#include "platform/MessageBox.h"
#include "platform/Process.h"
#include "render/MeshBuffers.h"
#include "render/RenderSettings.h"
#include "render/VelorinRenderer.h"
#include "services/Log.h"
#include "services/MappedFile.h"
#include "services/Paths.h"
#include "services/Profiler.h"
#include "services/SafeFile.h"
#include "services/Version.h"
#include "services/Warnings.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <unordered_map>

namespace velorin {
namespace {

constexpr const char* kInitFailedTitle = "Failed to initialize OpenGL";
constexpr const char* kInitFailedText = "Velorin failed to initialize OpenGL.\n\nPlease ensure your GPU "
                                        "drivers are up to date, and that your GPU is "
                                        "compatible.\n\nIf the problem persists, please contact support.";
constexpr const char* kRigTableFile = "velorin2_rig_tables";
constexpr const char* kBuildFile = "velorin2_build";

// Memory that nobody asks the system about.
constexpr std::uint64_t kSmall = 64u << 20;

// Of what is free, the share that one kind of array of a frame may take: the frame needs several beside it.
// `held` are the bytes that the arrays have from the frame before, so that every frame has the same room.
std::uint64_t MemoryForArrays(std::uint64_t held) {
    return std::max((AvailableMemory() + held) / 3, kSmall);
}

template <class T>
std::uint64_t HeldBy(const std::vector<T>& array) {
    return array.capacity() * sizeof(T);
}

void RefuseGroup(std::size_t groupIndex, std::uint64_t bytes, const char* what) {
    char sentence[200];
    std::snprintf(sentence, sizeof sentence, "Group %zu is not drawn: its %s would take %.1f GB of memory.",
                  groupIndex + 1, what, static_cast<double>(bytes) * 1e-9);
    ReportWarning(sentence);
}

// Records the running build beside the user's data; a file that says so already is left alone.
void RecordBuild(const std::string& folder) {
    const std::string path = folder + "/" + kBuildFile;
    const std::string build = std::to_string(kVersionMajor) + "." + std::to_string(kVersionMinor) + "." +
                              std::to_string(kVersionBuild) + "\n";
    {
        const MappedFile file = MappedFile::Open(path, FileAccess::Read);
        const Bytes bytes = file.bytes();
        if (file.valid() && bytes.size() == build.size() &&
            std::equal(bytes.begin(), bytes.end(), AsBytes(build).begin()))
            return;
    }
    std::string error;
    if (!WriteFileSafely(path, AsBytes(build), error)) Log("%s", error.c_str());
}

// A model at a frame, for the plans of a group.
struct PlanKey {
    const SceneModel* model;
    std::uint32_t frame;
    friend bool operator==(const PlanKey&, const PlanKey&) = default;
};
struct PlanKeyHash {
    std::size_t operator()(const PlanKey& key) const {
        return std::hash<const void*>{}(key.model) ^ (key.frame * std::size_t{0x9e3779b97f4a7c15});
    }
};

} // namespace

struct Velorin::State : SurfaceSource {
    State() = default;
    ~State() override {
        if (modelCache && GetModelCache() == modelCache.get()) SetModelCache(nullptr);
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    GeometryCache cache;
    std::unique_ptr<ModelCache> modelCache; // on the disk; null before Initialize
    std::unordered_map<PlanKey, MeshBuffers*, PlanKeyHash> geometryByModel; // of the frame at hand
    std::vector<bool> usedModels; // of the loadedModels of the instance at hand
    DrawScratch scratch;
    std::deque<DeformParameters> deforms;
    PathLayers pathLayers; // of the instance whose particles are being built

    [[nodiscard]] std::string SurfaceKey(const SceneModel& model, const std::string& path) override {
        return cache.Key(model, path, pathLayers);
    }
    [[nodiscard]] Vertices ReadSurface(const SceneModel& model, const std::string& path) override;

    MeshBuffers* Use(FrameParams& params, const SceneModel& model, const std::string& path);
    void AssignGroup(FrameParams& params, std::size_t groupIndex, const Velorin& core);
    std::uint32_t MakePlan(FrameParams& params, std::size_t groupIndex, const SlotModel& slot,
                           const Velorin& core);
    void DropUnused(FrameParams& params);
};

SurfaceSource::Vertices Velorin::State::ReadSurface(const SceneModel& model, const std::string& path) {
    Vertices result;
    const MeshBuffers* const mesh = cache.Find(model, path, pathLayers);
    if (!mesh || mesh->empty()) return result;
    result.facts = FactsOf(*mesh);
    result.vertices = mesh->ReadVertices();
    const ModelTriangles triangles = mesh->ReadTriangles();
    result.meshes.assign(result.vertices.size(), 0);
    std::uint32_t number = 0;
    for (const MeshRange& range : mesh->meshes()) {
        for (const GroupRange& group : range.groups)
            for (std::size_t t = group.firstIndex; t < std::size_t{group.firstIndex} + group.indexCount; ++t)
                if (t < triangles.size())
                    for (const std::uint32_t vertex : triangles[t])
                        if (vertex < result.meshes.size()) result.meshes[vertex] = number;
        ++number;
    }
    return result;
}

// The mesh of a model for an instance: its bit is set, and it is counted as a use when it is new to the
// instance.
MeshBuffers* Velorin::State::Use(FrameParams& params, const SceneModel& model, const std::string& path) {
    MeshBuffers* const mesh = cache.Find(model, path, params.pathLayers);
    if (!mesh) return nullptr;
    auto& loaded = params.loadedModels;
    auto place = std::find(loaded.begin(), loaded.end(), mesh);
    if (place == loaded.end()) {
        cache.AddUse(mesh);
        place = std::find(loaded.begin(), loaded.end(), nullptr);
        if (place == loaded.end()) place = loaded.insert(loaded.end(), mesh);
        *place = mesh;
    }
    const auto index = static_cast<std::size_t>(place - loaded.begin());
    if (usedModels.size() < loaded.size()) usedModels.resize(loaded.size());
    usedModels[index] = true;
    return mesh;
}

// Slots of a group with their geometry and plans.
void Velorin::State::AssignGroup(FrameParams& params, std::size_t groupIndex, const Velorin& core) {
    GroupSlots& slots = scratch.slots[groupIndex];
    GroupPlans& plans = scratch.plans[groupIndex];
    const GroupParams& group = params.groups[groupIndex];
    plans.Clear();
    const auto models = GroupModels(params, groupIndex);
    const std::uint64_t refused =
        AssignModels(group, models, params.particles[groupIndex].size(),
                     MemoryForArrays(HeldBy(slots.slots) + HeldBy(slots.first)), slots);
    if (refused > 0) RefuseGroup(groupIndex, refused, "models");

    constexpr std::uint32_t kNone = 0xffffffffu;
    std::vector<std::uint32_t> planOfStill; // by the model's number, for frame 0
    std::unordered_map<PlanKey, std::uint32_t, PlanKeyHash> planOfFrame;
    for (SlotModel& slot : slots.slots) {
        if (slot.plan >= planOfStill.size()) planOfStill.resize(slot.plan + 1, kNone);
        std::uint32_t& plan = slot.frame == 0
                                  ? planOfStill[slot.plan]
                                  : planOfFrame.try_emplace({slot.model, slot.frame}, kNone).first->second;
        if (plan == kNone) plan = MakePlan(params, groupIndex, slot, core);
        slot.plan = plan;
    }
}

std::uint32_t Velorin::State::MakePlan(FrameParams& params, std::size_t groupIndex, const SlotModel& slot,
                                       const Velorin& core) {
    const SceneModel& model = *slot.model;
    const auto [known, isNew] = geometryByModel.try_emplace({slot.model, slot.frame}, nullptr);
    if (isNew && model.type != ModelType::Folder)
        known->second =
            Use(params, model,
                model.type == ModelType::Sequence ? SequenceFramePath(model.path, slot.frame) : model.path);
    return AddPlan(scratch.plans[groupIndex], model, known->second, params.groups[groupIndex],
                   core.RigInfo(model));
}

void Velorin::State::DropUnused(FrameParams& params) {
    usedModels.resize(params.loadedModels.size());
    for (std::size_t i = 0; i < params.loadedModels.size(); ++i) {
        if (usedModels[i] || !params.loadedModels[i]) continue;
        cache.DropUse(params.loadedModels[i]);
        params.loadedModels[i] = nullptr;
    }
    cache.FreeUnused();
}

Velorin::Velorin() : state_(std::make_unique<State>()) {
}

Velorin::~Velorin() {
    Shutdown();
}

void Velorin::Initialize() {
    drawList_.Clear();
    state_->deforms.clear();
    rigTables_.clear();

    const std::string userPath = GetUserPath();
    dataDirectory_ = userPath + "/Quenmarworks";
    if (!MakeFolder(dataDirectory_))
        Log("Cannot make the folder %s", dataDirectory_.c_str());
    else
        RecordBuild(dataDirectory_);
    // A process without a core has its models loaded by another and needs no cache.
    state_->modelCache = std::make_unique<ModelCache>();
    SetModelCache(state_->modelCache.get());
    LoadRigTables(dataDirectory_ + "/" + kRigTableFile);

    velorinRenderer_.reset();
    glReady_ = renderer->ready() && renderer->SetContext();
    if (glReady_) {
        velorinRenderer_ = std::make_unique<VelorinRenderer>(*renderer);
        glReady_ = velorinRenderer_->Initialize(GetDataPath());
    }
    if (!glReady_ && !renderEngine) ShowMessage(kInitFailedTitle, kInitFailedText);
    vendorChecked_ = isAti_ = false;
}

void Velorin::Shutdown() {
    drawList_.Clear();
    state_ = std::make_unique<State>();
    if (renderer && renderer->ready()) renderer->SetContext();
    velorinRenderer_.reset();
    glReady_ = false;
    if (renderer) renderer->Shutdown();
}

bool Velorin::BuildFrame(FrameParams& params, Point3 cameraPosition, int group) {
    VELORIN_PROFILE("Velorin::BuildFrame", "BuildFrame");
    std::string refused;
    state_->pathLayers = params.pathLayers;
    std::uint64_t held = 0;
    for (const auto& particles : params.particles) held += HeldBy(particles);
    BuildParticles(params, *state_, cameraPosition, group, MemoryForArrays(held), refused);
    if (refused.empty()) return true;
    ReportWarning(refused);
    return false;
}

void Velorin::LoadAssignModels(FrameParams& params) {
    VELORIN_PROFILE("Velorin::SetRender", "LoadAssignModels");
    state_->geometryByModel.clear();
    state_->usedModels.assign(params.loadedModels.size(), false);
    for (std::size_t g = 0; g < kGroupCount; ++g) state_->AssignGroup(params, g, *this);
    // What the document keeps of its geometry.
    for (const auto& [key, mesh] : state_->geometryByModel) {
        if (!mesh) continue;
        auto& model = const_cast<SceneModel&>(*key.model);
        model.hasRig = mesh->prepared().hasLayers;
        model.hasBakedAnimation = mesh->prepared().hasMeshTracks;
        model.needsLoad = false;
    }
}

void Velorin::SetRender(std::uint32_t, FrameParams& params, Point3 cameraPosition) {
    VELORIN_PROFILE("Velorin::SetRender", "SetRender");
    if (params.settings && params.scene) params.settings->environment.channel = &params.scene->environment;
    LoadAssignModels(params);

    DrawBuilder builder(params, state_->scratch, cameraPosition, drawList_, state_->deforms);
    const AnimationEngineParams& engine = params.engine;
    const std::uint64_t memory = MemoryForArrays(HeldBy(drawList_.records) + HeldBy(drawList_.instances));
    std::uint64_t taken =
        DrawBuilder::Needs{drawList_.records.size(), drawList_.instances.size(), drawList_.deforms.size()}
            .bytes(); // by the instances before this one
    const auto fits = [&](std::size_t g, const DrawBuilder::Needs& needs) {
        if (needs.bytes() > memory - std::min(taken, memory)) {
            RefuseGroup(g, needs.bytes(), "models");
            return false;
        }
        taken += needs.bytes();
        builder.Reserve(needs);
        return true;
    };
    try {
        if (engine.enabled && engine.start() < kGroupCount && engine.finish() < kGroupCount &&
            fits(engine.start(), builder.EngineNeeds()))
            builder.AddEngineGroups();
        for (std::size_t g = 0; g < kGroupCount; ++g) {
            if (engine.enabled && SideOf(engine, g) != EngineSide::None) continue;
            if (fits(g, builder.GroupNeeds(g))) builder.AddGroup(g);
        }
    } catch (const std::bad_alloc&) {
        drawList_.Clear();
        ReportWarning("The frame is not drawn: there is not enough memory for its models.");
    }
    state_->DropUnused(params);
}

void Velorin::Render(const RenderSettings& settings, float weight) {
    VELORIN_PROFILE("Velorin::Render", "Render");
    if (!vendorChecked_) {
        vendorChecked_ = true;
        isAti_ = renderer->driver().isAti;
    }
    if (glReady_ && velorinRenderer_->IsReady() && renderer->SetContext()) {
        velorinRenderer_->Render(settings, drawList_, weight >= 1);
        renderer->BlendToFinal(weight);
    }
    DropFrame();
}

bool Velorin::EndRender() {
    DropFrame();
    if (!glReady_ || !renderer->SetContext()) return false;
    const bool written = renderer->EndRender();
    velorinRenderer_->EndRender();
    return written;
}

bool Velorin::ExportObj(FrameParams& params, Point3 cameraPosition, int group, const std::string& path,
                        std::string& error) {
    DropFrame();
    const bool built = BuildFrame(params, cameraPosition);
    SetRender(0, params, cameraPosition);
    bool good = built;
    if (built) {
        good = ExportScene(drawList_, group, GetDataPath(), path, error);
    } else {
        error = path + ": is not written: a group has more particles than memory can hold.";
    }
    DropFrame();
    return good;
}

void Velorin::DropFrame() {
    drawList_.Clear();
    state_->deforms.clear();
}

MeshBuffers* Velorin::FindGeometry(FrameParams& params, const SceneModel& model) {
    return state_->Use(params, model, model.path);
}

const ModelData* Velorin::ReadGeometry(const SceneModel& model) {
    return state_->cache.Read(model);
}

const RigTable& Velorin::RigInfo(const SceneModel& model) const {
    if (rigTables_.empty()) return DefaultRigTable();
    const auto found = rigTables_.find(RigKey(model.path));
    return found == rigTables_.end() ? DefaultRigTable() : found->second;
}

bool Velorin::LoadRigTables(const std::string& path) {
    const MappedFile file = MappedFile::Open(path, FileAccess::Read);
    if (!file.valid()) return false;
    const Bytes bytes = file.bytes();
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (const std::size_t unread = ReadRigTables(text, rigTables_))
        LogError("%s: %zu lines are no rig tables", path.c_str(), unread);
    return true;
}

bool Velorin::HoldModel(std::uint64_t id, std::vector<MeshBuffers*>& held) {
    MeshBuffers* const mesh = state_->cache.FindId(id);
    if (!mesh) return false;
    state_->cache.AddUse(mesh);
    held.push_back(mesh);
    return true;
}

void Velorin::ReleaseModels(std::vector<MeshBuffers*>& held) {
    for (const MeshBuffers* mesh : held) state_->cache.DropUse(mesh);
    held.clear();
}

void Velorin::FreeUnusedModels() {
    state_->cache.FreeUnused();
}

const GeometryCache& Velorin::geometryCache() const {
    return state_->cache;
}

std::size_t Velorin::cachedModels() const {
    return state_->cache.size();
}

std::uint64_t Velorin::modelsLoaded() const {
    return state_->cache.loaded();
}

void Velorin::FlushBuilds() {
}

} // namespace velorin
