#include "app/host/suites/Suites.h"

#include "app/host/Callbacks.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace velorin::app {

// Where a definition's value comes from, when the host handed the record out itself.
struct DefinitionSource {
    struct Source {
        const HostStream* stream = nullptr;
        double seconds = 0;
    };
    static Source Find(Host& host, EffectInstance& instance, const PF_ParamDef* def) {
        for (const ParameterCheckout& checkout : host.run().checkouts)
            if (checkout.def == def)
                return {&instance.rows[static_cast<std::size_t>(checkout.row)], checkout.seconds};
        if (!host.paramStorage_.empty() && def >= host.paramStorage_.data() &&
            def < host.paramStorage_.data() + host.paramStorage_.size())
            return {&instance.rows[static_cast<std::size_t>(def - host.paramStorage_.data())],
                    host.Seconds(host.run().time,
                                 static_cast<A_u_long>(instance.comp->settings.frameRate.scale))};
        return {};
    }
};

namespace {

// The numbers behind the 16.16 form, unless the plug-in changed the record since.
PF_Err PointValue(PF_ProgPtr reference, const PF_ParamDef* def, A_FloatPoint* out) {
    Host& host = *Host::current();
    EffectInstance* instance = host.InstanceOf(reference);
    if (!instance || !def || !out || def->param_type != PF_Param_POINT) return PF_Err_BAD_CALLBACK_PARAM;
    *out = {def->u.td.x_value / 65536.0, def->u.td.y_value / 65536.0};
    const auto [stream, seconds] = DefinitionSource::Find(host, *instance, def);
    if (!stream || (def->uu.change_flags & PF_ChangeFlag_CHANGED_VALUE)) return PF_Err_NONE;
    const Components value = stream->value.At(seconds);
    *out = {value[0] / instance->comp->settings.downsampleX, value[1] / instance->comp->settings.downsampleY};
    return PF_Err_NONE;
}

PF_Err AngleValue(PF_ProgPtr reference, const PF_ParamDef* def, A_FpLong* out) {
    Host& host = *Host::current();
    EffectInstance* instance = host.InstanceOf(reference);
    if (!instance || !def || !out || def->param_type != PF_Param_ANGLE) return PF_Err_BAD_CALLBACK_PARAM;
    *out = def->u.ad.value / 65536.0;
    const auto [stream, seconds] = DefinitionSource::Find(host, *instance, def);
    if (stream && !(def->uu.change_flags & PF_ChangeFlag_CHANGED_VALUE))
        *out = stream->value.NumberAt(seconds);
    return PF_Err_NONE;
}

PF_Err SetCursor(PF_CursorType) {
    return PF_Err_NONE;
}
PF_Err IsRenderEngine(PF_Boolean* out) {
    *out = Host::current()->options.renderEngine ? 1 : 0;
    return PF_Err_NONE;
}
PF_Err GetMouse(PF_Point* point) {
    *point = {0, 0};
    return PF_Err_NONE;
}
PF_Err InvalidateRect(const PF_ContextH, const PF_Rect*) {
    Host& host = *Host::current();
    if (!host.run().drawing) return PF_Err_NONE;
    host.Fault("a redraw was asked for inside a draw event");
    return PF_Err_BAD_CALLBACK_PARAM;
}

PF_Err UpdateParamUI(PF_ProgPtr reference, PF_ParamIndex index, const PF_ParamDef* def) {
    Host& host = *Host::current();
    EffectInstance* instance = host.InstanceOf(reference);
    if (!instance || !def || !host.rows().At(index)) {
        host.Fault("the look of a parameter that does not exist was set");
        return PF_Err_INVALID_INDEX;
    }
    instance->rows[static_cast<std::size_t>(index)].disabled = (def->ui_flags & PF_PUI_DISABLED) != 0;
    return PF_Err_NONE;
}

std::uint64_t Mix(std::uint64_t hash, const void* bytes, std::size_t size) {
    // FNV-1a. G. Fowler, L. C. Noll, K.-P. Vo, 1991.
    for (std::size_t i = 0; i < size; ++i)
        hash = (hash ^ static_cast<const unsigned char*>(bytes)[i]) * 0x100000001b3;
    return hash;
}

std::uint64_t StateOfRow(Host& host, EffectInstance& instance, int index, const A_Time* start,
                         const A_Time* duration) {
    const ParameterRow* row = host.rows().At(index);
    const HostStream& stream = instance.rows[static_cast<std::size_t>(index)];
    std::uint64_t hash = Mix(0xcbf29ce484222325, &index, sizeof index);
    hash = Mix(hash, &stream.revision, sizeof stream.revision);
    const double from = start ? SecondsOf(*start) : 0;
    const double until = start && duration ? from + SecondsOf(*duration) : instance.layer()->duration;
    const auto mixAt = [&](double seconds) {
        const Components value = stream.value.At(seconds, stream.interpolates);
        hash = Mix(hash, value.data(), sizeof value);
        const bool isLayer = index == 0 || (row && row->type() == PF_Param_LAYER);
        const HostLayer* layer = index == 0 ? instance.layer()
                                 : isLayer  ? instance.comp->LayerById(static_cast<int>(value[0]))
                                            : nullptr;
        if (!layer) return;
        const std::uint64_t state =
            host.pixels.State(*layer, seconds + instance.layer()->startTime - layer->startTime);
        hash = Mix(hash, &state, sizeof state);
    };
    mixAt(from);
    mixAt(until);
    for (const Keyframe& key : stream.value.keys)
        if (key.time >= from && key.time <= until) mixAt(key.time);
    return hash;
}

PF_Err GetCurrentState(PF_ProgPtr reference, PF_ParamIndex index, const A_Time* start, const A_Time* duration,
                       PF_State* state) {
    Host& host = *Host::current();
    EffectInstance* instance = host.InstanceOf(reference);
    if (!instance || !state || index > host.rows().count() || index < PF_ParamIndex_CHECK_ALL_HONOR_EXCLUDE)
        return PF_Err_BAD_CALLBACK_PARAM;
    std::uint64_t hash = 0;
    if (index >= 0) {
        hash = StateOfRow(host, *instance, index, start, duration);
    } else if (index != PF_ParamIndex_NONE) {
        for (int i = 0; i <= host.rows().count(); ++i) {
            const ParameterRow* row = host.rows().At(i);
            const bool layerRow = i == 0 || row->type() == PF_Param_LAYER;
            if (layerRow && index == PF_ParamIndex_CHECK_ALL_EXCEPT_LAYER_PARAMS) continue;
            if (row && index == PF_ParamIndex_CHECK_ALL_HONOR_EXCLUDE &&
                (row->def.flags & PF_ParamFlag_EXCLUDE_FROM_HAVE_INPUTS_CHANGED))
                continue;
            const std::uint64_t one = StateOfRow(host, *instance, i, start, duration);
            hash = Mix(hash, &one, sizeof one);
        }
    }
    // While controls are renewed a receipt says nothing.
    static std::uint64_t random = 0;
    if (host.run().command == PF_Cmd_UPDATE_PARAMS_UI) hash ^= ++random * 0x9e3779b97f4a7c15;
    *state = {};
    std::memcpy(state, &hash, sizeof hash);
    return PF_Err_NONE;
}

PF_Err AreStatesIdentical(PF_ProgPtr, const PF_State* a, const PF_State* b, A_Boolean* same) {
    *same = std::memcmp(a, b, sizeof *a) == 0;
    return PF_Err_NONE;
}

Outline* PathOf(PF_PathOutlinePtr path) {
    Host& host = *Host::current();
    auto* const outline = reinterpret_cast<Outline*>(path);
    for (auto& [key, outlines] : host.textOutlines)
        if (!outlines.empty() && !std::less<>()(outline, outlines.data()) &&
            std::less<>()(outline, outlines.data() + outlines.size()))
            return outline;
    host.Fault("a path is none");
    return nullptr;
}

PF_Err PathIsOpen(PF_ProgPtr, PF_PathOutlinePtr path, PF_Boolean* open) {
    const Outline* outline = PathOf(path);
    if (!outline) return PF_Err_BAD_CALLBACK_PARAM;
    *open = outline->open ? 1 : 0;
    return PF_Err_NONE;
}
PF_Err PathNumSegments(PF_ProgPtr, PF_PathOutlinePtr path, A_long* count) {
    const Outline* outline = PathOf(path);
    if (!outline) return PF_Err_BAD_CALLBACK_PARAM;
    *count = outline->segments();
    return PF_Err_NONE;
}
PF_Err PathVertexInfo(PF_ProgPtr, PF_PathOutlinePtr path, A_long which, PF_PathVertex* vertex) {
    const Outline* outline = PathOf(path);
    if (!outline || which < 0 || which >= static_cast<A_long>(outline->vertices.size()))
        return PF_Err_BAD_CALLBACK_PARAM;
    *vertex = outline->vertices[static_cast<std::size_t>(which)];
    return PF_Err_NONE;
}

PF_Err GetDrawingReference(const PF_ContextH context, DRAWBOT_DrawRef* out) {
    // Drawing is only possible inside a draw event.
    *out = context && Host::current()->run().drawing ? (*context)->reserved_drawref : nullptr;
    return PF_Err_NONE;
}

constexpr PF_PixelFormat kFormats[] = {PF_PixelFormat_ARGB32, PF_PixelFormat_ARGB64, PF_PixelFormat_ARGB128};
constexpr int kDepths[] = {8, 16, 32};

// Worlds that the plug-in asked for, by their pixels' address.
std::map<const void*, std::unique_ptr<WorldBuffer>>& NewWorlds() {
    static std::map<const void*, std::unique_ptr<WorldBuffer>> worlds;
    return worlds;
}

PF_Err NewWorld(PF_ProgPtr, A_long width, A_long height, PF_Boolean, PF_PixelFormat format,
                PF_EffectWorld* world) {
    const auto known = std::find(std::begin(kFormats), std::end(kFormats), format);
    if (width <= 0 || height <= 0 || known == std::end(kFormats)) return PF_Err_BAD_CALLBACK_PARAM;
    auto buffer =
        std::make_unique<WorldBuffer>(Rect{0, 0, width, height}, kDepths[known - std::begin(kFormats)], 7);
    *world = buffer->World(true);
    const void* key = world->data;
    NewWorlds()[key] = std::move(buffer);
    return PF_Err_NONE;
}
PF_Err DisposeWorld(PF_ProgPtr, PF_EffectWorld* world) {
    Host& host = *Host::current();
    const auto found = NewWorlds().find(world->data);
    if (found == NewWorlds().end()) {
        host.Fault("a world was disposed of that is none");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    if (!found->second->guardsIntact()) host.Fault("memory around a world's rows was written");
    NewWorlds().erase(found);
    *world = {};
    return PF_Err_NONE;
}
PF_Err GetPixelFormat(const PF_EffectWorld* world, PF_PixelFormat* format) {
    // Every world of this host says its depth in a field that only the host reads.
    const auto known = std::find(std::begin(kDepths), std::end(kDepths), world->reserved_long1);
    if (known == std::end(kDepths)) return PF_Err_BAD_CALLBACK_PARAM;
    *format = kFormats[known - std::begin(kDepths)];
    return PF_Err_NONE;
}

const PF_PointParamSuite1 kPoint{PointValue};
const PF_AngleParamSuite1 kAngle{AngleValue};
const PFAppSuite4 kApp{{}, SetCursor, IsRenderEngine, nullptr, GetMouse, InvalidateRect, {}};
const PF_ParamUtilsSuite3 kParamUtils{UpdateParamUI, GetCurrentState, AreStatesIdentical, {}};
const PF_PathDataSuite1 kPathData{PathIsOpen, PathNumSegments, PathVertexInfo, {}};
const PF_EffectCustomUISuite1 kCustomUi{GetDrawingReference};
const PF_WorldSuite2 kWorld{NewWorld, DisposeWorld, GetPixelFormat};

} // namespace

std::span<const SuiteEntry> EffectSuites() {
    static const PF_UtilCallbacks utilities = UtilityCallbacks();
    static const PF_HandleSuite1 handleSuite{utilities.host_new_handle,      utilities.host_lock_handle,
                                             utilities.host_unlock_handle,   utilities.host_dispose_handle,
                                             utilities.host_get_handle_size, utilities.host_resize_handle};
    static const SuiteEntry entries[] = {
        {kPFPointParamSuite, kPFPointParamSuiteVersion1, &kPoint},
        {kPFAngleParamSuite, kPFAngleParamSuiteVersion1, &kAngle},
        {kPFAppSuite, kPFAppSuiteVersion4, &kApp},
        {kPFParamUtilsSuite, kPFParamUtilsSuiteVersion3, &kParamUtils},
        {kPFPathDataSuite, kPFPathDataSuiteVersion1, &kPathData},
        {kPFEffectCustomUISuite, kPFEffectCustomUISuiteVersion1, &kCustomUi},
        {kPFWorldSuite, kPFWorldSuiteVersion2, &kWorld},
        {kPFHandleSuite, kPFHandleSuiteVersion1, &handleSuite},
    };
    return entries;
}

} // namespace velorin::app
