#include "core/PresetPicture.h"
#include "core/Velorin.h"
#include "core/document/AssetContext.h"
#include "core/document/BevelPreset.h"
#include "core/document/Scene.h"
#include "core/document/SceneJson.h"
#include "host/introspection/Request.h"
#include "model/ModelPreset.h"
#include "model/PackFile.h"
#include "platform/FileSystem.h"
#include "render/Renderer.h"
#include "services/Library.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace velorin {
namespace {

enum class PresetKind { Model, Material, Bevel };

struct PresetRow {
    PresetKind kind;
    const char* name;
    const char* extension;
};
constexpr PresetRow kPresets[] = {{PresetKind::Model, "model", ".qmx"},
                                  {PresetKind::Material, "material", ".qmt"},
                                  {PresetKind::Bevel, "bevel", ".qbv"}};

const PresetRow* KindOfFile(const std::string& path) {
    std::string small = path;
    std::transform(small.begin(), small.end(), small.begin(),
                   [](char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); });
    for (const PresetRow& row : kPresets)
        if (small.ends_with(row.extension)) return &row;
    return nullptr;
}

// A preset as it was read; what is not of its kind is empty.
struct Preset {
    const PresetRow* row = nullptr;
    Ref<SceneModel> model;
    std::vector<Ref<SceneMaterial>> materials;
    BevelSettings bevel;
    PresetPicture picture;
};

// The picture of material and bevel presets has one size, which the file does not tell.
PresetPicture SmallPicture(const std::vector<std::uint8_t>& pixels) {
    if (pixels.size() != std::size_t{4} * kThumbnailWidth * kThumbnailHeight) return {};
    return {kThumbnailWidth, kThumbnailHeight, pixels};
}

// The bytes of an entry of a bundle, held while they are read.
template <class Read>
bool ReadFileOrEntry(const std::string& path, Read read) {
    const auto place = SplitBundlePath(path);
    if (!place) return read(nullptr);
    PackFile pack;
    pack.Open(place->bundle, true, false);
    const PackEntry entry = pack.Get(place->entry);
    if (!entry) return false;
    const Bytes bytes = entry.bytes();
    return read(&bytes);
}

// Why a preset cannot be used; empty when it was read.
std::string ReadPreset(const std::string& path, AssetContext& assets, Preset& preset) {
    preset.row = KindOfFile(path);
    if (!preset.row) return path + ": this is no preset (.qmx, .qmt or .qbv)";
    const auto place = SplitBundlePath(path);
    if (!IsRegularFile(place ? place->bundle : path))
        return (place ? place->bundle : path) + ": the file does not exist";
    bool read = false;
    switch (preset.row->kind) {
    case PresetKind::Model:
        preset.model = Ref<SceneModel>::Make(ModelType::File, &assets);
        read = LoadModelPreset(path, *preset.model, preset.materials, &preset.picture);
        break;
    case PresetKind::Material: {
        auto material = Ref<SceneMaterial>::Make();
        material->context = &assets;
        read = ReadFileOrEntry(path, [&](const Bytes* bytes) {
            return bytes ? material->ReadPresetBytes(*bytes) : material->ReadPreset(path);
        });
        preset.picture = SmallPicture(material->thumbnail);
        preset.materials.push_back(std::move(material));
        break;
    }
    case PresetKind::Bevel: {
        BevelPreset bevel;
        read = ReadFileOrEntry(path, [&](const Bytes* bytes) {
            return bytes ? ReadBevelPresetBytes(*bytes, bevel) : ReadBevelPreset(path, bevel);
        });
        preset.bevel = bevel.bevel;
        preset.picture = SmallPicture(bevel.thumbnail);
        break;
    }
    }
    return read ? std::string() : path + ": this is no " + preset.row->name + " preset, or it is damaged";
}

bool IsBound(const Scene& scene, const SceneMaterial* material) {
    for (const SceneModel* model : scene.Flatten())
        for (const MaterialBinding& binding : model->bindings)
            if (binding.material == material) return true;
    return false;
}

// The scene that shows a preset: its own models, or what its material or bevel is shown on.
void StagePreset(Preset& preset, Scene& scene) {
    switch (preset.row->kind) {
    case PresetKind::Model:
        scene.models.push_back(std::move(preset.model));
        // A material that two models share stands twice in the file; only one of the two is bound.
        for (Ref<SceneMaterial>& material : preset.materials)
            if (IsBound(scene, material.get())) scene.materials.push_back(std::move(material));
        return;
    case PresetKind::Material:
        return StageMaterial(scene, preset.materials.front());
    case PresetKind::Bevel:
        return StageBevel(scene, preset.bevel);
    }
}

// What the scene of a project has under a name.
template <class List, class NameOf>
auto FindNamed(const List& list, const std::string& name, NameOf nameOf) {
    return std::find_if(list.begin(), list.end(), [&](const auto& item) { return nameOf(item) == name; });
}

template <class List, class NameOf>
std::string NotThere(const char* kind, const std::string& name, const List& list, NameOf nameOf) {
    Json names = Json::array();
    for (const auto& item : list) names.push_back(nameOf(item));
    return DumpJson(Json{{"error", "the scene has no " + std::string(kind) + " \"" + name + "\""},
                         {"at", "/name"},
                         {"names", names}});
}

Bytes AsBytes(const std::vector<std::uint8_t>& pixels) {
    return std::as_bytes(std::span(pixels));
}

std::string Written(bool done, const std::string& error, const PresetPicture& picture) {
    if (!done) return RequestError(error.ends_with('.') ? error.substr(0, error.size() - 1) : error);
    return DumpJson(Json{{"picture", {picture.width, picture.height}}});
}

std::string SaveModel(const Request& request, Scene& scene, const std::string& file,
                      const std::string& name) {
    const auto models = scene.Flatten();
    const auto nameOf = [](const SceneModel* model) { return model->name; };
    const auto found = FindNamed(models, name, nameOf);
    if (found == models.end()) return NotThere("model", name, models, nameOf);
    // The picture is drawn from a copy, which stands alone.
    Scene stage(&request.assets);
    stage.materials = scene.materials;
    stage.models.push_back(Ref<SceneModel>::Make(**found));
    PresetPicture picture;
    (void)DrawPresetPicture(*request.core, stage, kThumbnailWidth, kThumbnailHeight, picture);
    std::string error;
    const bool done = SaveModelPreset(file, **found, scene, picture, &error);
    return Written(done, error, picture);
}

std::string SaveMaterial(const Request& request, Scene& scene, const std::string& file,
                         const std::string& name) {
    const auto nameOf = [](const Ref<SceneMaterial>& material) { return material->name; };
    const auto found = FindNamed(scene.materials, name, nameOf);
    if (found == scene.materials.end()) return NotThere("material", name, scene.materials, nameOf);
    Scene stage(&request.assets);
    StageMaterial(stage, *found);
    PresetPicture picture;
    (void)DrawPresetPicture(*request.core, stage, kThumbnailWidth, kThumbnailHeight, picture);
    std::string error;
    const bool done = (*found)->WritePreset(file, AsBytes(picture.pixels), &error);
    return Written(done, error, picture);
}

std::string SaveBevel(const Request& request, Scene& scene, const std::string& file,
                      const std::string& name) {
    const auto models = scene.Flatten();
    const auto nameOf = [](const SceneModel* model) { return model->name; };
    const auto found = FindNamed(models, name, nameOf);
    if (found == models.end()) return NotThere("model", name, models, nameOf);
    const SceneModel& model = **found;
    const int number = request.json.value("bevel", 1);
    if (!IsExtrusion(model.type))
        return RequestError("the model \"" + name + "\" is no extrusion and has no bevels", "/name");
    if (number < 1 || number > static_cast<int>(model.bevelCopies) + 1)
        return RequestError("the model \"" + name + "\" has the bevels 1 to " +
                                std::to_string(model.bevelCopies + 1),
                            "/bevel");
    BevelPreset preset;
    preset.bevel = model.bevels[static_cast<std::size_t>(number - 1)];
    Scene stage(&request.assets);
    StageBevel(stage, preset.bevel);
    PresetPicture picture;
    (void)DrawPresetPicture(*request.core, stage, kThumbnailWidth, kThumbnailHeight, picture);
    preset.thumbnail = picture.pixels;
    std::string error;
    const bool done = WriteBevelPreset(file, preset, &error);
    return Written(done, error, picture);
}

// One row of a preset's tree, without what stands at its default.
Json Describe(const SceneModel& model) {
    Json json{{"depth", model.depth},
              {"name", model.name},
              {"type", static_cast<int>(model.type)},
              {"path", model.path}};
    Json bound = Json::array();
    for (const MaterialBinding& binding : model.bindings) {
        bound.push_back(binding.material ? Json(binding.material->name) : Json());
    }
    json["materials"] = std::move(bound);
    return json;
}

void DescribeTree(const SceneModel& model, Json& rows) {
    rows.push_back(Describe(model));
    for (const Ref<SceneModel>& child : model.children) DescribeTree(*child, rows);
}

Ref<SceneModel> ImportedModel(const std::string& file, AssetContext& assets) {
    auto model = Ref<SceneModel>::Make(ModelType::ImportedFile, &assets);
    const std::string name = file.substr(file.find_last_of('/') + 1);
    model->name = name.substr(0, name.rfind('.'));
    model->path = file;
    model->normalizeSize = true;
    return model;
}

} // namespace

std::string AnswerSavePreset(const Request& request) {
    Scene scene(&request.assets);
    if (!scene.Read(request.payload)) return RequestError("the project has no scene");
    const std::string file = request.json.value("file", std::string());
    const std::string name = request.json.value("name", std::string());
    const std::string kind = request.json.value("kind", std::string());
    const PresetRow* const row = KindOfFile(file);
    const auto wanted = std::find_if(std::begin(kPresets), std::end(kPresets),
                                     [&](const PresetRow& preset) { return kind == preset.name; });
    if (wanted == std::end(kPresets))
        return RequestError("a preset is of a model, material or bevel", "/kind");
    if (row != wanted)
        return RequestError(file + ": a " + kind + " preset is a " + wanted->extension + " file", "/file");
    switch (row->kind) {
    case PresetKind::Model:
        return SaveModel(request, scene, file, name);
    case PresetKind::Material:
        return SaveMaterial(request, scene, file, name);
    case PresetKind::Bevel:
        return SaveBevel(request, scene, file, name);
    }
    return {};
}

std::string AnswerRenewPicture(const Request& request) {
    const std::string file = request.json.value("file", std::string());
    if (SplitBundlePath(file))
        return RequestError(file + ": the presets of a bundle cannot be changed", "/file");
    Preset preset;
    std::string error = ReadPreset(file, request.assets, preset);
    if (!error.empty()) return RequestError(error, "/file");

    // Drawn from copies, since a stage changes what stands on it.
    const Ref<SceneModel> model = preset.model;
    const std::vector<Ref<SceneMaterial>> materials = preset.materials;
    if (model) preset.model = Ref<SceneModel>::Make(*model);
    Scene stage(&request.assets);
    StagePreset(preset, stage);
    PresetPicture picture;
    if (!DrawPresetPicture(*request.core, stage, kThumbnailWidth, kThumbnailHeight, picture))
        return RequestError(file + ": there is nothing to be seen");

    bool done = false;
    switch (preset.row->kind) {
    case PresetKind::Model: {
        Scene scene(&request.assets);
        scene.materials = materials;
        done = SaveModelPreset(file, *model, scene, picture, &error);
        break;
    }
    case PresetKind::Material:
        done = materials.front()->WritePreset(file, AsBytes(picture.pixels), &error);
        break;
    case PresetKind::Bevel:
        done = WriteBevelPreset(file, {preset.bevel, picture.pixels}, &error);
        break;
    }
    return Written(done, error, picture);
}

std::string AnswerReadPreset(const Request& request) {
    Preset preset;
    const std::string error = ReadPreset(request.json.value("file", std::string()), request.assets, preset);
    if (!error.empty()) return RequestError(error, "/file");
    Json json{{"kind", preset.row->name},
              {"picture", {{"width", preset.picture.width}, {"height", preset.picture.height}}}};
    if (preset.model) {
        json["models"] = Json::array();
        DescribeTree(*preset.model, json["models"]);
    }
    Scene values(&request.assets);
    if (preset.row->kind == PresetKind::Bevel) {
        auto model = Ref<SceneModel>::Make(ModelType::PathExtrusion, &request.assets);
        model->bevels[0] = preset.bevel;
        values.models.push_back(std::move(model));
        json["bevel"] = SceneToJson(values, true)["models"][0]["bevels"][0];
    } else {
        values.materials = preset.materials;
        json["materials"] = SceneToJson(values, false).value("materials", Json::array());
    }
    return DumpJson(json);
}

std::string AnswerPresetScene(const Request& request) {
    Scene scene(&request.assets);
    std::size_t group = 0;
    for (const Json& item : request.json.value("files", Json::array())) {
        const std::string file = item.get<std::string>();
        Scene part(&request.assets);
        if (KindOfFile(file)) {
            Preset preset;
            const std::string error = ReadPreset(file, request.assets, preset);
            if (!error.empty()) return RequestError(error, "/files");
            StagePreset(preset, part);
        } else {
            part.models.push_back(ImportedModel(file, request.assets));
        }
        for (const Ref<SceneModel>& model : part.models) {
            for (std::size_t i = 0; i < kGroups; ++i) model->groups[i] = i == group % kGroups;
            scene.models.push_back(model);
        }
        scene.materials.insert(scene.materials.end(), part.materials.begin(), part.materials.end());
        ++group;
    }
    return SceneToJsonText(scene, false, -1);
}

std::string AnswerPresetPicture(const Request& request) {
    Preset preset;
    const std::string error = ReadPreset(request.json.value("file", std::string()), request.assets, preset);
    if (!error.empty()) return RequestError(error, "/file");
    const auto width = request.json.value("width", kThumbnailWidth),
               height = request.json.value("height", kThumbnailHeight);
    Scene stage(&request.assets);
    StagePreset(preset, stage);
    PresetPicture picture;
    if (!DrawPresetPicture(*request.core, stage, width, height, picture))
        return RequestError(request.core->glReady()
                                ? request.json.value("file", std::string()) + ": there is nothing to be seen"
                                : request.core->renderer->InitMessage());
    return RawReply(AsBytes(picture.pixels));
}

} // namespace velorin
