#pragma once

#include "host/api/HostApi.h"

#include <cstdint>
#include <vector>

namespace velorin {

class AssetContext;

// Adds every row of the table to the host, in order, and fills `paramIndex` (disk id to the host's index).
// `count` grows by the rows that the host took. Returns the host's first error. The default scene is made
// with `assets`.
[[nodiscard]] PF_Err AddParams(const PF_InData& in, AssetContext* assets,
                               std::vector<std::uint32_t>& paramIndex, A_long& count);

} // namespace velorin
