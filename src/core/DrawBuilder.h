#pragma once

#include "core/AnimationEngine.h"
#include "core/DrawPlan.h"
#include "core/FrameParams.h"
#include "core/ModelAssignment.h"
#include "render/DrawRecord.h"

#include <array>
#include <cstdint>
#include <deque>
#include <span>
#include <vector>

// From particles and plans to draw records.
namespace velorin {

// What is kept over frames for its memory.
struct DrawScratch {
    std::array<GroupSlots, kGroupCount> slots;
    std::array<GroupPlans, kGroupCount> plans;
    SweepKeys keys[2];
    std::vector<std::uint32_t> meshCounts[2];
    std::vector<Point3> centers;
    std::vector<ChannelValues> channels;
};

// Makes the records of one instance of the effect. The arrays that it is given outlive it.
class DrawBuilder {
public:
    // `deforms` owns the blocks that the list borrows, until the list is cleared.
    DrawBuilder(const FrameParams& params, DrawScratch& scratch, Point3 cameraPosition, DrawList& list,
                std::deque<DeformParameters>& deforms);

    // What the records of a group will take.
    struct Needs {
        std::uint64_t records = 0, instances = 0, deforms = 0;
        [[nodiscard]] std::uint64_t bytes() const;
    };
    [[nodiscard]] Needs GroupNeeds(std::size_t groupIndex) const;
    // Of the animation engine's two groups at most.
    [[nodiscard]] Needs EngineNeeds() const;
    // Makes room for records at once, so that the list does not grow while it is filled.
    void Reserve(const Needs& needs);
    // One record for each model with geometry of each particle, in order.
    void AddGroup(std::size_t groupIndex);
    // The start and the finish group of the animation engine, blended.
    void AddEngineGroups();

private:
    struct Engine;

    // The transform of one slot's meshes at a particle.
    struct SlotView {
        const ModelPlan* plan = nullptr;
        std::span<const MeshPlan> meshes;
        const MultiObjectParams* multi = nullptr; // null: off for the slot
        std::uint32_t seed = 0;
    };
    [[nodiscard]] SlotView ViewSlot(std::size_t groupIndex, std::size_t particle, std::size_t slot) const;
    [[nodiscard]] std::uint32_t DeformIndex(std::size_t groupIndex);
    [[nodiscard]] std::uint32_t AddDeform(const DeformParameters& deform);
    [[nodiscard]] std::uint32_t BlendedDeform(const Engine& engine, float material);
    void AddReflection(const ModelPlan& plan, const Matrix& particle, std::size_t groupIndex,
                       std::size_t index);
    DrawRecord& StartRecord(const ModelPlan& plan, std::size_t groupIndex, std::size_t particle, float frame,
                            Point3 positionWorld);
    void AddInstance(const Matrix& model, const Matrix& base, const MeshPlan& mesh);

    void CountMeshes(std::size_t groupIndex, std::vector<std::uint32_t>& counts) const;
    void CollectCenters(std::size_t groupIndex);
    void MakeKeys(Engine& engine);
    void SetProgress(Engine& engine, std::size_t particle, std::size_t target);
    void AddBlended(Engine& engine, std::size_t particle, std::size_t target);
    void AddShared(Engine& engine, const SlotView& start, const SlotView& finish, float frame);
    void AddSide(Engine& engine, std::uint32_t side, const SlotView& view, float frame);

    const FrameParams& params_;
    DrawScratch& scratch_;
    Point3 camera_;
    DrawList& list_;
    std::deque<DeformParameters>& deforms_;
    Matrix world_;
    std::uint32_t layerSet_;
    std::array<std::uint32_t, kGroupCount> firstObject_{};   // number of each group's first particle
    std::array<std::uint32_t, kGroupCount> deformOfGroup_{}; // index plus 1; 0: not asked for yet
    float blendedAt_ = -1; // material channel of the last blended deformers, and their index
    std::uint32_t blendedDeform_ = kNoDeform;
};

} // namespace velorin
