#pragma once

#include "app/host/Comp.h"

#include "host/api/Effect.h"

#include <string>
#include <vector>

namespace velorin::app {

// One effect on the effect layer: its values by row and its sequence data. Its address is the plug-in's
// effect_ref.
struct EffectInstance {
    HostComp* comp = nullptr;
    int number = 1; // from 1, as the user counts
    bool enabled = true;
    bool collapsed = false;
    PF_OutFlags dynamicFlags = 0;
    PF_OutFlags2 dynamicFlags2 = 0;
    PF_Handle sequence = nullptr;
    bool flat = false;            // the sequence data is in its flat form
    std::vector<HostStream> rows; // by host index; 0 is the input layer

    [[nodiscard]] PF_ProgPtr reference() { return reinterpret_cast<PF_ProgPtr>(this); }
    [[nodiscard]] HostLayer* layer() const { return comp->effectLayer; }
    [[nodiscard]] EffectInstance* upstream() const; // the enabled one before, or null
};

} // namespace velorin::app
