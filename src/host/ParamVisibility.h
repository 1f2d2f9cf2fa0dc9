#pragma once

#include "core/FrameParams.h"

#include <array>
#include <bitset>
#include <cstdint>
#include <functional>
#include <vector>

// Which rows the effect's panel shows: rules as a table, from the values of the rows that control them.
namespace velorin {

// Rig channels that some model of a group declares; channel k belongs to the row at offset 252 + k.
using RigChannels = std::bitset<kRigChannelCount>;

struct VisibilityInput {
    // Raw value of a popup, or 0 and 1 of a check, by disk id.
    std::function<int(std::uint32_t)> value;
    std::array<RigChannels, kGroupCount> rig;
    std::array<bool, kGroupCount> hasRig{}; // a model of the group has a rig at all
    bool textureMultisample = true;         // the GL driver can sample per-sample normals
};

struct RowVisibility {
    std::uint32_t diskId = 0;
    bool hidden = false;
};

// Every row that a rule controls, once each, in the order of the host's list.
[[nodiscard]] std::vector<RowVisibility> EvaluateVisibility(const VisibilityInput& input);

} // namespace velorin
