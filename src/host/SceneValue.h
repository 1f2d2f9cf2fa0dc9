#pragma once

#include "core/document/Scene.h"
#include "host/api/HostApi.h"

#include <cstdint>
#include <memory>

namespace velorin {

// What the handle of the parameter "Scene Settings" holds: a scene document.
struct SceneValue {
    static constexpr A_HandleSize kHandleSize = 264;
    static constexpr std::uint64_t kTag = 0x56'45'4E'45'43'53'5A'56;

    explicit SceneValue(AssetContext* assets);

    std::uint64_t tag = kTag;
    // Names the contents: values that were copied from each other share it, a change takes a new one. So that
    // an unchanged scene is known without a look at it.
    std::uint64_t revision;
    std::unique_ptr<Scene> scene;

    void Touch();
};
static_assert(sizeof(SceneValue) <= SceneValue::kHandleSize);

// The value in locked memory of such a handle; null when it is none.
[[nodiscard]] SceneValue* SceneValueIn(void* memory);

// Serves one call of the host for a value of the parameter; `assets` is given to the documents it makes.
// Function numbers of comparison, interpolation and text are left to the host's presets.
void HandleSceneValue(const PF_UtilCallbacks& utils, AssetContext* assets, PF_ArbParamsExtra& call);
// A new handle with an empty document; null when the host has no memory.
[[nodiscard]] PF_Handle NewSceneValue(const PF_UtilCallbacks& utils, AssetContext* assets);

} // namespace velorin
