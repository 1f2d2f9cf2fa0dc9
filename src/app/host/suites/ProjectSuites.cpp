#include "app/host/suites/Suites.h"

#include "services/StringConversion.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

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
    if (run.undoDepth++ == 0) run.undoName = name, run.undoChanges = 0;
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
    if (--run.undoDepth == 0 && run.undoChanges > 0) host.undoSteps.push_back(run.undoName);
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

// ---- comps and items

A_Ratio RatioOf(double value) {
    constexpr A_long kUnits = 10000;
    const auto num = static_cast<A_long>(std::lround(value * kUnits));
    const A_long common = std::max(std::gcd(num, kUnits), 1);
    return {num / common, static_cast<A_u_long>(kUnits / common)};
}
A_Err GetCompFromItem(AEGP_ItemH handle, AEGP_CompH* comp) {
    const HostItem* item = ItemOf(handle);
    *comp = item && !item->layer ? HandleOf(item->comp) : nullptr;
    return item ? A_Err_NONE : A_Err_PARAMETER;
}
A_Err GetItemFromComp(AEGP_CompH handle, AEGP_ItemH* item) {
    HostComp* comp = CompOf(handle);
    *item = comp ? HandleOf(&comp->item) : nullptr;
    return comp ? A_Err_NONE : A_Err_PARAMETER;
}
A_Err GetCompDownsampleFactor(AEGP_CompH handle, AEGP_DownsampleFactor* factor) {
    const HostComp* comp = CompOf(handle);
    if (!comp) return A_Err_PARAMETER;
    *factor = {static_cast<A_short>(comp->settings.downsampleX),
               static_cast<A_short>(comp->settings.downsampleY)};
    return A_Err_NONE;
}
A_Err GetCompFlags(AEGP_CompH handle, AEGP_CompFlags* flags) {
    const HostComp* comp = CompOf(handle);
    if (!comp) return A_Err_PARAMETER;
    *flags = comp->settings.motionBlur ? AEGP_CompFlag_ENABLE_MOTION_BLUR : 0;
    return A_Err_NONE;
}
A_Err GetCompFramerate(AEGP_CompH handle, A_FpLong* rate) {
    const HostComp* comp = CompOf(handle);
    if (!comp) return A_Err_PARAMETER;
    *rate = comp->settings.frameRate.perSecond();
    return A_Err_NONE;
}
A_Err GetCompShutterAnglePhase(AEGP_CompH handle, A_Ratio* angle, A_Ratio* phase) {
    const HostComp* comp = CompOf(handle);
    if (!comp) return A_Err_PARAMETER;
    *angle = RatioOf(comp->settings.shutterAngle);
    *phase = RatioOf(comp->settings.shutterPhase);
    return A_Err_NONE;
}
A_Err GetCompShutterFrameRange(AEGP_CompH handle, const A_Time* compTime, A_Time* start, A_Time* duration) {
    const HostComp* comp = CompOf(handle);
    if (!comp) return A_Err_PARAMETER;
    const double frame = 1 / comp->settings.frameRate.perSecond();
    *start =
        Host::current()->TimeFromSeconds(SecondsOf(*compTime) + frame * comp->settings.shutterPhase / 360);
    *duration = Host::current()->TimeFromSeconds(frame * comp->settings.shutterAngle / 360);
    return A_Err_NONE;
}
A_Err CreateNullInComp(const A_UTF16Char* name, AEGP_CompH handle, const A_Time*, AEGP_LayerH* layer) {
    *layer = nullptr;
    HostComp* comp = CompOf(handle);
    if (!comp) return A_Err_PARAMETER;
    if (!Host::current()->BeginChange()) return WriteRefused();
    std::u16string text;
    for (; *name; ++name) text += static_cast<char16_t>(*name);
    HostLayer& made = comp->AddLayer(LayerRole::Null, Utf16ToUtf8(text));
    made.flags |= AEGP_LayerFlag_NULL_LAYER;
    const auto add = [&](AEGP_LayerStream which, AEGP_StreamType type, const AnimatedValue& value) {
        made.streams[which].type = type;
        made.streams[which].value = value;
    };
    add(AEGP_LayerStream_ANCHORPOINT, AEGP_StreamType_ThreeD_SPATIAL, AnimatedValue(0, 0, 0));
    add(AEGP_LayerStream_POSITION, AEGP_StreamType_ThreeD_SPATIAL,
        AnimatedValue(comp->settings.width / 2.0, comp->settings.height / 2.0, 0));
    add(AEGP_LayerStream_SCALE, AEGP_StreamType_ThreeD, AnimatedValue(100, 100, 100));
    add(AEGP_LayerStream_ORIENTATION, AEGP_StreamType_ThreeD, AnimatedValue(0, 0, 0));
    for (const AEGP_LayerStream which :
         {AEGP_LayerStream_ROTATE_X, AEGP_LayerStream_ROTATE_Y, AEGP_LayerStream_ROTATE_Z})
        add(which, AEGP_StreamType_OneD, AnimatedValue(0));
    add(AEGP_LayerStream_OPACITY, AEGP_StreamType_OneD, AnimatedValue(100));
    // A new layer lies on top.
    std::rotate(comp->layers.rbegin(), comp->layers.rbegin() + 1, comp->layers.rend());
    *layer = HandleOf(&made);
    return A_Err_NONE;
}
A_Err GetCompFrameDuration(AEGP_CompH handle, A_Time* duration) {
    const HostComp* comp = CompOf(handle);
    if (!comp) return A_Err_PARAMETER;
    *duration = {comp->settings.frameRate.step, static_cast<A_u_long>(comp->settings.frameRate.scale)};
    return A_Err_NONE;
}

A_Err GetItemType(AEGP_ItemH handle, AEGP_ItemType* type) {
    const HostItem* item = ItemOf(handle);
    if (!item) return A_Err_PARAMETER;
    *type = item->layer ? AEGP_ItemType_FOOTAGE : AEGP_ItemType_COMP;
    return A_Err_NONE;
}
A_Err GetItemId(AEGP_ItemH handle, A_long* id) {
    const HostItem* item = ItemOf(handle);
    if (!item) return A_Err_PARAMETER;
    *id = item->id;
    return A_Err_NONE;
}
A_Err GetItemFlags(AEGP_ItemH handle, AEGP_ItemFlags* flags) {
    const HostItem* item = ItemOf(handle);
    if (!item) return A_Err_PARAMETER;
    *flags = AEGP_ItemFlag_HAS_VIDEO | (item->layer ? AEGP_ItemFlag_STILL : 0);
    return A_Err_NONE;
}
A_Err GetItemDuration(AEGP_ItemH handle, A_Time* duration) {
    const HostItem* item = ItemOf(handle);
    if (!item) return A_Err_PARAMETER;
    *duration =
        Host::current()->TimeFromSeconds(item->layer ? item->layer->duration : item->comp->settings.duration);
    return A_Err_NONE;
}
A_Err GetItemCurrentTime(AEGP_ItemH handle, A_Time* time) {
    const HostItem* item = ItemOf(handle);
    if (!item) return A_Err_PARAMETER;
    *time = {item->comp->currentTime, static_cast<A_u_long>(item->comp->settings.frameRate.scale)};
    return A_Err_NONE;
}
A_Err GetItemDimensions(AEGP_ItemH handle, A_long* width, A_long* height) {
    const HostItem* item = ItemOf(handle);
    if (!item) return A_Err_PARAMETER;
    int w = item->comp->settings.width, h = item->comp->settings.height;
    if (item->layer) Host::current()->pixels.ReferenceSize(*item->layer, w, h);
    *width = w, *height = h;
    return A_Err_NONE;
}
A_Err GetItemPixelAspectRatio(AEGP_ItemH handle, A_Ratio* ratio) {
    const HostItem* item = ItemOf(handle);
    if (!item) return A_Err_PARAMETER;
    *ratio = item->layer ? A_Ratio{1, 1} : RatioOf(item->comp->settings.pixelAspect);
    return A_Err_NONE;
}

// ---- layers

A_Err GetCompNumLayers(AEGP_CompH handle, A_long* count) {
    const HostComp* comp = CompOf(handle);
    if (!comp) return A_Err_PARAMETER;
    *count = static_cast<A_long>(comp->layers.size());
    return A_Err_NONE;
}
A_Err GetCompLayerByIndex(AEGP_CompH handle, A_long index, AEGP_LayerH* layer) {
    const HostComp* comp = CompOf(handle);
    const bool good = comp && index >= 0 && index < static_cast<A_long>(comp->layers.size());
    *layer = good ? HandleOf(comp->layers[static_cast<std::size_t>(index)].get()) : nullptr;
    return good ? A_Err_NONE : A_Err_PARAMETER;
}
A_Err GetLayerIndex(AEGP_LayerH handle, A_long* index) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    const auto& layers = layer->comp->layers;
    *index = static_cast<A_long>(
        std::find_if(layers.begin(), layers.end(), [&](const auto& l) { return l.get() == layer; }) -
        layers.begin());
    return A_Err_NONE;
}
A_Err GetLayerSourceItem(AEGP_LayerH handle, AEGP_ItemH* item) {
    HostLayer* layer = LayerOf(handle);
    *item = layer && layer->hasSourceItem() ? HandleOf(&layer->item) : nullptr;
    return layer ? A_Err_NONE : A_Err_PARAMETER;
}
A_Err GetLayerParentComp(AEGP_LayerH handle, AEGP_CompH* comp) {
    const HostLayer* layer = LayerOf(handle);
    *comp = layer ? HandleOf(layer->comp) : nullptr;
    return layer ? A_Err_NONE : A_Err_PARAMETER;
}
A_Err GetLayerName(AEGP_PluginID, AEGP_LayerH handle, AEGP_MemHandle* layerName, AEGP_MemHandle* sourceName) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    const std::u16string name = Utf8ToUtf16(layer->name);
    for (AEGP_MemHandle* out : {layerName, sourceName})
        if (out) *out = NewMemory(name.c_str(), (name.size() + 1) * sizeof(char16_t));
    return A_Err_NONE;
}
A_Err GetLayerFlags(AEGP_LayerH handle, AEGP_LayerFlags* flags) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    *flags = layer->flags | (layer->role == LayerRole::Effect ? AEGP_LayerFlag_EFFECTS_ACTIVE : 0);
    return A_Err_NONE;
}
A_Err SetLayerFlag(AEGP_LayerH handle, AEGP_LayerFlags flag, A_Boolean value) {
    HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    if (!Host::current()->BeginChange()) return WriteRefused();
    layer->flags = value ? layer->flags | flag : layer->flags & ~flag;
    return A_Err_NONE;
}
A_Err IsLayerVideoReallyOn(AEGP_LayerH handle, A_Boolean* on) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    *on = (layer->flags & AEGP_LayerFlag_VIDEO_ACTIVE) != 0;
    return A_Err_NONE;
}
A_Err GetLayerInPoint(AEGP_LayerH handle, AEGP_LTimeMode mode, A_Time* time) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    *time = Host::current()->TimeFromSeconds(mode == AEGP_LTimeMode_CompTime ? layer->startTime : 0);
    return A_Err_NONE;
}
A_Err GetLayerDuration(AEGP_LayerH handle, AEGP_LTimeMode, A_Time* duration) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    *duration = Host::current()->TimeFromSeconds(layer->duration);
    return A_Err_NONE;
}
A_Err GetLayerObjectType(AEGP_LayerH handle, AEGP_ObjectType* type) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    *type = layer->objectType();
    return A_Err_NONE;
}
A_Err IsVideoActive(AEGP_LayerH handle, AEGP_LTimeMode mode, const A_Time* time, A_Boolean* active) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer || !time) return A_Err_PARAMETER;
    const double seconds = SecondsOf(*time) + (mode == AEGP_LTimeMode_LayerTime ? layer->startTime : 0);
    *active = (layer->flags & AEGP_LayerFlag_VIDEO_ACTIVE) && layer->Covers(seconds);
    return A_Err_NONE;
}
A_Err ConvertCompToLayerTime(AEGP_LayerH handle, const A_Time* from, A_Time* to) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    *to =
        layer->startTime == 0 ? *from : Host::current()->TimeFromSeconds(SecondsOf(*from) - layer->startTime);
    return A_Err_NONE;
}
A_Err ConvertLayerToCompTime(AEGP_LayerH handle, const A_Time* from, A_Time* to) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    *to =
        layer->startTime == 0 ? *from : Host::current()->TimeFromSeconds(SecondsOf(*from) + layer->startTime);
    return A_Err_NONE;
}
A_Err GetLayerId(AEGP_LayerH handle, AEGP_LayerIDVal* id) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    *id = layer->id;
    return A_Err_NONE;
}
A_Err GetLayerToWorldXform(AEGP_LayerH handle, const A_Time* compTime, A_Matrix4* matrix) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    *matrix = layer->ToWorld(SecondsOf(*compTime));
    return A_Err_NONE;
}
A_Err SetLayerName(AEGP_LayerH handle, const A_UTF16Char* name) {
    HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    if (!Host::current()->BeginChange()) return WriteRefused();
    std::u16string text;
    for (; *name; ++name) text += static_cast<char16_t>(*name);
    layer->name = Utf16ToUtf8(text);
    return A_Err_NONE;
}
A_Err DeleteLayer(AEGP_LayerH handle) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer || layer->role == LayerRole::Effect) return A_Err_PARAMETER;
    if (!Host::current()->BeginChange()) return WriteRefused();
    auto& layers = layer->comp->layers;
    layers.erase(std::find_if(layers.begin(), layers.end(), [&](const auto& l) { return l.get() == layer; }));
    return A_Err_NONE;
}
A_Err GetLayerFromLayerId(AEGP_CompH handle, AEGP_LayerIDVal id, AEGP_LayerH* layer) {
    const HostComp* comp = CompOf(handle);
    *layer = comp ? HandleOf(comp->LayerById(id)) : nullptr;
    return *layer ? A_Err_NONE : A_Err_PARAMETER;
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

AEGP_CompSuite10 Comp() {
    AEGP_CompSuite10 suite{};
    suite.AEGP_GetCompFromItem = GetCompFromItem;
    suite.AEGP_GetItemFromComp = GetItemFromComp;
    suite.AEGP_GetCompDownsampleFactor = GetCompDownsampleFactor;
    suite.AEGP_GetCompFlags = GetCompFlags;
    suite.AEGP_GetCompFramerate = GetCompFramerate;
    suite.AEGP_GetCompShutterAnglePhase = GetCompShutterAnglePhase;
    suite.AEGP_GetCompShutterFrameRange = GetCompShutterFrameRange;
    suite.AEGP_CreateNullInComp = CreateNullInComp;
    suite.AEGP_GetCompFrameDuration = GetCompFrameDuration;
    return suite;
}

AEGP_ItemSuite8 Item() {
    AEGP_ItemSuite8 suite{};
    suite.AEGP_GetItemType = GetItemType;
    suite.AEGP_GetItemID = GetItemId;
    suite.AEGP_GetItemFlags = GetItemFlags;
    suite.AEGP_GetItemDuration = GetItemDuration;
    suite.AEGP_GetItemCurrentTime = GetItemCurrentTime;
    suite.AEGP_GetItemDimensions = GetItemDimensions;
    suite.AEGP_GetItemPixelAspectRatio = GetItemPixelAspectRatio;
    return suite;
}

AEGP_LayerSuite8 LayerSuite() {
    AEGP_LayerSuite8 suite{};
    suite.AEGP_GetCompNumLayers = GetCompNumLayers;
    suite.AEGP_GetCompLayerByIndex = GetCompLayerByIndex;
    suite.AEGP_GetLayerIndex = GetLayerIndex;
    suite.AEGP_GetLayerSourceItem = GetLayerSourceItem;
    suite.AEGP_GetLayerParentComp = GetLayerParentComp;
    suite.AEGP_GetLayerName = GetLayerName;
    suite.AEGP_GetLayerFlags = GetLayerFlags;
    suite.AEGP_SetLayerFlag = SetLayerFlag;
    suite.AEGP_IsLayerVideoReallyOn = IsLayerVideoReallyOn;
    suite.AEGP_GetLayerInPoint = GetLayerInPoint;
    suite.AEGP_GetLayerDuration = GetLayerDuration;
    suite.AEGP_GetLayerObjectType = GetLayerObjectType;
    suite.AEGP_IsVideoActive = IsVideoActive;
    suite.AEGP_ConvertCompToLayerTime = ConvertCompToLayerTime;
    suite.AEGP_ConvertLayerToCompTime = ConvertLayerToCompTime;
    suite.AEGP_GetLayerID = GetLayerId;
    suite.AEGP_GetLayerToWorldXform = GetLayerToWorldXform;
    suite.AEGP_SetLayerName = SetLayerName;
    suite.AEGP_DeleteLayer = DeleteLayer;
    suite.AEGP_GetLayerFromLayerID = GetLayerFromLayerId;
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
    static const AEGP_CompSuite10 comp = Comp();
    static const AEGP_ItemSuite8 item = Item();
    static const AEGP_LayerSuite8 layer = LayerSuite();
    static const AEGP_EffectSuite4 effect = EffectSuite();
    static const AEGP_CameraSuite2 camera{nullptr, GetCameraType, GetDefaultCameraDistance, GetCameraFilmSize,
                                          nullptr};
    static const AEGP_LightSuite2 light{GetLightType, nullptr};
    static const SuiteEntry entries[] = {
        {kAEGPUtilitySuite, kAEGPUtilitySuiteVersion4, &utility},
        {kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1, &effectInterface},
        {kAEGPMemorySuite, kAEGPMemorySuiteVersion1, &memory},
        {kAEGPCompSuite, kAEGPCompSuiteVersion10, &comp},
        {kAEGPItemSuite, kAEGPItemSuiteVersion8, &item},
        {kAEGPLayerSuite, kAEGPLayerSuiteVersion8, &layer},
        {kAEGPEffectSuite, kAEGPEffectSuiteVersion4, &effect},
        {kAEGPCameraSuite, kAEGPCameraSuiteVersion2, &camera},
        {kAEGPLightSuite, kAEGPLightSuiteVersion2, &light},
    };
    return entries;
}

} // namespace velorin::app
