#include "core/ImportMaterials.h"
#include "core/Introspect.h"
#include "core/SequencePath.h"
#include "core/Velorin.h"
#include "core/document/AssetContext.h"
#include "core/document/Scene.h"
#include "core/document/SceneJson.h"
#include "host/AEPluginConnection.h"
#include "host/ParamReader.h"
#include "host/PathLayers.h"
#include "host/introspection/Request.h"
#include "model/ModelLoader.h"
#include "model/ModelTools.h"
#include "services/Warnings.h"

#include <algorithm>
#include <string>
#include <vector>

namespace velorin {
namespace {

bool HasNormals(const ModelData& data) {
    return std::any_of(data.vertices.begin(), data.vertices.end(),
                       [](const ModelVertex& vertex) { return !(vertex.normal == Point3{}); });
}

// A sequence whose length nobody has told plays all its files.
void CountFrames(SceneModel& model, const std::string& dataFolder) {
    if (model.type != ModelType::Sequence || model.frameCount > 1) return;
    model.frameCount = CountSequence(ResolveModelPath(model.path, dataFolder));
    if (!(model.endFrame > model.startFrame)) model.endFrame = static_cast<float>(model.frameCount);
}

// What importing a file does for the user: a sequence's files are counted, a model without bindings gets the
// materials of its file, and one whose file has no normals is smoothed.
void ImportFiles(Scene& scene, const std::string& dataFolder, Velorin& core) {
    for (SceneModel* model : scene.Flatten()) {
        CountFrames(*model, dataFolder);
        const bool isFile = model->type == ModelType::File || model->type == ModelType::ImportedFile ||
                            model->type == ModelType::Sequence;
        const ModelData* const data = isFile && model->bindings.empty() ? core.ReadGeometry(*model) : nullptr;
        if (!data) continue;
        BindImportedMaterials(scene, *model, data->materials);
        if (!HasNormals(*data) && model->normalMode == NormalMode::FromModel)
            model->normalMode = NormalMode::Auto;
    }
}

// What loading has said of a model, or at least its name.
std::string WhyEmpty(const SceneModel& model) {
    const std::vector<std::string> warnings = TakeWarnings();
    if (warnings.empty()) return "the model \"" + model.name + "\" has no geometry";
    return warnings.back().substr(0, warnings.back().find_last_not_of('.') + 1);
}

} // namespace

std::string AnswerSceneToFlat(const Request& request) {
    Scene scene(&request.assets);
    SceneJsonError error;
    const auto json = request.json.find("scene");
    if (json == request.json.end()) return RequestError("the request has no scene", "/scene");
    const std::string folder = request.json.value("folder", std::string());
    if (!SceneFromJsonText(json->dump(), folder, scene, error)) return RequestError(error.message, error.at);
    if (request.json.value("import", true)) ImportFiles(scene, folder, *request.core);
    const std::vector<std::byte> flat = scene.Flat();
    return {reinterpret_cast<const char*>(flat.data()), flat.size()};
}

std::string AnswerFlatToScene(const Request& request) {
    Scene scene;
    if (!scene.Read(request.payload))
        return RequestError("the bytes are no scene document of a known version");
    return SceneToJsonText(scene, request.json.value("defaults", false), -1);
}

std::string AnswerMesh(const Request& request) {
    Scene scene;
    if (!scene.Read(request.payload))
        return RequestError("the bytes are no scene document of a known version");
    const std::string name = request.json.value("model", std::string());
    const std::vector<SceneModel*> models = scene.Flatten();
    const auto found = std::find_if(models.begin(), models.end(), [&](const SceneModel* model) {
        return name.empty() || model->name == name;
    });
    if (found == models.end()) {
        Json names = Json::array();
        for (const SceneModel* model : models) names.push_back(model->name);
        return RequestUnknown("the scene has no model \"" + name + "\"", "/model", std::move(names));
    }
    PathLayers layers;
    if (request.call.in_data->effect_ref)
        ReadPathLayers(request.call, ParamReader(request.call, request.effect.paramIndex),
                       request.effect.pluginId, layers);
    ModelData data;
    if (!LoadModelData(**found, request.assets.dataFolder, data, layers))
        return RequestError(WhyEmpty(**found), "/model");
    if (!request.json.value("prepared", false)) return MeshJson(data);
    return MeshJson(PrepareMesh(std::move(data), **found));
}

} // namespace velorin
