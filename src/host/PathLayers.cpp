#include "host/PathLayers.h"

#include "host/HostMemory.h"
#include "host/ParamReader.h"
#include "host/ParamTable.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace velorin {
namespace {

// Gives something of the host's back when it dies.
template <class Give>
class OnExit {
public:
    explicit OnExit(Give give) : give_(std::move(give)) {}
    ~OnExit() { give_(); }
    OnExit(const OnExit&) = delete;
    OnExit& operator=(const OnExit&) = delete;

private:
    Give give_;
};

Point2 Narrow(PF_FpLong x, PF_FpLong y) {
    return {static_cast<float>(x), static_cast<float>(y)};
}

// 100 over the larger extent of all points; 1 where there is none.
float ScaleOf(const std::vector<std::vector<PathPoint>>& paths) {
    Point2 low{INFINITY, INFINITY}, high{-INFINITY, -INFINITY};
    for (const auto& path : paths)
        for (const PathPoint& point : path) {
            low = {std::min(low.x, point.position.x), std::min(low.y, point.position.y)};
            high = {std::max(high.x, point.position.x), std::max(high.y, point.position.y)};
        }
    const float extent = std::max(high.x - low.x, high.y - low.y) * 0.01f;
    return extent > 0 ? 1 / extent : 1;
}

class OutlineReader {
public:
    OutlineReader(PluginCall& call, AEGP_PluginID pluginId)
        : call_(call),
          pluginId_(pluginId),
          interface_(call.suites.Get<AEGP_PFInterfaceSuite1>()),
          effects_(call.suites.Get<AEGP_EffectSuite4>()),
          layers_(call.suites.Get<AEGP_LayerSuite8>()),
          streams_(call.suites.Get<AEGP_StreamSuite4>()) {
        AEGP_LayerH own = nullptr;
        const PF_InData& in = *call.in_data;
        if (!interface_ || !effects_ || !layers_ || !streams_ ||
            interface_->AEGP_ConvertEffectToCompTime(in.effect_ref, in.current_time, in.time_scale,
                                                     &compTime_) != A_Err_NONE ||
            interface_->AEGP_GetEffectLayer(in.effect_ref, &own) != A_Err_NONE || !own ||
            layers_->AEGP_GetLayerParentComp(own, &comp_) != A_Err_NONE || !comp_ ||
            interface_->AEGP_GetNewEffectForEffect(pluginId, in.effect_ref, &effect_) != A_Err_NONE)
            effect_ = nullptr;
    }
    ~OutlineReader() {
        if (effect_) (void)effects_->AEGP_DisposeEffect(effect_);
    }
    OutlineReader(const OutlineReader&) = delete;
    OutlineReader& operator=(const OutlineReader&) = delete;

    // Nothing when the row names no layer.
    [[nodiscard]] std::optional<PathSet> Read(PF_ParamIndex row) {
        // Taking the row out tells the host that this frame depends on the layer.
        const ParamCheckout checkout(*call_.in_data, row, call_.in_data->current_time);
        AEGP_LayerH layer = nullptr;
        const AEGP_LayerIDVal id = LayerIdOf(row);
        if (id == 0 || layers_->AEGP_GetLayerFromLayerID(comp_, id, &layer) != A_Err_NONE || !layer)
            return std::nullopt;
        PathSet set;
        AEGP_ObjectType type = AEGP_ObjectType_NONE;
        (void)layers_->AEGP_GetLayerObjectType(layer, &type);
        type == AEGP_ObjectType_TEXT ? ReadText(layer, set) : ReadMasks(layer, set);
        set.scale = ScaleOf(set.paths);
        return set;
    }

private:
    // 0 for none.
    [[nodiscard]] AEGP_LayerIDVal LayerIdOf(PF_ParamIndex row) {
        AEGP_StreamRefH stream = nullptr;
        if (!effect_ ||
            streams_->AEGP_GetNewEffectStreamByIndex(pluginId_, effect_, row, &stream) != A_Err_NONE)
            return 0;
        const OnExit giveStream([&] { (void)streams_->AEGP_DisposeStream(stream); });
        const A_Time time{call_.in_data->current_time, call_.in_data->time_scale};
        AEGP_StreamValue2 value{};
        if (streams_->AEGP_GetNewStreamValue(pluginId_, stream, AEGP_LTimeMode_LayerTime, &time, 0, &value) !=
            A_Err_NONE)
            return 0;
        const AEGP_LayerIDVal id = value.val.layer_id;
        (void)streams_->AEGP_DisposeStreamValue(&value);
        return id;
    }

    void ReadMasks(AEGP_LayerH layer, PathSet& set) {
        const auto* masks = call_.suites.Get<AEGP_MaskSuite6>();
        A_long count = 0;
        if (!masks || masks->AEGP_GetLayerNumMasks(layer, &count) != A_Err_NONE) return;
        set.isPlain = count <= 0;
        for (A_long i = 0; i < count; ++i) {
            AEGP_MaskRefH mask = nullptr;
            if (masks->AEGP_GetLayerMaskByIndex(layer, i, &mask) != A_Err_NONE || !mask) continue;
            ReadMask(mask, set);
            (void)masks->AEGP_DisposeMask(mask);
        }
    }

    void ReadMask(AEGP_MaskRefH mask, PathSet& set) {
        AEGP_StreamRefH stream = nullptr;
        if (streams_->AEGP_GetNewMaskStream(pluginId_, mask, AEGP_MaskStream_OUTLINE, &stream) != A_Err_NONE)
            return;
        const OnExit giveStream([&] { (void)streams_->AEGP_DisposeStream(stream); });
        AEGP_StreamValue2 value{};
        if (streams_->AEGP_GetNewStreamValue(pluginId_, stream, AEGP_LTimeMode_CompTime, &compTime_, 0,
                                             &value) != A_Err_NONE)
            return;
        const OnExit giveValue([&] { (void)streams_->AEGP_DisposeStreamValue(&value); });
        const auto* outlines = call_.suites.Get<AEGP_MaskOutlineSuite3>();
        A_Boolean open = 0;
        A_long segments = 0;
        if (!outlines || outlines->AEGP_IsMaskOutlineOpen(value.val.mask, &open) != A_Err_NONE || open ||
            outlines->AEGP_GetMaskOutlineNumSegments(value.val.mask, &segments) != A_Err_NONE)
            return;
        AddPath(set, segments, [&](A_long i, PathPoint& point) {
            AEGP_MaskVertex v{};
            if (outlines->AEGP_GetMaskOutlineVertexInfo(value.val.mask, i, &v) != A_Err_NONE) return false;
            point = {Narrow(v.x, v.y), Narrow(v.tan_in_x, v.tan_in_y), Narrow(v.tan_out_x, v.tan_out_y)};
            return true;
        });
    }

    void ReadText(AEGP_LayerH layer, PathSet& set) {
        const auto* texts = call_.suites.Get<AEGP_TextLayerSuite1>();
        A_Time layerTime{};
        AEGP_TextOutlinesH outlines = nullptr;
        if (!texts || layers_->AEGP_ConvertCompToLayerTime(layer, &compTime_, &layerTime) != A_Err_NONE ||
            texts->AEGP_GetNewTextOutlines(layer, &layerTime, &outlines) != A_Err_NONE || !outlines)
            return;
        const OnExit give([&] { (void)texts->AEGP_DisposeTextOutlines(outlines); });
        A_long count = 0;
        if (texts->AEGP_GetNumTextOutlines(outlines, &count) != A_Err_NONE) return;
        for (A_long i = 0; i < count; ++i) {
            PF_PathOutlinePtr path = nullptr;
            if (texts->AEGP_GetIndexedTextOutline(outlines, i, &path) == A_Err_NONE && path)
                ReadLetter(path, set);
        }
    }

    void ReadLetter(PF_PathOutlinePtr path, PathSet& set) {
        const auto* paths = call_.suites.Get<PF_PathDataSuite1>();
        const PF_ProgPtr effect = call_.in_data->effect_ref;
        PF_Boolean open = 0;
        A_long segments = 0;
        if (!paths || paths->PF_PathIsOpen(effect, path, &open) != PF_Err_NONE || open ||
            paths->PF_PathNumSegments(effect, path, &segments) != PF_Err_NONE)
            return;
        AddPath(set, segments, [&](A_long i, PathPoint& point) {
            PF_PathVertex v{};
            if (paths->PF_PathVertexInfo(effect, path, i, &v) != PF_Err_NONE) return false;
            // Here tangents are points.
            point = {Narrow(v.x, v.y), Narrow(v.tan_in_x - v.x, v.tan_in_y - v.y),
                     Narrow(v.tan_out_x - v.x, v.tan_out_y - v.y)};
            return true;
        });
    }

    // A closed path of n segments has n vertices: the last repeats the first.
    template <class ReadVertex>
    static void AddPath(PathSet& set, A_long segments, ReadVertex&& read) {
        std::vector<PathPoint> path(static_cast<std::size_t>(std::max(segments, A_long{0})));
        for (std::size_t i = 0; i < path.size(); ++i)
            if (!read(static_cast<A_long>(i), path[i])) return;
        if (!path.empty()) set.paths.push_back(std::move(path));
    }

    PluginCall& call_;
    AEGP_PluginID pluginId_;
    const AEGP_PFInterfaceSuite1* interface_;
    const AEGP_EffectSuite4* effects_;
    const AEGP_LayerSuite8* layers_;
    const AEGP_StreamSuite4* streams_;
    AEGP_EffectRefH effect_ = nullptr; // null when the host does not play along
    AEGP_CompH comp_ = nullptr;
    A_Time compTime_{};
};

} // namespace

void ReadPathLayers(PluginCall& call, const ParamReader& rows, AEGP_PluginID pluginId, PathLayers& layers) {
    constexpr std::uint32_t kFirst = RowId("Path Layer 1");
    static_assert(RowId("Path Layer 15") == kFirst + kPathLayerCount - 1);
    OutlineReader reader(call, pluginId);
    for (std::uint32_t i = 0; i < kPathLayerCount; ++i) {
        std::optional<PathSet> set = reader.Read(rows.Index(kFirst + i));
        if (!set)
            layers[i].reset();
        else if (!layers[i] || !(*layers[i] == *set))
            layers[i] = std::make_shared<const PathSet>(std::move(*set));
    }
}

} // namespace velorin
