#pragma once

#include "core/FrameParams.h"
#include "core/Rig.h"
#include "services/NxMath.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// What all particles of a group share when they show one model: computed once a frame, so that a particle
// costs a product of matrices a mesh.
namespace velorin {

class MeshBuffers;
class SceneModel;

struct MeshPlan {
    Matrix local;      // geometry to the particle's space
    Matrix plain;      // the same without the mesh's aux channel: where Multi-Object takes hold
    Matrix afterMulti; // the aux channel's part, behind Multi-Object; the identity without one
    Point3 center;     // middle of the mesh's bounds through `plain`
    Point4 colour{1, 1, 1, 1};
    Point2 uvOffset;
    float opacity = 1;
    bool visible = true;
    bool deforms = true;     // takes the group's deformers
    bool multiObject = true; // takes part in Multi-Object
    bool hasAux = false;
};

struct ModelPlan {
    const SceneModel* model = nullptr;
    const MeshBuffers* geometry = nullptr; // null: nothing to draw
    Matrix base;     // geometry to the particle's space without the meshes' own transforms
    Matrix rotation; // of the model
    std::uint32_t firstMesh = 0, meshCount = 0;
};

// The plans of one group; kept over frames for their memory.
struct GroupPlans {
    std::vector<ModelPlan> models;
    std::vector<MeshPlan> meshes;

    void Clear() {
        models.clear();
        meshes.clear();
    }
    [[nodiscard]] std::span<const MeshPlan> meshesOf(const ModelPlan& plan) const {
        return std::span(meshes).subspan(plan.firstMesh, plan.meshCount);
    }
};

// Adds the plan of a model with its geometry (null for a folder or what has none) and returns its number.
std::uint32_t AddPlan(GroupPlans& plans, const SceneModel& model, const MeshBuffers* geometry,
                      const GroupParams& group, const RigTable& rig);

} // namespace velorin
