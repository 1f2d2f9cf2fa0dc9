#include "host/SceneValue.h"

#include "host/HostMemory.h"

#include <atomic>
#include <memory>
#include <new>

namespace velorin {
namespace {

std::uint64_t NextRevision() {
    static std::atomic<std::uint64_t> last = 0;
    return ++last;
}

void Dispose(const PF_UtilCallbacks& utils, PF_ArbitraryH handle) {
    if (!handle) return;
    {
        const HandleLock lock(&utils, handle);
        if (SceneValue* value = SceneValueIn(lock.memory())) std::destroy_at(value);
    }
    utils.host_dispose_handle(handle);
}

PF_Handle Copy(const PF_UtilCallbacks& utils, AssetContext* assets, PF_ArbitraryH source) {
    const PF_Handle copy = NewSceneValue(utils, assets);
    const HandleLock from(&utils, source);
    const HandleLock to(&utils, copy);
    const SceneValue* old = SceneValueIn(from.memory());
    SceneValue* fresh = SceneValueIn(to.memory());
    if (old && fresh) {
        fresh->scene->DeepCopyFrom(*old->scene);
        fresh->revision = old->revision;
    }
    return copy;
}

// Bytes of the flat document; written when there is a buffer.
std::size_t Flatten(const PF_UtilCallbacks& utils, PF_ArbitraryH handle, void* buffer, std::size_t size) {
    const HandleLock lock(&utils, handle);
    const SceneValue* value = SceneValueIn(lock.memory());
    return value ? value->scene->Write(static_cast<std::byte*>(buffer), size) : 0;
}

PF_Handle Unflatten(const PF_UtilCallbacks& utils, AssetContext* assets, const void* buffer,
                    std::size_t size) {
    const PF_Handle handle = NewSceneValue(utils, assets);
    if (!buffer || size <= 1) return handle;
    const HandleLock lock(&utils, handle);
    if (SceneValue* value = SceneValueIn(lock.memory()))
        (void)value->scene->Read(
            Bytes(static_cast<const std::byte*>(buffer), size)); // the damaged part is dropped
    return handle;
}

} // namespace

SceneValue::SceneValue(AssetContext* assets)
    : revision(NextRevision()), scene(std::make_unique<Scene>(assets)) {
}

void SceneValue::Touch() {
    revision = NextRevision();
}

SceneValue* SceneValueIn(void* memory) {
    SceneValue* const value = static_cast<SceneValue*>(memory);
    return value && value->tag == SceneValue::kTag ? value : nullptr;
}

PF_Handle NewSceneValue(const PF_UtilCallbacks& utils, AssetContext* assets) {
    const PF_Handle handle = utils.host_new_handle(SceneValue::kHandleSize);
    if (!handle) return nullptr;
    const HandleLock lock(&utils, handle);
    if (lock.memory()) new (lock.memory()) SceneValue(assets);
    return handle;
}

void HandleSceneValue(const PF_UtilCallbacks& utils, AssetContext* assets, PF_ArbParamsExtra& call) {
    switch (call.which_function) {
    case PF_Arbitrary_NEW_FUNC:
        *call.u.new_func_params.arbPH = NewSceneValue(utils, assets);
        break;
    case PF_Arbitrary_DISPOSE_FUNC:
        Dispose(utils, call.u.dispose_func_params.arbH);
        break;
    case PF_Arbitrary_COPY_FUNC:
        *call.u.copy_func_params.dst_arbPH = Copy(utils, assets, call.u.copy_func_params.src_arbH);
        break;
    case PF_Arbitrary_FLAT_SIZE_FUNC:
        *call.u.flat_size_func_params.flat_data_sizePLu =
            static_cast<A_u_long>(Flatten(utils, call.u.flat_size_func_params.arbH, nullptr, 0));
        break;
    case PF_Arbitrary_FLATTEN_FUNC: {
        const auto& to = call.u.flatten_func_params;
        if (to.flat_dataPV) Flatten(utils, to.arbH, to.flat_dataPV, to.buf_sizeLu);
        break;
    }
    case PF_Arbitrary_UNFLATTEN_FUNC: {
        const auto& from = call.u.unflatten_func_params;
        *from.arbPH = Unflatten(utils, assets, from.flat_dataPV, from.buf_sizeLu);
        break;
    }
    default:
        break;
    }
}

} // namespace velorin
