#include "host/api/Introspection.h"

#include "core/Velorin.h"
#include "host/AEPluginConnection.h"
#include "host/introspection/Request.h"

#include <mutex>
#include <string>

namespace velorin {

// The reply of one request.
std::string AEPluginConnection::Answer(PluginCall& call, const IntrospectionRequest& request) {
    const Json json = Json::parse(request.request ? request.request : "", nullptr, false);
    if (!json.is_object()) return RequestError("the request is no JSON object");
    const std::string what = json.value("do", std::string());
    const RequestRow* const row = FindRequest(what);
    if (!row || (row->usesCore && !velorin_))
        return RequestError("the request \"" + what + "\" is not known", "/do");
    const Bytes payload(static_cast<const std::byte*>(request.payload),
                        request.payload ? static_cast<std::size_t>(request.payloadSize) : 0);
    std::unique_lock lock(renderMutex_, std::defer_lock);
    if (row->usesCore) lock.lock();
    return row->handler({*this, call, json, payload, assets_, live_, velorin_, capture_, statisticsBefore_,
                         statisticsAfter_});
}

void AEPluginConnection::Introspect(PluginCall& call, IntrospectionRequest& request) {
    if (!request.respond) return;
    std::string reply;
    try {
        reply = Answer(call, request);
    } catch (const Json::exception& error) {
        reply = RequestError(error.what());
    }
    request.respond(request.context, reply.data(), reply.size());
}

} // namespace velorin
