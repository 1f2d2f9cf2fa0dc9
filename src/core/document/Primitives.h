#pragma once

#include "services/NxMath.h"

#include <cstdint>

// Settings of the parametric primitives. Lengths are in units that the generators multiply by 100; counts are
// held as floats and cut to whole numbers there.
namespace velorin {

// 9 is not used.
enum class PrimitiveKind : std::uint32_t {
    None = 0,
    Box = 1,
    Sphere = 2,
    Cylinder = 3,
    Tube = 4,
    Torus = 5,
    Cone = 6,
    Plane = 7,
    Capsule = 8,
    Star = 10,
    Gear = 11,
};

struct BoxParameters {
    Point3 size{1, 1, 1};         // 0.001 to 100
    Point3 sizeSegments{1, 1, 1}; // 1 to 200
    float chamfer = 0.02f;        // 0 to 50
    float chamferSegments = 3;    // 1 to 200
    bool noSmoothing = false;
    friend bool operator==(const BoxParameters&, const BoxParameters&) = default;
};

struct SphereParameters {
    float segments = 6; // 1 to 200, of the icosahedron's edges
    float diameter = 1; // 0.01 to 100
    bool noSmoothing = false;
    friend bool operator==(const SphereParameters&, const SphereParameters&) = default;
};

struct CylinderParameters {
    float sides = 30;         // 3 to 200
    float capSegments = 1;    // 1 to 200
    float heightSegments = 1; // 1 to 200
    float height = 1;         // 0 to 100
    float radius = 0.5f;      // 0.01 to 100
    float taper = 0;          // stored, without a control
    float chamfer = 0.02f;    // 0 to 50
    float chamferSegments = 3;
    bool noSmoothing = false;
    friend bool operator==(const CylinderParameters&, const CylinderParameters&) = default;
};

struct TubeParameters {
    float sides = 30; // 3 to 500
    float capSegments = 1;
    float heightSegments = 1;
    float internalRadius = 0.5f; // 0 to 1, share of the radius
    float chamfer = 0.02f;
    float chamferSegments = 3;
    float height = 1;
    float radius = 0.5f;
    bool noSmoothing = false;
    friend bool operator==(const TubeParameters&, const TubeParameters&) = default;
};

struct TorusParameters {
    float ringSegments = 30; // 3 to 500
    float ringSides = 20;    // 3 to 500
    float ringRadius1 = 1;
    float ringRadius2 = 0.5f;
    float twists = 0; // 0 to 20
    bool noSmoothing = false;
    friend bool operator==(const TorusParameters&, const TorusParameters&) = default;
};

struct ConeParameters {
    float sides = 30; // 3 to 500
    float capSegments = 1;
    float heightSegments = 4;
    float height = 1;
    float radius = 0.5f;
    bool noSmoothing = false;
    friend bool operator==(const ConeParameters&, const ConeParameters&) = default;
};

struct PlaneParameters {
    bool twoSided = false;
    Point2 segments{1, 1}; // 1 to 200
    Point2 size{1, 1};     // 0.01 to 100
    friend bool operator==(const PlaneParameters&, const PlaneParameters&) = default;
};

struct CapsuleParameters {
    float sides = 30; // 3 to 200
    float capSegments = 30;
    float heightSegments = 2;
    float capRoundness = 0.3f; // 0.01 to 100
    float height = 1;
    float radius = 0.5f;
    bool noSmoothing = false;
    friend bool operator==(const CapsuleParameters&, const CapsuleParameters&) = default;
};

struct StarParameters {
    float armLength = 0.5f;
    float bevelDepth = 0.3f;
    float extrude = 0.2f;
    float arms = 5;              // 3 to 100
    float armProportion = 0.35f; // 0 to 1
    float facesSegments = 2;
    float sideSegments = 4;
    float extrudeSegments = 1;
    bool noSmoothing = false;
    friend bool operator==(const StarParameters&, const StarParameters&) = default;
};

struct GearParameters {
    float teethWidth = 0.14f;
    float teethHeight = 0.15f;
    float teethAngle = 10;       // degrees, 0 to 90
    float gearHoleRadius = 0.6f; // 0 to 1, share of the inner radius
    float gearDepth = 0.2f;
    float teeth = 10; // 4 to 100
    float edgeTaper = 0.02f;
    float reserved1 = 0.02f; // stored, without a control
    float teethPitch = 0.35f;
    float reserved2 = 4; // stored, without a control
    float teethSocketSegments = 2;
    float teethHorizontalSegments = 2;
    float teethDepthSegments = 3;
    float teethTaperSegments = 1;
    bool noSmoothing = false;
    friend bool operator==(const GearParameters&, const GearParameters&) = default;
};

// The blocks of all kinds; a model keeps every one, and uses and stores that of its kind.
struct PrimitiveParameters {
    BoxParameters box;
    SphereParameters sphere;
    CylinderParameters cylinder;
    TubeParameters tube;
    TorusParameters torus;
    ConeParameters cone;
    PlaneParameters plane;
    CapsuleParameters capsule;
    StarParameters star;
    GearParameters gear;
    friend bool operator==(const PrimitiveParameters&, const PrimitiveParameters&) = default;
};

// "Box", "Sphere" and so on; empty for a number without a primitive.
[[nodiscard]] const char* PrimitiveLabel(PrimitiveKind kind);

} // namespace velorin
