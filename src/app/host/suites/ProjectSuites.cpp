#include "app/host/suites/Suites.h"

#include <algorithm>
#include <cstring>

namespace velorin::app {

namespace {

constexpr AEGP_PluginID kPluginId = 7;
constexpr AEGP_InstalledEffectKey kEffectKey = 1;
constexpr double kFilmSize = 36 * 72 / 25.4; // 36 mm at 72 pixels an inch

A_Err WriteRefused() {
    return A_Err_CONST_PROJECT_MODIFICATION;
}

// ---- utility

A_Err ReportInfo(AEGP_PluginID, const A_char* text) {
    Host::current()->Warn(text);
    return A_Err_NONE;
}
A_Err StartQuietErrors(AEGP_ErrReportState* state) {
    *state = {};
    return A_Err_NONE;
}
A_Err EndQuietErrors(A_Boolean, AEGP_ErrReportState*) {
    return A_Err_NONE;
}
A_Err StartUndoGroup(const A_char* name) {
    Host& host = *Host::current();
    if (host.run().renderSide()) return WriteRefused();
    CommandRun& run = host.run();
    if (run.undoDepth++ == 0) run.undoGroup = {name, {}};
    return A_Err_NONE;
}
A_Err EndUndoGroup() {
    Host& host = *Host::current();
    CommandRun& run = host.run();
    if (run.renderSide()) return WriteRefused();
    if (run.undoDepth == 0) {
        host.Fault("an undo group was ended that was not started");
        return A_Err_GENERIC;
    }
    // An empty group leaves no step.
    if (--run.undoDepth == 0 && !run.undoGroup.changes.empty()) host.history.Add(std::move(run.undoGroup));
    return A_Err_NONE;
}
A_Err RegisterWithAegp(AEGP_GlobalRefcon, const A_char*, AEGP_PluginID* id) {
    Host& host = *Host::current();
    if (host.run().command != PF_Cmd_GLOBAL_SETUP) {
        host.Fault("it registered outside GLOBAL_SETUP");
        return A_Err_GENERIC;
    }
    *id = kPluginId;
    return A_Err_NONE;
}
A_Err GetMainWindow(void* window) {
    *static_cast<void**>(window) = nullptr;
    return A_Err_NONE;
}
A_Err GetSuppressInteractiveUi(A_Boolean* suppressed) {
    *suppressed = 1;
    return A_Err_NONE;
}

// ---- from the effect to the project

A_Err GetEffectLayer(PF_ProgPtr reference, AEGP_LayerH* layer) {
    const EffectInstance* instance = Host::current()->InstanceOf(reference);
    *layer = instance ? HandleOf(instance->layer()) : nullptr;
    return instance ? A_Err_NONE : A_Err_PARAMETER;
}
A_Err GetNewEffectForEffect(AEGP_PluginID, PF_ProgPtr reference, AEGP_EffectRefH* effect) {
    Host& host = *Host::current();
    EffectInstance* instance = host.InstanceOf(reference);
    *effect = nullptr;
    if (!instance) return A_Err_PARAMETER;
    *effect = host.objects.Make<EffectObject, AEGP_EffectRefH>(host.run().number, instance);
    return A_Err_NONE;
}
A_Err ConvertEffectToCompTime(PF_ProgPtr reference, A_long time, A_u_long scale, A_Time* compTime) {
    Host& host = *Host::current();
    const EffectInstance* instance = host.InstanceOf(reference);
    if (!instance || scale == 0) return A_Err_PARAMETER;
    if (instance->layer()->startTime == 0)
        *compTime = {time, scale};
    else
        *compTime = host.TimeFromSeconds(host.Seconds(time, scale) + instance->layer()->startTime);
    return A_Err_NONE;
}
A_Err GetEffectCamera(PF_ProgPtr reference, const A_Time* compTime, AEGP_LayerH* camera) {
    const EffectInstance* instance = Host::current()->InstanceOf(reference);
    *camera = instance ? HandleOf(instance->comp->CameraAt(SecondsOf(*compTime))) : nullptr;
    return instance ? A_Err_NONE : A_Err_PARAMETER;
}
A_Err GetEffectCameraMatrix(PF_ProgPtr reference, const A_Time* compTime, A_Matrix4* matrix,
                            A_FpLong* distance, A_short* width, A_short* height) {
    const EffectInstance* instance = Host::current()->InstanceOf(reference);
    if (!instance) return A_Err_PARAMETER;
    const HostComp::CameraView view = instance->comp->ViewAt(SecondsOf(*compTime));
    *matrix = view.matrix;
    *distance = view.distance;
    *width = static_cast<A_short>(std::min(instance->comp->settings.width, 32767));
    *height = static_cast<A_short>(std::min(instance->comp->settings.height, 32767));
    return A_Err_NONE;
}

// ---- memory

A_Err NewMemHandle(AEGP_PluginID, const A_char*, AEGP_MemSize size, AEGP_MemFlag, AEGP_MemHandle* handle) {
    *handle = NewMemory(nullptr, size);
    return A_Err_NONE;
}
MemoryObject* MemoryOf(AEGP_MemHandle handle) {
    Host& host = *Host::current();
    auto* memory = host.objects.Find<MemoryObject>(handle);
    if (!memory) host.Fault("a memory handle is none or was freed");
    return memory;
}
A_Err FreeMemHandle(AEGP_MemHandle handle) {
    const MemoryObject* memory = MemoryOf(handle);
    if (!memory) return A_Err_PARAMETER;
    if (memory->locks > 0) Host::current()->Fault("a memory handle was freed while it was locked");
    (void)Host::current()->objects.Dispose<MemoryObject>(handle);
    return A_Err_NONE;
}
A_Err LockMemHandle(AEGP_MemHandle handle, void** bytes) {
    MemoryObject* memory = MemoryOf(handle);
    if (!memory) return A_Err_PARAMETER;
    ++memory->locks;
    *bytes = memory->bytes.data();
    return A_Err_NONE;
}
A_Err UnlockMemHandle(AEGP_MemHandle handle) {
    MemoryObject* memory = MemoryOf(handle);
    if (!memory) return A_Err_PARAMETER;
    if (memory->locks == 0)
        Host::current()->Fault("a memory handle was unlocked more often than locked");
    else
        --memory->locks;
    return A_Err_NONE;
}
A_Err GetMemHandleSize(AEGP_MemHandle handle, AEGP_MemSize* size) {
    const MemoryObject* memory = MemoryOf(handle);
    if (!memory) return A_Err_PARAMETER;
    *size = static_cast<AEGP_MemSize>(memory->bytes.size());
    return A_Err_NONE;
}

// ---- effects

A_Err GetLayerNumEffects(AEGP_LayerH handle, A_long* count) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    *count = layer == layer->comp->effectLayer ? static_cast<A_long>(layer->comp->effects.size()) : 0;
    return A_Err_NONE;
}
A_Err GetLayerEffectByIndex(AEGP_PluginID, AEGP_LayerH handle, AEGP_EffectIndex index,
                            AEGP_EffectRefH* effect) {
    Host& host = *Host::current();
    const HostLayer* layer = LayerOf(handle);
    *effect = nullptr;
    if (!layer || layer != layer->comp->effectLayer || index < 0 ||
        index >= static_cast<A_long>(layer->comp->effects.size()))
        return A_Err_PARAMETER;
    *effect = host.objects.Make<EffectObject, AEGP_EffectRefH>(
        host.run().number, layer->comp->effects[static_cast<std::size_t>(index)].get());
    return A_Err_NONE;
}
A_Err GetInstalledKey(AEGP_EffectRefH effect, AEGP_InstalledEffectKey* key) {
    *key = EffectOf(effect) ? kEffectKey : 0;
    return *key ? A_Err_NONE : A_Err_PARAMETER;
}
A_Err GetEffectParamUnionByIndex(AEGP_PluginID, AEGP_EffectRefH effect, PF_ParamIndex index,
                                 PF_ParamType* type, PF_ParamDefUnion* def) {
    const ParameterRow* row = Host::current()->rows().At(index);
    if (!EffectOf(effect) || !row) return A_Err_PARAMETER;
    *type = row->type();
    if (def) *def = row->def.u;
    return A_Err_NONE;
}
A_Err GetEffectFlags(AEGP_EffectRefH effect, AEGP_EffectFlags* flags) {
    const EffectInstance* instance = EffectOf(effect);
    if (!instance) return A_Err_PARAMETER;
    *flags = instance->enabled ? AEGP_EffectFlags_ACTIVE : 0;
    return A_Err_NONE;
}
A_Err EffectCallGeneric(AEGP_PluginID, AEGP_EffectRefH effect, const A_Time* time, PF_Cmd command,
                        void* extra) {
    Host& host = *Host::current();
    EffectInstance* instance = EffectOf(effect);
    if (!instance || !time || command != PF_Cmd_COMPLETELY_GENERAL) return A_Err_PARAMETER;
    // The time is the comp's; the instance gets its layer's.
    const A_Time layerTime = host.TimeFromSeconds(SecondsOf(*time) - instance->layer()->startTime);
    return host.Call(command, instance, layerTime.value, extra).code;
}
A_Err DisposeEffect(AEGP_EffectRefH effect) {
    Host& host = *Host::current();
    if (host.objects.Dispose<EffectObject>(effect)) return A_Err_NONE;
    host.Fault("an effect reference was given back twice or is none");
    return A_Err_PARAMETER;
}
A_Err CopyName(const std::string& name, A_char* out, std::size_t most) {
    const std::size_t count = std::min(name.size(), most);
    std::memcpy(out, name.data(), count);
    out[count] = '\0';
    return A_Err_NONE;
}
A_Err GetEffectName(AEGP_InstalledEffectKey, A_char* name) {
    return CopyName(Host::current()->facts.name, name, AEGP_MAX_EFFECT_NAME_SIZE);
}
A_Err GetEffectMatchName(AEGP_InstalledEffectKey, A_char* name) {
    return CopyName(Host::current()->facts.matchName, name, AEGP_MAX_EFFECT_MATCH_NAME_SIZE);
}

// ---- cameras and lights

A_Err GetCameraType(AEGP_LayerH handle, AEGP_CameraType* type) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer || layer->role != LayerRole::Camera) return A_Err_PARAMETER;
    *type = layer->orthographic ? AEGP_CameraType_ORTHOGRAPHIC : AEGP_CameraType_PERSPECTIVE;
    return A_Err_NONE;
}
A_Err GetDefaultCameraDistance(AEGP_CompH handle, A_FpLong* distance) {
    const HostComp* comp = CompOf(handle);
    if (!comp) return A_Err_PARAMETER;
    *distance = comp->settings.defaultZoom();
    return A_Err_NONE;
}
A_Err GetCameraFilmSize(AEGP_LayerH handle, AEGP_FilmSizeUnits* units, A_FpLong* size) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer || layer->role != LayerRole::Camera) return A_Err_PARAMETER;
    *units = AEGP_FilmSizeUnits_HORIZONTAL;
    *size = kFilmSize;
    return A_Err_NONE;
}
A_Err GetLightType(AEGP_LayerH handle, AEGP_LightType* type) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer || layer->role != LayerRole::Light) return A_Err_PARAMETER;
    constexpr AEGP_LightType kTypes[] = {AEGP_LightType_PARALLEL, AEGP_LightType_SPOT, AEGP_LightType_POINT,
                                         AEGP_LightType_AMBIENT};
    *type = kTypes[static_cast<std::size_t>(layer->light)];
    return A_Err_NONE;
}

AEGP_UtilitySuite4 Utility() {
    AEGP_UtilitySuite4 suite{};
    suite.AEGP_ReportInfo = ReportInfo;
    suite.AEGP_StartQuietErrors = StartQuietErrors;
    suite.AEGP_EndQuietErrors = EndQuietErrors;
    suite.AEGP_StartUndoGroup = StartUndoGroup;
    suite.AEGP_EndUndoGroup = EndUndoGroup;
    suite.AEGP_RegisterWithAEGP = RegisterWithAegp;
    suite.AEGP_GetMainHWND = GetMainWindow;
    suite.AEGP_GetSuppressInteractiveUI = GetSuppressInteractiveUi;
    return suite;
}

AEGP_EffectSuite4 EffectSuite() {
    AEGP_EffectSuite4 suite{};
    suite.AEGP_GetLayerNumEffects = GetLayerNumEffects;
    suite.AEGP_GetLayerEffectByIndex = GetLayerEffectByIndex;
    suite.AEGP_GetInstalledKeyFromLayerEffect = GetInstalledKey;
    suite.AEGP_GetEffectParamUnionByIndex = GetEffectParamUnionByIndex;
    suite.AEGP_GetEffectFlags = GetEffectFlags;
    suite.AEGP_EffectCallGeneric = EffectCallGeneric;
    suite.AEGP_DisposeEffect = DisposeEffect;
    suite.AEGP_GetEffectName = GetEffectName;
    suite.AEGP_GetEffectMatchName = GetEffectMatchName;
    return suite;
}

} // namespace

std::span<const SuiteEntry> ProjectSuites() {
    static const AEGP_UtilitySuite4 utility = Utility();
    static const AEGP_PFInterfaceSuite1 effectInterface{GetEffectLayer, GetNewEffectForEffect,
                                                        ConvertEffectToCompTime, GetEffectCamera,
                                                        GetEffectCameraMatrix};
    static const AEGP_MemorySuite1 memory{NewMemHandle,    FreeMemHandle,    LockMemHandle,
                                          UnlockMemHandle, GetMemHandleSize, {}};
    static const AEGP_EffectSuite4 effect = EffectSuite();
    static const AEGP_CameraSuite2 camera{nullptr, GetCameraType, GetDefaultCameraDistance, GetCameraFilmSize,
                                          nullptr};
    static const AEGP_LightSuite2 light{GetLightType, nullptr};
    static const SuiteEntry entries[] = {
        {kAEGPUtilitySuite, kAEGPUtilitySuiteVersion4, &utility},
        {kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1, &effectInterface},
        {kAEGPMemorySuite, kAEGPMemorySuiteVersion1, &memory},
        {kAEGPEffectSuite, kAEGPEffectSuiteVersion4, &effect},
        {kAEGPCameraSuite, kAEGPCameraSuiteVersion2, &camera},
        {kAEGPLightSuite, kAEGPLightSuiteVersion2, &light},
    };
    return entries;
}

} // namespace velorin::app
