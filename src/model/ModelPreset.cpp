#include "model/ModelPreset.h"

#include "core/document/ChunkFile.h"
#include "core/document/FieldTable.h"
#include "core/document/Scene.h"
#include "model/PackFile.h"
#include "services/Library.h"

#include <algorithm>
#include <utility>

namespace velorin {

namespace {

enum Tag : std::uint32_t {
    kVersion = 1,
    kPictureSize = 10,
    kPicturePixels = 11,
    kModelStart = 101,
    kMaterialStart = 500,
};
constexpr std::uint32_t kDocumentVersion = 4;

void WriteTree(ChunkFile& file, const SceneModel& model, const MaterialPlaces& places) {
    model.WriteChunks(file, &places);
    std::vector<std::pair<std::int32_t, const SceneMaterial*>> used;
    for (const MaterialBinding& binding : model.bindings)
        if (binding.material) used.emplace_back(places.Of(binding.material), binding.material);
    std::sort(used.begin(), used.end());
    used.erase(std::unique(used.begin(), used.end()), used.end());
    for (const auto& [index, material] : used) {
        const std::uint32_t start = 0;
        file.WriteChunk(kMaterialStart, &start, sizeof start);
        material->WriteChunks(file, &places, true);
    }
    for (const Ref<SceneModel>& child : model.children) WriteTree(file, *child, places);
}

class PresetReader {
public:
    PresetReader(SceneModel& root, std::uint32_t version) : root_(root), version_(version) {}

    void Take(std::uint32_t tag, Bytes payload) {
        if (tag == kVersion) {
            version_ = PayloadReader(payload).Take<std::uint32_t>();
        } else if (tag == kPictureSize) {
            PayloadReader reader(payload);
            picture_.width = reader.Take<std::uint32_t>();
            picture_.height = reader.Take<std::uint32_t>();
        } else if (tag == kPicturePixels) {
            const auto* const pixels = reinterpret_cast<const std::uint8_t*>(payload.data());
            picture_.pixels.assign(pixels, pixels + payload.size());
        } else if (tag == kMaterialStart) {
            StartMaterial();
        } else if (!meshLimit_.Passed(tag)) {
            if (tag == kModelStart) StartModel();
            if (!model_ || !model_->ReadChunk(tag, payload, version_))
                if (material_) material_->ReadChunk(tag, payload);
        }
    }

    // False when there was no model.
    bool Finish(std::vector<Ref<SceneMaterial>>& materials, PresetPicture* picture) {
        if (models_.empty()) return false;
        const std::uint32_t rootDepth = root_.depth;
        const Places places = SortedPlaces();
        for (const Ref<SceneModel>& model : models_) {
            model->depth -= std::min(rootDepth, model->depth);
            model->expanded = false;
            model->replicatorSource = false;
            model->groups = {true, false, false, false, false};
            for (MaterialBinding& binding : model->bindings) Resolve(binding, places);
        }
        // What does not stand below the root finds no place.
        (void)RebuildTree(models_);
        materials = std::move(materials_);
        if (picture) {
            const std::uint64_t size = std::uint64_t{picture_.width} * picture_.height;
            *picture =
                size != 0 && size * 4 == picture_.pixels.size() ? std::move(picture_) : PresetPicture{};
        }
        return true;
    }

private:
    void StartMaterial() {
        material_ = nullptr;
        if (materials_.size() >= kMostDocumentRecords) return;
        materials_.push_back(Ref<SceneMaterial>::Make(root_.context));
        material_ = materials_.back().get();
        material_->StartReading();
    }

    void StartModel() {
        model_ = nullptr;
        if (models_.size() >= kMostDocumentRecords) return;
        models_.push_back(models_.empty() ? Ref<SceneModel>(&root_)
                                          : Ref<SceneModel>::Make(ModelType::File, root_.context));
        model_ = models_.back().get();
    }

    using Places = std::vector<std::pair<std::uint32_t, SceneMaterial*>>;

    // The numbers that the materials were saved under, ascending; the first in the file first.
    [[nodiscard]] Places SortedPlaces() const {
        Places places;
        places.reserve(materials_.size());
        for (const Ref<SceneMaterial>& material : materials_)
            places.emplace_back(static_cast<std::uint32_t>(material->index), material.get());
        std::stable_sort(places.begin(), places.end(), [](auto a, auto b) { return a.first < b.first; });
        return places;
    }

    static void Resolve(MaterialBinding& binding, const Places& places) {
        const auto found =
            std::lower_bound(places.begin(), places.end(), binding.index,
                             [](auto place, std::uint32_t index) { return place.first < index; });
        binding.material = found != places.end() && found->first == binding.index ? found->second : nullptr;
    }

    SceneModel& root_;
    std::uint32_t version_;
    SceneModel* model_ = nullptr;
    SceneMaterial* material_ = nullptr;
    MeshLimit meshLimit_;
    std::vector<Ref<SceneModel>> models_; // in the file's order
    std::vector<Ref<SceneMaterial>> materials_;
    PresetPicture picture_;
};

bool Load(ChunkFile& file, SceneModel& root, std::vector<Ref<SceneMaterial>>& materials,
          PresetPicture* picture) {
    file.Begin();
    if (!file.opened()) return false;
    PresetReader reader(root, file.version());
    while (const std::uint32_t tag = file.NextChunk()) reader.Take(tag, file.Payload());
    return reader.Finish(materials, picture);
}

} // namespace

bool SaveModelPreset(const std::string& path, const SceneModel& model, const Scene& scene,
                     const PresetPicture& picture, std::string* error) {
    ChunkFile file(path, ChunkFile::Mode::Write);
    file.WriteChunk(kVersion, &kDocumentVersion, sizeof kDocumentVersion);
    WriteTree(file, model, MaterialPlaces(scene));
    if (!picture.pixels.empty()) {
        const std::uint32_t size[] = {picture.width, picture.height};
        file.WriteChunk(kPictureSize, size, sizeof size);
        file.WriteChunk(kPicturePixels, picture.pixels.data(), picture.pixels.size());
    }
    const bool written = file.Close();
    if (!written && error) *error = file.error();
    return written;
}

bool LoadModelPreset(const std::string& path, SceneModel& root, std::vector<Ref<SceneMaterial>>& materials,
                     PresetPicture* picture) {
    if (const auto place = SplitBundlePath(path)) {
        PackFile pack;
        pack.Open(place->bundle, true, false);
        const PackEntry entry = pack.Get(place->entry);
        return LoadModelPresetBytes(entry.bytes(), root, materials, picture);
    }
    ChunkFile file(path, ChunkFile::Mode::Read);
    return Load(file, root, materials, picture);
}

bool LoadModelPresetBytes(Bytes bytes, SceneModel& root, std::vector<Ref<SceneMaterial>>& materials,
                          PresetPicture* picture) {
    ChunkFile file(bytes);
    return Load(file, root, materials, picture);
}

} // namespace velorin
