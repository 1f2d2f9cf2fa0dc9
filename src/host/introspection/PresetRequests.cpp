#include "core/PresetPicture.h"
#include "core/Velorin.h"
#include "core/document/AssetContext.h"
#include "core/document/Scene.h"
#include "core/document/SceneJson.h"
#include "host/introspection/PresetKinds.h"
#include "model/PackFile.h"
#include "render/Renderer.h"
#include "services/Library.h"
#include "services/SafeFile.h"
#include "services/StringConversion.h"

#include <span>
#include <utility>

namespace velorin {
namespace {

constexpr const char* kBundlesStay = ": the presets of a bundle cannot be changed";

// Draws the small picture of a preset. False when there is nothing to be seen.
bool DrawPicture(const Request& request, const Preset& preset, PresetPicture& picture) {
    // From a copy, since a stage changes what stands on it.
    Preset copy = preset;
    if (preset.model) copy.model = Ref<SceneModel>::Make(*preset.model);
    Scene stage(&request.assets);
    preset.kind->stage(copy, stage);
    return DrawPresetPicture(*request.core, stage, kThumbnailWidth, kThumbnailHeight, picture);
}

std::string WriteWithPicture(const std::string& file, const Preset& preset, const Scene& scene,
                             const PresetPicture& picture) {
    std::string error;
    if (!preset.kind->write(file, preset, scene, picture, &error)) return RequestError(error);
    return DumpJson(Json{{"picture", {picture.width, picture.height}}});
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
    const auto place = SplitBundlePath(file);
    const std::string& path = place ? place->entry : file;
    const std::string name = path.substr(path.find_last_of('/') + 1);
    const std::string extension = SmallExtension(name);
    const bool vector = extension == ".pdf" || extension == ".ai";
    auto model = Ref<SceneModel>::Make(vector ? ModelType::PathExtrusion : ModelType::ImportedFile, &assets);
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
    const std::string name = request.json.value("kind", std::string());
    Preset preset;
    preset.kind = FindPresetKind(name);
    if (!preset.kind) return RequestError("a preset is of a model, material or bevel", "/kind");
    if (PresetKindOfFile(file) != preset.kind)
        return RequestError(file + ": a " + name + " preset is a " + preset.kind->extension + " file",
                            "/file");
    if (SplitBundlePath(file)) return RequestError(file + kBundlesStay, "/file");
    if (std::string refusal = preset.kind->pick(request, scene, preset); !refusal.empty()) return refusal;
    // Nothing is drawn for a place that cannot be written.
    if (const SafeFile probe(file); !probe.ok()) return RequestError(probe.error());
    PresetPicture picture;
    (void)DrawPicture(request, preset, picture); // without one where nothing can be drawn
    return WriteWithPicture(file, preset, scene, picture);
}

std::string AnswerRenewPicture(const Request& request) {
    const std::string file = request.json.value("file", std::string());
    if (SplitBundlePath(file)) return RequestError(file + kBundlesStay, "/file");
    Preset preset;
    const std::string error = ReadPreset(file, request.assets, preset);
    if (!error.empty()) return RequestError(error, "/file");
    PresetPicture picture;
    if (!DrawPicture(request, preset, picture)) return RequestError(file + ": there is nothing to be seen");
    Scene scene(&request.assets);
    scene.materials = preset.materials;
    return WriteWithPicture(file, preset, scene, picture);
}

std::string AnswerReadPreset(const Request& request) {
    Preset preset;
    const std::string error = ReadPreset(request.json.value("file", std::string()), request.assets, preset);
    if (!error.empty()) return RequestError(error, "/file");
    Json json{{"kind", preset.kind->name},
              {"picture", {{"width", preset.picture.width}, {"height", preset.picture.height}}}};
    if (preset.model) {
        json["models"] = Json::array();
        DescribeTree(*preset.model, json["models"]);
    }
    Scene values(&request.assets);
    if (!preset.model && preset.materials.empty()) {
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
        if (PresetKindOfFile(file)) {
            Preset preset;
            const std::string error = ReadPreset(file, request.assets, preset);
            if (!error.empty()) return RequestError(error, "/files");
            preset.kind->stage(preset, part);
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
    preset.kind->stage(preset, stage);
    PresetPicture picture;
    if (!DrawPresetPicture(*request.core, stage, width, height, picture))
        return RequestError(request.core->glReady()
                                ? request.json.value("file", std::string()) + ": there is nothing to be seen"
                                : request.core->renderer->InitMessage());
    return RawReply(std::as_bytes(std::span(picture.pixels)));
}

} // namespace velorin
