#include "core/DrawPlan.h"

#include "core/BakedAnimation.h"
#include "core/ModelMatrices.h"
#include "core/MultiObject.h"
#include "core/document/SceneModel.h"
#include "render/MeshBuffers.h"

namespace velorin {
namespace {

// Frames a second of mesh tracks, whose tangents are in seconds.
constexpr float kTrackFrameRate = 30;

bool Allows(MeshOverride setting, bool inherited) {
    return setting == MeshOverride::Inherit ? inherited : setting == MeshOverride::On;
}

// What moves a mesh within its geometry: the rig, then the baked track. The shaders flip before any matrix
// acts, so the motion is turned into the flipped geometry.
Matrix GeometryMotion(const SceneModel& model, const MeshBuffers& geometry, std::uint32_t mesh,
                      const GroupParams& group, const RigTable& rig) {
    const PreparedMesh& prepared = geometry.prepared();
    const MeshRange& range = geometry.meshes()[mesh];
    Matrix motion;
    if (prepared.hasLayers) motion = RigMatrix(prepared.layers, prepared.joints, range.name, rig, group.rig);
    if (prepared.hasMeshTracks && !range.tracks.empty()) {
        const MeshTrack& track = range.tracks.front();
        motion = motion * TrackMatrix(track, TrackTime(track, model, group.baked, mesh), kTrackFrameRate);
    }
    const Matrix flip = Matrix::Scale(FlipSigns(model));
    return flip * motion * flip;
}

void ApplyChannel(const GroupParams& group, std::uint32_t channel, MeshPlan& plan) {
    if (channel == 0 || channel > kAuxChannelCount) return;
    const AuxChannel& aux = group.aux[channel - 1];
    plan.opacity *= aux.opacity;
    plan.uvOffset = plan.uvOffset + aux.uvOffset;
}

MeshPlan PlanMesh(const SceneModel& model, const MeshBuffers& geometry, std::uint32_t mesh,
                  const Matrix& base, const GroupParams& group, const RigTable& rig) {
    const SceneMesh* const settings = FindSceneMesh(model, mesh);
    const Matrix motion = GeometryMotion(model, geometry, mesh, group, rig);
    MeshPlan plan;
    plan.plain = motion * MeshMatrix(model, mesh, nullptr) * base;
    plan.hasAux = settings && settings->auxChannel != 0;
    plan.local = plan.hasAux ? motion * MeshMatrix(model, mesh, &group) * base : plan.plain;
    if (plan.hasAux) plan.afterMulti = Inverse(plan.plain) * plan.local;
    plan.center = TransformPoint(geometry.meshes()[mesh].center * FlipSigns(model), plan.plain);

    plan.colour = group.colourTint;
    plan.opacity = group.opacity;
    ApplyChannel(group, plan.hasAux ? settings->auxChannel : model.auxChannel, plan);
    plan.visible = model.IsVisible() && (mesh >= model.meshVisible.size() || model.meshVisible[mesh]);
    plan.deforms = Allows(settings ? settings->deformation : MeshOverride::Inherit, model.enableDeformation);
    plan.multiObject =
        Allows(settings ? settings->multiObject : MeshOverride::Inherit, model.enableMultiObject);
    return plan;
}

} // namespace

std::uint32_t AddPlan(GroupPlans& plans, const SceneModel& model, const MeshBuffers* geometry,
                      const GroupParams& group, const RigTable& rig) {
    ModelPlan plan;
    plan.model = &model;
    plan.geometry = geometry && !geometry->empty() ? geometry : nullptr;
    plan.base = ModelMatrix(model, &group);
    plan.rotation = RotationPart(plan.base);
    plan.firstMesh = static_cast<std::uint32_t>(plans.meshes.size());
    if (plan.geometry) {
        plan.base =
            FitMatrix(model, {plan.geometry->prepared().size, plan.geometry->prepared().center,
                              plan.geometry->prepared().boundsMin, plan.geometry->prepared().boundsMax}) *
            plan.base;
        plan.meshCount = static_cast<std::uint32_t>(plan.geometry->meshes().size());
        for (std::uint32_t mesh = 0; mesh < plan.meshCount; ++mesh)
            plans.meshes.push_back(PlanMesh(model, *plan.geometry, mesh, plan.base, group, rig));
    }
    plans.models.push_back(plan);
    return static_cast<std::uint32_t>(plans.models.size() - 1);
}

} // namespace velorin
