#include "host/AEPlugin.h"

#include "core/Plugin.h"
#include "host/PluginInfo.h"
#include "host/SmartRects.h"
#include "platform/GLContext.h"
#include "services/Log.h"
#include "services/Version.h"
#include "services/Warnings.h"

#include <array>
#include <string>

namespace velorin {
namespace {

// Folder of the file that the host names as the plug-in's own, without a closing slash.
std::string ExecutableFolder(const PluginCall& call) {
    std::array<char, 512> path{};
    if (!call.utils()->get_platform_data ||
        call.utils()->get_platform_data(call.in_data->effect_ref, PF_PlatData_EXE_FILE_PATH_DEPRECATED,
                                        path.data()) != PF_Err_NONE)
        return {};
    path.back() = 0;
    std::string folder = path.data();
    std::size_t cut = folder.find_last_of('\\');
    if (cut == std::string::npos) cut = folder.find_last_of('/');
    if (cut != std::string::npos) folder.resize(cut);
    return folder;
}

void* MainWindow(const PluginCall& call) {
    void* window = nullptr;
    if (call.utils()->get_platform_data &&
        call.utils()->get_platform_data(call.in_data->effect_ref, PF_PlatData_MAIN_WND, &window) !=
            PF_Err_NONE)
        window = nullptr;
    return window;
}

bool IsRenderEngine(PluginCall& call) {
    PF_Boolean engine = 0;
    const auto* app = call.suites.Get<PFAppSuite4>();
    return app && app->PF_IsRenderEngine(&engine) == PF_Err_NONE && engine != 0;
}

} // namespace

AEPlugin::AEPlugin() = default;
AEPlugin::~AEPlugin() = default;

PF_Err AEPlugin::Dispatch(PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamDef** params, void* extra) {
    // The host finds its own context after every command; this one dies after the call's suites.
    const CurrentGL hostContext;
    PluginCall call(in, out, params, extra);
    Run(command, call);
    return call.err;
}

void AEPlugin::Run(PF_Cmd command, PluginCall& call) {
    const auto keepSequence = [&](PF_Handle handle) {
        call.out_data->sequence_data = handle;
        call.in_data->sequence_data = handle;
    };
    switch (command) {
    case PF_Cmd_ABOUT:
        return About(call);
    case PF_Cmd_GLOBAL_SETUP:
        return GlobalSetup(call);
    case PF_Cmd_GLOBAL_SETDOWN:
        return GlobalSetdown(call);
    case PF_Cmd_PARAMS_SETUP:
        call.out_data->num_params = 0;
        ParamsSetup(call);
        ++call.out_data->num_params; // the input layer
        return;
    case PF_Cmd_SEQUENCE_SETUP:
        return keepSequence(SequenceSetup(call));
    case PF_Cmd_SEQUENCE_RESETUP:
        return keepSequence(SequenceResetup(call, call.in_data->sequence_data));
    case PF_Cmd_SEQUENCE_FLATTEN:
        return keepSequence(SequenceFlatten(call, call.in_data->sequence_data));
    case PF_Cmd_SEQUENCE_SETDOWN:
        SequenceSetdown(call, call.in_data->sequence_data);
        return keepSequence(nullptr);
    case PF_Cmd_USER_CHANGED_PARAM:
        return UserChangedParam(call);
    case PF_Cmd_UPDATE_PARAMS_UI:
        return UpdateParamsUI(call);
    case PF_Cmd_EVENT:
        return Event(call);
    case PF_Cmd_COMPLETELY_GENERAL:
        return CompletelyGeneral(call);
    case PF_Cmd_QUERY_DYNAMIC_FLAGS:
        return QueryDynamicFlags(call);
    case PF_Cmd_ARBITRARY_CALLBACK:
        return ArbitraryCallback(call);
    case PF_Cmd_SMART_PRE_RENDER:
        return SmartPreRender(call);
    // A process that neither serves others nor is served renders at once: no gate stands around it.
    case PF_Cmd_SMART_RENDER:
        return SmartRender(call);
    default:
        return; // nothing to do, and no error
    }
}

void AEPlugin::GlobalSetup(PluginCall& call) {
    call.out_data->my_version = kEffectVersion;
    call.out_data->out_flags = kOutFlags;
    call.out_data->out_flags2 = kOutFlags2;
    Log("## %s %d.%d.%d", kProductName, kVersionMajor, kVersionMinor, kVersionBuild);
    Log("OutFlags: %d   OutFlags2: %d", kOutFlags, kOutFlags2);

    if (const auto* utility = call.suites.Get<AEGP_UtilitySuite4>())
        if (utility->AEGP_RegisterWithAEGP(nullptr, kEffectName, &pluginId) != A_Err_NONE) pluginId = 0;

    plugin = CreatePlugin();
    plugin->executableFolder = ExecutableFolder(call);
    plugin->hostWindow = MainWindow(call);
    plugin->renderEngine = IsRenderEngine(call);
    if (plugin->renderer->Init() != InitError::Done) ReportWarning(plugin->renderer->InitMessage());
    plugin->Initialize();
}

void AEPlugin::GlobalSetdown(PluginCall&) {
    if (plugin) plugin->Shutdown();
    plugin.reset();
}

// The window with the credits belongs to the interface; the host shows this text in a box of its own.
void AEPlugin::About(PluginCall& call) {
    const std::string text = std::string(kProductName) + " " + std::to_string(kVersionMajor) + "." +
                             std::to_string(kVersionMinor) + "." + std::to_string(kVersionBuild);
    text.copy(call.out_data->return_msg, sizeof call.out_data->return_msg - 1);
}

// Declares the input layer under checkout id 0 and answers with its extent.
void AEPlugin::SmartPreRender(PluginCall& call) {
    constexpr A_long kInputId = 0;
    auto& extra = *static_cast<PF_PreRenderExtra*>(call.extra);
    const PF_InData& in = *call.in_data;
    PF_RenderRequest request = extra.input->output_request;
    PF_CheckoutResult input{};
    call.err = extra.cb->checkout_layer(in.effect_ref, 0, kInputId, &request, in.current_time, in.time_step,
                                        in.time_scale, &input);
    if (call.err != PF_Err_NONE) return;
    extra.output->result_rect = JoinResult(extra.output->result_rect, input.result_rect);
    extra.output->max_result_rect = JoinResult(extra.output->max_result_rect, input.max_result_rect);
}

void AEPlugin::SmartRender(PluginCall&) {
}

} // namespace velorin
