#pragma once

#include "services/ByteReader.h"

#include <nlohmann/json.hpp>

#include <string>

// What answers the requests of host/api/Introspection.h. A request is one row of the table in
// RequestTable.cpp; its handler stands in a file with those of its kind.
namespace velorin {

class AEPluginConnection;
class AssetContext;
class Capture;
class LiveRecords;
class Velorin;
struct PluginCall;
struct RenderStatistics;

using Json = nlohmann::ordered_json;

// A request and what the plug-in has to answer it from; lives for the call.
struct Request {
    AEPluginConnection& effect;
    PluginCall& call;
    const Json& json; // an object
    Bytes payload;
    AssetContext& assets;
    LiveRecords& live;
    Velorin* core; // null before the global set-up
    Capture& capture;
    const RenderStatistics& statisticsBefore; // of the last frame
    const RenderStatistics& statisticsAfter;
};

// The reply is JSON or, where the request's description says so, other bytes that do not start with "{". May
// throw Json::exception for a member of the wrong kind.
using RequestHandler = std::string (*)(const Request& request);

struct RequestRow {
    const char* name;
    RequestHandler handler;
    bool usesCore = true; // runs under the render mutex, and only after the global set-up
};
// Null when there is no such request.
[[nodiscard]] const RequestRow* FindRequest(const std::string& name);

// One line of JSON; bytes that are no UTF-8 are replaced.
[[nodiscard]] std::string DumpJson(const Json& json);
// The reply of a request that cannot be served: a sentence, whose full stop goes, and the place in the
// request.
[[nodiscard]] std::string RequestError(const std::string& message, const std::string& at = {});
// The same where the request names what there is not: with the names that there are.
[[nodiscard]] std::string RequestUnknown(const std::string& message, const std::string& at, Json names);

// Bytes as they are: a mark that no JSON starts with, and then they.
[[nodiscard]] std::string RawReply(Bytes bytes);

// ParamRequests.cpp
[[nodiscard]] std::string AnswerParams(const Request& request);
// SceneRequests.cpp
[[nodiscard]] std::string AnswerSceneToFlat(const Request& request);
[[nodiscard]] std::string AnswerFlatToScene(const Request& request);
[[nodiscard]] std::string AnswerMesh(const Request& request);
// FrameRequests.cpp
[[nodiscard]] std::string AnswerCapture(const Request& request);
[[nodiscard]] std::string AnswerCaptured(const Request& request);
[[nodiscard]] std::string AnswerDevices(const Request& request);
[[nodiscard]] std::string AnswerFrame(const Request& request);
[[nodiscard]] std::string AnswerExport(const Request& request);
[[nodiscard]] std::string AnswerMeshUses(const Request& request);
// PresetRequests.cpp; what a kind of preset can do stands in PresetKinds.h
[[nodiscard]] std::string AnswerSavePreset(const Request& request);
[[nodiscard]] std::string AnswerRenewPicture(const Request& request);
[[nodiscard]] std::string AnswerReadPreset(const Request& request);
[[nodiscard]] std::string AnswerPresetScene(const Request& request);
[[nodiscard]] std::string AnswerPresetPicture(const Request& request);
// LibraryRequests.cpp
[[nodiscard]] std::string AnswerBundleCreate(const Request& request);
[[nodiscard]] std::string AnswerBundleList(const Request& request);
[[nodiscard]] std::string AnswerBundleExtract(const Request& request);
[[nodiscard]] std::string AnswerLibrary(const Request& request);

} // namespace velorin
