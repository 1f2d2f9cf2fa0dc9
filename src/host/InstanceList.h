#pragma once

#include "host/AEPlugin.h"

#include <vector>

namespace velorin {

// One active instance of the effect on the layer.
struct InstanceEntry {
    AEGP_EffectRefH effect = nullptr; // null for the calling instance when it stands alone
    PF_Handle handle = nullptr;       // its sequence data
    bool isUnified = false;
};

// The instances on the layer of the calling one, first to last. Gives the host's references back.
class InstanceList {
public:
    // `isUnified` is the calling instance's. With one instance on the layer no other is asked.
    InstanceList(PluginCall& call, AEGP_PluginID pluginId, bool isUnified);
    ~InstanceList();
    InstanceList(const InstanceList&) = delete;
    InstanceList& operator=(const InstanceList&) = delete;

    [[nodiscard]] const std::vector<InstanceEntry>& entries() const { return entries_; }
    // The last one that is not unified, whose settings the picture takes; null when there is none.
    [[nodiscard]] const InstanceEntry* main() const;
    // Whether the calling instance is the last: the one that draws for all.
    [[nodiscard]] bool drawsHere(PF_Handle own) const {
        return !entries_.empty() && entries_.back().handle == own;
    }

    // Has a sibling serve the general command of this type; the reply depends on it. Returns its code.
    [[nodiscard]] PF_Err Ask(const InstanceEntry& entry, std::uint64_t type, void* reply) const;

private:
    void Find(PluginCall& call);

    AEGP_PluginID pluginId_;
    const AEGP_EffectSuite4* effects_;
    const PF_InData& in_;
    const AEGP_PFInterfaceSuite1* interface_;
    std::vector<InstanceEntry> entries_;
};

} // namespace velorin
