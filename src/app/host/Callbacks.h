#pragma once

#include "app/host/Host.h"

namespace velorin::app {

// The functions that PF_InData carries.
[[nodiscard]] PF_InteractCallbacks InteractionCallbacks();
[[nodiscard]] PF_UtilCallbacks UtilityCallbacks();
[[nodiscard]] SPBasicSuite BasicSuite();

} // namespace velorin::app
