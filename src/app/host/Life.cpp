#include "app/host/Host.h"

#include <algorithm>
#include <cstring>

// Instances from their application to their end, and the values of their rows.

namespace velorin::app {

namespace {

AEGP_StreamType StreamTypeOf(PF_ParamType type) {
    switch (type) {
    case PF_Param_FLOAT_SLIDER:
    case PF_Param_ANGLE:
    case PF_Param_CHECKBOX:
    case PF_Param_POPUP:
        return AEGP_StreamType_OneD;
    case PF_Param_POINT:
        return AEGP_StreamType_TwoD_SPATIAL;
    case PF_Param_COLOR:
        return AEGP_StreamType_COLOR;
    case PF_Param_LAYER:
        return AEGP_StreamType_LAYER_ID;
    case PF_Param_ARBITRARY_DATA:
        return AEGP_StreamType_ARB;
    default:
        return AEGP_StreamType_NO_DATA;
    }
}

AnimatedValue DefaultOf(const ParameterRow& row, const HostComp& comp) {
    const PF_ParamDefUnion& u = row.def.u;
    switch (row.type()) {
    case PF_Param_FLOAT_SLIDER:
        return AnimatedValue(static_cast<double>(u.fs_d.dephault));
    case PF_Param_ANGLE:
        return AnimatedValue(u.ad.dephault / 65536.0);
    case PF_Param_CHECKBOX:
        return AnimatedValue(u.bd.dephault != 0 ? 1 : 0);
    case PF_Param_POPUP:
        return AnimatedValue(u.pd.dephault);
    case PF_Param_COLOR:
        return AnimatedValue(u.cd.dephault.red, u.cd.dephault.green, u.cd.dephault.blue);
    case PF_Param_POINT: { // percent of the layer
        AnimatedValue point(u.td.x_dephault / 65536.0 / 100 * comp.settings.width,
                            u.td.y_dephault / 65536.0 / 100 * comp.settings.height, 0);
        point.size = 2;
        return point;
    }
    case PF_Param_LAYER:
        return AnimatedValue(u.ld.dephault == PF_LayerDefault_MYSELF ? comp.effectLayer->id : 0);
    default:
        return AnimatedValue(0);
    }
}

} // namespace

EffectInstance* EffectInstance::upstream() const {
    EffectInstance* before = nullptr;
    for (const auto& effect : comp->effects) {
        if (effect.get() == this) break;
        if (effect->enabled) before = effect.get();
    }
    return before;
}

PF_ArbitraryH Host::CopyArbitrary(PF_ArbitraryH source, EffectInstance* instance) {
    const ParameterRow* row = arbitraryRow();
    if (!row) return nullptr;
    PF_ArbitraryH copy = nullptr;
    PF_ArbParamsExtra extra{};
    extra.which_function = PF_Arbitrary_COPY_FUNC;
    extra.id = row->def.u.arb_d.id;
    extra.u.copy_func_params = {row->def.u.arb_d.refconPV, source, &copy};
    const HostResult result = Call(PF_Cmd_ARBITRARY_CALLBACK, instance, 0, &extra);
    if (!result.good()) reports.Fault(result.text);
    return copy;
}

void Host::DisposeArbitrary(PF_ArbitraryH handle, EffectInstance* instance) {
    const ParameterRow* row = arbitraryRow();
    if (!row || !handle) return;
    PF_ArbParamsExtra extra{};
    extra.which_function = PF_Arbitrary_DISPOSE_FUNC;
    extra.id = row->def.u.arb_d.id;
    extra.u.dispose_func_params = {row->def.u.arb_d.refconPV, handle};
    const HostResult result = Call(PF_Cmd_ARBITRARY_CALLBACK, instance, 0, &extra);
    if (!result.good()) reports.Fault(result.text);
}

void Host::InitialiseRows(EffectInstance& instance) {
    instance.rows.assign(static_cast<std::size_t>(rows_.count() + 1), {});
    for (const ParameterRow& row : rows_.rows()) {
        HostStream& stream = instance.rows[static_cast<std::size_t>(row.index)];
        stream.type = StreamTypeOf(row.type());
        stream.value = DefaultOf(row, *instance.comp);
        stream.interpolates = row.type() != PF_Param_CHECKBOX && row.type() != PF_Param_POPUP &&
                              row.type() != PF_Param_LAYER && !(row.def.flags & PF_ParamFlag_CANNOT_INTERP);
        if (row.type() == PF_Param_ARBITRARY_DATA)
            stream.arbitrary = CopyArbitrary(row.def.u.arb_d.dephault, &instance);
    }
}

HostResult Host::ApplyEffect(const Effect& effect) {
    auto owned = std::make_unique<EffectInstance>();
    EffectInstance& instance = *owned;
    instance.comp = comp_.get();
    instance.number = static_cast<int>(comp_->effects.size()) + 1;
    instance.enabled = effect.enabled;
    comp_->effects.push_back(std::move(owned));
    InitialiseRows(instance);
    HostResult result = Call(PF_Cmd_SEQUENCE_SETUP, &instance, 0);
    if (result.good()) result = UpdateParameterUI(instance);
    if (result.good()) result = QueryDynamicFlags(instance);
    return result;
}

HostResult Host::Open(const Project& project) {
    CloseProject();
    comp_ = MakeComp(project);
    for (const Effect& effect : project.effects)
        if (HostResult result = ApplyEffect(effect); !result.good()) return result;
    return {};
}

void Host::EndInstance(EffectInstance& instance) {
    if (instance.flat) {
        handles.HostDispose(instance.sequence);
        instance.sequence = nullptr;
    } else {
        const HostResult result = Call(PF_Cmd_SEQUENCE_SETDOWN, &instance, 0);
        if (!result.good()) reports.Fault(result.text);
        if (instance.sequence) reports.Fault("SEQUENCE_SETDOWN left its sequence data");
    }
    for (HostStream& stream : instance.rows)
        if (stream.arbitrary) DisposeArbitrary(stream.arbitrary, &instance);
    instance.rows.clear();
}

void Host::CloseProject() {
    for (std::unique_ptr<HostComp>* comp : {&renderComp_, &comp_}) {
        if (!*comp) continue;
        for (const auto& effect : (*comp)->effects) EndInstance(*effect);
        comp->reset();
    }
    textOutlines.clear();
}

void Host::SetValue(EffectInstance& instance, const ParameterRow& row, const AnimatedValue& value) {
    HostStream& stream = instance.rows[static_cast<std::size_t>(row.index)];
    stream.value = value;
    ++stream.revision;
}

HostResult Host::SetArbitrary(EffectInstance& instance, const ParameterRow& row, Bytes flat) {
    PF_ArbitraryH value = nullptr;
    PF_ArbParamsExtra extra{};
    extra.which_function = PF_Arbitrary_UNFLATTEN_FUNC;
    extra.id = row.def.u.arb_d.id;
    extra.u.unflatten_func_params = {row.def.u.arb_d.refconPV, static_cast<A_u_long>(flat.size()),
                                     flat.data(), &value};
    HostResult result = Call(PF_Cmd_ARBITRARY_CALLBACK, &instance, 0, &extra);
    if (!result.good()) return result;
    if (!value) return {A_Err_GENERIC, "the scene could not be set"};
    HostStream& stream = instance.rows[static_cast<std::size_t>(row.index)];
    DisposeArbitrary(stream.arbitrary, &instance);
    stream.arbitrary = value;
    ++stream.revision;
    return {};
}

bool Host::FlatArbitrary(EffectInstance& instance, const ParameterRow& row, std::string& bytes) {
    const PF_ArbitraryH value = instance.rows[static_cast<std::size_t>(row.index)].arbitrary;
    A_u_long size = 0;
    PF_ArbParamsExtra extra{};
    extra.which_function = PF_Arbitrary_FLAT_SIZE_FUNC;
    extra.id = row.def.u.arb_d.id;
    extra.u.flat_size_func_params = {row.def.u.arb_d.refconPV, value, &size};
    if (!Call(PF_Cmd_ARBITRARY_CALLBACK, &instance, 0, &extra).good()) return false;
    bytes.assign(size, '\0');
    extra.which_function = PF_Arbitrary_FLATTEN_FUNC;
    extra.u.flatten_func_params = {row.def.u.arb_d.refconPV, value, size, bytes.data()};
    return Call(PF_Cmd_ARBITRARY_CALLBACK, &instance, 0, &extra).good();
}

HostResult Host::Save() {
    for (const auto& effect : comp_->effects) {
        HostResult result = Call(PF_Cmd_SEQUENCE_FLATTEN, effect.get(), comp_->currentTime);
        if (!result.good()) return result;
        effect->flat = true;
        result = Call(PF_Cmd_SEQUENCE_RESETUP, effect.get(), comp_->currentTime);
        if (!result.good()) return result;
        effect->flat = false;
    }
    return options.twoCopies ? MakeRenderCopy() : HostResult{};
}

namespace {

// A handle with the same bytes, or null for null.
PF_Handle CopyHandle(HandleStore& handles, PF_Handle from) {
    if (!handles.alive(from)) return nullptr;
    const A_HandleSize size = handles.Size(from);
    const PF_Handle copy = handles.New(size);
    if (copy) std::memcpy(*copy, *from, static_cast<std::size_t>(size));
    return copy;
}

} // namespace

HostResult Host::Duplicate(EffectInstance& instance) {
    HostResult result = Call(PF_Cmd_SEQUENCE_FLATTEN, &instance, comp_->currentTime);
    if (!result.good()) return result;
    instance.flat = true;
    auto owned = std::make_unique<EffectInstance>();
    EffectInstance& copy = *owned;
    copy.comp = comp_.get();
    copy.number = static_cast<int>(comp_->effects.size()) + 1;
    copy.enabled = instance.enabled;
    copy.sequence = CopyHandle(handles, instance.sequence);
    copy.flat = true;
    copy.rows = instance.rows;
    comp_->effects.push_back(std::move(owned));
    for (HostStream& stream : copy.rows)
        if (stream.arbitrary) stream.arbitrary = CopyArbitrary(stream.arbitrary, &copy);
    for (EffectInstance* each : {&instance, &copy}) {
        result = Call(PF_Cmd_SEQUENCE_RESETUP, each, comp_->currentTime);
        if (!result.good()) return result;
        each->flat = false;
    }
    return UpdateParameterUI(copy);
}

HostResult Host::Remove(EffectInstance& instance) {
    EndInstance(instance);
    auto& effects = comp_->effects;
    effects.erase(
        std::find_if(effects.begin(), effects.end(), [&](const auto& e) { return e.get() == &instance; }));
    return {};
}

// The renders' own project: the same layers and values, sequence data from the flat form, no user interface.
HostResult Host::MakeRenderCopy() {
    if (renderComp_)
        for (const auto& effect : renderComp_->effects) EndInstance(*effect);
    renderComp_ = std::make_unique<HostComp>();
    HostComp& copy = *renderComp_;
    copy.settings = comp_->settings;
    copy.renderCopy = true;
    for (const auto& layer : comp_->layers) {
        HostLayer& twin = copy.AddLayer(layer->role, layer->name);
        const HostItem item = twin.item;
        twin = *layer;
        twin.self = &twin, twin.comp = &copy, twin.item = item;
        twin.item.id = layer->id;
        if (layer.get() == comp_->effectLayer) copy.effectLayer = &twin;
    }
    copy.nextLayerId = comp_->nextLayerId;
    for (const auto& effect : comp_->effects) {
        HostResult result = Call(PF_Cmd_SEQUENCE_FLATTEN, effect.get(), comp_->currentTime);
        if (!result.good()) return result;
        effect->flat = true;
        auto owned = std::make_unique<EffectInstance>();
        EffectInstance& twin = *owned;
        twin.comp = &copy;
        twin.number = effect->number;
        twin.enabled = effect->enabled;
        twin.sequence = CopyHandle(handles, effect->sequence);
        twin.flat = true;
        twin.rows = effect->rows;
        copy.effects.push_back(std::move(owned));
        for (HostStream& stream : twin.rows)
            if (stream.arbitrary) stream.arbitrary = CopyArbitrary(stream.arbitrary, nullptr);
        result = Call(PF_Cmd_SEQUENCE_RESETUP, effect.get(), comp_->currentTime);
        if (!result.good()) return result;
        effect->flat = false;
        result = Call(PF_Cmd_SEQUENCE_RESETUP, &twin, comp_->currentTime, nullptr,
                      PF_InFlag_PROJECT_IS_RENDER_ONLY);
        if (!result.good()) return result;
        twin.flat = false;
    }
    return {};
}

std::optional<std::string> Host::Introspect(EffectInstance* instance, const std::string& request,
                                            Bytes payload, std::string& reason) {
    std::optional<std::string> answer;
    IntrospectionRequest record;
    record.request = request.c_str();
    record.payload = payload.data();
    record.payloadSize = payload.size();
    record.context = &answer;
    record.respond = [](void* context, const void* bytes, std::uint64_t size) {
        *static_cast<std::optional<std::string>*>(context) =
            std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
    };
    GeneralCall call{kIntrospectionCall, &record};
    const A_long time = instance ? instance->comp->currentTime : 0;
    const HostResult result = Call(PF_Cmd_COMPLETELY_GENERAL, instance, time, &call);
    if (!result.good())
        reason = result.text;
    else if (!answer)
        reason = "the plug-in does not answer questions about itself";
    return result.good() ? answer : std::nullopt;
}

} // namespace velorin::app
