#include "app/host/suites/Suites.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace velorin::app {

namespace {

struct MaskObject : HostObject {
    static constexpr ObjectKind kKind = ObjectKind::Mask;
    MaskObject(HostLayer* layer_, std::size_t index_) : HostObject(kKind), layer(layer_), index(index_) {}
    HostLayer* layer;
    std::size_t index;
};

// A row of an instance, a property of a layer, or the outline of a mask.
struct StreamObject : HostObject {
    static constexpr ObjectKind kKind = ObjectKind::Stream;
    explicit StreamObject(HostStream* stream_) : HostObject(kKind), stream(stream_) {}
    HostStream* stream = nullptr;
    EffectInstance* instance = nullptr;
    const ParameterRow* row = nullptr;
    HostLayer* layer = nullptr;
    std::size_t mask = 0; // index, when `stream` is null
};

// An outline at a time, behind a stream value.
struct MaskOutlineValue {
    void* self = this;
    Outline outline;
};
std::map<void*, std::unique_ptr<MaskOutlineValue>>& OutlineValues() {
    static std::map<void*, std::unique_ptr<MaskOutlineValue>> values;
    return values;
}

StreamObject* StreamOf(AEGP_StreamRefH handle) {
    Host& host = *Host::current();
    auto* stream = host.objects.Find<StreamObject>(handle);
    if (!stream) host.Fault("a stream is none or was given back");
    return stream;
}

double LayerSeconds(const HostLayer& layer, AEGP_LTimeMode mode, const A_Time* time) {
    const double seconds = time ? SecondsOf(*time) : 0;
    return mode == AEGP_LTimeMode_CompTime ? seconds - layer.startTime : seconds;
}

AEGP_StreamVal2 ToStreamValue(AEGP_StreamType type, const Components& value) {
    AEGP_StreamVal2 out{};
    switch (type) {
    case AEGP_StreamType_ThreeD_SPATIAL:
    case AEGP_StreamType_ThreeD:
        out.three_d = {value[0], value[1], value[2]};
        break;
    case AEGP_StreamType_TwoD_SPATIAL:
    case AEGP_StreamType_TwoD:
        out.two_d = {value[0], value[1]};
        break;
    case AEGP_StreamType_OneD:
        out.one_d = value[0];
        break;
    case AEGP_StreamType_COLOR:
        out.color = {1, value[0] / 255, value[1] / 255, value[2] / 255};
        break;
    case AEGP_StreamType_LAYER_ID:
        out.layer_id = static_cast<AEGP_LayerIDVal>(value[0]);
        break;
    default:
        break;
    }
    return out;
}

AnimatedValue FromStreamValue(AEGP_StreamType type, const AEGP_StreamVal2& value) {
    AnimatedValue out;
    switch (type) {
    case AEGP_StreamType_ThreeD_SPATIAL:
    case AEGP_StreamType_ThreeD:
        return AnimatedValue(value.three_d.x, value.three_d.y, value.three_d.z);
    case AEGP_StreamType_TwoD_SPATIAL:
    case AEGP_StreamType_TwoD:
        out = AnimatedValue(value.two_d.x, value.two_d.y, 0);
        out.size = 2;
        return out;
    case AEGP_StreamType_COLOR:
        return AnimatedValue(value.color.redF * 255, value.color.greenF * 255, value.color.blueF * 255);
    case AEGP_StreamType_LAYER_ID:
        return AnimatedValue(value.layer_id);
    default:
        return AnimatedValue(value.one_d);
    }
}

// ---- streams

A_Err IsStreamLegal(AEGP_LayerH handle, AEGP_LayerStream which, A_Boolean* legal) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    *legal = layer->streams.contains(which);
    return A_Err_NONE;
}
A_Err CanVaryOverTime(AEGP_StreamRefH handle, A_Boolean* can) {
    const StreamObject* stream = StreamOf(handle);
    if (!stream) return A_Err_PARAMETER;
    *can = !(stream->row && (stream->row->def.flags & PF_ParamFlag_CANNOT_TIME_VARY)) &&
           (!stream->stream || stream->stream->type != AEGP_StreamType_NO_DATA);
    return A_Err_NONE;
}
A_Err GetNewLayerStream(AEGP_PluginID, AEGP_LayerH handle, AEGP_LayerStream which, AEGP_StreamRefH* out) {
    Host& host = *Host::current();
    *out = nullptr;
    HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    const auto found = layer->streams.find(which);
    if (found == layer->streams.end()) return A_Err_PARAMETER;
    *out = host.objects.Make<StreamObject, AEGP_StreamRefH>(host.run().number, &found->second);
    host.objects.Find<StreamObject>(*out)->layer = layer;
    return A_Err_NONE;
}
A_Err GetEffectNumParamStreams(AEGP_EffectRefH effect, A_long* count) {
    if (!EffectOf(effect)) return A_Err_PARAMETER;
    *count = Host::current()->rows().count() + 1;
    return A_Err_NONE;
}
A_Err GetNewEffectStreamByIndex(AEGP_PluginID, AEGP_EffectRefH effect, PF_ParamIndex index,
                                AEGP_StreamRefH* out) {
    Host& host = *Host::current();
    *out = nullptr;
    EffectInstance* instance = EffectOf(effect);
    const ParameterRow* row = host.rows().At(index);
    if (!instance || !row) {
        if (instance)
            host.Fault("a stream was asked for by the index " + std::to_string(index) + ", which is no row");
        return A_Err_PARAMETER;
    }
    *out = host.objects.Make<StreamObject, AEGP_StreamRefH>(host.run().number,
                                                            &instance->rows[static_cast<std::size_t>(index)]);
    auto* stream = host.objects.Find<StreamObject>(*out);
    stream->instance = instance;
    stream->row = row;
    stream->layer = instance->layer();
    return A_Err_NONE;
}
A_Err GetNewMaskStream(AEGP_PluginID, AEGP_MaskRefH handle, AEGP_MaskStream which, AEGP_StreamRefH* out) {
    Host& host = *Host::current();
    *out = nullptr;
    const auto* mask = host.objects.Find<MaskObject>(handle);
    if (!mask || which != AEGP_MaskStream_OUTLINE) return A_Err_PARAMETER;
    *out = host.objects.Make<StreamObject, AEGP_StreamRefH>(host.run().number, nullptr);
    auto* stream = host.objects.Find<StreamObject>(*out);
    stream->layer = mask->layer;
    stream->mask = mask->index;
    return A_Err_NONE;
}
A_Err DisposeStream(AEGP_StreamRefH handle) {
    Host& host = *Host::current();
    if (host.objects.Dispose<StreamObject>(handle)) return A_Err_NONE;
    host.Fault("a stream was given back twice or is none");
    return A_Err_PARAMETER;
}
A_Err IsStreamTimevarying(AEGP_StreamRefH handle, A_Boolean* varying) {
    const StreamObject* stream = StreamOf(handle);
    if (!stream) return A_Err_PARAMETER;
    *varying = stream->stream && stream->stream->timeVarying();
    return A_Err_NONE;
}
A_Err GetStreamType(AEGP_StreamRefH handle, AEGP_StreamType* type) {
    const StreamObject* stream = StreamOf(handle);
    if (!stream) return A_Err_PARAMETER;
    *type = stream->stream ? stream->stream->type : AEGP_StreamType_MASK;
    return A_Err_NONE;
}
A_Err GetNewStreamValue(AEGP_PluginID, AEGP_StreamRefH handle, AEGP_LTimeMode mode, const A_Time* time,
                        A_Boolean, AEGP_StreamValue2* out) {
    Host& host = *Host::current();
    const StreamObject* stream = StreamOf(handle);
    if (!stream || !out) return A_Err_PARAMETER;
    *out = {};
    out->streamH = handle;
    const double seconds = LayerSeconds(*stream->layer, mode, time);
    if (!stream->stream) {
        auto value = std::make_unique<MaskOutlineValue>();
        value->outline = MaskOutlineAt(stream->layer->source.masks[stream->mask], seconds);
        void* key = &value->self;
        out->val.mask = reinterpret_cast<AEGP_MaskOutlineValH>(key);
        OutlineValues()[key] = std::move(value);
    } else if (stream->stream->type == AEGP_StreamType_ARB) {
        out->val.arbH = host.CopyArbitrary(stream->stream->arbitrary, stream->instance);
    } else if (stream->stream->type == AEGP_StreamType_NO_DATA) {
        return A_Err_PARAMETER;
    } else {
        out->val = ToStreamValue(stream->stream->type,
                                 stream->stream->value.At(seconds, stream->stream->interpolates));
    }
    ++host.run().streamValues;
    return A_Err_NONE;
}
A_Err DisposeStreamValue(AEGP_StreamValue2* value) {
    Host& host = *Host::current();
    const StreamObject* stream = value ? StreamOf(value->streamH) : nullptr;
    if (!stream) return A_Err_PARAMETER;
    if (host.run().streamValues == 0) {
        host.Fault("a stream value was given back twice");
        return A_Err_PARAMETER;
    }
    --host.run().streamValues;
    if (!stream->stream)
        OutlineValues().erase(reinterpret_cast<void*>(value->val.mask));
    else if (stream->stream->type == AEGP_StreamType_ARB)
        host.DisposeArbitrary(static_cast<PF_ArbitraryH>(value->val.arbH), stream->instance);
    *value = {};
    return A_Err_NONE;
}
A_Err SetStreamValue(AEGP_PluginID, AEGP_StreamRefH handle, AEGP_StreamValue2* value) {
    Host& host = *Host::current();
    const StreamObject* object = StreamOf(handle);
    if (!object || !object->stream || !value || object->stream->type == AEGP_StreamType_NO_DATA)
        return A_Err_PARAMETER;
    HostStream& stream = *object->stream;
    if (!stream.value.keys.empty()) {
        host.Fault("a value was set on a stream with keyframes" +
                   (object->row ? ", \"" + object->row->name + "\"" : std::string()));
        return A_Err_PARAMETER;
    }
    if (!host.RecordStream(stream, object->instance)) return A_Err_CONST_PROJECT_MODIFICATION;
    if (stream.type == AEGP_StreamType_ARB) {
        const PF_ArbitraryH fresh =
            host.CopyArbitrary(static_cast<PF_ArbitraryH>(value->val.arbH), object->instance);
        host.DisposeArbitrary(stream.arbitrary, object->instance);
        stream.arbitrary = fresh;
    } else {
        stream.value = FromStreamValue(stream.type, value->val);
    }
    ++stream.revision;
    return A_Err_NONE;
}
A_Err GetLayerStreamValue(AEGP_LayerH handle, AEGP_LayerStream which, AEGP_LTimeMode mode, const A_Time* time,
                          A_Boolean, AEGP_StreamVal2* value, AEGP_StreamType* type) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    const auto found = layer->streams.find(which);
    if (found == layer->streams.end()) return A_Err_PARAMETER;
    *value = ToStreamValue(found->second.type, layer->ValueAt(which, LayerSeconds(*layer, mode, time)));
    if (type) *type = found->second.type;
    return A_Err_NONE;
}
A_Err GetExpressionState(AEGP_PluginID, AEGP_StreamRefH handle, A_Boolean* enabled) {
    const StreamObject* stream = StreamOf(handle);
    if (!stream || !stream->stream) return A_Err_PARAMETER;
    *enabled = stream->stream->expressionOn;
    return A_Err_NONE;
}
A_Err SetExpressionState(AEGP_PluginID, AEGP_StreamRefH handle, A_Boolean enabled) {
    const StreamObject* stream = StreamOf(handle);
    if (!stream || !stream->stream) return A_Err_PARAMETER;
    if (!Host::current()->RecordStream(*stream->stream, stream->instance))
        return A_Err_CONST_PROJECT_MODIFICATION;
    stream->stream->expressionOn = enabled && !stream->stream->expression.empty();
    return A_Err_NONE;
}
A_Err GetExpression(AEGP_PluginID, AEGP_StreamRefH handle, AEGP_MemHandle* text) {
    const StreamObject* stream = StreamOf(handle);
    if (!stream || !stream->stream) return A_Err_PARAMETER;
    const std::string& expression = stream->stream->expression;
    *text = NewMemory(expression.c_str(), expression.size() + 1);
    return A_Err_NONE;
}
A_Err SetExpression(AEGP_PluginID, AEGP_StreamRefH handle, const A_char* text) {
    const StreamObject* stream = StreamOf(handle);
    if (!stream || !stream->stream || !text) return A_Err_PARAMETER;
    if (!Host::current()->RecordStream(*stream->stream, stream->instance))
        return A_Err_CONST_PROJECT_MODIFICATION;
    stream->stream->expression = text;
    if (stream->stream->expression.empty()) stream->stream->expressionOn = false;
    return A_Err_NONE;
}

A_Err GetDynamicStreamFlags(AEGP_StreamRefH handle, AEGP_DynStreamFlags* flags) {
    const StreamObject* stream = StreamOf(handle);
    if (!stream || !stream->stream) return A_Err_PARAMETER;
    *flags = (stream->stream->hidden ? AEGP_DynStreamFlag_HIDDEN : 0U) |
             (stream->stream->disabled ? AEGP_DynStreamFlag_DISABLED : 0U);
    return A_Err_NONE;
}
A_Err SetDynamicStreamFlag(AEGP_StreamRefH handle, AEGP_DynStreamFlags flag, A_Boolean undoable,
                           A_Boolean set) {
    const StreamObject* stream = StreamOf(handle);
    if (!stream || !stream->stream || flag == AEGP_DynStreamFlag_DISABLED) return A_Err_PARAMETER;
    if (undoable && !Host::current()->RecordStream(*stream->stream, stream->instance))
        return A_Err_CONST_PROJECT_MODIFICATION;
    if (flag == AEGP_DynStreamFlag_HIDDEN) stream->stream->hidden = set != 0;
    return A_Err_NONE;
}

// ---- masks

A_Err GetLayerNumMasks(AEGP_LayerH handle, A_long* count) {
    const HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    *count = static_cast<A_long>(layer->source.masks.size());
    return A_Err_NONE;
}
A_Err GetLayerMaskByIndex(AEGP_LayerH handle, AEGP_MaskIndex index, AEGP_MaskRefH* mask) {
    Host& host = *Host::current();
    *mask = nullptr;
    HostLayer* layer = LayerOf(handle);
    if (!layer || index < 0 || index >= static_cast<A_long>(layer->source.masks.size()))
        return A_Err_PARAMETER;
    *mask = host.objects.Make<MaskObject, AEGP_MaskRefH>(host.run().number, layer,
                                                         static_cast<std::size_t>(index));
    return A_Err_NONE;
}
A_Err DisposeMask(AEGP_MaskRefH handle) {
    Host& host = *Host::current();
    if (host.objects.Dispose<MaskObject>(handle)) return A_Err_NONE;
    host.Fault("a mask was given back twice or is none");
    return A_Err_PARAMETER;
}
A_Err GetMaskMode(AEGP_MaskRefH handle, PF_MaskMode* mode) {
    if (!Host::current()->objects.Find<MaskObject>(handle)) return A_Err_PARAMETER;
    *mode = PF_MaskMode_ADD;
    return A_Err_NONE;
}

const Outline* OutlineOf(AEGP_MaskOutlineValH handle) {
    const auto found = OutlineValues().find(reinterpret_cast<void*>(handle));
    if (found != OutlineValues().end()) return &found->second->outline;
    Host::current()->Fault("a mask outline is none or was given back");
    return nullptr;
}
A_Err IsMaskOutlineOpen(AEGP_MaskOutlineValH handle, A_Boolean* open) {
    const Outline* outline = OutlineOf(handle);
    if (!outline) return A_Err_PARAMETER;
    *open = outline->open;
    return A_Err_NONE;
}
A_Err GetMaskOutlineNumSegments(AEGP_MaskOutlineValH handle, A_long* count) {
    const Outline* outline = OutlineOf(handle);
    if (!outline) return A_Err_PARAMETER;
    *count = outline->segments();
    return A_Err_NONE;
}
A_Err GetMaskOutlineVertexInfo(AEGP_MaskOutlineValH handle, AEGP_VertexIndex which, AEGP_MaskVertex* vertex) {
    const Outline* outline = OutlineOf(handle);
    if (!outline || which < 0 || which >= static_cast<A_long>(outline->vertices.size()))
        return A_Err_PARAMETER;
    // Here tangents are told relative to their vertex.
    AEGP_MaskVertex v = outline->vertices[static_cast<std::size_t>(which)];
    v.tan_in_x -= v.x, v.tan_in_y -= v.y;
    v.tan_out_x -= v.x, v.tan_out_y -= v.y;
    *vertex = v;
    return A_Err_NONE;
}

// ---- text

struct TextOutlinesObject : HostObject {
    static constexpr ObjectKind kKind = ObjectKind::TextOutlines;
    explicit TextOutlinesObject(std::vector<Outline>* outlines_) : HostObject(kKind), outlines(outlines_) {}
    std::vector<Outline>* outlines;
};

A_Err GetNewTextOutlines(AEGP_LayerH handle, const A_Time* time, AEGP_TextOutlinesH* out) {
    Host& host = *Host::current();
    *out = nullptr;
    const HostLayer* layer = LayerOf(handle);
    if (!layer) return A_Err_PARAMETER;
    if (layer->role != LayerRole::Text) return A_Err_NONE;
    const TextStyle style = TextStyleAt(layer->source, time ? SecondsOf(*time) : 0);
    auto found = host.textOutlines.find({layer->id, style});
    if (found == host.textOutlines.end()) {
        if (host.objects.Count(ObjectKind::TextOutlines) == 0)
            std::erase_if(host.textOutlines,
                          [&](const auto& entry) { return entry.first.first == layer->id; });
        found = host.textOutlines.emplace(std::pair(layer->id, style), std::vector<Outline>()).first;
        std::string reason;
        if (!MakeTextOutlines(layer->source, style, found->second, reason))
            host.Warn("the text of the layer \"" + layer->name + "\" cannot be set: " + reason);
        else if (!reason.empty())
            host.Warn("the layer \"" + layer->name + "\": " + reason);
    }
    *out = host.objects.Make<TextOutlinesObject, AEGP_TextOutlinesH>(host.run().number, &found->second);
    return A_Err_NONE;
}
A_Err DisposeTextOutlines(AEGP_TextOutlinesH handle) {
    Host& host = *Host::current();
    if (host.objects.Dispose<TextOutlinesObject>(handle)) return A_Err_NONE;
    host.Fault("text outlines were given back twice or are none");
    return A_Err_PARAMETER;
}
A_Err GetNumTextOutlines(AEGP_TextOutlinesH handle, A_long* count) {
    const auto* object = Host::current()->objects.Find<TextOutlinesObject>(handle);
    if (!object) return A_Err_PARAMETER;
    *count = static_cast<A_long>(object->outlines->size());
    return A_Err_NONE;
}
A_Err GetIndexedTextOutline(AEGP_TextOutlinesH handle, A_long index, PF_PathOutlinePtr* path) {
    const auto* object = Host::current()->objects.Find<TextOutlinesObject>(handle);
    *path = nullptr;
    if (!object || index < 0 || index >= static_cast<A_long>(object->outlines->size()))
        return A_Err_PARAMETER;
    *path = reinterpret_cast<PF_PathOutlinePtr>(&(*object->outlines)[static_cast<std::size_t>(index)]);
    return A_Err_NONE;
}

AEGP_StreamSuite4 Streams() {
    AEGP_StreamSuite4 suite{};
    suite.AEGP_IsStreamLegal = IsStreamLegal;
    suite.AEGP_CanVaryOverTime = CanVaryOverTime;
    suite.AEGP_GetNewLayerStream = GetNewLayerStream;
    suite.AEGP_GetEffectNumParamStreams = GetEffectNumParamStreams;
    suite.AEGP_GetNewEffectStreamByIndex = GetNewEffectStreamByIndex;
    suite.AEGP_GetNewMaskStream = GetNewMaskStream;
    suite.AEGP_DisposeStream = DisposeStream;
    suite.AEGP_IsStreamTimevarying = IsStreamTimevarying;
    suite.AEGP_GetStreamType = GetStreamType;
    suite.AEGP_GetNewStreamValue = GetNewStreamValue;
    suite.AEGP_DisposeStreamValue = DisposeStreamValue;
    suite.AEGP_SetStreamValue = SetStreamValue;
    suite.AEGP_GetLayerStreamValue = GetLayerStreamValue;
    suite.AEGP_GetExpressionState = GetExpressionState;
    suite.AEGP_SetExpressionState = SetExpressionState;
    suite.AEGP_GetExpression = GetExpression;
    suite.AEGP_SetExpression = SetExpression;
    return suite;
}

AEGP_DynamicStreamSuite4 DynamicStreams() {
    AEGP_DynamicStreamSuite4 suite{};
    suite.AEGP_GetDynamicStreamFlags = GetDynamicStreamFlags;
    suite.AEGP_SetDynamicStreamFlag = SetDynamicStreamFlag;
    return suite;
}

} // namespace

std::span<const SuiteEntry> StreamSuites() {
    static const AEGP_StreamSuite4 streams = Streams();
    static const AEGP_DynamicStreamSuite4 dynamicStreams = DynamicStreams();
    static const AEGP_MaskSuite6 masks{GetLayerNumMasks, GetLayerMaskByIndex, DisposeMask, {}, GetMaskMode};
    static const AEGP_MaskOutlineSuite3 outlines{IsMaskOutlineOpen, nullptr, GetMaskOutlineNumSegments,
                                                 GetMaskOutlineVertexInfo};
    static const AEGP_TextLayerSuite1 text{GetNewTextOutlines, DisposeTextOutlines, GetNumTextOutlines,
                                           GetIndexedTextOutline};
    static const SuiteEntry entries[] = {
        {kAEGPStreamSuite, kAEGPStreamSuiteVersion4, &streams},
        {kAEGPDynamicStreamSuite, kAEGPDynamicStreamSuiteVersion4, &dynamicStreams},
        {kAEGPMaskSuite, kAEGPMaskSuiteVersion6, &masks},
        {kAEGPMaskOutlineSuite, kAEGPMaskOutlineSuiteVersion3, &outlines},
        {kAEGPTextLayerSuite, kAEGPTextLayerSuiteVersion1, &text},
    };
    return entries;
}

} // namespace velorin::app
