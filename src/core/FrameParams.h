#pragma once

#include "core/Particle.h"
#include "model/extrusion/PathSet.h"
#include "render/DeformParameters.h"
#include "render/ImageHeader.h"
#include "services/NxMath.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

// What one frame of one instance of the effect is made of. The host layer reads the effect's rows into it at
// each time sample; BuildFrame adds the particles; SetRender turns them into draw records.
//
// Conversions at reading, unless a field says otherwise: an angle is in radians; a row that shows percent is
// times 0.01; "rounded" is the value plus 0.5, truncated; a point row is taken in comp pixels as it comes, x
// and y of the vector, with the row "Position Z" beside it as z.
namespace velorin {

class MeshBuffers;
class Scene;
struct LayerTexture;
struct RenderSettings;

inline constexpr std::size_t kGroupCount = 5;
inline constexpr std::size_t kAuxChannelCount = 10;
inline constexpr std::size_t kRigChannelCount = 30;
inline constexpr std::size_t kLayerCount = 10;
inline constexpr float kShapeUnit = 25; // comp pixels of one unit of "Shape Scale" and "Particle Size"

// Popup value minus 1.
enum class ReplicatorShape : std::uint32_t { Point, Grid3D, Plane, Sphere, Ring, Layer, Object3D, LayerGrid };
enum class ParticleOrder : std::uint32_t { Forward, Backwards, Mirror, Random };
enum class LoopMode : std::uint32_t { Loop, RandomLoop, FreezeAtEnd, Mirror };
enum class RotationOrder : std::uint32_t { XYZ, XZY, YXZ, YZX, ZXY, ZYX };
// Popup value as it is.
enum class Distribution : std::uint32_t { Automatic = 1, SetRows = 2 };
enum class Orientation : std::uint32_t { AlongSurface = 1, FaceCamera = 2, Fixed = 3 };

// The value plus 0.5, truncated; what lies below 0 gives 0, above the type's range its end, not-a-number 0.
[[nodiscard]] std::uint32_t RoundedUnsigned(float value);
// "Automatic Bias" and the like: plus 0.5, truncated towards zero.
[[nodiscard]] std::int32_t RoundedSigned(float value);
// "Particle Offset": plus 0.5, or minus 0.5 when negative, truncated.
[[nodiscard]] std::int32_t RoundedAway(float value);
// The rows "X/Y/Z Rotation" (radians): the angles negated, made into a quaternion.
[[nodiscard]] Quaternion ReadRotation(Point3 angles);
// The rows "X/Y/Z Rotation Multi": the angles negated, the axis quaternions multiplied in the order named.
[[nodiscard]] Quaternion ReadRotation(Point3 angles, RotationOrder order);

// "Multi-Object" of a group: every mesh of a model as an object of its own.
struct MultiObjectParams {
    bool enabled = false;
    float size = 1, sizeRandom = 0; // sizeRandom: times 0.01
    Quaternion rotation;            // ReadRotation(X/Y/Z Rotation Multi, Rotation Order)
    float rotationRandom = 0;       // radians
    Point3 displace;                // X/Y/Z Displace, "Displace" added to each
    float displaceRandom = 0;       // times 0.01
    Point3 scatter;                 // X/Y/Z Scatter Multi, "Scatter Multi" added to each, times 1/150
    float noiseEvolution = 0;       // radians
    Point3 noiseAmount;             // Noise Amount Multi X/Y/Z, "Noise Amount Multi" added to each
    float noiseScale = 1;
    std::uint32_t randomSeed = 5000; // rounded
};

// "Baked Animation" of a group.
struct BakedParams {
    LoopMode loopMode = LoopMode::Loop;
    // Playback Speed accumulated in frames: with time n + f frames (n whole), the sum of the row's value at
    // the whole frames 0 to n - 1 plus f times its value at n, all times 0.01.
    float playback = 0;
    float frameOffset = 0, frameOffsetRandom = 0; // as they are
    std::uint32_t randomSeed = 5000;              // rounded
};

// One aux channel of a group.
struct AuxChannel {
    Point3 position;   // in units of a normalised model
    float scale = 1;   // for all three axes
    Point3 rotation;   // radians
    float opacity = 1; // "Force Opacity", times 0.01
    Point2 uvOffset;
};

// One group, in the order of its rows.
struct GroupParams {
    bool enabled = false; // the row "Enable"; its default is on, a default-made record draws nothing
    std::uint32_t particleCount = 1;                // rounded
    float objectPercentage = 0.1f;                  // "3D Object Percentage", times 0.01
    std::uint32_t gridX = 3, gridY = 3, gridZ = 3;  // rounded
    ReplicatorShape shape = ReplicatorShape::Point; // popup minus 1
    Point3 position;                                // Position XY, Position Z
    float shapeScale = 10;
    Point3 scale{1, 1, 1};                       // X/Y/Z Scale
    Quaternion rotation;                         // ReadRotation(X/Y/Z Rotation)
    ParticleOrder order = ParticleOrder::Random; // popup minus 1
    std::uint32_t particleRepeat = 1;            // rounded
    std::int32_t particleOffset = 0;             // RoundedAway
    ImageHeader customLayer;                     // pixels of "Custom Layer", alpha first; empty: none
    std::uint32_t layers = 1;                    // rounded
    float layersOffset = 0.5f;
    float layersDistribution = 1;
    Distribution distribution = Distribution::Automatic; // popup as it is
    std::uint32_t rows = 5;                              // rounded
    std::int32_t automaticBias = 0;                      // RoundedSigned
    float surfaceOffset = 0, surfaceOffsetRandom = 0;    // Random: times 0.01
    Point3 scatter;                                      // X/Y/Z Scatter, "Scatter" added to each
    float positionNoiseEvolution = 0;                    // radians
    Point3 positionNoiseAmount;                          // Noise Amount X/Y/Z, "Noise Amount" added to each
    float positionNoiseScale = 1;
    std::uint32_t randomSeed = 5000; // "Random Seed" of Particle Replicator, rounded

    float particleSize = 10, particleSizeRandom = 0;     // Random: times 0.01
    Point3 sizeAxes{1, 1, 1};                            // X/Y/Z Size
    Orientation orientation = Orientation::AlongSurface; // popup as it is
    Quaternion particleRotation;                         // ReadRotation(X/Y/Z Rotation Particle)
    Point3 rotationRandom;            // X/Y/Z Rotation Random, "Rotation Random" added to each; radians
    Point3 rotationRandomize;         // X/Y/Z Rotation Randomize; radians
    float rotationNoiseEvolution = 0; // radians
    float rotationNoiseAmount = 0, rotationNoiseScale = 1;
    Point4 colourTint{1, 1, 1, 1}; // ReadColor
    float opacity = 1;             // "Force Opacity", times 0.01
    BakedParams baked;
    MultiObjectParams multi;
    DeformParameters deform;
    std::uint32_t lookSeed = 5000; // "Random Seed" of Particle Look, rounded

    std::array<AuxChannel, kAuxChannelCount> aux;
    // "Aircraft Rig" in percent. The channel is the row's offset minus 252: 0 Exhaust/Intake Doors (252) to
    // 17 Camera (269), 18 Turbine (270), 19 to 29 Rig Control 0 to 10. Turbine is an angle: a turn is 100
    // percent.
    std::array<float, kRigChannelCount> rig{};
    float shapeUnit = kShapeUnit;
};

// The sweep of one side of the animation engine.
struct AnimationBlock {
    enum Type : std::uint32_t { Uniform, Directional, Radial, Random, ShapeOrder };
    Type type = Directional;           // popup minus 1; of "Dual Animation Type" minus 2
    Point3 direction{1, 0, 0};         // SweepDirection(yaw, pitch)
    Point3 center;                     // Position XY, Position Z of Radial Options
    int radialMode = 1;                // 1 Outward, 2 Inward
    std::int32_t shapeOrderOffset = 0; // RoundedAway
};
// Angles in radians: (cos yaw cos pitch, sin yaw cos pitch, sin pitch).
[[nodiscard]] Point3 SweepDirection(float yaw, float pitch);

enum class Ease : std::uint32_t { Off, Ease, EaseIn, EaseOut };
enum class DeformFrom : std::uint32_t { Blend, Start, Finish };

// The seven properties that the engine sweeps, each in its own share of the time.
enum AnimationChannel : std::uint32_t {
    kPositionChannel,
    kRotationChannel,
    kScaleChannel,
    kMaterialChannel,
    kMultiPositionChannel,
    kMultiRotationChannel,
    kMultiScaleChannel,
    kAnimationChannelCount
};
struct ChannelTiming {
    float offset = 0, scale = 1; // u = (t - offset) * scale
};
// From a channel's rows in percent as shown. A duration of 0 leaves a thousandth, so that `scale` is finite.
[[nodiscard]] ChannelTiming ReadChannelTiming(float duration, float offset);

struct AnimationEngineParams {
    bool enabled = false;
    bool disconnectMulti = true;                   // "Disconnect Multi-Object"
    std::uint32_t startGroup = 0, finishGroup = 1; // popup minus 1
    bool countFromFinish = false;                  // "Particle Count From" is "Finish Group"
    DeformFrom deformFrom = DeformFrom::Blend;     // popup minus 1
    bool backwards = false;                        // "Group Direction" is "Backwards"
    float animation = 0;                           // times 0.01
    Ease ease = Ease::Ease;                        // popup minus 1
    std::uint32_t seed = 5000;                     // rounded
    float smoothness = 0.5f, randomness = 0;       // times 0.01
    AnimationBlock block;                          // "Animation Type": the start group's
    AnimationBlock dual; // "Dual Animation Type": the finish group's; a copy of `block` when Off
    std::array<ChannelTiming, kAnimationChannelCount> channels;

    // With "Backwards" the sides change places.
    [[nodiscard]] std::uint32_t start() const { return backwards ? finishGroup : startGroup; }
    [[nodiscard]] std::uint32_t finish() const { return backwards ? startGroup : finishGroup; }
};

struct WorldTransform {
    Point3 position;                         // World Position
    Point3 anchor;                           // World Anchor Point
    float scale = 1;                         // World Scale
    Quaternion rotation;                     // ReadRotation(X/Y/Z Rotation World)
    std::array<bool, kGroupCount> exclude{}; // Exclude Groups

    // Moves by -anchor, scales, turns, moves by anchor + position; row vectors.
    [[nodiscard]] Matrix matrix() const;
};

// What places a geometry in its model's space: PreparedMesh has the meanings.
struct GeometryFacts {
    float size = 0;
    Point3 center, boundsMin, boundsMax;
};

// A point of a geometry's surface.
struct SurfacePoint {
    Point3 position, normal;
    std::uint32_t mesh = 0; // of the geometry
    friend bool operator==(const SurfacePoint&, const SurfacePoint&) = default;
};

struct SurfaceGeometry {
    std::vector<SurfacePoint> points; // in the geometry's space
    GeometryFacts facts;
    bool used = false; // in the frame at hand
};

// Surface points of geometries, kept over frames and shared by the instances that show one scene. The key
// names the geometry and the state of its file (SurfaceSource::SurfaceKey), so that a changed scene finds its
// own; when many have gathered, those that a frame does not use are dropped.
struct SurfaceCache {
    std::unordered_map<std::string, SurfaceGeometry> geometries;
};

struct FrameParams {
    std::array<GroupParams, kGroupCount> groups;
    AnimationEngineParams engine;
    WorldTransform world;

    Scene* scene = nullptr;             // borrowed; its models and materials are read during the frame
    RenderSettings* settings = nullptr; // borrowed; of the frame; SetRender sets its environment's channel
    std::array<const LayerTexture*, kLayerCount> layers{}; // "Custom Layer 1" to 10, borrowed; null: none
    PathLayers pathLayers;                  // outlines of "Path Layer 1" to 15 at the sample's time
    std::shared_ptr<SurfaceCache> surfaces; // made by BuildFrame when empty; keep it over frames

    // Geometry that this instance holds, one use count each in the core's cache; null entries are free. Keep
    // it over frames; Velorin::ReleaseModels gives it back.
    std::vector<MeshBuffers*> loadedModels;

    // Filled by BuildFrame.
    std::array<std::vector<Particle>, kGroupCount> particles;
};

} // namespace velorin
