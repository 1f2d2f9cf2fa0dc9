#include "core/DrawBuilder.h"

#include "core/ModelMatrices.h"
#include "core/MultiObject.h"
#include "core/Random.h"
#include "core/document/SceneModel.h"

#include <algorithm>

// The records of the animation engine's two groups. The slots of a start particle and of its finish particle
// are walked side by side: where both show one geometry it is drawn once, with everything blended; else each
// side is drawn by itself at the blended particle, the start side fading out and the finish side fading in
// with the material channel.
namespace velorin {

struct DrawBuilder::Engine {
    std::size_t start = 0, finish = 0;
    bool byMesh = false;       // meshes have keys and go on their own
    std::size_t instances = 0; // of the start group

    // Of the particle at hand.
    std::size_t startParticle = 0, finishParticle = 0;
    const Particle *from = nullptr, *to = nullptr;
    ChannelValues mean{};
    std::size_t meshBefore[2] = {}; // mesh instances of the slots before this one

    // Of the mesh at hand.
    ChannelValues channels{};
    Matrix particle; // blended, with the world transform
};

namespace {

Point4 Mix(Point4 a, Point4 b, float t) {
    return {a.x * (1 - t) + b.x * t, a.y * (1 - t) + b.y * t, a.z * (1 - t) + b.z * t,
            a.w * (1 - t) + b.w * t};
}

} // namespace

void DrawBuilder::CountMeshes(std::size_t groupIndex, std::vector<std::uint32_t>& counts) const {
    const GroupSlots& slots = scratch_.slots[groupIndex];
    const GroupPlans& plans = scratch_.plans[groupIndex];
    counts.assign(params_.particles[groupIndex].size(), 0);
    for (std::size_t p = 0; p < counts.size() && p < slots.particles(); ++p)
        for (const SlotModel& slot : slots.of(p)) counts[p] += plans.models[slot.plan].meshCount;
}

// Where each mesh instance stands; a particle without meshes stands at its own place.
void DrawBuilder::CollectCenters(std::size_t groupIndex) {
    const GroupSlots& slots = scratch_.slots[groupIndex];
    const GroupPlans& plans = scratch_.plans[groupIndex];
    const std::vector<Particle>& particles = params_.particles[groupIndex];
    std::vector<Point3>& centers = scratch_.centers;
    centers.clear();
    for (std::size_t p = 0; p < particles.size(); ++p) {
        const std::size_t before = centers.size();
        const Matrix matrix = ParticleMatrix(particles[p]);
        if (p < slots.particles())
            for (const SlotModel& slot : slots.of(p))
                for (const MeshPlan& mesh : plans.meshesOf(plans.models[slot.plan]))
                    centers.push_back(TransformPoint(mesh.center, matrix));
        if (centers.size() == before) centers.push_back(particles[p].position);
    }
}

void DrawBuilder::MakeKeys(Engine& engine) {
    const std::size_t groups[2] = {engine.start, engine.finish};
    engine.byMesh = params_.engine.disconnectMulti && (params_.groups[engine.start].multi.enabled ||
                                                       params_.groups[engine.finish].multi.enabled);
    for (std::uint32_t side = 0; side < 2; ++side) {
        CountMeshes(groups[side], scratch_.meshCounts[side]);
        scratch_.centers.clear();
        if (engine.byMesh) CollectCenters(groups[side]);
        MakeSweepKeys(params_.engine, side,
                      {params_.particles[groups[side]], scratch_.meshCounts[side], scratch_.centers},
                      scratch_.keys[side]);
    }
    engine.instances = scratch_.keys[0].keys.size();
}

// Channel values of every mesh of a start particle, and of the particle by their mean progress.
void DrawBuilder::SetProgress(Engine& engine, std::size_t particle, std::size_t target) {
    const auto startKeys = scratch_.keys[0].of(particle), finishKeys = scratch_.keys[1].of(target);
    scratch_.channels.clear();
    float sum = 0;
    for (std::size_t m = 0; m < startKeys.size(); ++m) {
        const float t = MeshProgress(params_.engine, engine.instances, startKeys[m],
                                     finishKeys[std::min(m, finishKeys.size() - 1)]);
        sum += t;
        if (engine.byMesh) scratch_.channels.push_back(ChannelsAt(params_.engine, t));
    }
    engine.mean = ChannelsAt(params_.engine, sum / static_cast<float>(startKeys.size()));
}

std::uint32_t DrawBuilder::BlendedDeform(const Engine& engine, float material) {
    const DeformParameters& a = params_.groups[engine.start].deform;
    const DeformParameters& b = params_.groups[engine.finish].deform;
    const DeformFrom from = params_.engine.deformFrom;
    if (from == DeformFrom::Start || (from == DeformFrom::Blend && (material == 0 || a == b)))
        return DeformIndex(engine.start);
    if (from == DeformFrom::Finish || material == 1) return DeformIndex(engine.finish);
    if (!a.active() && !b.active()) return kNoDeform;
    if (material != blendedAt_) {
        blendedAt_ = material;
        blendedDeform_ = AddDeform(BlendDeformers(a, b, material));
    }
    return blendedDeform_;
}

void DrawBuilder::AddShared(Engine& engine, const SlotView& start, const SlotView& finish, float frame) {
    Random startRandom(start.seed), finishRandom(finish.seed);
    const bool twoModels = start.plan->model != finish.plan->model;
    bool allStart = true, allFinish = true;
    DrawRecord& record = StartRecord(*start.plan, engine.start, engine.startParticle, frame, {});
    const std::size_t recordIndex = list_.records.size() - 1;
    record.finishGeometry = finish.plan->geometry;
    for (std::size_t m = 0; m < start.meshes.size(); ++m) {
        const MeshPlan &a = start.meshes[m], &b = finish.meshes[m];
        const ChannelValues& c =
            engine.byMesh && (start.multi || finish.multi)
                ? scratch_.channels[std::min(engine.meshBefore[0] + m, scratch_.channels.size() - 1)]
                : engine.mean;
        const float up = c[kPositionChannel], ur = c[kRotationChannel], us = c[kScaleChannel],
                    um = c[kMaterialChannel];
        Matrix local = BlendTransforms(a.local, b.local, up, ur, us);
        if (start.multi || finish.multi) {
            MultiObjectTransform ta, tb;
            ta.pivot = a.center;
            tb.pivot = b.center;
            if (start.multi) {
                const auto drawn = MakeMultiObject(*start.multi, a.center, start.plan->rotation, startRandom);
                if (a.multiObject) ta = drawn;
            }
            if (finish.multi) {
                const auto drawn =
                    MakeMultiObject(*finish.multi, b.center, finish.plan->rotation, finishRandom);
                if (b.multiObject) tb = drawn;
            }
            const Matrix multi = BlendMultiObject(ta, tb, c[kMultiPositionChannel], c[kMultiRotationChannel],
                                                  c[kMultiScaleChannel])
                                     .matrix();
            const Matrix plain = BlendTransforms(a.plain, b.plain, up, ur, us);
            local = a.hasAux || b.hasAux ? plain * multi * Inverse(plain) * local : plain * multi;
        }
        const Matrix particle = AffineProduct(ParticleMatrix(BlendParticles(*engine.from, *engine.to, c)),
                                              BlendedWorld(params_.world, params_.world.exclude[engine.start],
                                                           params_.world.exclude[engine.finish], up));
        MeshPlan mesh = a;
        mesh.colour = Mix(a.colour, b.colour, um);
        mesh.uvOffset = a.uvOffset * (1 - um) + b.uvOffset * um;
        mesh.opacity = a.opacity * (1 - um) + b.opacity * um;
        mesh.visible = um < 1 ? (um > 0 ? a.visible || b.visible : a.visible) : b.visible;
        AddInstance(AffineProduct(local, particle),
                    AffineProduct(BlendTransforms(start.plan->base, finish.plan->base, up, ur, us), particle),
                    mesh);
        InstanceRecord& instance = list_.instances.back();
        instance.layerMix = um;
        if (a.deforms || b.deforms) instance.deform = BlendedDeform(engine, um);
        allStart = allStart && um == 0;
        allFinish = allFinish && um == 1;
    }
    DrawRecord& made = list_.records[recordIndex];
    made.distance = LengthSquared(engine.particle.translation() - camera_);
    if (twoModels && !allStart && !allFinish) made.finishModel = finish.plan->model;
    if (made.finishModel) return;
    // One material layer: the model whose look it is, at full strength.
    if (allFinish) made.model = finish.plan->model;
    for (std::uint32_t i = 0; i < made.instanceCount; ++i)
        list_.instances[made.firstInstance + i].layerMix = 0;
}

void DrawBuilder::AddSide(Engine& engine, std::uint32_t side, const SlotView& view, float frame) {
    const std::size_t groupIndex = side == 0 ? engine.start : engine.finish;
    const bool apart = engine.byMesh && view.multi;
    const auto weightOf = [&](const ChannelValues& c) {
        return side == 0 ? 1 - c[kMaterialChannel] : c[kMaterialChannel];
    };
    if (!apart && weightOf(engine.mean) == 0) return;
    StartRecord(*view.plan, groupIndex, side == 0 ? engine.startParticle : engine.finishParticle, frame,
                engine.particle.translation());
    Random random(view.seed);
    for (std::size_t m = 0; m < view.meshes.size(); ++m) {
        const MeshPlan& mesh = view.meshes[m];
        const ChannelValues& c =
            apart ? scratch_.channels[std::min(engine.meshBefore[side] + m, scratch_.channels.size() - 1)]
                  : engine.mean;
        Matrix particle = engine.particle;
        if (apart)
            particle = AffineProduct(ParticleMatrix(BlendParticles(*engine.from, *engine.to, c)),
                                     BlendedWorld(params_.world, params_.world.exclude[engine.start],
                                                  params_.world.exclude[engine.finish], c[kPositionChannel]));
        Matrix local = mesh.local;
        if (view.multi) {
            const auto multi = MakeMultiObject(*view.multi, mesh.center, view.plan->rotation, random);
            if (mesh.multiObject) local = mesh.plain * multi.matrix() * mesh.afterMulti;
        }
        AddInstance(AffineProduct(local, particle), AffineProduct(view.plan->base, particle), mesh);
        InstanceRecord& instance = list_.instances.back();
        instance.opacity *= weightOf(c);
        if (mesh.deforms) instance.deform = DeformIndex(groupIndex);
    }
}

void DrawBuilder::AddBlended(Engine& engine, std::size_t particle, std::size_t target) {
    SetProgress(engine, particle, target);
    engine.startParticle = particle;
    engine.finishParticle = target;
    engine.from = &params_.particles[engine.start][particle];
    engine.to = &params_.particles[engine.finish][target];
    engine.particle =
        AffineProduct(ParticleMatrix(BlendParticles(*engine.from, *engine.to, engine.mean)),
                      BlendedWorld(params_.world, params_.world.exclude[engine.start],
                                   params_.world.exclude[engine.finish], engine.mean[kPositionChannel]));
    engine.meshBefore[0] = engine.meshBefore[1] = 0;
    const auto startSlots = scratch_.slots[engine.start].of(particle);
    const auto finishSlots = scratch_.slots[engine.finish].of(target);
    for (std::size_t s = 0; s < std::max(startSlots.size(), finishSlots.size()); ++s) {
        const SlotView a = ViewSlot(engine.start, particle, s), b = ViewSlot(engine.finish, target, s);
        const bool drawA = a.plan && a.plan->geometry, drawB = b.plan && b.plan->geometry;
        const float frameA = drawA ? static_cast<float>(startSlots[s].frame) : 0;
        const float frameB = drawB ? static_cast<float>(finishSlots[s].frame) : 0;
        if (a.plan) AddReflection(*a.plan, engine.particle, engine.start, particle);
        if (b.plan && (!a.plan || a.plan->model != b.plan->model))
            AddReflection(*b.plan, engine.particle, engine.finish, target);
        if (drawA && drawB && a.plan->geometry == b.plan->geometry) {
            AddShared(engine, a, b, frameA);
        } else {
            if (drawA) AddSide(engine, 0, a, frameA);
            if (drawB) AddSide(engine, 1, b, frameB);
        }
        engine.meshBefore[0] += a.meshes.size();
        engine.meshBefore[1] += b.meshes.size();
    }
}

DrawBuilder::Needs DrawBuilder::EngineNeeds() const {
    const std::size_t start = params_.engine.start(), finish = params_.engine.finish();
    Needs needs = GroupNeeds(start);
    const Needs other = GroupNeeds(finish);
    needs.records += other.records;
    needs.instances += other.instances;
    const DeformParameters &a = params_.groups[start].deform, &b = params_.groups[finish].deform;
    if (params_.engine.deformFrom == DeformFrom::Blend && (a.active() || b.active()) && !(a == b))
        needs.deforms = needs.instances;
    return needs;
}

void DrawBuilder::AddEngineGroups() {
    Engine engine;
    engine.start = params_.engine.start();
    engine.finish = params_.engine.finish();
    if (engine.start >= kGroupCount || engine.finish >= kGroupCount) return;
    const std::vector<Particle>& start = params_.particles[engine.start];
    const std::size_t finishCount = params_.particles[engine.finish].size();
    if (start.empty() || finishCount == 0 || scratch_.slots[engine.start].particles() < start.size() ||
        scratch_.slots[engine.finish].particles() < finishCount)
        return;
    MakeKeys(engine);
    for (std::size_t p = 0; p < start.size(); ++p)
        AddBlended(engine, p, std::min<std::size_t>(start[p].target, finishCount - 1));
}

} // namespace velorin
