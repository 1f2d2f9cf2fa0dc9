#pragma once

#include "core/FrameParams.h"
#include "services/NxMath.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// The animation engine: how far each mesh of each particle has gone from the start group to the finish group,
// and what lies between two particles.
namespace velorin {

// Keys of one side: those of particle p are keys[first[p]] to keys[first[p + 1] - 1], one for each mesh
// instance of its slots, one for a particle without any.
struct SweepKeys {
    std::vector<std::uint32_t> first;
    std::vector<float> keys;

    [[nodiscard]] std::span<const float> of(std::size_t particle) const {
        return std::span(keys).subspan(first[particle], first[particle + 1] - first[particle]);
    }
};

// What the keys of one side are made of.
struct SweepSide {
    std::span<const Particle> particles;
    std::span<const std::uint32_t> meshes; // mesh instances a particle
    // Where each mesh instance stands, particle after particle, world space before the world transform.
    // Empty: all meshes of a particle have the particle's animation key.
    std::span<const Point3> centers;
};

// `side` is 0 for start, 1 for finish; the keys come out within 0 to 1.
void MakeSweepKeys(const AnimationEngineParams& engine, std::uint32_t side, const SweepSide& input,
                   SweepKeys& keys);

// Progress of one mesh, 0 to 1, from its key and that of its counterpart. `instances` is the number of mesh
// instances in the start group.
[[nodiscard]] float MeshProgress(const AnimationEngineParams& engine, std::size_t instances, float startKey,
                                 float finishKey);

using ChannelValues = std::array<float, kAnimationChannelCount>;
[[nodiscard]] float Eased(Ease ease, float u);
[[nodiscard]] ChannelValues ChannelsAt(const AnimationEngineParams& engine, float progress);

// Position, size and rotation between two particles, each by its channel; the rest is the start particle's.
[[nodiscard]] Particle BlendParticles(const Particle& start, const Particle& finish,
                                      const ChannelValues& channels);

// The world transform of a blended particle: whole, none, or between the two when one of the groups is
// excluded.
[[nodiscard]] Matrix BlendedWorld(const WorldTransform& world, bool startExcluded, bool finishExcluded,
                                  float position);

// Between two transforms without perspective: translation, rotation and what is left of them each by its
// channel. The whole of one side at 0 or 1 of all three.
[[nodiscard]] Matrix BlendTransforms(const Matrix& start, const Matrix& finish, float position,
                                     float rotation, float scale);

// Deformers between two groups: active where either is, values linear, seeds and modes of the nearer side.
[[nodiscard]] DeformParameters BlendDeformers(const DeformParameters& start, const DeformParameters& finish,
                                              float material);

} // namespace velorin
