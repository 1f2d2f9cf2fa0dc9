#include "core/document/FieldRows.h"
#include "core/document/SceneModel.h"

#include <cmath>

namespace velorin {

namespace {

constexpr FieldLabel kModelTypes[] = {{0, "Default Model"}, {1, "3D Object"},      {2, "Imported 3D Object"},
                                      {3, "Extrusion"},     {4, "Layer Plane"},    {5, "3D Sequence"},
                                      {6, "Primitive"},     {7, "Path Extrusion"}, {8, "Group Folder"}};
constexpr FieldLabel kPrimitives[] = {{1, "Box"},   {2, "Sphere"}, {3, "Cylinder"}, {4, "Tube"},
                                      {5, "Torus"}, {6, "Cone"},   {7, "Plane"},    {8, "Capsule"},
                                      {10, "Star"}, {11, "Gear"}};
constexpr FieldLabel kReflectModes[] = {
    {0, "Default"}, {3, "Environment"}, {1, "Mirror Surface"}, {2, "Spherical"}};
constexpr FieldLabel kMeshReflectModes[] = {{3, "Default"}, {0, "Environment"}};
constexpr FieldLabel kMirrorClips[] = {{0, "Off"}, {1, "Above Plane"}, {2, "Below Plane"}};
constexpr FieldLabel kAlignments[] = {{0, "Model Center"}, {1, "From Model"}, {2, "Top"},  {3, "Bottom"},
                                      {4, "Front"},        {5, "Back"},       {6, "Left"}, {7, "Right"}};
constexpr FieldLabel kTextureMappings[] = {{0, "UV"},
                                           {3, "Box (Preserve Aspect)"},
                                           {2, "Box"},
                                           {8, "Box Repeat (Preserve Aspect)"},
                                           {9, "Box Repeat"},
                                           {1, "Sphere"},
                                           {10, "Cylinder X Oriented"},
                                           {11, "Cylinder Y Oriented"},
                                           {12, "Cylinder Z Oriented"},
                                           {4, "Plane XY"},
                                           {5, "Plane YZ"},
                                           {6, "Plane XZ"},
                                           {7, "Polygon"}};
constexpr FieldLabel kNormalModes[] = {{0, "From Model"}, {1, "Auto Normals"}, {2, "Dynamic (Deform)"}};
constexpr FieldLabel kEdgeModes[] = {{0, "Disconnected"}, {1, "Connected"}};
constexpr FieldLabel kOffsetModes[] = {{0, "Absolute"}, {1, "Relative"}};
constexpr FieldLabel kSeparationModes[] = {{0, "By Bounding Box"}, {1, "By Geometry (Slow)"}};
constexpr FieldLabel kPathResolutions[] = {
    {0, "Low"}, {1, "Normal"}, {2, "High"}, {3, "Ultra"}, {4, "Extreme"}};
constexpr FieldLabel kBevelCopies[] = {{0, "1"}, {1, "2"}, {2, "3"}, {3, "4"}, {4, "5"}};
constexpr FieldLabel kOverrides[] = {{0, "Inherit"}, {1, "On"}, {2, "Off"}};
constexpr FieldLabel kAuxChannels[] = {{0, "None"},      {1, "Channel 1"},  {2, "Channel 2"},
                                       {3, "Channel 3"}, {4, "Channel 4"},  {5, "Channel 5"},
                                       {6, "Channel 6"}, {7, "Channel 7"},  {8, "Channel 8"},
                                       {9, "Channel 9"}, {10, "Channel 10"}};

SceneModel& Model(void* record) {
    return *static_cast<SceneModel*>(record);
}

Point3 TakePoint3(PayloadReader& payload) {
    Point3 point;
    point.x = payload.Take<float>();
    point.y = payload.Take<float>();
    point.z = payload.Take<float>();
    return point;
}

// Up to version 2 one factor for all axes.
void ReadScale(void* record, PayloadReader payload, std::uint32_t version) {
    if (version > 2) {
        Model(record).scale = TakePoint3(payload);
    } else {
        const float factor = payload.Take<float>();
        Model(record).scale = {factor, factor, factor};
    }
}

// Up to version 2 an anchor in scaled units, which becomes an offset of the position.
void ReadAnchor(void* record, PayloadReader payload, std::uint32_t version) {
    SceneModel& model = Model(record);
    const Point3 stored = TakePoint3(payload);
    if (version > 2) {
        model.anchor = stored;
        return;
    }
    const auto offset = [](float scale, float anchor) {
        const float value = -scale * anchor;
        return std::fabs(value) < 0.001f ? 0.0f : value;
    };
    model.anchor = {};
    model.position = {offset(model.scale.x, stored.x), offset(model.scale.y, stored.y),
                      offset(model.scale.z, stored.z)};
}

// Up to version 3 a flag for automatic normals.
void ReadNormalMode(void* record, PayloadReader payload, std::uint32_t version) {
    SceneModel& model = Model(record);
    if (version > 3)
        model.normalMode = static_cast<NormalMode>(payload.Take<std::uint32_t>());
    else if (payload.Take<std::uint8_t>() == 1 && model.normalMode == NormalMode::FromModel)
        model.normalMode = NormalMode::Auto;
}

void ReadOldDynamicNormals(void* record, PayloadReader payload, std::uint32_t version) {
    if (version <= 3 && payload.Take<std::uint8_t>() == 1) Model(record).normalMode = NormalMode::Dynamic;
}

void ReadEdgeMode(void* record, PayloadReader payload, std::uint32_t) {
    const auto mode = payload.Take<std::uint32_t>();
    Model(record).edgeMode = mode >= 3 ? EdgeMode::Disconnected : static_cast<EdgeMode>(mode);
}

// Two values in 8 bytes; any other length holds one value for both.
void ReadPlaneSegments(void* record, PayloadReader payload, std::uint32_t) {
    const bool pair = payload.length() == 8;
    const float x = payload.Take<float>();
    Model(record).primitiveParameters.plane.segments = {x, pair ? payload.Take<float>() : x};
}

template <auto Member>
consteval Field M(std::uint16_t tag, const char* name, std::span<const FieldLabel> labels = {},
                  FieldReader read = nullptr, FieldUse use = FieldUse::Always) {
    return Row<SceneModel, Member>(tag, name, use, labels, read);
}

// Of extrusions only.
template <auto Member>
consteval Field X(std::uint16_t tag, const char* name, std::span<const FieldLabel> labels = {}) {
    return Row<SceneModel, Member>(tag, name, FieldUse::Extrusion, labels);
}

consteval Field AsNumber(Field field) {
    field.printNumber = true;
    return field;
}

consteval Field As(FieldKind kind, Field field) {
    field.kind = kind;
    return field;
}

// A member of one kind's block of parameters.
template <auto Block, auto Member>
void* BlockMemberAt(void* record) {
    return &((static_cast<SceneModel*>(record)->primitiveParameters.*Block).*Member);
}
template <auto Block, auto Member>
consteval Field P(PrimitiveKind kind, std::uint16_t tag, const char* name, FieldReader read = nullptr) {
    using BlockType = MemberType<PrimitiveParameters, Block>;
    return {tag,
            name,
            KindOf<MemberType<BlockType, Member>>(),
            &BlockMemberAt<Block, Member>,
            FieldUse::PrimitiveBlock,
            {},
            read,
            kind};
}

template <auto Member>
consteval Field Box(std::uint16_t tag, const char* name) {
    return P<&PrimitiveParameters::box, Member>(PrimitiveKind::Box, tag, name);
}
template <auto Member>
consteval Field Sphere(std::uint16_t tag, const char* name) {
    return P<&PrimitiveParameters::sphere, Member>(PrimitiveKind::Sphere, tag, name);
}
template <auto Member>
consteval Field Cylinder(std::uint16_t tag, const char* name) {
    return P<&PrimitiveParameters::cylinder, Member>(PrimitiveKind::Cylinder, tag, name);
}
template <auto Member>
consteval Field Tube(std::uint16_t tag, const char* name) {
    return P<&PrimitiveParameters::tube, Member>(PrimitiveKind::Tube, tag, name);
}
template <auto Member>
consteval Field Torus(std::uint16_t tag, const char* name) {
    return P<&PrimitiveParameters::torus, Member>(PrimitiveKind::Torus, tag, name);
}
template <auto Member>
consteval Field Cone(std::uint16_t tag, const char* name) {
    return P<&PrimitiveParameters::cone, Member>(PrimitiveKind::Cone, tag, name);
}
template <auto Member>
consteval Field Plane(std::uint16_t tag, const char* name, FieldReader read = nullptr) {
    return P<&PrimitiveParameters::plane, Member>(PrimitiveKind::Plane, tag, name, read);
}
template <auto Member>
consteval Field Capsule(std::uint16_t tag, const char* name) {
    return P<&PrimitiveParameters::capsule, Member>(PrimitiveKind::Capsule, tag, name);
}
template <auto Member>
consteval Field Star(std::uint16_t tag, const char* name) {
    return P<&PrimitiveParameters::star, Member>(PrimitiveKind::Star, tag, name);
}
template <auto Member>
consteval Field Gear(std::uint16_t tag, const char* name) {
    return P<&PrimitiveParameters::gear, Member>(PrimitiveKind::Gear, tag, name);
}

using S = SceneModel;

// In the order of writing.
constexpr auto kModelRows = std::to_array<Field>({
    M<&S::path>(101, "path"),
    M<&S::name>(102, "name"),
    AsNumber(M<&S::type>(103, "type", kModelTypes)),
    M<&S::frameCount>(104, "frameCount"),
    M<&S::startFrame>(105, "startFrame"),
    M<&S::endFrame>(106, "endFrame"),
    M<&S::frameOffset>(107, "frameOffset"),
    M<&S::playbackSpeed>(108, "playbackSpeed"),
    M<&S::hasRig>(109, "hasRig"),
    M<&S::hasBakedAnimation>(115, "hasBakedAnimation"),
    M<&S::reflectMode>(116, "reflectMode", kReflectModes),
    M<&S::disableEnvironment>(117, "disableEnvironment"),
    M<&S::renderSelf>(118, "renderSelf"),
    M<&S::reflectOffset>(119, "reflectOffset"),
    M<&S::mirrorClip>(192, "mirrorClip", kMirrorClips),
    M<&S::reflectRotation>(320, "reflectRotation"),
    M<&S::expanded>(121, "expanded"),
    M<&S::normalizeSize>(122, "normalizeSize"),
    M<&S::alignment>(123, "alignment", kAlignments),
    M<&S::scale>(124, "scale", {}, &ReadScale),
    M<&S::customPath>(125, "customPath"),
    As(FieldKind::Bool32, M<&S::replicatorSource>(126, "replicatorSource")),
    M<&S::textureMapping>(127, "textureMapping", kTextureMappings),
    M<&S::normalMode>(128, "normalMode", kNormalModes, &ReadNormalMode),
    M<&S::invertNormals>(129, "invertNormals"),
    M<&S::uvOffset>(140, "uvOffset"),
    M<&S::uvRepeat>(140, "uvRepeat"),
    M<&S::orientation>(141, "orientation"),
    M<&S::anchor>(142, "anchor", {}, &ReadAnchor),
    AsNumber(M<&S::auxChannel>(143, "auxChannel", kAuxChannels)),
    M<&S::auxRatio>(144, "auxRatio"),
    M<&S::position>(157, "position"),
    M<&S::normalThreshold>(150, "normalThreshold"),
    M<&S::flip>(151, "flip"),
    M<&S::subdivision>(153, "subdivision"),
    OldRow(158, &ReadOldDynamicNormals),
    M<&S::edgeMode>(159, "edgeMode", kEdgeModes, &ReadEdgeMode),
    M<&S::optimizeMesh>(156, "optimizeMesh"),
    M<&S::enableDeformation>(193, "enableDeformation"),
    M<&S::enableMultiObject>(194, "enableMultiObject"),
    M<&S::symmetry>(195, "symmetry"),
    X<&S::offsetMode>(131, "offsetMode", kOffsetModes),
    X<&S::separateObjects>(132, "separateObjects"),
    X<&S::bevelScale>(133, "bevelScale"),
    X<&S::pathExpand>(134, "pathExpand"),
    X<&S::pathResolution>(135, "pathResolution", kPathResolutions),
    AsNumber(X<&S::bevelCopies>(136, "bevelCopies", kBevelCopies)),
    X<&S::autoPathOrientation>(137, "autoPathOrientation"),
    X<&S::autoPresetScale>(138, "autoPresetScale"),
    X<&S::reversePathWinding>(139, "reversePathWinding"),
    X<&S::fixHoles>(180, "fixHoles"),
    X<&S::separationMode>(181, "separationMode", kSeparationModes),
    X<&S::spikeFilter>(182, "spikeFilter"),
    X<&S::depthSegments>(183, "depthSegments"),
    X<&S::realWorldScale>(184, "realWorldScale"),
    ListRow<S, &S::bevels>(160, "bevels", FieldKind::Bevels, FieldUse::Extrusion),
    M<&S::storedPathClosed>(350, "storedPathClosed", {}, nullptr, FieldUse::PathExtrusion),
    M<&S::storedPathScale>(351, "storedPathScale", {}, nullptr, FieldUse::PathExtrusion),
    ListRow<S, &S::storedPaths>(352, "storedPaths", FieldKind::StoredPaths, FieldUse::PathExtrusion),
    M<&S::primitive>(210, "primitive", kPrimitives, nullptr, FieldUse::PrimitiveType),
    Box<&BoxParameters::size>(211, "size"),
    Box<&BoxParameters::chamfer>(230, "chamfer"),
    Box<&BoxParameters::chamferSegments>(231, "chamferSegments"),
    Box<&BoxParameters::noSmoothing>(232, "noSmoothing"),
    Box<&BoxParameters::sizeSegments>(241, "sizeSegments"),
    Sphere<&SphereParameters::segments>(227, "segments"),
    Sphere<&SphereParameters::diameter>(228, "diameter"),
    Sphere<&SphereParameters::noSmoothing>(229, "noSmoothing"),
    Cylinder<&CylinderParameters::sides>(215, "sides"),
    Cylinder<&CylinderParameters::height>(216, "height"),
    Cylinder<&CylinderParameters::radius>(261, "radius"),
    Cylinder<&CylinderParameters::noSmoothing>(217, "noSmoothing"),
    Cylinder<&CylinderParameters::heightSegments>(235, "heightSegments"),
    Cylinder<&CylinderParameters::capSegments>(236, "capSegments"),
    Cylinder<&CylinderParameters::taper>(262, "taper"),
    Cylinder<&CylinderParameters::chamfer>(265, "chamfer"),
    Cylinder<&CylinderParameters::chamferSegments>(266, "chamferSegments"),
    Tube<&TubeParameters::sides>(218, "sides"),
    Tube<&TubeParameters::internalRadius>(219, "internalRadius"),
    Tube<&TubeParameters::height>(220, "height"),
    Tube<&TubeParameters::radius>(242, "radius"),
    Tube<&TubeParameters::noSmoothing>(221, "noSmoothing"),
    Tube<&TubeParameters::heightSegments>(237, "heightSegments"),
    Tube<&TubeParameters::capSegments>(238, "capSegments"),
    Tube<&TubeParameters::chamferSegments>(263, "chamferSegments"),
    Tube<&TubeParameters::chamfer>(243, "chamfer"),
    Torus<&TorusParameters::ringSegments>(222, "ringSegments"),
    Torus<&TorusParameters::ringSides>(223, "ringSides"),
    Torus<&TorusParameters::ringRadius1>(224, "ringRadius1"),
    Torus<&TorusParameters::ringRadius2>(225, "ringRadius2"),
    Torus<&TorusParameters::noSmoothing>(226, "noSmoothing"),
    Torus<&TorusParameters::twists>(291, "twists"),
    Cone<&ConeParameters::sides>(212, "sides"),
    Cone<&ConeParameters::height>(213, "height"),
    Cone<&ConeParameters::noSmoothing>(214, "noSmoothing"),
    Cone<&ConeParameters::heightSegments>(239, "heightSegments"),
    Cone<&ConeParameters::capSegments>(240, "capSegments"),
    Cone<&ConeParameters::radius>(264, "radius"),
    Plane<&PlaneParameters::segments>(233, "segments", &ReadPlaneSegments),
    Plane<&PlaneParameters::size>(234, "size"),
    Plane<&PlaneParameters::twoSided>(292, "twoSided"),
    Capsule<&CapsuleParameters::sides>(244, "sides"),
    Capsule<&CapsuleParameters::height>(245, "height"),
    Capsule<&CapsuleParameters::radius>(246, "radius"),
    Capsule<&CapsuleParameters::noSmoothing>(247, "noSmoothing"),
    Capsule<&CapsuleParameters::heightSegments>(248, "heightSegments"),
    Capsule<&CapsuleParameters::capSegments>(249, "capSegments"),
    Capsule<&CapsuleParameters::capRoundness>(260, "capRoundness"),
    Star<&StarParameters::bevelDepth>(267, "bevelDepth"),
    Star<&StarParameters::extrude>(268, "extrude"),
    Star<&StarParameters::armLength>(269, "armLength"),
    Star<&StarParameters::arms>(270, "arms"),
    Star<&StarParameters::noSmoothing>(271, "noSmoothing"),
    Star<&StarParameters::facesSegments>(272, "facesSegments"),
    Star<&StarParameters::sideSegments>(273, "sideSegments"),
    Star<&StarParameters::extrudeSegments>(274, "extrudeSegments"),
    Star<&StarParameters::armProportion>(275, "armProportion"),
    Gear<&GearParameters::edgeTaper>(276, "edgeTaper"),
    Gear<&GearParameters::noSmoothing>(277, "noSmoothing"),
    Gear<&GearParameters::gearDepth>(278, "gearDepth"),
    Gear<&GearParameters::reserved1>(279, "reserved1"),
    Gear<&GearParameters::gearHoleRadius>(280, "gearHoleRadius"),
    Gear<&GearParameters::teethHorizontalSegments>(281, "teethHorizontalSegments"),
    Gear<&GearParameters::reserved2>(282, "reserved2"),
    Gear<&GearParameters::teethAngle>(283, "teethAngle"),
    Gear<&GearParameters::teeth>(284, "teeth"),
    Gear<&GearParameters::teethWidth>(285, "teethWidth"),
    Gear<&GearParameters::teethPitch>(286, "teethPitch"),
    Gear<&GearParameters::teethDepthSegments>(287, "teethDepthSegments"),
    Gear<&GearParameters::teethTaperSegments>(288, "teethTaperSegments"),
    Gear<&GearParameters::teethHeight>(289, "teethHeight"),
    Gear<&GearParameters::teethSocketSegments>(290, "teethSocketSegments"),
    ListRow<S, &S::groups>(110, "groups", FieldKind::Groups),
    ListRow<S, &S::meshVisible>(190, "meshVisible", FieldKind::MeshVisible),
    M<&S::enabled>(191, "enabled"),
    ListRow<S, &S::bindings>(200, "bindings", FieldKind::Bindings),
    M<&S::depth>(300, "depth"),
    M<&S::scaleLinked>(301, "scaleLinked"),
    ListRow<S, &S::meshes>(400, "meshes", FieldKind::Meshes),
    M<&S::noMaterials>(0, "noMaterials", {}, nullptr, FieldUse::NotStored),
});

template <auto Member>
consteval Field B(std::uint16_t tag, const char* name) {
    return Row<BevelSettings, Member>(tag, name);
}

constexpr auto kBevelRows = std::to_array<Field>({
    B<&BevelSettings::extrude>(161, "extrude"),
    B<&BevelSettings::zOffset>(162, "zOffset"),
    B<&BevelSettings::expandEdges>(163, "expandEdges"),
    B<&BevelSettings::bevelSize>(164, "bevelSize"),
    B<&BevelSettings::bevelDepth>(165, "bevelDepth"),
    B<&BevelSettings::bevelCurve>(166, "bevelCurve"),
    B<&BevelSettings::bevelSegments>(167, "bevelSegments"),
    B<&BevelSettings::bevelBackside>(168, "bevelBackside"),
    B<&BevelSettings::useLayerAsUV>(169, "useLayerAsUV"),
    B<&BevelSettings::outlineEnable>(170, "outlineEnable"),
    B<&BevelSettings::outlineWidth>(171, "outlineWidth"),
    B<&BevelSettings::insideExpand>(172, "insideExpand"),
    B<&BevelSettings::insideBevel>(173, "insideBevel"),
    B<&BevelSettings::outsideBevel>(174, "outsideBevel"),
});

template <auto Member>
consteval Field N(std::uint16_t tag, const char* name, std::span<const FieldLabel> labels = {},
                  FieldUse use = FieldUse::Always) {
    return Row<SceneMesh, Member>(tag, name, use, labels);
}

constexpr auto kMeshRows = std::to_array<Field>({
    N<&SceneMesh::name>(400, "name"),
    ListRow<SceneMesh, &SceneMesh::parts>(401, "parts", FieldKind::Parts),
    N<&SceneMesh::expanded>(402, "expanded"),
    N<&SceneMesh::position>(403, "position"),
    N<&SceneMesh::orientation>(404, "orientation"),
    N<&SceneMesh::scale>(405, "scale"),
    N<&SceneMesh::scaleLinked>(406, "scaleLinked"),
    AsNumber(N<&SceneMesh::auxChannel>(407, "auxChannel", kAuxChannels)),
    N<&SceneMesh::auxRatio>(408, "auxRatio"),
    N<&SceneMesh::reflectMode>(410, "reflectMode", kMeshReflectModes),
    N<&SceneMesh::anchor>(411, "anchor"),
    N<&SceneMesh::deformation>(412, "deformation", kOverrides),
    N<&SceneMesh::multiObject>(413, "multiObject", kOverrides),
    N<&SceneMesh::meshFlag>(416, "meshFlag"),
    N<&SceneMesh::materialName>(0, "materialName", {}, FieldUse::NotStored),
});

constexpr auto kPathPointRows = std::to_array<Field>({
    Row<PathPoint, &PathPoint::position>(354, "position"),
    Row<PathPoint, &PathPoint::tangentIn>(355, "tangentIn"),
    Row<PathPoint, &PathPoint::tangentOut>(356, "tangentOut"),
});

constexpr auto kModelIndex = IndexTags(kModelRows);
constexpr auto kBevelIndex = IndexTags(kBevelRows);
constexpr auto kMeshIndex = IndexTags(kMeshRows);
constexpr auto kPathPointIndex = IndexTags(kPathPointRows);

} // namespace

constinit const FieldTable kModelFields{kModelRows, kModelIndex.data()};
constinit const FieldTable kBevelFields{kBevelRows, kBevelIndex.data()};
constinit const FieldTable kMeshFields{kMeshRows, kMeshIndex.data()};
constinit const FieldTable kPathPointFields{kPathPointRows, kPathPointIndex.data()};

const char* PrimitiveLabel(PrimitiveKind kind) {
    for (const FieldLabel& label : kPrimitives)
        if (label.value == static_cast<std::uint32_t>(kind)) return label.text;
    return "";
}

} // namespace velorin
