#include "host/InstanceList.h"

#include "host/AEPluginConnection.h"
#include "host/PluginInfo.h"
#include "host/api/Introspection.h"

#include <array>
#include <string_view>

namespace velorin {
namespace {

bool IsOurs(const AEGP_EffectSuite4& effects, AEGP_EffectRefH effect) {
    AEGP_EffectFlags flags = 0;
    if (effects.AEGP_GetEffectFlags(effect, &flags) != A_Err_NONE || !(flags & AEGP_EffectFlags_ACTIVE))
        return false;
    AEGP_InstalledEffectKey key = 0;
    std::array<A_char, AEGP_MAX_EFFECT_MATCH_NAME_SIZE + 1> name{};
    if (effects.AEGP_GetInstalledKeyFromLayerEffect(effect, &key) != A_Err_NONE ||
        effects.AEGP_GetEffectMatchName(key, name.data()) != A_Err_NONE)
        return false;
    name.back() = 0;
    return std::string_view(name.data()) == kMatchName;
}

} // namespace

InstanceList::InstanceList(PluginCall& call, AEGP_PluginID pluginId, bool isUnified)
    : pluginId_(pluginId),
      effects_(call.suites.Get<AEGP_EffectSuite4>()),
      in_(*call.in_data),
      interface_(call.suites.Get<AEGP_PFInterfaceSuite1>()) {
    if (effects_ && interface_) Find(call);
    bool ownFound = false;
    if (entries_.size() > 1) {
        std::vector<InstanceEntry> answered;
        for (InstanceEntry& entry : entries_) {
            InstanceReply reply;
            if (Ask(entry, kGeneralDescribe, &reply) != PF_Err_NONE || !reply.sequenceData) {
                (void)effects_->AEGP_DisposeEffect(entry.effect);
                continue;
            }
            entry.handle = reply.sequenceData;
            entry.isUnified = reply.isUnified;
            ownFound |= entry.handle == in_.sequence_data;
            answered.push_back(entry);
        }
        entries_ = std::move(answered);
    }
    if (ownFound) return;
    // Alone on the layer, or the host does not show the others.
    for (const InstanceEntry& entry : entries_) (void)effects_->AEGP_DisposeEffect(entry.effect);
    entries_.assign(1, {nullptr, in_.sequence_data, isUnified});
}

InstanceList::~InstanceList() {
    for (const InstanceEntry& entry : entries_)
        if (entry.effect) (void)effects_->AEGP_DisposeEffect(entry.effect);
}

void InstanceList::Find(PluginCall& call) {
    AEGP_LayerH layer = nullptr;
    A_long count = 0;
    if (interface_->AEGP_GetEffectLayer(call.in_data->effect_ref, &layer) != A_Err_NONE || !layer ||
        effects_->AEGP_GetLayerNumEffects(layer, &count) != A_Err_NONE)
        return;
    for (A_long i = 0; i < count; ++i) {
        AEGP_EffectRefH effect = nullptr;
        if (effects_->AEGP_GetLayerEffectByIndex(pluginId_, layer, i, &effect) != A_Err_NONE || !effect)
            continue;
        if (IsOurs(*effects_, effect)) {
            entries_.push_back({effect, nullptr, false});
        } else {
            (void)effects_->AEGP_DisposeEffect(effect);
        }
    }
}

const InstanceEntry* InstanceList::main() const {
    for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry)
        if (!entry->isUnified) return &*entry;
    return nullptr;
}

PF_Err InstanceList::Ask(const InstanceEntry& entry, std::uint64_t type, void* reply) const {
    A_Time time{};
    const A_Err converted =
        interface_->AEGP_ConvertEffectToCompTime(in_.effect_ref, in_.current_time, in_.time_scale, &time);
    if (converted != A_Err_NONE) return converted;
    GeneralCall general{type, reply};
    return effects_->AEGP_EffectCallGeneric(pluginId_, entry.effect, &time, PF_Cmd_COMPLETELY_GENERAL,
                                            &general);
}

} // namespace velorin
