#include "host/Entry.h"

#ifndef VELORIN_EXPORT
#define VELORIN_EXPORT [[gnu::visibility("default")]]
#endif

// The one exported function of the module.
extern "C" VELORIN_EXPORT PF_Err PluginMain(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                                            PF_ParamDef* params[], PF_LayerDef*, void* extra) {
    return velorin::EnterPlugin(cmd, in_data, out_data, params, extra);
}
