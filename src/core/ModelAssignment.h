#pragma once

#include "core/FrameParams.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// Which models each particle of a group shows.
namespace velorin {

class SceneModel;

// One entry of a particle's list: a model or a folder.
struct SlotModel {
    const SceneModel* model = nullptr; // borrowed from the scene
    std::uint32_t frame = 0;           // of its baked animation or sequence, from 0
    std::uint32_t plan =
        0; // number of the model in the walk of all trees; then the caller's, for model and frame
};

// The entries of all particles of a group, one after the other; those of particle p are first[p] to
// first[p + 1] - 1. Kept over frames so that a frame of the same size asks for no memory.
struct GroupSlots {
    std::vector<std::uint32_t> first; // one a particle, and one behind the last
    std::vector<SlotModel> slots;

    void Clear() {
        first.clear();
        slots.clear();
    }
    [[nodiscard]] std::size_t particles() const { return first.empty() ? 0 : first.size() - 1; }
    [[nodiscard]] std::span<SlotModel> of(std::size_t particle) {
        return std::span(slots).subspan(first[particle], first[particle + 1] - first[particle]);
    }
    [[nodiscard]] std::span<const SlotModel> of(std::size_t particle) const {
        return std::span(slots).subspan(first[particle], first[particle + 1] - first[particle]);
    }
};

// The scene's top-level models that the group shows, in scene order.
[[nodiscard]] std::vector<const SceneModel*> GroupModels(const FrameParams& params, std::size_t groupIndex);

// Position in a list of `models` (at least 1) of the model of each of `count` particles, by "Particle Order",
// "Particle Repeat" and "Particle Offset".
[[nodiscard]] std::vector<std::uint32_t> ChooseModels(const GroupParams& group, std::size_t models,
                                                      std::size_t count);

// Fills the entries of `count` particles: each one's model and, breadth first, everything below it, with
// their baked frames. Without models every particle has none. `memory` is how many bytes the entries may
// take; when they would take more nothing is filled and the bytes are the result, else 0.
[[nodiscard]] std::uint64_t AssignModels(const GroupParams& group, std::span<const SceneModel* const> models,
                                         std::size_t count, std::uint64_t memory, GroupSlots& slots);

} // namespace velorin
