#include "host/Entry.h"

#include "host/AEPluginConnection.h"
#include "host/HostMemory.h"
#include "services/Log.h"

#include <exception>
#include <memory>

namespace velorin {
namespace {

constexpr A_HandleSize kPointerHandleSize = 8;
static_assert(sizeof(AEPluginConnection*) <= kPointerHandleSize);

void KeepGlobal(PF_InData& in, PF_OutData& out, PF_Handle handle) {
    in.global_data = handle;
    out.global_data = handle;
}

void CreateObject(PF_InData& in, PF_OutData& out) {
    const PF_Handle handle = in.utils->host_new_handle(kPointerHandleSize);
    KeepGlobal(in, out, handle);
    const HandleLock lock(in.utils, handle);
    if (lock.memory()) *lock.as<AEPluginConnection*>() = new AEPluginConnection;
}

// The one way in which a call finds its object; null before global set-up.
AEPluginConnection* FindObject(const PF_InData& in) {
    const HandleLock lock(in.utils, in.global_data);
    return lock.memory() ? *lock.as<AEPluginConnection*>() : nullptr;
}

void DeleteObject(PF_InData& in, PF_OutData& out) {
    delete FindObject(in);
    if (in.global_data) in.utils->host_dispose_handle(in.global_data);
    KeepGlobal(in, out, nullptr);
}

PF_Err Run(PF_Cmd command, PF_InData& in, PF_OutData& out, PF_ParamDef** params, void* extra) {
    if (command == PF_Cmd_GLOBAL_SETUP) CreateObject(in, out);
    AEPluginConnection* const object = FindObject(in);
    if (!object) return command == PF_Cmd_GLOBAL_SETUP ? PF_Err_OUT_OF_MEMORY : PF_Err_NONE;
    const PF_Err error = object->Dispatch(command, &in, &out, params, extra);
    if (command == PF_Cmd_GLOBAL_SETDOWN) DeleteObject(in, out);
    return error;
}

} // namespace

PF_Err EnterPlugin(PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamDef** params, void* extra) {
    try {
        return Run(command, *in, *out, params, extra);
    } catch (const std::exception& error) {
        LogError("Command %d ended with an exception: %s", static_cast<int>(command), error.what());
    } catch (...) {
        LogError("Command %d ended with an exception", static_cast<int>(command));
    }
    // The host sends nothing more after a failed set-up.
    if (command == PF_Cmd_GLOBAL_SETUP) DeleteObject(*in, *out);
    return PF_Err_INTERNAL_STRUCT_DAMAGED;
}

} // namespace velorin
