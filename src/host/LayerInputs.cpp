#include "host/LayerInputs.h"

#include "host/ParamTable.h"

#include <cmath>
#include <limits>

namespace velorin {
namespace {

constexpr std::uint64_t kModulus = 2147483647, kMultiplier = 48271;
constexpr A_long kSizeQuery = 100000; // added to a checkout id for the request that only asks for the size

std::uint64_t Next(std::uint64_t state) {
    return state * kMultiplier % kModulus;
}

A_long FloorModulo(std::int64_t value, std::int64_t divisor) {
    const std::int64_t rest = value % divisor;
    return static_cast<A_long>(rest < 0 ? rest + divisor : rest);
}

bool ReadsLayer(int shapePopup) {
    constexpr int kLayer = 6, kLayerGrid = 8;
    return shapePopup == kLayer || shapePopup == kLayerGrid;
}

PF_Err Declare(PluginCall& call, const ParamReader& rows, const LayerInput& layer) {
    auto* const extra = static_cast<PF_PreRenderExtra*>(call.extra);
    const PF_InData& in = *call.in_data;
    const auto checkout = [&](A_long id, const PF_RenderRequest& request, PF_CheckoutResult& result) {
        return extra->cb->checkout_layer(in.effect_ref, rows.Index(layer.diskId), id, &request, layer.time,
                                         in.time_step, in.time_scale, &result);
    };
    PF_RenderRequest request{};
    request.channel_mask = PF_ChannelMask_ARGB;
    PF_CheckoutResult result{};
    const auto id = static_cast<A_long>(layer.diskId);
    PF_Err error = checkout(id + kSizeQuery, request, result);
    if (error != PF_Err_NONE) return error;
    const auto reduced = [](A_long size, PF_RationalScale scale) {
        return static_cast<A_long>(std::ceil(size / InverseDownsample(scale)));
    };
    request.rect = {0, 0, reduced(result.ref_width, in.downsample_x),
                    reduced(result.ref_height, in.downsample_y)};
    return checkout(id, request, result);
}

} // namespace

A_long RandomLayerTime(float seed, int layer, A_long current, A_long total) {
    if (total <= 0) return current;
    const double wide = std::trunc(static_cast<double>(seed) + 1000.0 * layer);
    std::uint64_t state = wide > 0 ? static_cast<std::uint64_t>(wide) % kModulus : 0;
    if (state == 0) state = 1;
    for (int round = 0; round < 10; ++round) state = Next(state);
    // Uniform over 0 to total: the generator's range cut into equal parts, what is left over drawn again.
    const std::uint64_t count = static_cast<std::uint64_t>(total) + 1, range = kModulus - 1,
                        part = range / count;
    do state = Next(state);
    while (state - 1 >= part * count);
    return FloorModulo(static_cast<std::int64_t>((state - 1) / part) + current, total);
}

ImageHeader ToImageHeader(const PF_EffectWorld* world, int bytesPerChannel) {
    ImageHeader image;
    image.bytesPerChannel = static_cast<std::uint32_t>(bytesPerChannel);
    if (!world || !world->data || world->width <= 0 || world->height <= 0) return image;
    image.width = static_cast<std::uint32_t>(world->width);
    image.height = static_cast<std::uint32_t>(world->height);
    image.rowBytes = world->rowbytes;
    image.data = world->data;
    return image;
}

LayerInputs FindLayerInputs(const PluginCall& call, const ParamReader& rows) {
    const PF_InData& in = *call.in_data;
    LayerInputs inputs;
    inputs.overrideLayer = {RowId("Override Layer"), in.current_time};
    for (std::uint32_t i = 0; i < kLayerCount; ++i) {
        LayerInput& layer = inputs.customTextures[i];
        layer = {RowId("Custom Texture Maps/Layer 1") + i, in.current_time};
        switch (static_cast<SamplingMode>(rows.Popup(RowId("Sampling Layer 1") + i))) {
        case SamplingMode::FirstFrame:
            layer.time = 0;
            break;
        case SamplingMode::RandomTime:
            layer.time = RandomLayerTime(rows.Float(RowId("Custom Texture Maps/Random Seed")),
                                         static_cast<int>(i), in.current_time, in.total_time);
            break;
        case SamplingMode::CurrentTime:
            break;
        }
    }
    for (std::size_t group = 0; group < kGroupCount; ++group) {
        const std::uint32_t base = GroupBase(group);
        if (ReadsLayer(rows.Popup(base + GroupRow("Replicator Shape"))))
            inputs.groupLayers[group] = {base + GroupRow("Custom Layer"), in.current_time};
    }
    return inputs;
}

PF_Err DeclareLayers(PluginCall& call, const ParamReader& rows) {
    const LayerInputs inputs = FindLayerInputs(call, rows);
    PF_Err stopped = PF_Err_NONE;
    const auto declare = [&](const LayerInput& layer) {
        if (stopped == PF_Err_NONE && layer.diskId != 0 && Declare(call, rows, layer) == PF_Interrupt_CANCEL)
            stopped = PF_Interrupt_CANCEL;
    };
    declare(inputs.overrideLayer);
    for (const LayerInput& layer : inputs.customTextures) declare(layer);
    for (const LayerInput& layer : inputs.groupLayers) declare(layer);
    return stopped;
}

bool LayerChanged(PluginCall& call, const ParamReader& rows, const LayerInput& layer,
                  const ImageHeader& image, LayerSource& source) {
    const PF_InData& in = *call.in_data;
    const auto* utils = call.suites.Get<PF_ParamUtilsSuite3>();
    const A_Time start{layer.time, in.time_scale}, duration{in.time_step, in.time_scale};
    PF_State state{};
    const bool receipt = utils && utils->PF_GetCurrentState(in.effect_ref, rows.Index(layer.diskId), &start,
                                                            &duration, &state) == PF_Err_NONE;
    A_Boolean same = 0;
    const bool unchanged =
        receipt && source.known && source.width == image.width && source.height == image.height &&
        source.bytesPerChannel == image.bytesPerChannel &&
        utils->PF_AreStatesIdentical(in.effect_ref, &source.state, &state, &same) == PF_Err_NONE && same != 0;
    source = {state, receipt, image.width, image.height, image.bytesPerChannel};
    return !unchanged;
}

} // namespace velorin
