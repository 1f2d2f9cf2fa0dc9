#include "host/AEPluginConnection.h"

#include "core/Velorin.h"
#include "host/HostMemory.h"
#include "render/MeshBuffers.h"
#include "services/Warnings.h"

#include <memory>
#include <new>

namespace velorin {
namespace {

std::vector<std::uint64_t> HeldIds(const SequenceRecord& record) {
    std::vector<std::uint64_t> ids;
    for (const MeshBuffers* model : record.params->loadedModels)
        if (model) ids.push_back(model->id());
    return ids;
}

} // namespace

PF_Handle AEPluginConnection::NewRecord(PluginCall& call, SequenceRecord*& record,
                                        std::unique_ptr<HandleLock>& lock) {
    record = nullptr;
    const PF_Handle handle = call.utils()->host_new_handle(SequenceRecord::kHandleSize);
    if (!handle) return nullptr;
    lock = std::make_unique<HandleLock>(call.utils(), handle);
    if (!lock->memory()) return handle;
    record = new (lock->memory()) SequenceRecord(&assets_);
    live_.Add(handle, *record);
    return handle;
}

void AEPluginConnection::DestroyRecord(PF_Handle handle, SequenceRecord& record) {
    const std::scoped_lock lock(renderMutex_);
    if (velorin_) velorin_->ReleaseModels(record.params->loadedModels);
    live_.Remove(handle);
    std::destroy_at(&record); // GL objects wait for the context by themselves
}

PF_Handle AEPluginConnection::SequenceSetup(PluginCall& call) {
    SequenceRecord* record = nullptr;
    std::unique_ptr<HandleLock> lock;
    return NewRecord(call, record, lock);
}

void AEPluginConnection::SequenceSetdown(PluginCall& call, PF_Handle handle) {
    if (!handle) return;
    {
        const HandleLock lock(call.utils(), handle);
        const A_HandleSize size = call.utils()->host_get_handle_size(handle);
        if (SequenceRecord* record = live_.Find(handle, lock.memory(), size)) {
            DestroyRecord(handle, *record);
            const std::scoped_lock renderLock(renderMutex_);
            if (velorin_) velorin_->FreeUnusedModels(); // nobody will ask for them by this instance's data
        }
    }
    call.utils()->host_dispose_handle(handle);
}

PF_Handle AEPluginConnection::SequenceFlatten(PluginCall& call, PF_Handle handle) {
    if (!handle) return nullptr;
    const PF_UtilCallbacks* utils = call.utils();
    PF_Handle flat = nullptr;
    {
        const HandleLock lock(utils, handle);
        SequenceRecord* record = live_.Find(handle, lock.memory(), utils->host_get_handle_size(handle));
        if (!record) return handle; // flat already
        const std::vector<std::uint64_t> held = HeldIds(*record);
        const std::size_t size = WriteSequence(record->state, processStamp_, held, nullptr, 0);
        flat = utils->host_new_handle(size);
        if (!flat) {
            call.err = PF_Err_OUT_OF_MEMORY;
            return handle;
        }
        {
            const HandleLock flatLock(utils, flat);
            if (flatLock.memory())
                WriteSequence(record->state, processStamp_, held, flatLock.as<std::byte>(), size);
        }
        DestroyRecord(handle, *record);
    }
    utils->host_dispose_handle(handle);
    return flat;
}

PF_Handle AEPluginConnection::SequenceResetup(PluginCall& call, PF_Handle handle) {
    if (!handle) return nullptr;
    const PF_UtilCallbacks* utils = call.utils();
    const A_HandleSize size = utils->host_get_handle_size(handle);
    PF_Handle fresh = nullptr;
    if (size > 0) {
        const HandleLock oldLock(utils, handle);
        if (live_.Find(handle, oldLock.memory(), size)) return handle; // never flattened: as it is
        SequenceRecord* record = nullptr;
        std::unique_ptr<HandleLock> freshLock;
        fresh = NewRecord(call, record, freshLock);
        if (!fresh) {
            call.err = PF_Err_OUT_OF_MEMORY;
            return handle;
        }
        if (record && oldLock.memory()) {
            FlatSequence flat = ReadSequence(Bytes(oldLock.as<std::byte>(), static_cast<std::size_t>(size)));
            if (flat.damaged)
                ReportWarning(
                    "The stored state of an effect is damaged: what cannot be read is as in a new effect.");
            record->state = std::move(flat.state);
            record->staleModels = flat.stamp != processStamp_;
            if (!record->staleModels && velorin_) {
                const std::scoped_lock lock(renderMutex_);
                for (const std::uint64_t id : flat.heldModels)
                    (void)velorin_->HoldModel(id,
                                              record->params->loadedModels); // a forgotten one is loaded anew
            }
        }
    }
    utils->host_dispose_handle(handle);
    return fresh;
}

} // namespace velorin
