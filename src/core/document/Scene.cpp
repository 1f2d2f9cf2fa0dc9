#include "core/document/Scene.h"

#include "core/document/ChunkFile.h"
#include "core/document/FieldTable.h"
#include "services/Warnings.h"

#include <algorithm>
#include <string>
#include <unordered_map>

namespace velorin {

namespace {

enum Tag : std::uint32_t { kModelStart = 100, kBinding = 200, kBindingEnabled = 201, kMaterialStart = 500 };

TextureChannel EnvironmentChannel(const char* path) {
    TextureChannel channel(Channel::Environment);
    channel.path = path;
    channel.enabled = true;
    return channel;
}

void AppendTree(SceneModel& model, std::vector<SceneModel*>& list) {
    list.push_back(&model);
    for (const Ref<SceneModel>& child : model.children) AppendTree(*child, list);
}

void WriteDocument(const Scene& scene, ChunkFile& file) {
    file.Begin();
    const std::uint8_t start = 0;
    WriteRecord(file, kChannelFields, &scene.environment, FieldUse::ReadOnly,
                static_cast<std::int32_t>(kEnvironmentTags) - static_cast<std::int32_t>(kChannelTags));
    const MaterialPlaces places(scene);
    for (const Ref<SceneMaterial>& material : scene.materials) {
        file.WriteChunk(kMaterialStart, &start, 1);
        material->WriteChunks(file, &places, true);
    }
    for (const SceneModel* model : scene.Flatten()) {
        file.WriteChunk(kModelStart, &start, 1);
        model->WriteChunks(file, &places);
    }
}

// Takes the chunks of a document one by one and puts the models in their folders at the end.
class DocumentReader {
public:
    DocumentReader(Scene& scene, std::uint32_t version) : scene_(scene), version_(version) {}

    void Take(std::uint32_t tag, Bytes payload) {
        if (tag == kMaterialStart) {
            StartMaterial();
        } else if (tag == kModelStart) {
            StartModel();
        } else if (tag >= kEnvironmentTags && tag < kEnvironmentTags + kEnvironmentTagCount) {
            if (const Field* const field = kChannelFields.Find(tag - kEnvironmentTags + kChannelTags))
                ReadFields(kChannelFields, *field, &scene_.environment, payload, version_);
        } else if (tag == kBinding) {
            bound_ = Bind(PayloadReader(payload).Take<std::uint32_t>());
        } else if ((tag == kBindingEnabled && !bound_) || meshLimit_.Passed(tag)) {
            return; // of a binding that was dropped, or of one mesh too many
        } else if (!model_ || !model_->ReadChunk(tag, payload, version_)) {
            if (material_) material_->ReadChunk(tag, payload);
        }
    }

    void BuildTree() { scene_.models = RebuildTree(models_); }

private:
    void StartMaterial() {
        material_ = nullptr;
        if (scene_.materials.size() >= kMostDocumentRecords) return;
        scene_.materials.push_back(Ref<SceneMaterial>::Make(scene_.context));
        material_ = scene_.materials.back().get();
        material_->StartReading();
    }

    void StartModel() {
        model_ = nullptr;
        if (models_.size() >= kMostDocumentRecords) return;
        models_.push_back(Ref<SceneModel>::Make(ModelType::File, scene_.context));
        model_ = models_.back().get();
    }

    bool Bind(std::uint32_t index) {
        if (!model_ || index >= scene_.materials.size()) return false;
        model_->bindings.push_back({scene_.materials[index].get(), index, true});
        return true;
    }

    Scene& scene_;
    std::uint32_t version_;
    SceneMaterial* material_ = nullptr;
    SceneModel* model_ = nullptr;
    MeshLimit meshLimit_;
    bool bound_ = false;                  // the last binding was taken
    std::vector<Ref<SceneModel>> models_; // in the document's order
};

} // namespace

Scene::Scene(AssetContext* assets)
    : context(assets),
      environment(EnvironmentChannel(kDefaultEnvironmentPath)),
      thumbnailEnvironment(EnvironmentChannel(kThumbnailEnvironmentPath)) {
}

Scene::~Scene() = default;

void Scene::Clear() {
    models.clear();
    materials.clear();
}

void Scene::CopyFrom(const Scene& other) {
    if (&other == this) return;
    environment = other.environment;
    models = other.models;
    materials = other.materials;
}

void Scene::DeepCopyFrom(const Scene& other) {
    if (&other == this) return;
    Clear();
    environment = other.environment;
    std::unordered_map<const SceneMaterial*, SceneMaterial*> copies;
    for (const Ref<SceneMaterial>& material : other.materials) {
        materials.push_back(Ref<SceneMaterial>::Make(*material));
        copies.emplace(material.get(), materials.back().get());
    }
    for (const Ref<SceneModel>& model : other.models) models.push_back(Ref<SceneModel>::Make(*model));
    for (SceneModel* model : Flatten()) {
        for (MaterialBinding& binding : model->bindings) {
            const auto copy = copies.find(binding.material);
            binding.material = copy == copies.end() ? nullptr : copy->second;
        }
    }
}

std::vector<SceneModel*> Scene::Flatten() const {
    std::vector<SceneModel*> list;
    for (const Ref<SceneModel>& model : models) AppendTree(*model, list);
    return list;
}

std::size_t Scene::Write(std::byte* buffer, std::size_t size) const {
    ChunkFile file(buffer, size, kSceneForm);
    WriteDocument(*this, file);
    return static_cast<std::size_t>(file.size());
}

std::vector<std::byte> Scene::Flat() const {
    std::vector<std::byte> flat(Write(nullptr, 0));
    (void)Write(flat.data(), flat.size());
    return flat;
}

bool Scene::HasContent(Bytes flat) const {
    if (Write(nullptr, 0) != flat.size()) return false;
    const std::vector<std::byte> own = Flat();
    return std::equal(own.begin(), own.end(), flat.begin());
}

bool Scene::Read(Bytes flat) {
    Clear();
    environment = EnvironmentChannel(kDefaultEnvironmentPath);
    ChunkFile file(flat, kSceneForm);
    file.Begin();
    DocumentReader reader(*this, file.version());
    while (const std::uint32_t tag = file.NextChunk()) reader.Take(tag, file.Payload());
    reader.BuildTree();
    if (file.damaged() && !flat.empty())
        ReportWarning("The scene's data is damaged: only " + std::to_string(file.bytesRead()) + " of its " +
                      std::to_string(flat.size()) + " bytes could be read.");
    return file.opened();
}

MaterialPlaces::MaterialPlaces(const Scene& scene) {
    for (std::size_t i = 0; i < scene.materials.size(); ++i)
        places_.emplace(scene.materials[i].get(), static_cast<std::int32_t>(i));
}

std::int32_t MaterialPlaces::Of(const SceneMaterial* material) const {
    const auto found = places_.find(material);
    return found == places_.end() ? -1 : found->second;
}

} // namespace velorin
