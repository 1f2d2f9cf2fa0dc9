#include "host/AEPluginConnection.h"

#include "core/Velorin.h"
#include "host/HostMemory.h"
#include "host/ParamReader.h"
#include "host/ParamTable.h"
#include "host/ParamVisibility.h"
#include "host/ParamsSetup.h"
#include "host/PathLayers.h"
#include "host/SceneValue.h"
#include "host/api/Introspection.h"
#include "platform/Clock.h"
#include "services/Paths.h"

#include <array>

namespace velorin {
namespace {

// An effect reference and the streams of its rows, given back in the right order.
class EffectStreams {
public:
    EffectStreams(PluginCall& call, AEGP_PluginID pluginId)
        : pluginId_(pluginId),
          effects_(call.suites.Get<AEGP_EffectSuite4>()),
          streams_(call.suites.Get<AEGP_StreamSuite4>()),
          dynamic_(call.suites.Get<AEGP_DynamicStreamSuite4>()) {
        const auto* interface = call.suites.Get<AEGP_PFInterfaceSuite1>();
        if (!interface || !effects_ || !streams_ ||
            interface->AEGP_GetNewEffectForEffect(pluginId, call.in_data->effect_ref, &effect_) != A_Err_NONE)
            effect_ = nullptr;
    }
    ~EffectStreams() {
        if (effect_) effects_->AEGP_DisposeEffect(effect_);
    }
    EffectStreams(const EffectStreams&) = delete;
    EffectStreams& operator=(const EffectStreams&) = delete;

    [[nodiscard]] bool usable() const { return effect_ != nullptr; }

    // Sets the hidden flag of a row where it is another.
    void SetHidden(PF_ParamIndex index, bool hidden) {
        const AEGP_StreamRefH stream = Open(index);
        if (!stream) return;
        AEGP_DynStreamFlags flags = 0;
        const bool known = dynamic_ && dynamic_->AEGP_GetDynamicStreamFlags(stream, &flags) == A_Err_NONE;
        if (dynamic_ && (!known || ((flags & AEGP_DynStreamFlag_HIDDEN) != 0) != hidden))
            (void)dynamic_->AEGP_SetDynamicStreamFlag(stream, AEGP_DynStreamFlag_HIDDEN, 0, hidden);
        (void)streams_->AEGP_DisposeStream(stream);
    }

    // Sets a row of one number; a row with keyframes refuses.
    void SetValue(PF_ParamIndex index, double number, const A_Time& time) {
        const AEGP_StreamRefH stream = Open(index);
        if (!stream) return;
        AEGP_StreamValue2 value{};
        if (streams_->AEGP_GetNewStreamValue(pluginId_, stream, AEGP_LTimeMode_LayerTime, &time, 1, &value) ==
            A_Err_NONE) {
            value.val.one_d = number;
            (void)streams_->AEGP_SetStreamValue(pluginId_, stream, &value);
            (void)streams_->AEGP_DisposeStreamValue(&value);
        }
        (void)streams_->AEGP_DisposeStream(stream);
    }

private:
    [[nodiscard]] AEGP_StreamRefH Open(PF_ParamIndex index) {
        AEGP_StreamRefH stream = nullptr;
        if (!effect_ ||
            streams_->AEGP_GetNewEffectStreamByIndex(pluginId_, effect_, index, &stream) != A_Err_NONE)
            return nullptr;
        return stream;
    }

    AEGP_PluginID pluginId_;
    const AEGP_EffectSuite4* effects_;
    const AEGP_StreamSuite4* streams_;
    const AEGP_DynamicStreamSuite4* dynamic_;
    AEGP_EffectRefH effect_ = nullptr;
};

// Raw value of a popup or check among the definitions that the host passed.
int PassedValue(const PluginCall& call, PF_ParamIndex index) {
    const PF_ParamDef& def = *call.params[index];
    return def.param_type == PF_Param_CHECKBOX ? def.u.bd.value : def.u.pd.value;
}

// Which rig channels the models of a scene declare, by the groups they are assigned to.
void FindRigs(const Scene& scene, const Velorin& core, VisibilityInput& input) {
    for (const SceneModel* model : scene.Flatten()) {
        if (!model->hasRig) continue;
        const RigTable& table = core.RigInfo(*model);
        for (std::size_t group = 0; group < kGroupCount; ++group) {
            if (!model->groups[group]) continue;
            input.hasRig[group] = true;
            for (std::size_t channel = 0; channel < kRigChannelCount; ++channel)
                if (table[channel] >= 0) input.rig[group].set(channel);
        }
    }
}

} // namespace

AEPluginConnection::AEPluginConnection() = default;
AEPluginConnection::~AEPluginConnection() = default;

std::unique_ptr<Plugin> AEPluginConnection::CreatePlugin() {
    auto core = std::make_unique<Velorin>();
    velorin_ = core.get();
    return core;
}

void AEPluginConnection::GlobalSetup(PluginCall& call) {
    velorin_ = nullptr;
    assets_.dataFolder = GetDataPath();
    AEPlugin::GlobalSetup(call);
    processStamp_ = static_cast<std::int64_t>(WallSeconds());
}

void AEPluginConnection::GlobalSetdown(PluginCall& call) {
    AEPlugin::GlobalSetdown(call);
    velorin_ = nullptr;
}

void AEPluginConnection::ParamsSetup(PluginCall& call) {
    call.err = AddParams(*call.in_data, &assets_, paramIndex, call.out_data->num_params);
}

ParamReader AEPluginConnection::Rows(PluginCall& call) const {
    return ParamReader(call, paramIndex);
}

void AEPluginConnection::UpdateParamsUI(PluginCall& call) {
    if (!call.params || paramIndex.empty()) return;
    VisibilityInput input;
    input.value = [&](std::uint32_t diskId) {
        return PassedValue(call, static_cast<PF_ParamIndex>(paramIndex[diskId]));
    };
    if (velorin_) {
        const std::scoped_lock lock(renderMutex_);
        input.textureMultisample = velorin_->renderer->driver().textureMultisample;
        const HandleLock sequence(call.utils(), call.in_data->sequence_data);
        const A_HandleSize size =
            sequence.memory() ? call.utils()->host_get_handle_size(call.in_data->sequence_data) : 0;
        if (const SequenceRecord* record = live_.Find(call.in_data->sequence_data, sequence.memory(), size))
            FindRigs(*record->scene, *velorin_, input);
    }
    EffectStreams streams(call, pluginId);
    if (!streams.usable()) return;
    for (const RowVisibility& row : EvaluateVisibility(input))
        streams.SetHidden(static_cast<PF_ParamIndex>(paramIndex[row.diskId]), row.hidden);
}

// What the user sees next shows the layers as they are now.
void AEPluginConnection::RefreshPathLayers(PluginCall& call) {
    const std::scoped_lock lock(renderMutex_);
    const PF_Handle handle = call.in_data->sequence_data;
    const HandleLock sequence(call.utils(), handle);
    const A_HandleSize size = sequence.memory() ? call.utils()->host_get_handle_size(handle) : 0;
    if (SequenceRecord* record = live_.Find(handle, sequence.memory(), size))
        ReadPathLayers(call, Rows(call), pluginId, record->params->pathLayers);
}

void AEPluginConnection::UserChangedParam(PluginCall& call) {
    struct Preset {
        int samples, multisampling;
        double blend;
    };
    // "SSAO Quality Preset", by popup value; the first entry changes nothing.
    static constexpr std::array<Preset, 4> presets{{{1, 1, 0.9}, {2, 3, 0.75}, {3, 5, 0.5}, {4, 6, 0.25}}};

    const auto* changed = static_cast<const PF_UserChangedParamExtra*>(call.extra);
    if (!changed || !call.params || paramIndex.empty()) return;
    RefreshPathLayers(call);
    const auto index = [&](std::uint32_t id) { return static_cast<PF_ParamIndex>(paramIndex[id]); };
    const PF_ParamIndex preset = index(RowId("SSAO Quality Preset"));
    if (changed->param_index != preset || PassedValue(call, index(RowId("AO Mode"))) == 2) return;
    const int choice = PassedValue(call, preset) - 2;
    if (choice < 0 || choice >= static_cast<int>(presets.size())) return;
    const Preset& values = presets[static_cast<std::size_t>(choice)];
    const A_Time time{call.in_data->current_time, call.in_data->time_scale};
    EffectStreams streams(call, pluginId);
    streams.SetValue(index(RowId("SSAO Samples")), values.samples, time);
    streams.SetValue(index(RowId("SSAO Multisampling")), values.multisampling, time);
    streams.SetValue(index(RowId("SSAO Blur Blend")), values.blend, time);
}

void AEPluginConnection::ArbitraryCallback(PluginCall& call) {
    if (call.extra) HandleSceneValue(*call.utils(), &assets_, *static_cast<PF_ArbParamsExtra*>(call.extra));
}

void AEPluginConnection::QueryDynamicFlags(PluginCall& call) {
    if (paramIndex.empty()) return;
    const PF_InData& in = *call.in_data;
    const ParamReader rows = Rows(call);
    const auto set = [&](PF_OutFlags flag, bool on) {
        call.out_data->out_flags = on ? call.out_data->out_flags | flag : call.out_data->out_flags & ~flag;
    };

    bool varies = false;
    {
        const ParamCheckout row(in, rows.Index(RowId("Scene Settings")), in.current_time);
        const HandleLock lock(call.utils(), row.def.u.arb_d.value);
        if (const SceneValue* value = SceneValueIn(lock.memory()))
            for (const SceneModel* model : value->scene->Flatten())
                varies |= model->type == ModelType::Sequence || model->hasBakedAnimation;
    }
    set(PF_OutFlag_NON_PARAM_VARY, varies);

    constexpr int kRandomTime = 3;
    bool wide = false;
    for (std::uint32_t i = 0; i < kLayerCount && !wide; ++i) {
        if (rows.Popup(RowId("Sampling Layer 1") + i) != kRandomTime) continue;
        const ParamCheckout layer(in, rows.Index(RowId("Custom Texture Maps/Layer 1") + i), in.current_time);
        wide = layer.def.u.ld.data != nullptr;
    }
    set(PF_OutFlag_WIDE_TIME_INPUT, wide);
}

// Custom controls neither draw nor act yet; every event is left to the host.
void AEPluginConnection::Event(PluginCall&) {
}

void AEPluginConnection::CompletelyGeneral(PluginCall& call) {
    const auto* general = static_cast<const GeneralCall*>(call.extra);
    if (!general) return;
    if (general->type == kIntrospectionCall && general->reply) {
        Introspect(call, *static_cast<IntrospectionRequest*>(general->reply));
    } else if (general->type == kGeneralDescribe && general->reply) {
        auto& reply = *static_cast<InstanceReply*>(general->reply);
        reply.isUnified = Rows(call).Popup(RowId("Render Mode")) == static_cast<int>(RenderMode::Unified);
        reply.sequenceData = call.in_data->sequence_data;
    } else if (general->type == kGeneralRead) {
        const std::scoped_lock lock(renderMutex_);
        const PF_Handle handle = call.in_data->sequence_data;
        const HandleLock sequence(call.utils(), handle);
        const A_HandleSize size = sequence.memory() ? call.utils()->host_get_handle_size(handle) : 0;
        if (SequenceRecord* record = live_.Find(handle, sequence.memory(), size)) ReadForFrame(call, *record);
    }
}

} // namespace velorin
