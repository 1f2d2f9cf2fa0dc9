#include "core/FrameParams.h"
#include "core/GeometryCache.h"
#include "core/Velorin.h"
#include "host/AEPlugin.h"
#include "host/AEPluginConnection.h"
#include "host/Capture.h"
#include "host/introspection/Request.h"
#include "model/ModelLoader.h"
#include "render/RenderStatistics.h"
#include "render/Renderer.h"
#include "services/Profiler.h"
#include "services/Warnings.h"

#include <string>

namespace velorin {

std::string AnswerMeshUses(const Request& request) {
    Json meshes = Json::array();
    for (const GeometryCache::Uses& mesh : request.core->geometryCache().uses())
        meshes.push_back({{"path", mesh.path}, {"uses", mesh.count}});
    return DumpJson(meshes);
}

std::string AnswerDevices(const Request& request) {
    const Renderer& renderer = *request.core->renderer;
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
    return DumpJson({{"gl", gl}, {"cl", Json::array()}});
}

std::string AnswerFrame(const Request& request) {
    const Renderer& renderer = *request.core->renderer;
    const RenderStatistics& before = request.statisticsBefore;
    const RenderStatistics& after = request.statisticsAfter;
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
    const ModelLoadCounts models = GetModelLoadCounts();
    frame["models"] = {{"parsed", models.parsed}, {"cached", models.cached}};
    frame["warnings"] = TakeWarnings();
    return DumpJson(frame);
}

std::string AnswerCapture(const Request& request) {
    const PF_Handle instance = request.call.in_data->sequence_data;
    if (!instance) return RequestError("the request needs an instance of the effect");
    bool particles = false, draws = false;
    for (const Json& what : request.json.value("what", Json::array())) {
        if (what == "particles") {
            particles = true;
        } else if (what == "draws") {
            draws = true;
        } else {
            return RequestError("only particles and draws can be captured", "/what");
        }
    }
    const int group = request.json.value("group", 1);
    if (group < 1 || group > static_cast<int>(kGroupCount))
        return RequestError("groups count from 1 to 5", "/group");
    request.capture.Arm(instance, particles, draws, static_cast<std::size_t>(group - 1));
    return "{}";
}

std::string AnswerCaptured(const Request& request) {
    return R"({"particles":)" + request.capture.particles() + R"(,"draws":)" + request.capture.draws() + "}";
}

std::string AnswerExport(const Request& request) {
    if (!request.call.in_data->sequence_data)
        return RequestError("the request needs an instance of the effect");
    const int group = request.json.value("group", 0);
    const std::string path = request.json.value("path", std::string());
    if (group < 0 || group > static_cast<int>(kGroupCount))
        return RequestError("groups count from 1 to 5", "/group");
    if (path.empty()) return RequestError("the request names no file", "/path");
    std::string error;
    if (!request.effect.ExportObj(request.call, group - 1, path, error)) return RequestError(error);
    return "{}";
}

} // namespace velorin
