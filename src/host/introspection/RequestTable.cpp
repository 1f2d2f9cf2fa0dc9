#include "host/introspection/Request.h"

namespace velorin {
namespace {

constexpr bool kWithoutCore = false;

constexpr RequestRow kRequests[] = {
    {"params", AnswerParams, kWithoutCore},
    {"sceneToFlat", AnswerSceneToFlat},
    {"flatToScene", AnswerFlatToScene, kWithoutCore},
    {"mesh", AnswerMesh},
    {"capture", AnswerCapture},
    {"captured", AnswerCaptured},
    {"devices", AnswerDevices},
    {"frame", AnswerFrame},
    {"export", AnswerExport},
};

} // namespace

const RequestRow* FindRequest(const std::string& name) {
    for (const RequestRow& row : kRequests)
        if (name == row.name) return &row;
    return nullptr;
}

std::string DumpJson(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string RequestError(const std::string& message, const std::string& at) {
    return DumpJson(Json{{"error", message}, {"at", at}});
}

} // namespace velorin
