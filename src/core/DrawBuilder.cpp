#include "core/DrawBuilder.h"

#include "core/ModelMatrices.h"
#include "core/MultiObject.h"
#include "core/Random.h"
#include "core/document/SceneModel.h"

#include <limits>

namespace velorin {

DrawBuilder::DrawBuilder(const FrameParams& params, DrawScratch& scratch, Point3 cameraPosition,
                         DrawList& list, std::deque<DeformParameters>& deforms)
    : params_(params),
      scratch_(scratch),
      camera_(cameraPosition),
      list_(list),
      deforms_(deforms),
      world_(params.world.matrix()),
      layerSet_(static_cast<std::uint32_t>(list.layers.size() / kCustomLayers)) {
    list_.layers.insert(list_.layers.end(), params.layers.begin(), params.layers.end());
    std::uint32_t object = 0;
    for (std::size_t g = 0; g < kGroupCount; ++g) {
        firstObject_[g] = object;
        object += static_cast<std::uint32_t>(params.particles[g].size());
    }
}

std::uint64_t DrawBuilder::Needs::bytes() const {
    return records * sizeof(DrawRecord) + instances * sizeof(InstanceRecord) +
           deforms * (sizeof(DeformParameters) + sizeof(const DeformParameters*));
}

DrawBuilder::Needs DrawBuilder::GroupNeeds(std::size_t groupIndex) const {
    Needs needs;
    const GroupPlans& plans = scratch_.plans[groupIndex];
    for (const SlotModel& slot : scratch_.slots[groupIndex].slots) {
        const ModelPlan& plan = plans.models[slot.plan];
        if (!plan.geometry) continue;
        ++needs.records;
        needs.instances += plan.meshCount;
    }
    return needs;
}

void DrawBuilder::Reserve(const Needs& needs) {
    list_.records.reserve(list_.records.size() + static_cast<std::size_t>(needs.records));
    list_.instances.reserve(list_.instances.size() + static_cast<std::size_t>(needs.instances));
}

DrawBuilder::SlotView DrawBuilder::ViewSlot(std::size_t groupIndex, std::size_t particle,
                                            std::size_t slot) const {
    const auto slots = scratch_.slots[groupIndex].of(particle);
    SlotView view;
    if (slot >= slots.size()) return view;
    const GroupParams& group = params_.groups[groupIndex];
    const GroupPlans& plans = scratch_.plans[groupIndex];
    view.plan = &plans.models[slots[slot].plan];
    view.meshes = plans.meshesOf(*view.plan);
    if (group.multi.enabled && !(view.meshes.size() == 1 && slots.size() == 1)) {
        view.multi = &group.multi;
        view.seed = MultiObjectSeed(static_cast<std::uint32_t>(slot), group.multi.randomSeed,
                                    static_cast<std::uint32_t>(particle));
    }
    return view;
}

std::uint32_t DrawBuilder::AddDeform(const DeformParameters& deform) {
    if (!deform.active()) return kNoDeform;
    deforms_.push_back(deform);
    list_.deforms.push_back(&deforms_.back());
    return static_cast<std::uint32_t>(list_.deforms.size() - 1);
}

std::uint32_t DrawBuilder::DeformIndex(std::size_t groupIndex) {
    std::uint32_t& known = deformOfGroup_[groupIndex];
    if (known == 0) known = AddDeform(params_.groups[groupIndex].deform) + 1;
    return known - 1;
}

void DrawBuilder::AddReflection(const ModelPlan& plan, const Matrix& particle, std::size_t groupIndex,
                                std::size_t index) {
    const SceneModel& folder = *plan.model;
    if (folder.type != ModelType::Folder ||
        (folder.reflectMode != ReflectMode::MirrorSurface && folder.reflectMode != ReflectMode::Spherical))
        return;
    list_.reflections.push_back({&folder, AffineProduct(plan.base, particle),
                                 static_cast<std::uint32_t>(index), static_cast<std::uint32_t>(groupIndex)});
}

DrawRecord& DrawBuilder::StartRecord(const ModelPlan& plan, std::size_t groupIndex, std::size_t particle,
                                     float frame, Point3 positionWorld) {
    DrawRecord& record = list_.records.emplace_back();
    record.model = plan.model;
    record.geometry = plan.geometry;
    record.particleIndex = static_cast<std::uint32_t>(particle);
    record.group = static_cast<std::uint32_t>(groupIndex);
    record.layerSet = layerSet_;
    record.firstInstance = static_cast<std::uint32_t>(list_.instances.size());
    record.instanceCount = plan.meshCount;
    record.frame = frame;
    record.distance = LengthSquared(positionWorld - camera_);
    return record;
}

void DrawBuilder::AddInstance(const Matrix& model, const Matrix& base, const MeshPlan& mesh) {
    InstanceRecord& instance = list_.instances.emplace_back();
    instance.modelMatrix = model;
    instance.baseModelMatrix = base;
    instance.colour = mesh.colour;
    instance.uvOffset = mesh.uvOffset;
    instance.opacity = mesh.opacity;
    instance.visible = mesh.visible;
    instance.flip = Determinant3(model) < 0;
    const DrawRecord& record = list_.records.back();
    instance.objectIndex = firstObject_[record.group] + record.particleIndex;
}

void DrawBuilder::AddGroup(std::size_t groupIndex) {
    const std::vector<Particle>& particles = params_.particles[groupIndex];
    const GroupSlots& slots = scratch_.slots[groupIndex];
    if (slots.slots.empty()) return;
    const bool inWorld = !params_.world.exclude[groupIndex];
    const std::uint32_t deform = DeformIndex(groupIndex);
    for (std::size_t p = 0; p < particles.size() && p < slots.particles(); ++p) {
        Matrix particle = ParticleMatrix(particles[p]);
        if (inWorld) particle = AffineProduct(particle, world_);
        const auto entries = slots.of(p);
        for (std::size_t s = 0; s < entries.size(); ++s) {
            const SlotView view = ViewSlot(groupIndex, p, s);
            AddReflection(*view.plan, particle, groupIndex, p);
            if (!view.plan->geometry) continue;
            StartRecord(*view.plan, groupIndex, p, static_cast<float>(entries[s].frame),
                        particle.translation());
            const Matrix base = AffineProduct(view.plan->base, particle);
            Random random(view.seed);
            for (const MeshPlan& mesh : view.meshes) {
                if (view.multi) {
                    const auto multi = MakeMultiObject(*view.multi, mesh.center, view.plan->rotation, random);
                    const Matrix local =
                        mesh.multiObject ? mesh.plain * multi.matrix() * mesh.afterMulti : mesh.local;
                    AddInstance(AffineProduct(local, particle), base, mesh);
                } else {
                    AddInstance(AffineProduct(mesh.local, particle), base, mesh);
                }
                if (mesh.deforms) list_.instances.back().deform = deform;
            }
        }
    }
}

} // namespace velorin
