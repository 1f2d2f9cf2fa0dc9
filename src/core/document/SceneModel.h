#pragma once

#include "core/document/BevelSettings.h"
#include "core/document/Primitives.h"
#include "core/document/Retained.h"
#include "services/ByteReader.h"
#include "services/NxMath.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velorin {

class AssetContext;
class ChunkFile;
class MaterialPlaces;
class Scene;
class SceneMaterial;
class SceneModel;

inline constexpr std::size_t kGroups = 5; // output groups
inline constexpr std::size_t kBevels = 5; // shells of an extrusion

// Where a model's geometry comes from.
enum class ModelType : std::uint32_t {
    Default = 0,       // the built-in model; scratch models, never stored
    File = 1,          // from the library, or read from a document
    ImportedFile = 2,  // imported by the user
    Extrusion = 3,     // of the host's masks or text
    LayerPlane = 4,    // four vertices
    Sequence = 5,      // a numbered series of files, one a frame
    Primitive = 6,     // parametric
    PathExtrusion = 7, // of paths stored in the model, or of a vector file
    Folder = 8,        // group folder, no geometry
};
[[nodiscard]] constexpr bool IsExtrusion(ModelType type) {
    return type == ModelType::Extrusion || type == ModelType::PathExtrusion;
}

enum class TextureMapping : std::uint32_t {
    UV = 0,
    Sphere = 1,
    Box = 2,
    BoxPreserveAspect = 3,
    PlaneXY = 4,
    PlaneYZ = 5,
    PlaneXZ = 6,
    Polygon = 7,
    BoxRepeatPreserveAspect = 8,
    BoxRepeat = 9,
    CylinderX = 10,
    CylinderY = 11,
    CylinderZ = 12,
};
enum class NormalMode : std::uint32_t { FromModel = 0, Auto = 1, Dynamic = 2 };
enum class EdgeMode : std::uint32_t {
    Disconnected = 0,
    Connected = 1,
    Old = 2
}; // Old: seen in old documents
enum class Alignment : std::uint32_t { ModelCenter, FromModel, Top, Bottom, Front, Back, Left, Right };
enum class ReflectMode : std::uint32_t { Default = 0, MirrorSurface = 1, Spherical = 2, Environment = 3 };
enum class MeshReflectMode : std::uint32_t { Environment = 0, Default = 3 };
enum class MirrorClip : std::uint32_t { Off = 0, AbovePlane = 1, BelowPlane = 2 };
enum class MeshOverride : std::uint32_t { Inherit = 0, On = 1, Off = 2 };
enum class OffsetMode : std::uint32_t { Absolute = 0, Relative = 1 };
enum class SeparationMode : std::uint32_t { ByBoundingBox = 0, ByGeometry = 1 };
enum class PathResolution : std::uint32_t { Low = 0, Normal = 1, High = 2, Ultra = 3, Extreme = 4 };

// What shapes a mesh after its source was read: part of the identity of the built mesh, so it can be copied
// and compared as one block.
struct ImportOptions {
    TextureMapping textureMapping = TextureMapping::UV; // BoxPreserveAspect for a new extrusion
    float normalThreshold = 35;                         // degrees, 0 to 180
    bool invertNormals = false;
    NormalMode normalMode = NormalMode::FromModel;
    std::array<bool, 3> flip{};     // x, y, z
    std::array<bool, 3> symmetry{}; // x, y, z; of a folder
    std::uint32_t subdivision = 0;  // 0 to 6
    EdgeMode edgeMode = EdgeMode::Disconnected;
    bool optimizeMesh = false;
    friend bool operator==(const ImportOptions&, const ImportOptions&) = default;
};

// Settings of an extrusion, one block for the same reason.
struct ExtrusionOptions {
    std::uint32_t bevelCopies = 0; // shells minus 1, 0 to 4
    OffsetMode offsetMode = OffsetMode::Absolute;
    bool separateObjects = true;
    SeparationMode separationMode = SeparationMode::ByGeometry;
    float bevelScale = 3; // 0 to 100
    float pathExpand = 0; // -100 to 100
    PathResolution pathResolution = PathResolution::High;
    float spikeFilter = 0.5f; // 0 to 1
    bool autoPresetScale = false;
    bool autoPathOrientation = true;
    bool reversePathWinding = false;
    bool fixHoles = true;
    bool realWorldScale = false;
    std::uint32_t depthSegments = 0; // 0 to 1000
    std::array<BevelSettings, kBevels> bevels{};
    friend bool operator==(const ExtrusionOptions&, const ExtrusionOptions&) = default;
};

// A vertex of a cubic path; the tangents are relative to the position.
struct PathPoint {
    Point2 position;
    Point2 tangentIn;
    Point2 tangentOut;
    friend bool operator==(const PathPoint&, const PathPoint&) = default;
};

// Which material a mesh takes, by position in the geometry's material slots.
struct MaterialBinding {
    SceneMaterial* material = nullptr; // borrowed from the scene's list; null: the default material
    std::uint32_t index = 0;           // position in the scene's list when it was read
    bool enabled = true;
    friend bool operator==(const MaterialBinding&, const MaterialBinding&) = default;
};

// Settings of one mesh of a model's geometry as plain values. Positions in the host's frame (x right, y
// down), orientation in degrees.
struct MeshSettings {
    std::string name;
    std::string materialName;  // not stored
    std::uint8_t meshFlag = 0; // stored, without a control
    bool expanded = false;
    std::vector<std::uint32_t> parts; // indices of the geometry's parts that make up this mesh
    Point3 position;
    Point3 orientation;
    Point3 scale{1, 1, 1};
    Point3 anchor;
    bool scaleLinked = true;
    std::uint32_t auxChannel = 0; // 0 none, 1 to 10 a channel of the group
    float auxRatio = 1;
    MeshOverride deformation = MeshOverride::Inherit;
    MeshOverride multiObject = MeshOverride::Inherit;
    MeshReflectMode reflectMode = MeshReflectMode::Default;
    friend bool operator==(const MeshSettings&, const MeshSettings&) = default;
};

class SceneMesh : public Retained, public MeshSettings {
public:
    SceneMesh();
    SceneMesh(const SceneMesh& other); // a copy gets a new uniqueId
    SceneMesh& operator=(const SceneMesh&) = delete;

    std::uint64_t uniqueId; // of this process, not stored
    SceneModel* owner = nullptr;

    // The mesh's own transform, as SceneModel::LocalMatrix has it, without a parent.
    [[nodiscard]] Matrix LocalMatrix() const;
};

// Settings of a model or folder as plain values. Transforms are in the host's frame (x right, y down, z
// away), orientation in degrees.
struct ModelSettings : ImportOptions, ExtrusionOptions {
    std::uint32_t depth = 0; // 0 at the top level, the parent's plus one below
    std::string path;        // the file of the geometry, or a marker of a generated kind
    std::string name;
    bool hasRig = false;            // copied from the loaded geometry
    bool hasBakedAnimation = false; // copied from the loaded geometry
    bool enableDeformation = true;
    bool enableMultiObject = true;
    std::vector<bool> meshVisible; // a mesh behind the end is shown
    bool enabled = true;
    std::vector<MaterialBinding> bindings;
    bool expanded = false;
    std::array<bool, kGroups> groups{true, false, false, false, false};
    bool normalizeSize = false;
    bool replicatorSource = false; // not drawn: a surface for the 3D Object shape of its groups
    std::uint32_t customPath = 0;  // 0 to 9, the Custom Path that feeds an extrusion
    Alignment alignment = Alignment::ModelCenter; // FromModel for a new primitive
    Point3 position;
    Point3 orientation;
    Point3 scale{1, 1, 1};
    Point3 anchor;
    Point2 uvOffset{0, 0};
    Point2 uvRepeat{1, 1};
    bool scaleLinked = true;
    std::uint32_t auxChannel = 0; // 0 none, 1 to 10 a channel of the group
    float auxRatio = 1;
    ReflectMode reflectMode = ReflectMode::Default;
    MirrorClip mirrorClip = MirrorClip::Off;
    bool disableEnvironment = false;
    bool renderSelf = false;
    Point3 reflectOffset;
    Point2 reflectRotation;       // degrees
    bool noMaterials = false;     // import without materials; not stored
    std::uint32_t frameCount = 1; // of the baked animation or sequence
    float startFrame = 1, endFrame = 1, frameOffset = 0, playbackSpeed = 1;
    std::vector<std::vector<PathPoint>> storedPaths; // contours; of a PathExtrusion
    float storedPathScale = 1;
    bool storedPathClosed = true;
    PrimitiveKind primitive = PrimitiveKind::Box;
    PrimitiveParameters primitiveParameters;
    friend bool operator==(const ModelSettings&, const ModelSettings&) = default;
};

// One entry of the scene's tree: a model or a folder of models.
class SceneModel : public Retained, public ModelSettings {
public:
    // With the defaults of its type.
    explicit SceneModel(ModelType type = ModelType::File, AssetContext* context = nullptr);
    // Deep: the children and meshes are copied, the children's parent is the copy. The copy itself has no
    // parent. Bindings point at the same materials.
    SceneModel(const SceneModel& other);
    SceneModel& operator=(const SceneModel&) = delete;
    ~SceneModel() override;

    ModelType type;
    SceneModel* parent = nullptr; // the folder that holds this model; borrowed
    std::vector<Ref<SceneModel>> children;
    std::vector<Ref<SceneMesh>> meshes;
    std::uint32_t currentBevel = 0; // read cursor of the bevel tags
    std::uint32_t uniqueId;         // of this process, not stored
    AssetContext* context;
    bool needsLoad = true; // set by every read and by a copy; cleared by who has fetched the geometry

    // Model space to world through all folders: T(-a) S R T(a + p) with y of anchor a and position p negated.
    [[nodiscard]] Matrix LocalMatrix() const;
    // Enabled, and all its folders are.
    [[nodiscard]] bool IsVisible() const;
    // Whether `other` is this model or lies somewhere below it.
    [[nodiscard]] bool Contains(const SceneModel& other) const;

    // Moves `child` out of its place (a folder, or the top level of `scene`, which may be null) to position
    // `index` of this folder, -1 for the end. With `keepWorld` its position, orientation and scale are made
    // such that its LocalMatrix stays; a shear that they cannot express is lost. False, with nothing changed,
    // when the child is this folder or holds it.
    bool Attach(SceneModel& child, Scene* scene, bool keepWorld, int index = -1);
    // Position, orientation and scale such that LocalMatrix becomes `world`, as far as they can.
    void SetLocalMatrix(const Matrix& world);

    // One tag. True when it is a model tag. `version` is that of the document, 1 to 4 (0 for an unknown one).
    // A payload that is too short is padded with zeros.
    bool ReadChunk(std::uint32_t tag, Bytes payload, std::uint32_t version);
    // All tags of this model in their order, without its children. Bindings are stored as the places of
    // their materials; 0 when `places` is null or does not hold the material.
    void WriteChunks(ChunkFile& file, const MaterialPlaces* places) const;
};

} // namespace velorin
