#include "app/host/Host.h"
#include "app/host/ParameterInput.h"

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
        stream.value = DefaultValue(row, *instance.comp);
        stream.interpolates = row.type() != PF_Param_CHECKBOX && row.type() != PF_Param_POPUP &&
                              row.type() != PF_Param_LAYER && !(row.def.flags & PF_ParamFlag_CANNOT_INTERP);
        if (row.type() == PF_Param_ARBITRARY_DATA)
            stream.arbitrary = CopyArbitrary(row.def.u.arb_d.dephault, &instance);
    }
}

EffectInstance& Host::AddInstance(bool enabled) {
    EffectInstance& instance = *comp_->effects.emplace_back(std::make_unique<EffectInstance>());
    instance.comp = comp_.get();
    instance.enabled = enabled;
    NumberEffects();
    return instance;
}

void Host::NumberEffects() {
    int number = 0;
    for (const auto& effect : comp_->effects) effect->number = ++number;
}

HostResult Host::ShowPanel(EffectInstance& instance) {
    HostResult result = UpdateParameterUI(instance);
    if (result.good()) result = QueryDynamicFlags(instance);
    return result;
}

HostResult Host::SetUpNew(EffectInstance& instance) {
    HostResult result = Call(PF_Cmd_SEQUENCE_SETUP, &instance, 0);
    if (result.good()) result = ShowPanel(instance);
    return result;
}

HostResult Host::Open(const Project& project) {
    CloseProject();
    comp_ = MakeComp(project);
    for (const Effect& effect : project.effects) {
        EffectInstance& instance = AddInstance(effect.enabled);
        InitialiseRows(instance);
        const HostResult result =
            effect.storedSequence ? SetUpStored(instance, *effect.storedSequence) : SetUpNew(instance);
        if (!result.good()) return result;
    }
    return {};
}

HostResult Host::Apply() {
    EffectInstance& instance = AddInstance(true);
    InitialiseRows(instance);
    HostResult result = SetUpNew(instance);
    (void)Record(EffectChange{&instance, comp_->effects.size() - 1, nullptr}, "Apply");
    return result;
}

void Host::EndInstance(EffectInstance& instance) {
    EffectInstance* const known = instance.flat ? nullptr : &instance; // a flat one may be out of its comp
    if (instance.flat) {
        handles.HostDispose(instance.sequence);
        instance.sequence = nullptr;
    } else {
        const HostResult result = Call(PF_Cmd_SEQUENCE_SETDOWN, &instance, 0);
        if (!result.good()) reports.Fault(result.text);
        if (instance.sequence) reports.Fault("SEQUENCE_SETDOWN left its sequence data");
    }
    for (HostStream& stream : instance.rows)
        if (stream.arbitrary) DisposeArbitrary(stream.arbitrary, known);
    instance.rows.clear();
}

void Host::CloseProject() {
    history.Clear();
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
    ProjectChanged();
}

HostResult Host::Edit(EffectInstance& instance, const ParameterRow& row, const AnimatedValue& value) {
    (void)RecordStream(instance.rows[static_cast<std::size_t>(row.index)], &instance, row.name);
    SetValue(instance, row, value);
    return UserChanged(instance, row);
}

void Host::SetEnabled(EffectInstance& instance, bool enabled) {
    if (instance.enabled == enabled) return;
    (void)Record(EnabledChange{&instance, instance.enabled}, enabled ? "Switch On" : "Switch Off");
    instance.enabled = enabled;
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
    ProjectChanged();
    return {};
}

HostResult Host::EditArbitrary(EffectInstance& instance, const ParameterRow& row, Bytes flat) {
    (void)RecordStream(instance.rows[static_cast<std::size_t>(row.index)], &instance, row.name);
    HostResult result = SetArbitrary(instance, row, flat);
    if (result.good()) result = ShowPanel(instance);
    return result;
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
