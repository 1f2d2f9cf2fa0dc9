#include "model/primitives/BuildPrimitive.h"

#include "model/primitives/PrimitiveMesh.h"

namespace velorin {

namespace {

// In the order in which paths are searched.
constexpr const char* kNames[] = {"Box",  "Sphere", "Cylinder", "Tube", "Torus",
                                  "Cone", "Plane",  "Capsule",  "Star", "Gear"};

void Generate(ModelData& model, PrimitiveKind kind, const PrimitiveParameters& p) {
    switch (kind) {
    case PrimitiveKind::Box:
        return BuildBox(model, p.box);
    case PrimitiveKind::Sphere:
        return BuildSphere(model, p.sphere);
    case PrimitiveKind::Cylinder:
        return BuildCylinder(model, p.cylinder);
    case PrimitiveKind::Tube:
        return BuildTube(model, p.tube);
    case PrimitiveKind::Torus:
        return BuildTorus(model, p.torus);
    case PrimitiveKind::Cone:
        return BuildCone(model, p.cone);
    case PrimitiveKind::Plane:
        return BuildPlane(model, p.plane);
    case PrimitiveKind::Capsule:
        return BuildCapsule(model, p.capsule);
    case PrimitiveKind::Star:
        return BuildStar(model, p.star);
    case PrimitiveKind::Gear:
        return BuildGear(model, p.gear);
    case PrimitiveKind::None:
        return;
    }
}

} // namespace

void BuildPrimitive(ModelData& model, PrimitiveKind kind, const PrimitiveParameters& parameters) {
    Generate(model, kind, parameters);
    for (ModelMesh& mesh : model.meshes) mesh.name = PrimitiveName(kind);
}

const char* PrimitiveName(PrimitiveKind kind) {
    const auto number = static_cast<std::uint32_t>(kind);
    if (number >= 1 && number <= 8) return kNames[number - 1];
    if (kind == PrimitiveKind::Star) return "Star";
    return kind == PrimitiveKind::Gear ? "Gear" : "";
}

std::uint32_t PrimitiveFromPath(const std::string& path) {
    for (std::uint32_t i = 0; i < 9; ++i)
        if (path.find(kNames[i]) != std::string::npos) return i + 1;
    return 0;
}

} // namespace velorin
