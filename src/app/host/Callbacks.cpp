#include "app/host/Callbacks.h"

#include "app/host/SmartFrame.h"
#include "app/host/suites/Suites.h"

#include "services/StringConversion.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace velorin::app {

// Reaches into the host where a callback stores what it was told.
struct HostCallbacks {
    static PF_Err AddParam(PF_ProgPtr, PF_ParamIndex index, PF_ParamDef* def) {
        Host& host = *Host::current();
        if (host.run().command != PF_Cmd_PARAMS_SETUP) {
            host.Fault("a parameter was added outside PARAMS_SETUP");
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        if (!def || !host.rows_.Add(index, *def)) {
            host.Fault("a parameter was added at an index other than -1, or of an unknown kind");
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        return PF_Err_NONE;
    }

    static PF_Err RegisterUi(PF_ProgPtr, PF_CustomUIInfo* info) {
        Host& host = *Host::current();
        if (host.run().command != PF_Cmd_PARAMS_SETUP || !info) {
            host.Fault("custom controls were registered outside PARAMS_SETUP");
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        return PF_Err_NONE;
    }

    // Whether the caller's record is one of those that the command carries.
    static bool InParams(const Host& host, const PF_ParamDef* def) {
        return !host.paramStorage_.empty() && def >= host.paramStorage_.data() &&
               def < host.paramStorage_.data() + host.paramStorage_.size();
    }
};

namespace {

// A layer row outside the render commands: the layer's own pixels, or black of their size while controls are
// renewed.
void FillLayer(Host& host, const EffectInstance& instance, int index, double seconds, PF_ParamDef& def,
               ParameterCheckout& checkout) {
    const Composition& settings = instance.comp->settings;
    const HostLayer* layer = instance.layer();
    if (index != 0)
        layer = instance.comp->LayerById(
            static_cast<int>(instance.rows[static_cast<std::size_t>(index)].value.NumberAt(seconds, false)));
    def.u.ld = {};
    if (!layer) return;
    const double at = index == 0 ? seconds : seconds + instance.layer()->startTime - layer->startTime;
    if (host.run().command == PF_Cmd_UPDATE_PARAMS_UI) {
        const Rect bounds = host.pixels.Bounds(*layer, at, settings.downsampleX, settings.downsampleY);
        if (!bounds.empty()) checkout.pixels = std::make_shared<const WorldBuffer>(bounds, settings.depth, 1);
    } else {
        checkout.pixels =
            host.pixels.At(*layer, at, settings.depth, settings.downsampleX, settings.downsampleY);
    }
    if (checkout.pixels) def.u.ld = checkout.pixels->World(false);
}

PF_Err CheckoutParam(PF_ProgPtr reference, PF_ParamIndex index, A_long time, A_long, A_u_long scale,
                     PF_ParamDef* def) {
    Host& host = *Host::current();
    EffectInstance* instance = host.InstanceOf(reference);
    if (!instance || !def) return PF_Err_BAD_CALLBACK_PARAM;
    if (index < 0 || index > host.rows().count()) {
        host.Fault("the parameter index " + std::to_string(index) + " does not exist");
        return PF_Err_INVALID_INDEX;
    }
    if (HostCallbacks::InParams(host, def)) {
        host.Fault("a parameter was checked out into the command's own list");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    CommandRun& run = host.run();
    if (std::any_of(run.checkouts.begin(), run.checkouts.end(), [&](const auto& c) { return c.def == def; }))
        host.Fault("a parameter was checked out into a record that is in use");
    const double seconds = host.Seconds(time, scale);
    ParameterCheckout checkout{def, index, seconds, nullptr};
    host.FillDefinition(*instance, index, seconds, *def);
    if (def->param_type == PF_Param_LAYER) FillLayer(host, *instance, index, seconds, *def, checkout);
    run.checkouts.push_back(std::move(checkout));
    return PF_Err_NONE;
}

PF_Err CheckinParam(PF_ProgPtr, PF_ParamDef* def) {
    Host& host = *Host::current();
    auto& checkouts = host.run().checkouts;
    const auto found = std::find_if(checkouts.rbegin(), checkouts.rend(),
                                    [&](const auto& checkout) { return checkout.def == def; });
    if (found == checkouts.rend()) {
        host.Fault("a parameter was checked in that is not checked out");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    checkouts.erase(std::next(found).base());
    // What the record pointed at is gone.
    if (def->param_type == PF_Param_LAYER) def->u.ld = {};
    if (def->param_type == PF_Param_ARBITRARY_DATA) def->u.arb_d.value = nullptr;
    return PF_Err_NONE;
}

PF_Err Abort(PF_ProgPtr) {
    return Host::current()->IsCancelled() ? PF_Interrupt_CANCEL : PF_Err_NONE;
}

PF_Err Progress(PF_ProgPtr, A_long current, A_long total) {
    Host& host = *Host::current();
    if (total > 0 && host.onProgress) host.onProgress(current, total);
    return host.IsCancelled() ? PF_Interrupt_CANCEL : PF_Err_NONE;
}

PF_Handle NewHandle(A_HandleSize size) {
    return Host::current()->handles.New(size);
}
void* LockHandle(PF_Handle handle) {
    return Host::current()->handles.Lock(handle);
}
void UnlockHandle(PF_Handle handle) {
    Host::current()->handles.Unlock(handle);
}
void DisposeHandle(PF_Handle handle) {
    Host::current()->handles.Dispose(handle);
}
A_HandleSize GetHandleSize(PF_Handle handle) {
    return Host::current()->handles.Size(handle);
}
PF_Err ResizeHandle(A_HandleSize size, PF_Handle* handle) {
    return handle && Host::current()->handles.Resize(size, *handle) ? PF_Err_NONE : PF_Err_OUT_OF_MEMORY;
}

// Buffers are at least 512 bytes, or as many UTF-16 units.
PF_Err GetPlatformData(PF_ProgPtr, PF_PlatDataID which, void* data) {
    constexpr std::size_t kMostUnits = 511;
    const std::string& path = Host::current()->modulePath;
    switch (which) {
    case PF_PlatData_MAIN_WND:
        *static_cast<void**>(data) = nullptr;
        return PF_Err_NONE;
    case PF_PlatData_EXE_FILE_PATH_DEPRECATED:
    case PF_PlatData_RES_FILE_PATH_DEPRECATED: {
        const std::size_t count = std::min(path.size(), kMostUnits);
        std::memcpy(data, path.data(), count);
        static_cast<char*>(data)[count] = '\0';
        return PF_Err_NONE;
    }
    case PF_PlatData_EXE_FILE_PATH_W:
    case PF_PlatData_RES_FILE_PATH_W: {
        std::u16string wide = Utf8ToUtf16(path);
        wide.resize(std::min(wide.size(), kMostUnits));
        std::memcpy(data, wide.c_str(), (wide.size() + 1) * sizeof(char16_t));
        return PF_Err_NONE;
    }
    default:
        return PF_Err_BAD_CALLBACK_PARAM;
    }
}

SPErr AcquireSuite(const char* name, std::int32_t version, const void** suite) {
    Host& host = *Host::current();
    *suite = nullptr;
    const auto& missing = host.options.missingSuites;
    if (std::find(missing.begin(), missing.end(), name) != missing.end()) return 1;
    *suite = FindSuite(name, version);
    if (!*suite) return 1;
    if (host.running()) ++host.run().suites[{name, version}];
    return 0;
}

SPErr ReleaseSuite(const char* name, std::int32_t version) {
    Host& host = *Host::current();
    if (!host.running()) return 1;
    const auto found = host.run().suites.find({name, version});
    if (found == host.run().suites.end() || found->second == 0) {
        host.Fault(std::string("the suite \"") + name + "\" was released more often than acquired");
        return 1;
    }
    --found->second;
    return 0;
}

A_Boolean IsEqual(const char* a, const char* b) {
    return std::strcmp(a, b) == 0;
}
SPErr AllocateBlock(std::size_t size, void** block) {
    *block = std::malloc(size);
    return *block ? 0 : A_Err_ALLOC;
}
SPErr FreeBlock(void* block) {
    std::free(block);
    return 0;
}
SPErr ReallocateBlock(void* block, std::size_t size, void** newBlock) {
    *newBlock = std::realloc(block, size);
    return *newBlock ? 0 : A_Err_ALLOC;
}
SPErr Undefined() {
    return 1;
}

} // namespace

PF_InteractCallbacks InteractionCallbacks() {
    PF_InteractCallbacks callbacks{};
    callbacks.checkout_param = CheckoutParam;
    callbacks.checkin_param = CheckinParam;
    callbacks.add_param = HostCallbacks::AddParam;
    callbacks.abort = Abort;
    callbacks.progress = Progress;
    callbacks.register_ui = HostCallbacks::RegisterUi;
    return callbacks;
}

PF_UtilCallbacks UtilityCallbacks() {
    PF_UtilCallbacks callbacks{};
    callbacks.host_new_handle = NewHandle;
    callbacks.host_lock_handle = LockHandle;
    callbacks.host_unlock_handle = UnlockHandle;
    callbacks.host_dispose_handle = DisposeHandle;
    callbacks.get_platform_data = GetPlatformData;
    callbacks.host_get_handle_size = GetHandleSize;
    callbacks.host_resize_handle = ResizeHandle;
    return callbacks;
}

SPBasicSuite BasicSuite() {
    return {AcquireSuite, ReleaseSuite, IsEqual, AllocateBlock, FreeBlock, ReallocateBlock, Undefined};
}

} // namespace velorin::app
