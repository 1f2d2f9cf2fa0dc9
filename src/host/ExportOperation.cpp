#include "host/AEPluginConnection.h"

#include "core/Velorin.h"
#include "host/CoreContext.h"
#include "host/FrameRows.h"
#include "host/HostCamera.h"
#include "host/HostMemory.h"
#include "host/ParamTable.h"

namespace velorin {

bool AEPluginConnection::ExportObj(PluginCall& call, int group, const std::string& path, std::string& error) {
    const std::scoped_lock lock(renderMutex_);
    const PF_Handle handle = call.in_data->sequence_data;
    const HandleLock sequence(call.utils(), handle);
    const A_HandleSize size = sequence.memory() ? call.utils()->host_get_handle_size(handle) : 0;
    SequenceRecord* const record =
        velorin_ && !paramIndex.empty() ? live_.Find(handle, sequence.memory(), size) : nullptr;
    if (!record) {
        error = path + ": is not written: the effect is not set up.";
        return false;
    }
    ReadForFrame(call, *record);
    const FrameRecord frame = ReadFrameRecord(call, Rows(call), velorin_->renderer->driver());
    const CameraState camera = MakeCameraState(ReadHostCamera(call, call.in_data->current_time),
                                               CompPixelAspect(call), frame.nearPlane, frame.farPlane);
    FrameParams& params = *record->params;
    params.scene = record->scene.get();
    params.settings = nullptr;
    const CoreContext context(*velorin_->renderer);
    return velorin_->ExportObj(params, camera.position, group, path, error);
}

} // namespace velorin
