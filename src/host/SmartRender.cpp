#include "host/AEPluginConnection.h"

#include "core/Velorin.h"
#include "host/CoreContext.h"
#include "host/FrameRows.h"
#include "host/HostMemory.h"
#include "host/InstanceList.h"
#include "host/LayerInputs.h"
#include "host/ParamTable.h"
#include "host/PathLayers.h"
#include "host/SceneValue.h"
#include "host/SmartRects.h"
#include "services/Profiler.h"

#include <optional>

namespace velorin {
namespace {

ProfilerStage& RenderStage() {
    static ProfilerStage stage("AEPluginConnection::Render", "PluginRender", __LINE__);
    return stage;
}

} // namespace

void AEPluginConnection::SmartPreRender(PluginCall& call) {
    AEPlugin::SmartPreRender(call);
    if (call.err == PF_Err_NONE && !paramIndex.empty()) call.err = DeclareLayers(call, Rows(call));
}

PF_Err AEPluginConnection::TakeImages(PluginCall& call, FrameImages& images) {
    const auto& extra = *static_cast<const PF_SmartRenderExtra*>(call.extra);
    const PF_InData& in = *call.in_data;
    bytesPerChannelPixel = extra.input->bitdepth / 8;

    PF_EffectWorld* input = nullptr;
    PF_Err inputError = extra.cb->checkout_layer_pixels(in.effect_ref, 0, &input);
    if (inputError == PF_Err_NONE) images.input = ToImageHeader(input, bytesPerChannelPixel);
    if (inputError == PF_Interrupt_CANCEL) return inputError;

    PF_EffectWorld* output = nullptr;
    const PF_Err outputError = extra.cb->checkout_output(in.effect_ref, &output);
    if (outputError != PF_Err_NONE) return outputError;
    images.output = MakeOutputTarget(in, output, bytesPerChannelPixel);
    return PF_Err_NONE;
}

void AEPluginConnection::FetchLayers(PluginCall& call, const ParamReader& rows, SequenceRecord& record) {
    const auto& extra = *static_cast<const PF_SmartRenderExtra*>(call.extra);
    const LayerInputs inputs = FindLayerInputs(call, rows);
    const auto take = [&](const LayerInput& layer, LayerSource& source, ImageHeader& image) {
        PF_EffectWorld* world = nullptr;
        const PF_Err error = extra.cb->checkout_layer_pixels(call.in_data->effect_ref,
                                                             static_cast<A_long>(layer.diskId), &world);
        if (error == PF_Interrupt_CANCEL) call.err = error;
        image = ToImageHeader(error == PF_Err_NONE ? world : nullptr, bytesPerChannelPixel);
        return LayerChanged(call, rows, layer, image, source);
    };
    const auto upload = [&](const LayerInput& layer, CustomTexture& texture) {
        ImageHeader image;
        if (!take(layer, texture.source, image)) return;
        if (image.empty() && texture.texture.empty()) return;
        const CoreContext context(*velorin_->renderer);
        if (!velorin_->renderer->UploadTexture(image, texture.texture)) texture.source.known = false;
    };
    upload(inputs.overrideLayer, record.overrideLayer);
    for (std::size_t i = 0; i < kLayerCount; ++i) upload(inputs.customTextures[i], record.customTextures[i]);
    for (std::size_t group = 0; group < kGroupCount; ++group) {
        GroupLayer& kept = record.groupLayers[group];
        ImageHeader image;
        if (inputs.groupLayers[group].diskId == 0) {
            kept = {};
        } else if (take(inputs.groupLayers[group], kept.source, image)) {
            kept.Keep(image);
        }
    }
}

void AEPluginConnection::RefreshScene(PluginCall& call, const ParamReader& rows, SequenceRecord& record) {
    const PF_InData& in = *call.in_data;
    const ParamCheckout row(in, rows.Index(RowId("Scene Settings")), in.current_time);
    const HandleLock lock(call.utils(), row.def.u.arb_d.value);
    const SceneValue* value = SceneValueIn(lock.memory());
    if (!value || value->revision == record.sceneRevision) return;
    record.sceneRevision = value->revision;
    // Another value with the same bytes keeps the models and materials that are loaded.
    std::vector<std::byte> flat = value->scene->Flat();
    if (flat == record.sceneFlat) return;
    record.sceneFlat = std::move(flat);
    record.scene->DeepCopyFrom(*value->scene);
    record.params->surfaces.reset(); // points of surfaces that may be gone
}

void AEPluginConnection::ReadForFrame(PluginCall& call, SequenceRecord& record) {
    const ParamReader rows = Rows(call);
    RefreshScene(call, rows, record);
    if (rows.Popup(RowId("Render Mode")) != static_cast<int>(RenderMode::Unified))
        record.frame = ReadFrameRecord(call, rows, velorin_->renderer->driver());
    ReadSample(call, record);
}

void AEPluginConnection::ReadSample(PluginCall& call, SequenceRecord& record) {
    ParamReader rows = Rows(call);
    ReadInstance(call, rows, record);
    ReadPathLayers(call, rows, pluginId, record.params->pathLayers);
}

void AEPluginConnection::SmartRender(PluginCall& call) {
    const std::scoped_lock lock(renderMutex_);
    if (!velorin_ || !velorin_->renderer->ready() || paramIndex.empty()) return;
    if (renderDepth_ == 0) {
        ProfilerReset();
        statisticsBefore_ = velorin_->renderer->statistics();
    }
    ++renderDepth_;
    const struct Depth {
        int& depth;
        ~Depth() { --depth; }
    } depth{renderDepth_};
    {
        std::optional<ScopedStage> stage; // of the outermost frame: it holds those inside it
        if (renderDepth_ == 1) stage.emplace(RenderStage());
        velorin_->FlushBuilds();
        FrameImages images;
        call.err = TakeImages(call, images);
        if (call.err != PF_Err_NONE) return;

        const PF_Handle handle = call.in_data->sequence_data;
        const HandleLock sequence(call.utils(), handle);
        const A_HandleSize size = sequence.memory() ? call.utils()->host_get_handle_size(handle) : 0;
        SequenceRecord* record = live_.Find(handle, sequence.memory(), size);
        std::unique_ptr<SequenceRecord> passing; // an instance that was stored as nothing
        if (!record) {
            passing = std::make_unique<SequenceRecord>(&assets_);
            record = passing.get();
        }
        RenderFrame(call, handle, *record, images);
        if (passing) velorin_->ReleaseModels(passing->params->loadedModels);
    }
    if (renderDepth_ > 1) return; // the frame around this one is still being measured
    ProfilerPrint();
    ProfilerReset();
}

void AEPluginConnection::RenderFrame(PluginCall& call, PF_Handle ownHandle, SequenceRecord& own,
                                     const FrameImages& images) {
    const ParamReader rows = Rows(call);
    FetchLayers(call, rows, own);
    if (call.err != PF_Err_NONE) return;
    RefreshScene(call, rows, own);
    const bool isUnified = rows.Popup(RowId("Render Mode")) == static_cast<int>(RenderMode::Unified);
    if (!isUnified) own.frame = ReadFrameRecord(call, rows, velorin_->renderer->driver());

    InstanceList list(call, pluginId, isUnified);
    if (list.drawsHere(ownHandle)) UnifiedRender(call, list, own, images);
}

} // namespace velorin
