// A plug-in for the host's own tests: a small well-behaved effect that, told by the environment variable
// VELORIN_TEST_FAULT, breaks one rule of the interface on purpose.

#include "host/api/HostApi.h"
#include "platform/GLContext.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

namespace {

enum Row {
    kGroup = 1,
    kAmount,
    kGroupEnd,
    kMode,
    kTint,
    kSpot,
    kTurn,
    kSwitch,
    kLayer,
    kData,
    kButton,
    kRowCount
};

std::string fault;
AEGP_PluginID pluginId = 0;
PF_Handle leaked = nullptr;
std::unique_ptr<velorin::GLContext> ownContext;

bool Is(const char* name) {
    return fault == name;
}

template <class Suite>
class Acquired {
public:
    Acquired(PF_InData* in, const char* name, std::int32_t version)
        : in_(in), name_(name), version_(version) {
        const void* suite = nullptr;
        if (in->pica_basicP->AcquireSuite(name, version, &suite) == 0)
            suite_ = static_cast<const Suite*>(suite);
    }
    ~Acquired() {
        if (suite_) in_->pica_basicP->ReleaseSuite(name_, version_);
    }
    const Suite* operator->() const { return suite_; }

private:
    PF_InData* in_;
    const char* name_;
    std::int32_t version_;
    const Suite* suite_ = nullptr;
};

// ---- set-up

PF_ParamDef Definition(const char* name, PF_ParamType type, A_long id) {
    PF_ParamDef def{};
    std::strncpy(def.PF_DEF_NAME, name, sizeof def.PF_DEF_NAME - 1);
    def.param_type = type;
    def.uu.id = id;
    return def;
}

PF_Handle NewData(PF_InData* in, int value) {
    PF_Handle handle = in->utils->host_new_handle(sizeof(int));
    std::memcpy(*handle, &value, sizeof value);
    return handle;
}

PF_Err ParamsSetup(PF_InData* in, PF_OutData* out) {
    const auto add = [&](PF_ParamDef def) { return in->inter.add_param(in->effect_ref, -1, &def); };
    add(Definition("Shape", PF_Param_GROUP_START, 10));
    PF_ParamDef amount = Definition("Amount", PF_Param_FLOAT_SLIDER, 11);
    amount.u.fs_d.valid_min = 0, amount.u.fs_d.valid_max = 200, amount.u.fs_d.slider_max = 100;
    amount.u.fs_d.dephault = Is("float-default") ? 500 : 40;
    add(amount);
    if (!Is("open-group"))
        add(Definition("", PF_Param_GROUP_END, 12));
    else
        add(Definition("Another", PF_Param_GROUP_START, 12));
    PF_ParamDef mode = Definition("Mode", PF_Param_POPUP, Is("same-id") ? 11 : 13);
    mode.u.pd.u.PF_DEF_NAMESPTR = "Fill|Add to Input|Nothing";
    mode.u.pd.num_choices = Is("popup-count") ? 4 : 3;
    mode.u.pd.dephault = Is("popup-default") ? 9 : 1;
    mode.flags = PF_ParamFlag_SUPERVISE;
    add(mode);
    PF_ParamDef tint = Definition("Tint", PF_Param_COLOR, 14);
    tint.u.cd.dephault = {255, 10, 20, 30};
    add(tint);
    PF_ParamDef spot = Definition("Spot", PF_Param_POINT, 15);
    spot.u.td.x_dephault = 50 << 16, spot.u.td.y_dephault = 25 << 16;
    add(spot);
    add(Definition("Turn", PF_Param_ANGLE, 16));
    PF_ParamDef check = Definition("Switch", PF_Param_CHECKBOX, 17);
    check.u.bd.dephault = 1;
    check.u.bd.u.PF_DEF_NAMEPTR = "on";
    add(check);
    add(Definition("Map", PF_Param_LAYER, 18));
    PF_ParamDef data = Definition("Data", PF_Param_ARBITRARY_DATA, 19);
    data.ui_flags = PF_PUI_NO_ECW_UI;
    data.flags = PF_ParamFlag_CANNOT_TIME_VARY;
    data.u.arb_d.id = 19;
    data.u.arb_d.dephault = NewData(in, 7);
    add(data);
    PF_ParamDef button = Definition("Press", PF_Param_NO_DATA, 20);
    button.ui_flags = PF_PUI_CONTROL;
    button.ui_width = 80, button.ui_height = 24;
    add(button);
    PF_CustomUIInfo info{};
    info.events = PF_CustomEFlag_EFFECT;
    in->inter.register_ui(in->effect_ref, &info);
    out->num_params = Is("params-count") ? kRowCount + 3 : kRowCount;
    return PF_Err_NONE;
}

PF_Err Arbitrary(PF_InData* in, PF_ArbParamsExtra& extra) {
    switch (extra.which_function) {
    case PF_Arbitrary_NEW_FUNC:
        *extra.u.new_func_params.arbPH = NewData(in, 7);
        break;
    case PF_Arbitrary_DISPOSE_FUNC:
        if (!Is("leak-data")) in->utils->host_dispose_handle(extra.u.dispose_func_params.arbH);
        break;
    case PF_Arbitrary_COPY_FUNC: {
        int value = 7;
        if (extra.u.copy_func_params.src_arbH)
            std::memcpy(&value, *extra.u.copy_func_params.src_arbH, sizeof value);
        *extra.u.copy_func_params.dst_arbPH = NewData(in, value);
        break;
    }
    case PF_Arbitrary_FLAT_SIZE_FUNC:
        *extra.u.flat_size_func_params.flat_data_sizePLu = sizeof(int);
        break;
    case PF_Arbitrary_FLATTEN_FUNC:
        std::memcpy(extra.u.flatten_func_params.flat_dataPV, *extra.u.flatten_func_params.arbH, sizeof(int));
        break;
    case PF_Arbitrary_UNFLATTEN_FUNC: {
        int value = 7;
        if (extra.u.unflatten_func_params.buf_sizeLu >= sizeof value)
            std::memcpy(&value, extra.u.unflatten_func_params.flat_dataPV, sizeof value);
        *extra.u.unflatten_func_params.arbPH = NewData(in, value);
        break;
    }
    default:
        break;
    }
    return PF_Err_NONE;
}

// ---- faults that fit into any command with an instance

void HandleFaults(PF_InData* in) {
    if (Is("leak-handle")) leaked = in->utils->host_new_handle(32);
    if (Is("double-dispose") || Is("use-after-dispose") || Is("dispose-locked")) {
        PF_Handle handle = in->utils->host_new_handle(32);
        if (Is("dispose-locked")) in->utils->host_lock_handle(handle);
        in->utils->host_dispose_handle(handle);
        if (Is("double-dispose")) in->utils->host_dispose_handle(handle);
        if (Is("use-after-dispose")) in->utils->host_lock_handle(handle);
    }
    if (Is("unlock-extra")) {
        PF_Handle handle = in->utils->host_new_handle(32);
        in->utils->host_unlock_handle(handle);
        in->utils->host_dispose_handle(handle);
    }
}

void SuiteFaults(PF_InData* in) {
    const void* suite = nullptr;
    if (Is("leak-suite"))
        in->pica_basicP->AcquireSuite(kPFAngleParamSuite, kPFAngleParamSuiteVersion1, &suite);
    if (Is("release-extra")) in->pica_basicP->ReleaseSuite(kPFAngleParamSuite, kPFAngleParamSuiteVersion1);
    if (Is("add-late")) {
        PF_ParamDef def = Definition("Late", PF_Param_ANGLE, 99);
        in->inter.add_param(in->effect_ref, -1, &def);
    }
    if (Is("register-late")) {
        const Acquired<AEGP_UtilitySuite4> utility(in, kAEGPUtilitySuite, kAEGPUtilitySuiteVersion4);
        AEGP_PluginID id = 0;
        utility->AEGP_RegisterWithAEGP(nullptr, "Test", &id);
    }
    if (Is("open-undo")) {
        const Acquired<AEGP_UtilitySuite4> utility(in, kAEGPUtilitySuite, kAEGPUtilitySuiteVersion4);
        utility->AEGP_StartUndoGroup("Left Open");
    }
}

void CheckoutFaults(PF_InData* in, PF_ParamDef** params) {
    static PF_ParamDef def;
    const auto checkout = [&](PF_ParamDef* out) {
        return in->inter.checkout_param(in->effect_ref, kAmount, in->current_time, in->time_step,
                                        in->time_scale, out);
    };
    if (Is("leak-checkout")) checkout(&def);
    if (Is("double-checkin")) {
        checkout(&def);
        in->inter.checkin_param(in->effect_ref, &def);
        in->inter.checkin_param(in->effect_ref, &def);
    }
    if (Is("checkout-into-params") && params) checkout(params[kAmount]);
}

// Opens what the stream faults need, and leaves open what each is about.
PF_Err StreamFaults(PF_InData* in) {
    const bool keyed = Is("set-keyed"), write = Is("render-write");
    if (!Is("leak-effect") && !Is("leak-stream") && !Is("leak-value") && !keyed && !write) return PF_Err_NONE;
    const Acquired<AEGP_PFInterfaceSuite1> effects(in, kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1);
    const Acquired<AEGP_EffectSuite4> effectSuite(in, kAEGPEffectSuite, kAEGPEffectSuiteVersion4);
    const Acquired<AEGP_StreamSuite4> streams(in, kAEGPStreamSuite, kAEGPStreamSuiteVersion4);
    AEGP_EffectRefH effect = nullptr;
    effects->AEGP_GetNewEffectForEffect(pluginId, in->effect_ref, &effect);
    if (Is("leak-effect")) return PF_Err_NONE;
    AEGP_StreamRefH stream = nullptr;
    streams->AEGP_GetNewEffectStreamByIndex(pluginId, effect, kAmount, &stream);
    A_Err err = A_Err_NONE;
    if (!Is("leak-stream")) {
        const A_Time time{in->current_time, in->time_scale};
        AEGP_StreamValue2 value{};
        streams->AEGP_GetNewStreamValue(pluginId, stream, AEGP_LTimeMode_LayerTime, &time, 0, &value);
        value.val.one_d += 1;
        if (keyed || write) err = streams->AEGP_SetStreamValue(pluginId, stream, &value);
        if (!Is("leak-value")) streams->AEGP_DisposeStreamValue(&value);
        streams->AEGP_DisposeStream(stream);
    }
    effectSuite->AEGP_DisposeEffect(effect);
    return write ? err : PF_Err_NONE;
}

// ---- render

PF_Err PreRender(PF_InData* in, PF_PreRenderExtra& extra) {
    PF_CheckoutResult result{};
    PF_RenderRequest request = extra.input->output_request;
    const PF_Err err = extra.cb->checkout_layer(in->effect_ref, 0, 0, &request, in->current_time,
                                                in->time_step, in->time_scale, &result);
    if (err) return err;
    extra.cb->checkout_layer(in->effect_ref, kLayer, 18, &request, in->current_time, in->time_step,
                             in->time_scale, &result);
    if (Is("declare-twice"))
        extra.cb->checkout_layer(in->effect_ref, 0, 0, &request, in->current_time, in->time_step,
                                 in->time_scale, &result);
    extra.output->result_rect = extra.input->output_request.rect;
    extra.output->max_result_rect = {0, 0, in->width, in->height};
    if (Is("larger-result")) extra.output->result_rect.right += 4;
    extra.output->pre_render_data = std::malloc(16);
    return PF_Err_NONE;
}

template <class Value>
void Draw(const PF_EffectWorld& input, PF_EffectWorld& output, int mode, double amount, Value one) {
    for (A_long y = 0; y < output.height; ++y) {
        auto* row =
            reinterpret_cast<std::byte*>(output.data) + static_cast<std::ptrdiff_t>(y) * output.rowbytes;
        auto* out = reinterpret_cast<Value*>(row);
        const auto* in = input.data
                             ? reinterpret_cast<const Value*>(reinterpret_cast<const std::byte*>(input.data) +
                                                              static_cast<std::ptrdiff_t>(y) * input.rowbytes)
                             : nullptr;
        for (A_long x = 0; x < output.width; ++x) {
            Value* pixel = out + 4 * x;
            pixel[0] = one;
            if (mode == 1) {
                pixel[1] = static_cast<Value>(one * amount / 200);
                pixel[2] = static_cast<Value>(one * static_cast<double>(x) / output.width);
                pixel[3] = static_cast<Value>(one * static_cast<double>(y) / output.height);
            } else {
                for (int c = 1; c < 4; ++c)
                    pixel[c] = static_cast<Value>((in ? in[4 * x + c] : Value{}) + one * amount / 200);
            }
        }
    }
}

PF_Err Outputs(PF_InData* in, PF_SmartRenderExtra& extra, PF_EffectWorld*& input, PF_EffectWorld*& output) {
    if (Is("output-first")) return extra.cb->checkout_output(in->effect_ref, &output);
    if (PF_Err err = extra.cb->checkout_layer_pixels(in->effect_ref, 0, &input)) return err;
    if (Is("undeclared")) return extra.cb->checkout_layer_pixels(in->effect_ref, 77, &output);
    if (Is("taken-twice")) return extra.cb->checkout_layer_pixels(in->effect_ref, 0, &output);
    return extra.cb->checkout_output(in->effect_ref, &output);
}

PF_Err SmartRender(PF_InData* in, PF_OutData* out, PF_SmartRenderExtra& extra) {
    PF_EffectWorld *input = nullptr, *output = nullptr;
    if (PF_Err err = Outputs(in, extra, input, output)) return err;
    PF_ParamDef amount{}, mode{};
    const auto checkout = [&](A_long row, PF_ParamDef& def) {
        in->inter.checkout_param(in->effect_ref, row, in->current_time, in->time_step, in->time_scale, &def);
    };
    checkout(kAmount, amount);
    checkout(kMode, mode);
    for (int i = 0; i < 4; ++i) {
        if (Is("slow")) std::this_thread::sleep_for(std::chrono::milliseconds(10));
        const PF_Err stop = in->inter.progress(in->effect_ref, i, 4);
        if (stop) {
            in->inter.checkin_param(in->effect_ref, &amount);
            in->inter.checkin_param(in->effect_ref, &mode);
            return stop;
        }
    }
    if (mode.u.pd.value != 3) {
        if (extra.input->bitdepth == 8)
            Draw<A_u_char>(*input, *output, mode.u.pd.value, amount.u.fs_d.value, 255);
        else if (extra.input->bitdepth == 16)
            Draw<A_u_short>(*input, *output, mode.u.pd.value, amount.u.fs_d.value, PF_MAX_CHAN16);
        else
            Draw<float>(*input, *output, mode.u.pd.value, amount.u.fs_d.value, 1.0F);
    }
    in->inter.checkin_param(in->effect_ref, &amount);
    in->inter.checkin_param(in->effect_ref, &mode);

    auto* bytes = reinterpret_cast<unsigned char*>(output->data);
    if (Is("write-behind")) bytes[output->width * extra.input->bitdepth / 2] = 1;
    if (Is("write-before")) bytes[-1] = 1;
    if (Is("write-below")) bytes[output->height * output->rowbytes] = 1;
    if (Is("write-input")) reinterpret_cast<unsigned char*>(input->data)[0] ^= 1;
    if (Is("render-message")) std::strcpy(out->return_msg, "The card is\n too small.");
    if (Is("render-error")) return PF_Err_INTERNAL_STRUCT_DAMAGED;
    if (Is("gl-context")) {
        std::string reason;
        ownContext = velorin::GLContext::Create(reason);
        if (ownContext) (void)ownContext->MakeCurrent();
    }
    if (Is("render-write")) return StreamFaults(in);
    return PF_Err_NONE;
}

// ---- events

PF_Err Event(PF_InData* in, PF_ParamDef** params, PF_EventExtra& extra) {
    const Acquired<PFAppSuite4> app(in, kPFAppSuite, kPFAppSuiteVersion4);
    if (extra.e_type == PF_Event_DO_CLICK) {
        app->PF_InvalidateRect(extra.contextH, nullptr);
        extra.evt_out_flags = PF_EO_UPDATE_NOW;
        extra.u.do_click.send_drag = 1;
    }
    if (extra.e_type == PF_Event_DRAW && Is("invalidate-in-draw"))
        app->PF_InvalidateRect(extra.contextH, nullptr);
    if (extra.e_type == PF_Event_DRAG && extra.u.do_click.last_time) {
        params[kAmount]->u.fs_d.value = 123;
        params[kAmount]->uu.change_flags = PF_ChangeFlag_CHANGED_VALUE;
        extra.evt_out_flags = PF_EO_HANDLED_EVENT;
    }
    return PF_Err_NONE;
}

PF_Err Setup(PF_InData* in, PF_OutData* out) {
    const char* name = std::getenv("VELORIN_TEST_FAULT");
    fault = name ? name : "";
    if (Is("setup-error")) return PF_Err_OUT_OF_MEMORY;
    out->my_version = PF_VERSION(1, 0, 0, PF_Stage_DEVELOP, 1);
    out->out_flags = PF_OutFlag_SEQUENCE_DATA_NEEDS_FLATTENING | PF_OutFlag_DEEP_COLOR_AWARE;
    out->out_flags2 = PF_OutFlag2_SUPPORTS_QUERY_DYNAMIC_FLAGS | PF_OutFlag2_SUPPORTS_SMART_RENDER |
                      PF_OutFlag2_FLOAT_COLOR_AWARE;
    const Acquired<AEGP_UtilitySuite4> utility(in, kAEGPUtilitySuite, kAEGPUtilitySuiteVersion4);
    if (utility.operator->()) utility->AEGP_RegisterWithAEGP(nullptr, "Test", &pluginId);
    return PF_Err_NONE;
}

} // namespace

extern "C" __attribute__((visibility("default"))) PF_Err
PluginMain(PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamDef* params[], PF_LayerDef*, void* extra) {
    switch (command) {
    case PF_Cmd_GLOBAL_SETUP:
        return Setup(in, out);
    case PF_Cmd_GLOBAL_SETDOWN:
        ownContext.reset();
        return PF_Err_NONE;
    case PF_Cmd_PARAMS_SETUP:
        return ParamsSetup(in, out);
    case PF_Cmd_SEQUENCE_SETUP:
        SuiteFaults(in);
        out->sequence_data = NewData(in, 1);
        return PF_Err_NONE;
    case PF_Cmd_SEQUENCE_FLATTEN:
    case PF_Cmd_SEQUENCE_RESETUP: {
        // The number counts the passages; nothing stays nothing.
        int value = 0;
        if (!in->sequence_data) return PF_Err_NONE;
        std::memcpy(&value, *in->sequence_data, sizeof value);
        in->utils->host_dispose_handle(in->sequence_data);
        out->sequence_data = NewData(in, value + 1);
        return PF_Err_NONE;
    }
    case PF_Cmd_SEQUENCE_SETDOWN:
        if (in->sequence_data) in->utils->host_dispose_handle(in->sequence_data);
        out->sequence_data = nullptr;
        return PF_Err_NONE;
    case PF_Cmd_UPDATE_PARAMS_UI:
        HandleFaults(in);
        CheckoutFaults(in, params);
        return Is("render-write") ? PF_Err_NONE : StreamFaults(in);
    case PF_Cmd_EVENT:
        return Event(in, params, *static_cast<PF_EventExtra*>(extra));
    case PF_Cmd_ARBITRARY_CALLBACK:
        return Arbitrary(in, *static_cast<PF_ArbParamsExtra*>(extra));
    case PF_Cmd_SMART_PRE_RENDER:
        return PreRender(in, *static_cast<PF_PreRenderExtra*>(extra));
    case PF_Cmd_SMART_RENDER:
        return SmartRender(in, out, *static_cast<PF_SmartRenderExtra*>(extra));
    default:
        return PF_Err_NONE;
    }
}
