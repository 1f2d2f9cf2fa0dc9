#pragma once

#include "host/Suites.h"
#include "host/api/HostApi.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace velorin {

class Plugin;

// One call of the host; it lives on the stack of that call and is never kept.
struct PluginCall {
    PluginCall(PF_InData* in, PF_OutData* out, PF_ParamDef** parameters, void* argument)
        : in_data(in),
          out_data(out),
          params(parameters),
          extra(argument),
          suites(in->pica_basicP),
          pointSuite(suites.Get<PF_PointParamSuite1>()),
          angleSuite(suites.Get<PF_AngleParamSuite1>()) {}

    PF_InData* in_data;
    PF_OutData* out_data;
    PF_ParamDef** params; // index 0 is the input layer; null in many commands
    void* extra;
    Suites suites;
    const PF_PointParamSuite1* pointSuite; // null when the host does not offer it
    const PF_AngleParamSuite1* angleSuite; // likewise
    PF_Err err = PF_Err_NONE;              // what the command returns

    [[nodiscard]] const PF_UtilCallbacks* utils() const { return in_data->utils; }
};

// The object of a process behind the plug-in's entry: turns commands into operations. What stands in an
// instance's sequence data and arbitrary parameter is the whole of that instance; nothing here knows of it
// beyond the call.
class AEPlugin {
public:
    AEPlugin();
    virtual ~AEPlugin();
    AEPlugin(const AEPlugin&) = delete;
    AEPlugin& operator=(const AEPlugin&) = delete;

    // Runs one command and returns the host's error code. The GL context that was current on this thread is
    // current again afterwards, also when an exception passes through.
    [[nodiscard]] PF_Err Dispatch(PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamDef** params,
                                  void* extra);

    std::vector<std::uint32_t> paramIndex; // disk id to the host's parameter index; 0 where there is no row
    std::unique_ptr<Plugin> plugin;        // the core object; null until global set-up
    int bytesPerChannelPixel = 1;          // of the output world, renewed at each render
    AEGP_PluginID pluginId = 0;

protected:
    // Operations, one a command. Those that are pure differ between plug-ins; the others work here.
    [[nodiscard]] virtual std::unique_ptr<Plugin> CreatePlugin() = 0;
    virtual void GlobalSetup(PluginCall& call);
    virtual void GlobalSetdown(PluginCall& call);
    virtual void ParamsSetup(PluginCall&) {}
    virtual void UpdateParamsUI(PluginCall&) {}
    [[nodiscard]] virtual PF_Handle SequenceSetup(PluginCall&) { return nullptr; }
    virtual void SequenceSetdown(PluginCall&, PF_Handle) {}
    [[nodiscard]] virtual PF_Handle SequenceFlatten(PluginCall&, PF_Handle) { return nullptr; }
    [[nodiscard]] virtual PF_Handle SequenceResetup(PluginCall&, PF_Handle) { return nullptr; }
    virtual void CompletelyGeneral(PluginCall&) {}
    virtual void Event(PluginCall&) {}
    virtual void UserChangedParam(PluginCall&) {}
    virtual void ArbitraryCallback(PluginCall&) {}
    virtual void QueryDynamicFlags(PluginCall&) {}
    virtual void About(PluginCall& call);
    virtual void SmartPreRender(PluginCall& call);
    virtual void SmartRender(PluginCall& call);

private:
    void Run(PF_Cmd command, PluginCall& call);
};

} // namespace velorin
