#pragma once

#include "core/FrameParams.h"
#include "core/Random.h"
#include "model/ModelData.h"

#include <cstdint>
#include <span>

// Which frame of a baked animation or a 3D sequence a particle shows, and what a mesh's track makes of it.
namespace velorin {

class SceneModel;

// Frame of a model, counted from 0. A model of fewer than two frames gives 0 and draws nothing; else one
// number is drawn, two with Random Loop.
[[nodiscard]] std::uint32_t BakedFrame(const SceneModel& model, const BakedParams& group, Random& random);

// Time in frames of a mesh's track for a slot's frame, within the track's first and last frame. `mesh` is the
// mesh's number in its geometry.
[[nodiscard]] float TrackTime(const MeshTrack& track, const SceneModel& model, const BakedParams& group,
                              std::uint32_t mesh);

// Position, rotation (Euler, radians) and scale of a track at a time in frames. An axis takes the value
// between its nearest keys by the mode of the nearer one (cubic Hermite over seconds, linear or stepped);
// beyond its keys the nearest one's; without keys the track's value at rest. Samples are in ascending order
// of frames.
struct TrackPose {
    Point3 position, rotation, scale{1, 1, 1};
};
[[nodiscard]] TrackPose EvaluateTrack(const MeshTrack& track, float time, float frameRate);

// What moves the mesh from its stored place, that of the track's first frame, to that of `time`; row vectors,
// in the geometry's space.
[[nodiscard]] Matrix TrackMatrix(const MeshTrack& track, float time, float frameRate);

} // namespace velorin
