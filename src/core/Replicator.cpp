#include "core/Replicator.h"

#include "core/ReplicatorShapes.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <numeric>

namespace velorin {
namespace {

std::string RefusedSentence(std::size_t groupIndex, std::uint64_t count) {
    char sentence[200];
    std::snprintf(sentence, sizeof sentence,
                  "Group %zu is not drawn: its %llu particles would take %.1f GB of memory.", groupIndex + 1,
                  static_cast<unsigned long long>(count),
                  static_cast<double>(count) * static_cast<double>(sizeof(Particle)) * 1e-9);
    return sentence;
}

// Particle numbers in the order of their keys; equal keys stay in the order of the particles, and keys that
// are not numbers come last.
std::vector<std::uint32_t> SortedByKey(std::span<const Particle> particles) {
    std::vector<std::uint32_t> order(particles.size());
    std::iota(order.begin(), order.end(), 0u);
    const auto before = [&](std::uint32_t a, std::uint32_t b) {
        const float ka = particles[a].animationKey, kb = particles[b].animationKey;
        return ka < kb || (ka == ka && kb != kb);
    };
    std::stable_sort(order.begin(), order.end(), before);
    return order;
}

std::uint64_t SurfaceCount(const FrameParams& params, SurfaceSampler& surfaces, std::size_t groupIndex) {
    // In single precision, where 0.7f of 1000 is 700; the exact product would lose one.
    const auto points = static_cast<float>(surfaces.CountPoints(params, groupIndex));
    const float count = points * params.groups[groupIndex].objectPercentage;
    return count > 0 ? static_cast<std::uint64_t>(std::min(count, 1e18f)) : 0;
}

} // namespace

EngineSide SideOf(const AnimationEngineParams& engine, std::size_t groupIndex) {
    if (groupIndex == engine.start()) return EngineSide::Start;
    return groupIndex == engine.finish() ? EngineSide::Finish : EngineSide::None;
}

std::array<std::uint64_t, kGroupCount> ParticleCounts(const FrameParams& params, SurfaceSampler& surfaces,
                                                      int group) {
    std::array<std::uint64_t, kGroupCount> counts{};
    for (std::size_t g = 0; g < kGroupCount; ++g) {
        const GroupParams& block = params.groups[g];
        if (!block.enabled || (group >= 0 && static_cast<std::size_t>(group) != g)) continue;
        counts[g] =
            block.shape == ReplicatorShape::Object3D ? SurfaceCount(params, surfaces, g) : ShapeCount(block);
    }
    const AnimationEngineParams& engine = params.engine;
    if (engine.enabled && engine.startGroup < kGroupCount && engine.finishGroup < kGroupCount) {
        if (engine.countFromFinish)
            counts[engine.startGroup] = counts[engine.finishGroup];
        else
            counts[engine.finishGroup] = counts[engine.startGroup];
    }
    return counts;
}

void GenerateParticles(FrameParams& params, std::size_t groupIndex, std::size_t count,
                       SurfaceSampler& surfaces, Point3 cameraPosition) {
    std::vector<Particle>& particles = params.particles[groupIndex];
    if (count == 0) {
        particles = {}; // a group that is off keeps no memory from the ones that are on
        return;
    }
    particles.resize(count);
    const GroupParams& group = params.groups[groupIndex];
    std::vector<SurfacePoint> surface;
    if (group.shape == ReplicatorShape::Object3D) surface = surfaces.Points(params, groupIndex, count);
    PlaceShape(group, surface, particles);
    RunParticlePass(params, groupIndex, cameraPosition, particles);
}

void MatchParticles(FrameParams& params) {
    const AnimationEngineParams& engine = params.engine;
    if (engine.start() >= kGroupCount || engine.finish() >= kGroupCount) return;
    std::vector<Particle>& start = params.particles[engine.start()];
    const std::vector<Particle>& finish = params.particles[engine.finish()];
    if (engine.block.type == AnimationBlock::Uniform || engine.dual.type == AnimationBlock::Uniform) {
        for (Particle& particle : start) particle.target = particle.index;
        return;
    }
    const auto startOrder = SortedByKey(start), finishOrder = SortedByKey(finish);
    const std::size_t matched = std::min(startOrder.size(), finishOrder.size());
    for (std::size_t i = 0; i < matched; ++i) start[startOrder[i]].target = finish[finishOrder[i]].index;
}

void BuildParticles(FrameParams& params, SurfaceSource& source, Point3 cameraPosition, int group,
                    std::uint64_t memory, std::string& refused) {
    refused.clear();
    if (!params.surfaces) params.surfaces = std::make_shared<SurfaceCache>();
    SurfaceSampler surfaces(*params.surfaces, source);
    const auto counts = ParticleCounts(params, surfaces, group);
    std::uint64_t room = std::min<std::uint64_t>(memory / sizeof(Particle), 0xffffffffu);
    for (std::size_t g = 0; g < kGroupCount; ++g) {
        const bool selected = group < 0 || static_cast<std::size_t>(group) == g;
        const std::uint64_t count = selected ? counts[g] : 0;
        const bool fits = count <= room;
        try {
            GenerateParticles(params, g, fits ? static_cast<std::size_t>(count) : 0, surfaces,
                              cameraPosition);
            if (fits) {
                room -= count;
                continue;
            }
        } catch (const std::bad_alloc&) {
            params.particles[g] = {};
        }
        refused += (refused.empty() ? "" : " ") + RefusedSentence(g, count);
    }
    surfaces.DropUnused();
    if (params.engine.enabled) MatchParticles(params);
}

} // namespace velorin
