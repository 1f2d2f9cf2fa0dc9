#include "host/api/Introspection.h"

#include "core/ImportMaterials.h"
#include "core/Introspect.h"
#include "core/Velorin.h"
#include "core/document/SceneJson.h"
#include "host/AEPluginConnection.h"
#include "host/ParamTable.h"
#include "model/ModelLoader.h"
#include "model/ModelTools.h"
#include "render/Renderer.h"
#include "services/Profiler.h"
#include "services/Warnings.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>

namespace velorin {
namespace {

using Json = nlohmann::ordered_json;

std::string Dump(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string Error(const std::string& message, const std::string& at = {}) {
    return Dump(Json{{"error", message}, {"at", at}});
}

Bytes Payload(const IntrospectionRequest& request) {
    return {static_cast<const std::byte*>(request.payload),
            request.payload ? static_cast<std::size_t>(request.payloadSize) : 0};
}

// ---- parameter rows

const char* KindName(RowKind kind) {
    switch (kind) {
    case RowKind::Float:
        return "float";
    case RowKind::Popup:
        return "popup";
    case RowKind::Point:
        return "point";
    case RowKind::Angle:
        return "angle";
    case RowKind::Check:
        return "check";
    case RowKind::Color:
        return "color";
    case RowKind::Layer:
        return "layer";
    case RowKind::Group:
        return "group";
    case RowKind::End:
        return "end";
    case RowKind::Control:
        return "control";
    case RowKind::Arbitrary:
        return "arbitrary";
    }
    return "";
}

Json Choices(const char* text) {
    Json choices = Json::array();
    for (std::string rest = text;;) {
        const std::size_t bar = rest.find('|');
        choices.push_back(rest.substr(0, bar));
        if (bar == std::string::npos) return choices;
        rest.erase(0, bar + 1);
    }
}

// A float of the table as the decimal that it was written as.
Json Number(float value) {
    return Json::parse(Json(value).dump());
}

PF_ParamFlags FlagsOf(const Row& row) {
    switch (row.kind) {
    case RowKind::Angle:
        return PF_ParamFlag_COLLAPSE_TWIRLY;
    case RowKind::Group:
        return row.collapsed ? PF_ParamFlag_START_COLLAPSED : 0;
    case RowKind::Control:
        return PF_ParamFlag_SUPERVISE;
    case RowKind::Popup:
        return row.supervised ? PF_ParamFlag_SUPERVISE : 0;
    case RowKind::Arbitrary:
        return PF_ParamFlag_CANNOT_TIME_VARY;
    default:
        return 0;
    }
}

void AddValues(const Row& row, Json& json) {
    switch (row.kind) {
    case RowKind::Float:
        json["min"] = Number(row.minimum);
        json["max"] = Number(row.maximum);
        json["sliderMin"] = Number(row.sliderMinimum());
        json["sliderMax"] = Number(row.sliderMaximum());
        json["default"] = Number(row.value);
        json["precision"] = row.precision;
        json["percent"] = row.percent;
        break;
    case RowKind::Popup:
        json["default"] = static_cast<int>(row.value);
        json["choices"] = Choices(row.choices);
        break;
    case RowKind::Point:
        json["default"] = {Number(row.value), Number(row.valueY)};
        break;
    case RowKind::Angle:
        json["default"] = 0;
        break;
    case RowKind::Check:
        json["default"] = row.value != 0;
        break;
    case RowKind::Color:
        json["default"] = {row.red, row.green, row.blue};
        break;
    case RowKind::Control:
        json["uiWidth"] = row.width;
        break;
    default:
        break;
    }
}

std::string ParamsJson() {
    Json rows = Json::array();
    int index = 0;
    for (const ParamRow& param : ParamTable()) {
        Json row;
        row["index"] = ++index;
        row["diskId"] = param.diskId;
        row["kind"] = KindName(param.row->kind);
        row["name"] = ParamName(param);
        AddValues(*param.row, row);
        row["flags"] = FlagsOf(*param.row);
        row["uiFlags"] = param.row->kind == RowKind::Control     ? PF_PUI_CONTROL
                         : param.row->kind == RowKind::Arbitrary ? PF_PUI_NO_ECW_UI
                                                                 : 0;
        rows.push_back(std::move(row));
    }
    return Dump(rows);
}

// ---- scene and meshes

bool HasNormals(const ModelData& data) {
    return std::any_of(data.vertices.begin(), data.vertices.end(),
                       [](const ModelVertex& vertex) { return !(vertex.normal == Point3{}); });
}

// What importing a file does for the user: a model without bindings gets the materials of its file, and one
// whose file has no normals is smoothed.
void ImportMaterials(Scene& scene, const std::string& dataFolder) {
    for (SceneModel* model : scene.Flatten()) {
        const bool isFile = model->type == ModelType::File || model->type == ModelType::ImportedFile;
        ModelData data;
        if (!isFile || !model->bindings.empty() || !LoadModelData(*model, dataFolder, data)) continue;
        BindImportedMaterials(scene, *model, data.materials);
        if (!HasNormals(data) && model->normalMode == NormalMode::FromModel)
            model->normalMode = NormalMode::Auto;
    }
}

std::string SceneToFlat(const Json& request, const std::string& dataFolder) {
    Scene scene;
    SceneJsonError error;
    const auto json = request.find("scene");
    if (json == request.end()) return Error("the request has no scene", "/scene");
    const std::string folder = request.value("folder", std::string());
    if (!SceneFromJsonText(json->dump(), folder, scene, error)) return Error(error.message, error.at);
    ImportMaterials(scene, dataFolder);
    const std::vector<std::byte> flat = scene.Flat();
    return {reinterpret_cast<const char*>(flat.data()), flat.size()};
}

std::string FlatToScene(const Json& request, Bytes flat) {
    Scene scene;
    if (!scene.Read(flat)) return Error("the bytes are no scene document of a known version");
    return SceneToJsonText(scene, request.value("defaults", false), -1);
}

std::string Mesh(const Json& request, Bytes flat, const std::string& dataFolder) {
    Scene scene;
    if (!scene.Read(flat)) return Error("the bytes are no scene document of a known version");
    const std::string name = request.value("model", std::string());
    const std::vector<SceneModel*> models = scene.Flatten();
    const auto found = std::find_if(models.begin(), models.end(), [&](const SceneModel* model) {
        return name.empty() || model->name == name;
    });
    if (found == models.end()) return Error("the scene has no model \"" + name + "\"", "/model");
    ModelData data;
    if (!LoadModelData(**found, dataFolder, data))
        return Error("the model \"" + (*found)->name + "\" has no geometry", "/model");
    if (!request.value("prepared", false)) return MeshJson(data);
    return MeshJson(PrepareMesh(std::move(data), **found));
}

// ---- devices and frames

std::string Devices(const Renderer& renderer) {
    const DriverInfo& driver = renderer.driver();
    Json gl;
    gl["ready"] = renderer.ready();
    if (!renderer.ready()) gl["reason"] = renderer.InitMessage();
    gl["vendor"] = driver.vendor;
    gl["renderer"] = driver.make;
    gl["version"] = driver.version;
    gl["limits"] = {{"maxTextureSize", driver.maxTextureSize},
                    {"maxSamples", driver.maxSamples},
                    {"maxColourTextureSamples", driver.maxColourTextureSamples},
                    {"maxAnisotropy", driver.maxAnisotropy}};
    gl["extensions"] = {{"GL_ARB_texture_multisample", driver.textureMultisample},
                        {"GL_ARB_sample_shading", driver.sampleShading}};
    gl["videoMemoryMB"] = {{"total", driver.videoMemoryTotalMB}, {"free", driver.videoMemoryFreeMB}};
    return Dump({{"gl", gl}, {"cl", Json::array()}});
}

std::string LastFrame(const Renderer& renderer, const RenderStatistics& before,
                      const RenderStatistics& after) {
    Json stages = Json::object();
    for (const StageTime& stage : ProfilerLastFrame()) {
        const double sum = stages.value(stage.name, 0.0);
        stages[stage.name] = sum + stage.milliseconds;
    }
    Json frame;
    frame["stages"] = stages;
    frame["gl"] = {{"vendor", renderer.driver().vendor},
                   {"renderer", renderer.driver().make},
                   {"version", renderer.driver().version}};
    frame["uploads"] = after.meshUploads - before.meshUploads + after.textureUploads - before.textureUploads;
    frame["programs"] = after.programsCompiled - before.programsCompiled;
    frame["framebuffers"] = after.framebufferBuilds - before.framebufferBuilds;
    frame["draws"] = after.draws - before.draws;
    frame["warnings"] = TakeWarnings();
    return Dump(frame);
}

std::string ArmCapture(const Json& request, PF_Handle instance, Capture& capture) {
    if (!instance) return Error("the request needs an instance of the effect");
    bool particles = false, draws = false;
    for (const Json& what : request.value("what", Json::array())) {
        if (what == "particles") {
            particles = true;
        } else if (what == "draws") {
            draws = true;
        } else {
            return Error("only particles and draws can be captured", "/what");
        }
    }
    const int group = request.value("group", 1);
    if (group < 1 || group > static_cast<int>(kGroupCount))
        return Error("groups count from 1 to 5", "/group");
    capture.Arm(instance, particles, draws, static_cast<std::size_t>(group - 1));
    return "{}";
}

} // namespace

// The reply of one request.
std::string AEPluginConnection::Answer(PluginCall& call, const IntrospectionRequest& request) {
    const Json json = Json::parse(request.request ? request.request : "", nullptr, false);
    if (!json.is_object()) return Error("the request is no JSON object");
    const std::string what = json.value("do", std::string());
    const Bytes payload = Payload(request);
    if (what == "params") return ParamsJson();
    if (what == "sceneToFlat") return SceneToFlat(json, assets_.dataFolder);
    if (what == "flatToScene") return FlatToScene(json, payload);
    const std::scoped_lock lock(renderMutex_);
    if (what == "captured")
        return R"({"particles":)" + capture_.particles() + R"(,"draws":)" + capture_.draws() + "}";
    if (what == "capture") return ArmCapture(json, call.in_data->sequence_data, capture_);
    if (what == "mesh") return Mesh(json, payload, assets_.dataFolder);
    if (velorin_ && what == "devices") return Devices(*velorin_->renderer);
    if (velorin_ && what == "frame")
        return LastFrame(*velorin_->renderer, statisticsBefore_, statisticsAfter_);
    return Error("the request \"" + what + "\" is not known", "/do");
}

void AEPluginConnection::Introspect(PluginCall& call, IntrospectionRequest& request) {
    if (!request.respond) return;
    std::string reply;
    try {
        reply = Answer(call, request);
    } catch (const Json::exception& error) {
        reply = Error(error.what());
    }
    request.respond(request.context, reply.data(), reply.size());
}

} // namespace velorin
