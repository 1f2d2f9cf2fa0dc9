#pragma once

#include "services/LargePages.h"
#include "services/NxMath.h"

#include <array>
#include <cstdint>
#include <list>
#include <string>
#include <unordered_map>
#include <vector>

// Geometry in memory: what every file reader and generator fills in and what PrepareMesh turns into the
// arrays that the renderer uploads. Plain values; move them rather than copy them.
namespace velorin {

// The record of the vertex buffer: 12 floats, attributes at bytes 0, 12, 20 and 32.
struct ModelVertex {
    Point3 position;
    Point2 texCoord; // v is 0 at the top row of the picture
    Point3 normal;   // unit, or zero where the source has none
    Point4 tangent;  // xyz along growing u, unit; w is +1 or -1, the side of the bitangent
    friend bool operator==(const ModelVertex&, const ModelVertex&) = default;
};
static_assert(sizeof(ModelVertex) == 48);
using ModelVertices = LargeArray<ModelVertex>;

// Three positions in ModelData::vertices. (b - a) x (c - a) points out of the solid: seen from outside, the
// corners run counter-clockwise in world space (x right, y down, z away, right-handed).
using Triangle = std::array<std::uint32_t, 3>;
using ModelTriangles = LargeArray<Triangle>;

// One key of a layer's track; keys stand one a frame from the layer's start frame on.
struct LayerKey {
    Quaternion quaternion;
    Point3 position; // in units of the vertices
    friend bool operator==(const LayerKey&, const LayerKey&) = default;
};

using LayerKeys = LargeArray<LayerKey>;

// A named piece of skeleton animation: for each joint's name the keys of its track.
struct AnimationLayer {
    std::string name;
    std::uint32_t frameRate = 0, startFrame = 0, endFrame = 0;
    std::unordered_map<std::string, LayerKeys> tracks;
};

struct ModelJoint {
    std::string name, parentName;
    Matrix matrix; // translation in units of the vertices
};

// How a channel of a mesh track runs between its samples, by axis: 1 cubic Hermite, 2 linear, else stepped.
struct TrackChannel {
    std::array<float, 3> mode{};
    float reserved = 0;
    struct Tangent {
        float valueLeft = 0, valueRight = 0, timeLeft = 0, timeRight = 0;
    };
    std::array<Tangent, 3> tangent;
};
static_assert(sizeof(TrackChannel) == 64);

struct TrackSample {
    std::uint32_t frame = 0;
    Quaternion quaternion;
    Point3 position, scale, rotation;
    // Position, rotation, scale, in this order; by axis: non-zero when this sample is a key of the axis.
    std::array<std::array<std::uint8_t, 3>, 3> hasKey{};
    std::array<std::uint8_t, 3> padding{}; // absent from stored samples
    std::array<TrackChannel, 3> channels;  // position, rotation, scale
};
static_assert(sizeof(TrackSample) == 260);

struct MeshTrack {
    std::vector<TrackSample> samples;
    Point3 position, scale, rotation; // at rest
    std::uint32_t rotationOrder =
        0; // 6: the rotation is rebuilt through a conversion; else Euler as it stands
};

struct ModelGroup {
    std::uint32_t materialIndex = 0; // into ModelData::materials
    bool useLayerAsUV = false;       // the texture coordinates stay whatever mapping is chosen
    ModelTriangles triangles;
};

struct ModelMesh {
    std::string name;
    std::vector<ModelGroup> groups;
    Point3 center, boundsMax, boundsMin; // in normalised units
    std::vector<MeshTrack> tracks;
};

// Slots of ModelMaterial::maps.
enum class MapSlot : std::uint8_t {
    Diffuse,
    Specular,
    Occlusion,
    Refraction,
    Normal,
    Environment,
    Reflection
};
inline constexpr std::size_t kMapSlotCount = 7;

struct ModelMap {
    float mmBase = 1, mmGain = 0;
    Point2 offset{0, 0}, scale{1, 1}; // of the texture coordinates
    std::string path;                 // joined to the model's folder; empty: no map
};

// Numbered as the slots of FileMaterial, which have the meanings.
struct ModelMaterial {
    std::string name;
    Point3 colour1{1, 1, 1}; // diffuse
    Point3 colour2{1, 1, 1}; // specular
    Point3 colour3{1, 1, 1}; // emissive
    Point3 colour4{1, 1, 1}; // reflection
    Point3 colour5{1, 1, 1}; // transparency
    float value6 = 1;        // diffuse brightness
    float value7 = 0;        // specular exponent
    float value8 = 1, value9 = 0, value10 = 0, value11 = 0;
    float value12 = 1; // opacity
    float value13 = 0.5f;
    std::array<ModelMap, kMapSlotCount> maps;
};

struct ModelData {
    ModelVertices vertices;
    std::vector<ModelMesh> meshes;
    std::vector<ModelMaterial> materials;
    float size = 0;                      // half of the largest extent before normalisation
    Point3 center, boundsMax, boundsMin; // in normalised units; `center` is the source's offset
    bool hasLayers = false;              // `layers` and `joints` are in use
    bool hasMeshTracks = false;          // the meshes' tracks are in use
    std::vector<AnimationLayer> layers;
    std::list<ModelJoint> joints;
    Point3 sourceOffset;
};

// Triangles of all groups of all meshes.
[[nodiscard]] std::size_t TriangleCount(const ModelData& model);

} // namespace velorin
