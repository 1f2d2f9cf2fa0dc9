#pragma once

#include "core/FrameParams.h"
#include "core/Random.h"
#include "core/SurfaceSampler.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

// From a group's parameters to its particles. Nothing is kept between frames: the same parameters give the
// same bytes.
namespace velorin {

// The rotation that turns (0, 0, 1) to `direction`, with the side axis Y x direction; the identity where the
// direction or the side axis vanishes. `direction` is unit or zero.
[[nodiscard]] Quaternion LookRotation(Point3 direction);

// Which side of the animation engine a group is: a group that is both counts as start.
enum class EngineSide { None, Start, Finish };
[[nodiscard]] EngineSide SideOf(const AnimationEngineParams& engine, std::size_t groupIndex);

// Particles of every group: those of disabled groups and of all but `group` (when not negative) are 0; with
// the animation engine the counts of its two groups are equal.
[[nodiscard]] std::array<std::uint64_t, kGroupCount> ParticleCounts(const FrameParams& params,
                                                                    SurfaceSampler& surfaces, int group);

// Size, position and rotation of particles that PlaceShape has placed, then what follows it: animation keys,
// scatter, surface offset and the noises.
void RunParticlePass(const FrameParams& params, std::size_t groupIndex, Point3 cameraPosition,
                     std::span<Particle> particles);

// The animation keys of `count` particles, given in pieces in their order, by a block; seeded as block number
// `side` (0 start, 1 finish) of the engine.
class KeyStage {
public:
    KeyStage(const AnimationBlock& block, std::uint32_t seed, std::uint32_t side, std::size_t count);
    void Run(std::span<Particle> particles);

private:
    const AnimationBlock& block_;
    Random random_;
    std::int64_t count_, next_ = 0;
};

// One group: `count` particles in params.particles[groupIndex].
void GenerateParticles(FrameParams& params, std::size_t groupIndex, std::size_t count,
                       SurfaceSampler& surfaces, Point3 cameraPosition);

// Sets `target` of the engine's start particles.
void MatchParticles(FrameParams& params);

// All groups, or one when `group` is not negative. `memory` is how many bytes the particles of all groups may
// take together; a group that would take more than the groups before it leave gets none, and `refused` a
// sentence that says how much it would take.
void BuildParticles(FrameParams& params, SurfaceSource& source, Point3 cameraPosition, int group,
                    std::uint64_t memory, std::string& refused);

} // namespace velorin
