#pragma once

#include "host/api/HostApi.h"

namespace velorin {

// What stands behind the exported entry: makes the plug-in's object at global set-up, keeps it in a handle of
// the host, passes every command to it and ends it at global set-down. No exception leaves: it ends the
// command with PF_Err_INTERNAL_STRUCT_DAMAGED.
[[nodiscard]] PF_Err EnterPlugin(PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamDef** params,
                                 void* extra);

} // namespace velorin
