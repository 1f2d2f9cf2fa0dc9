#include "app/host/suites/Suites.h"

#include "services/StringConversion.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace velorin::app {

namespace {

A_Err WriteRefused() {
    return A_Err_CONST_PROJECT_MODIFICATION;
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
    std::u16string text;
    for (; *name; ++name) text += static_cast<char16_t>(*name);
    HostLayer& made = comp->AddLayer(LayerRole::Null, Utf16ToUtf8(text));
    if (!Host::current()->Record(LayerChange{&made, 0, nullptr})) {
        comp->layers.pop_back();
        return WriteRefused();
    }
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
    if (item->layer) Host::current()->pixels.ReferenceSize(*item->layer, 0, w, h);
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
    if (!Host::current()->Record(LayerFactsChange{layer, layer->name, layer->flags})) return WriteRefused();
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
    if (!Host::current()->Record(LayerFactsChange{layer, layer->name, layer->flags})) return WriteRefused();
    std::u16string text;
    for (; *name; ++name) text += static_cast<char16_t>(*name);
    layer->name = Utf16ToUtf8(text);
    return A_Err_NONE;
}
A_Err DeleteLayer(AEGP_LayerH handle) {
    HostLayer* layer = LayerOf(handle);
    if (!layer || layer->role == LayerRole::Effect) return A_Err_PARAMETER;
    Host& host = *Host::current();
    auto& layers = layer->comp->layers;
    const auto at =
        std::find_if(layers.begin(), layers.end(), [&](const auto& l) { return l.get() == layer; });
    LayerChange change{layer, static_cast<std::size_t>(at - layers.begin()), nullptr};
    if (host.running() && host.run().renderSide()) {
        (void)host.Record(std::move(change)); // tells
        return WriteRefused();
    }
    change.away = std::move(*at);
    layers.erase(at);
    (void)host.Record(std::move(change));
    return A_Err_NONE;
}
A_Err GetLayerFromLayerId(AEGP_CompH handle, AEGP_LayerIDVal id, AEGP_LayerH* layer) {
    const HostComp* comp = CompOf(handle);
    *layer = comp ? HandleOf(comp->LayerById(id)) : nullptr;
    return *layer ? A_Err_NONE : A_Err_PARAMETER;
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

} // namespace

std::span<const SuiteEntry> LayerSuites() {
    static const AEGP_CompSuite10 comp = Comp();
    static const AEGP_ItemSuite8 item = Item();
    static const AEGP_LayerSuite8 layer = LayerSuite();
    static const SuiteEntry entries[] = {
        {kAEGPCompSuite, kAEGPCompSuiteVersion10, &comp},
        {kAEGPItemSuite, kAEGPItemSuiteVersion8, &item},
        {kAEGPLayerSuite, kAEGPLayerSuiteVersion8, &layer},
    };
    return entries;
}

} // namespace velorin::app
