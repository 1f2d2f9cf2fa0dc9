#include "app/host/Host.h"

#include "app/host/Callbacks.h"

#include "platform/GLContext.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

// How one command is sent: the records filled, the locks taken, the answer looked at, what was left open
// told.

namespace velorin::app {

namespace {

PF_RationalScale Ratio(double value) {
    constexpr A_long kUnits = 10000;
    const auto num = static_cast<A_long>(std::lround(value * kUnits));
    const A_long common = std::gcd(num, kUnits);
    return {num / common, static_cast<A_u_long>(kUnits / common)};
}

PF_Fixed ToFixed(double value) {
    return static_cast<PF_Fixed>(std::clamp(std::round(value * 65536), -2147483648.0, 2147483647.0));
}

const char* CodeText(PF_Err code) {
    switch (code) {
    case PF_Err_OUT_OF_MEMORY:
        return "out of memory";
    case PF_Err_INTERNAL_STRUCT_DAMAGED:
        return "an internal structure is damaged";
    case PF_Err_INVALID_INDEX:
        return "invalid index";
    case PF_Err_UNRECOGNIZED_PARAM_TYPE:
        return "unknown kind of parameter";
    case PF_Err_INVALID_CALLBACK:
        return "invalid callback";
    case PF_Err_BAD_CALLBACK_PARAM:
        return "bad argument of a callback";
    case PF_Interrupt_CANCEL:
        return "stopped by the user";
    default:
        return "error";
    }
}

bool WantsParams(PF_Cmd command) {
    return command == PF_Cmd_USER_CHANGED_PARAM || command == PF_Cmd_UPDATE_PARAMS_UI ||
           command == PF_Cmd_EVENT;
}

bool MayMoveSequence(PF_Cmd command) {
    return command >= PF_Cmd_SEQUENCE_SETUP && command <= PF_Cmd_SEQUENCE_SETDOWN;
}

// The text up to its first zero, without line breaks: a message is one line.
std::string MessageOf(const PF_OutData& out) {
    std::string text(std::begin(out.return_msg),
                     std::find(std::begin(out.return_msg), std::end(out.return_msg), '\0'));
    std::string line;
    for (const char c : text)
        if (c != '\n' && c != '\r')
            line += c;
        else if (!line.empty() && line.back() != ' ')
            line += ' ';
    std::string single;
    for (const char c : line)
        if (c != ' ' || single.empty() || single.back() != ' ') single += c;
    return single;
}

} // namespace

void Host::FillInData(PF_InData& in, EffectInstance* instance, A_long time) {
    in.inter = InteractionCallbacks();
    in.utils = &utilities_;
    in.effect_ref = instance ? instance->reference() : nullptr;
    in.quality = PF_Quality_HI;
    in.version = {13, 9};
    in.appl_id = 0x46585443; // 'FXTC'
    in.num_params = rows_.count() + 1;
    in.field = PF_Field_FRAME;
    in.global_data = globalData_;
    in.pica_basicP = &basicSuite_;
    in.time_scale = 1;
    in.downsample_x = in.downsample_y = in.pixel_aspect_ratio = {1, 1};
    if (!instance) return;
    const Composition& settings = instance->comp->settings;
    in.sequence_data = instance->sequence;
    in.current_time = time;
    in.time_scale = static_cast<A_u_long>(settings.frameRate.scale);
    in.time_step = in.local_time_step = settings.frameRate.step;
    in.total_time = static_cast<A_long>(std::lround(instance->layer()->duration * settings.frameRate.scale));
    in.width = settings.width, in.height = settings.height;
    in.extent_hint = {0, 0, settings.width, settings.height};
    in.downsample_x = {1, static_cast<A_u_long>(settings.downsampleX)};
    in.downsample_y = {1, static_cast<A_u_long>(settings.downsampleY)};
    in.pixel_aspect_ratio = Ratio(settings.pixelAspect);
    in.shutter_angle = ToFixed(settings.shutterAngle);
    in.shutter_phase = ToFixed(settings.shutterPhase);
}

HostResult Host::Call(PF_Cmd command, EffectInstance* instance, A_long time, void* extra, PF_InFlags flags) {
    auto owned = std::make_unique<CommandRun>();
    CommandRun& run = *owned;
    run.number = ++runCount_;
    run.command = command;
    run.instance = instance;
    run.time = time;
    if (extra && (command == PF_Cmd_SMART_PRE_RENDER || command == PF_Cmd_SMART_RENDER))
        run.frame = pendingFrame_;
    if (command == PF_Cmd_EVENT) run.drawing = static_cast<PF_EventExtra*>(extra)->e_type == PF_Event_DRAW;
    runs_.push_back(std::move(owned));

    PF_InData in{};
    FillInData(in, instance, time);
    in.in_flags = flags;
    PF_OutData out{};
    out.global_data = in.global_data;
    out.sequence_data = in.sequence_data;
    if (command == PF_Cmd_QUERY_DYNAMIC_FLAGS) out.out_flags = outFlags_, out.out_flags2 = outFlags2_;
    const bool withParams = instance && WantsParams(command);
    if (withParams) MakeParams(*instance, time);
    const PF_Handle sequence = in.sequence_data, global = in.global_data;
    handles.HostLock(sequence);
    handles.HostLock(global);
    const PF_Err code = entry_(command, &in, &out, withParams ? params_.data() : nullptr, nullptr, extra);
    handles.HostUnlock(global);
    handles.HostUnlock(sequence);

    TakeResults(run, out);
    if (withParams && command != PF_Cmd_UPDATE_PARAMS_UI) TakeChangedValues(*instance);
    CheckAfter(run);
    runs_.pop_back();

    const std::string message = MessageOf(out);
    if (code == PF_Err_NONE && (message.empty() || !(out.out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE))) {
        lastMessage_ = message;
        return {};
    }
    lastMessage_.clear();
    const std::string who =
        CommandName(command) + (instance ? " of effect " + std::to_string(instance->number) : "");
    if (!message.empty()) return {code ? code : A_Err_GENERIC, message};
    return {code, who + " failed with code " + std::to_string(code) + " (" + CodeText(code) + ")"};
}

void Host::TakeResults(const CommandRun& run, const PF_OutData& out) {
    if (run.command == PF_Cmd_GLOBAL_SETUP) {
        outFlags_ = out.out_flags, outFlags2_ = out.out_flags2, version_ = out.my_version;
    }
    if (run.command == PF_Cmd_GLOBAL_SETUP || run.command == PF_Cmd_GLOBAL_SETDOWN)
        globalData_ = out.global_data;
    if (run.command == PF_Cmd_PARAMS_SETUP) declaredParameters_ = out.num_params;
    if (run.instance && MayMoveSequence(run.command)) run.instance->sequence = out.sequence_data;
    if (run.instance && run.command == PF_Cmd_QUERY_DYNAMIC_FLAGS)
        run.instance->dynamicFlags = out.out_flags, run.instance->dynamicFlags2 = out.out_flags2;
}

// What the plug-in must have given back when it returns.
void Host::CheckAfter(CommandRun& run) {
    for (const ParameterCheckout& checkout : run.checkouts) {
        const ParameterRow* row = rows_.At(checkout.row);
        Fault("the parameter \"" + (row ? row->name : "input layer") + "\" was not checked in");
    }
    run.checkouts.clear();
    for (const auto& [suite, count] : run.suites)
        if (count > 0) Fault("the suite \"" + suite.first + "\" was not released");
    for (const auto& [kind, count] : objects.Sweep(run.number, ObjectKind::Image))
        Fault(std::to_string(count) + " " + ObjectKindName(kind) + (count == 1 ? " was" : "s were") +
              " not given back");
    if (run.streamValues > 0)
        Fault(std::to_string(run.streamValues) + " stream value" +
              (run.streamValues == 1 ? " was" : "s were") + " not given back");
    if (run.undoDepth > 0) {
        Fault("the undo group \"" + run.undoGroup.name + "\" was left open");
        if (!run.undoGroup.changes.empty()) history.Add(std::move(run.undoGroup));
    }
    if (context_ && !context_->isCurrent()) {
        Fault("the current GL context is not the one from before the command");
        (void)context_->MakeCurrent();
    }
}

void Host::MakeParams(EffectInstance& instance, A_long time) {
    const double seconds = Seconds(time, static_cast<A_u_long>(instance.comp->settings.frameRate.scale));
    paramStorage_.assign(static_cast<std::size_t>(rows_.count() + 1), {});
    params_.clear();
    for (int i = 0; i <= rows_.count(); ++i) {
        PF_ParamDef& def = paramStorage_[static_cast<std::size_t>(i)];
        FillDefinition(instance, i, seconds, def);
        def.uu.change_flags = PF_ChangeFlag_NONE;
        params_.push_back(&def);
    }
}

void Host::TakeChangedValues(EffectInstance& instance) {
    for (const ParameterRow& row : rows_.rows()) {
        const PF_ParamDef& def = paramStorage_[static_cast<std::size_t>(row.index)];
        if (!(def.uu.change_flags & PF_ChangeFlag_CHANGED_VALUE)) continue;
        AnimatedValue value;
        switch (row.type()) {
        case PF_Param_FLOAT_SLIDER:
            value = AnimatedValue(def.u.fs_d.value);
            break;
        case PF_Param_ANGLE:
            value = AnimatedValue(def.u.ad.value / 65536.0);
            break;
        case PF_Param_CHECKBOX:
            value = AnimatedValue(def.u.bd.value != 0 ? 1 : 0);
            break;
        case PF_Param_POPUP:
            value = AnimatedValue(def.u.pd.value);
            break;
        case PF_Param_COLOR:
            value = AnimatedValue(def.u.cd.value.red, def.u.cd.value.green, def.u.cd.value.blue);
            break;
        case PF_Param_POINT:
            value = AnimatedValue(def.u.td.x_value / 65536.0 * instance.comp->settings.downsampleX,
                                  def.u.td.y_value / 65536.0 * instance.comp->settings.downsampleY, 0);
            value.size = 2;
            break;
        default:
            Fault("the parameter \"" + row.name + "\" cannot be changed that way");
            continue;
        }
        if (!RecordStream(instance.rows[static_cast<std::size_t>(row.index)], &instance)) return;
        SetValue(instance, row, value);
    }
}

// The record of a row as the plug-in gets it, at a time of the layer.
void Host::FillDefinition(EffectInstance& instance, int index, double seconds, PF_ParamDef& def) {
    const Composition& settings = instance.comp->settings;
    const ParameterRow* row = rows_.At(index);
    if (!row) { // the input layer
        def = {};
        def.param_type = PF_Param_LAYER;
        std::memcpy(def.PF_DEF_NAME, "Source", 7);
        def.u.ld.width = (settings.width + settings.downsampleX - 1) / settings.downsampleX;
        def.u.ld.height = (settings.height + settings.downsampleY - 1) / settings.downsampleY;
        return;
    }
    def = row->def;
    const HostStream& stream = instance.rows[static_cast<std::size_t>(index)];
    if (stream.disabled) def.ui_flags |= PF_PUI_DISABLED;
    const Components value = stream.value.At(seconds, stream.interpolates);
    switch (row->type()) {
    case PF_Param_FLOAT_SLIDER:
        def.u.fs_d.value = value[0];
        break;
    case PF_Param_ANGLE:
        def.u.ad.value = ToFixed(value[0]);
        break;
    case PF_Param_CHECKBOX:
        def.u.bd.value = value[0] != 0 ? 1 : 0;
        def.u.bd.u.PF_DEF_NAMEPTR = row->label.c_str();
        break;
    case PF_Param_POPUP:
        def.u.pd.value = static_cast<A_long>(std::lround(value[0]));
        break;
    case PF_Param_COLOR: {
        const auto byte = [](double c) {
            return static_cast<A_u_char>(std::lround(std::clamp(c, 0.0, 255.0)));
        };
        def.u.cd.value = {255, byte(value[0]), byte(value[1]), byte(value[2])};
        break;
    }
    case PF_Param_POINT:
        def.u.td.x_value = ToFixed(value[0] / settings.downsampleX);
        def.u.td.y_value = ToFixed(value[1] / settings.downsampleY);
        break;
    case PF_Param_ARBITRARY_DATA:
        def.u.arb_d.value = stream.arbitrary;
        break;
    case PF_Param_LAYER:
        def.u.ld = {};
        break;
    default:
        break;
    }
}

HostResult Host::UpdateParameterUI(EffectInstance& instance) {
    return Call(PF_Cmd_UPDATE_PARAMS_UI, &instance, instance.comp->currentTime);
}

HostResult Host::QueryDynamicFlags(EffectInstance& instance) {
    if (!(outFlags2_ & PF_OutFlag2_SUPPORTS_QUERY_DYNAMIC_FLAGS)) return {};
    return Call(PF_Cmd_QUERY_DYNAMIC_FLAGS, &instance, instance.comp->currentTime);
}

HostResult Host::UserChanged(EffectInstance& instance, const ParameterRow& row) {
    PF_UserChangedParamExtra extra{row.index};
    HostResult result;
    if (row.def.flags & PF_ParamFlag_SUPERVISE)
        result = Call(PF_Cmd_USER_CHANGED_PARAM, &instance, instance.comp->currentTime, &extra);
    if (result.good()) result = UpdateParameterUI(instance);
    if (result.good()) result = QueryDynamicFlags(instance);
    return result;
}

HostResult Host::SendEvent(EffectInstance& instance, PF_EventExtra& extra) {
    return Call(PF_Cmd_EVENT, &instance, instance.comp->currentTime, &extra);
}

} // namespace velorin::app
