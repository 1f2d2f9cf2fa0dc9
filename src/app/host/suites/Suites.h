#pragma once

#include "app/host/Host.h"

#include <span>

// The suites that the plug-in may acquire, one file a family.
namespace velorin::app {

struct SuiteEntry {
    const char* name;
    std::int32_t version;
    const void* suite;
};
[[nodiscard]] std::span<const SuiteEntry> EffectSuites();  // PF
[[nodiscard]] std::span<const SuiteEntry> ProjectSuites(); // effects, cameras, lights, memory, undo
[[nodiscard]] std::span<const SuiteEntry> LayerSuites();   // comps, items, layers
[[nodiscard]] std::span<const SuiteEntry> StreamSuites();  // streams, masks, text
[[nodiscard]] std::span<const SuiteEntry> RenderSuites();  // pictures of items, worlds
[[nodiscard]] std::span<const SuiteEntry> DrawingSuites(); // of custom controls

// Null when no suite has that name and number.
[[nodiscard]] const void* FindSuite(const char* name, std::int32_t version);

// ---- what the families share

struct EffectObject : HostObject {
    static constexpr ObjectKind kKind = ObjectKind::Effect;
    explicit EffectObject(EffectInstance* instance_) : HostObject(kKind), instance(instance_) {}
    EffectInstance* instance;
};

struct MemoryObject : HostObject {
    static constexpr ObjectKind kKind = ObjectKind::Memory;
    explicit MemoryObject(std::size_t size) : HostObject(kKind), bytes(size) {}
    std::vector<std::byte> bytes;
    int locks = 0;
};
[[nodiscard]] AEGP_MemHandle NewMemory(const void* bytes, std::size_t size);

[[nodiscard]] inline AEGP_LayerH HandleOf(HostLayer* layer) {
    return layer ? reinterpret_cast<AEGP_LayerH>(&layer->self) : nullptr;
}
[[nodiscard]] inline AEGP_CompH HandleOf(HostComp* comp) {
    return comp ? reinterpret_cast<AEGP_CompH>(&comp->self) : nullptr;
}
[[nodiscard]] inline AEGP_ItemH HandleOf(HostItem* item) {
    return item ? reinterpret_cast<AEGP_ItemH>(&item->self) : nullptr;
}
// Null, reported, for a handle that is none.
[[nodiscard]] HostLayer* LayerOf(AEGP_LayerH handle);
[[nodiscard]] HostComp* CompOf(AEGP_CompH handle);
[[nodiscard]] HostItem* ItemOf(AEGP_ItemH handle);
[[nodiscard]] EffectInstance* EffectOf(AEGP_EffectRefH handle);

[[nodiscard]] inline double SecondsOf(const A_Time& time) {
    return static_cast<double>(time.value) / static_cast<double>(time.scale ? time.scale : 1);
}

} // namespace velorin::app
