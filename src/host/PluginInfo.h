#pragma once

#include "host/api/HostApi.h"

// What the effect says of itself, in the record that the host reads from the file and in global set-up.
namespace velorin {

inline constexpr char kEffectName[] = "Velorin";
inline constexpr char kEffectCategory[] = "Quenmar Works";
inline constexpr char kEntryPoint[] = "PluginMain";
// Projects find the effect by it: it never changes.
inline constexpr char kMatchName[] = "QUENMARWORKS 3DArray";

inline constexpr A_u_long kEffectVersion = PF_VERSION(2, 2, 1, PF_Stage_DEVELOP, 112);
// Interface version that the effect was made for.
inline constexpr std::uint16_t kInterfaceMajor = 13, kInterfaceMinor = 9;

inline constexpr PF_OutFlags kOutFlags = PF_OutFlag_WIDE_TIME_INPUT | PF_OutFlag_NON_PARAM_VARY |
                                         PF_OutFlag_SEQUENCE_DATA_NEEDS_FLATTENING | PF_OutFlag_CUSTOM_UI |
                                         PF_OutFlag_DEEP_COLOR_AWARE | PF_OutFlag_SEND_UPDATE_PARAMS_UI;
inline constexpr PF_OutFlags2 kOutFlags2 = PF_OutFlag2_SUPPORTS_QUERY_DYNAMIC_FLAGS |
                                           PF_OutFlag2_I_USE_3D_CAMERA | PF_OutFlag2_I_USE_3D_LIGHTS |
                                           PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG |
                                           PF_OutFlag2_SUPPORTS_SMART_RENDER | PF_OutFlag2_FLOAT_COLOR_AWARE;

static_assert(kEffectVersion == 1116272 && kOutFlags == 0x06008016 && kOutFlags2 == 0x140F);

} // namespace velorin
