#include "host/introspection/Request.h"

#include "host/api/Introspection.h"

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
    {"meshUses", AnswerMeshUses},
    {"savePreset", AnswerSavePreset},
    {"renewPicture", AnswerRenewPicture},
    {"readPreset", AnswerReadPreset},
    {"presetScene", AnswerPresetScene},
    {"presetPicture", AnswerPresetPicture},
    {"bundleCreate", AnswerBundleCreate, kWithoutCore},
    {"bundleList", AnswerBundleList, kWithoutCore},
    {"bundleExtract", AnswerBundleExtract, kWithoutCore},
    {"library", AnswerLibrary, kWithoutCore},
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

std::string RawReply(Bytes bytes) {
    std::string reply(1, kRawReplyMark);
    return reply.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

std::string RequestError(const std::string& message, const std::string& at) {
    const std::string sentence = message.ends_with('.') ? message.substr(0, message.size() - 1) : message;
    return DumpJson(Json{{"error", sentence}, {"at", at}});
}

std::string RequestUnknown(const std::string& message, const std::string& at, Json names) {
    return DumpJson(Json{{"error", message}, {"at", at}, {"names", std::move(names)}});
}

} // namespace velorin
