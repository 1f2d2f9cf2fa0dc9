#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace velorin {

class MeshBuffers;
class SceneModel;
struct DrawList;

// Records of one draw list that share geometry, both models and the instance of the effect: what is drawn
// with one set of buffers and one walk over the meshes.
struct DrawGroup {
    const SceneModel* model = nullptr;
    const MeshBuffers* geometry = nullptr;
    const SceneModel* finishModel = nullptr;
    std::uint32_t layerSet = 0;
    std::uint32_t firstRecord = 0; // into DrawGroups::records
    std::uint32_t recordCount = 0;
};

// The order in which a draw list is drawn. Memory is kept from frame to frame.
class DrawGroups {
public:
    // With `depthSorted` records come by falling distance, equal ones in their order, and a group may repeat;
    // otherwise every group comes once, where its first record stands. Records without model or geometry are
    // left out.
    void Build(const DrawList& list, bool depthSorted);
    void Clear();

    [[nodiscard]] std::span<const DrawGroup> groups() const { return groups_; }
    // Record numbers of the group, in drawing order.
    [[nodiscard]] std::span<const std::uint32_t> recordsOf(const DrawGroup& group) const {
        return std::span(records_).subspan(group.firstRecord, group.recordCount);
    }

private:
    std::vector<DrawGroup> groups_;
    std::vector<std::uint32_t> records_; // by group
    std::vector<std::uint32_t> order_;   // the list's records in drawing order
    std::vector<std::uint32_t> groupOf_; // parallel to order_
    std::vector<std::uint32_t> merge_;   // work memory of the sort
};

} // namespace velorin
