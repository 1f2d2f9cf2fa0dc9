#pragma once

#include "services/NxMath.h"

#include <cstdint>

// The deformers of one particle group as the effect's rows give them. Angles are in radians, percent rows
// times 0.01, lengths in units of the model's cube of half-edge 1.
namespace velorin {

// Where a deformer stands: turned by Euler angles, then moved.
struct DeformOrigin {
    Point3 orientation; // radians
    Point3 offset;
    friend bool operator==(const DeformOrigin&, const DeformOrigin&) = default;
};

struct TaperDeformer {
    bool enabled = false, symmetrical = false;
    float amount = 0, curve = 0;
    DeformOrigin origin;
    friend bool operator==(const TaperDeformer&, const TaperDeformer&) = default;
};

struct TwistDeformer {
    bool enabled = false;
    Point3 rotation, phase; // radians about x, y, z
    DeformOrigin origin;
    friend bool operator==(const TwistDeformer&, const TwistDeformer&) = default;
};

struct BendDeformer {
    bool enabled = false, center = false;
    int axis = 0;                   // 0 x, 1 y, 2 z: popup value minus 1
    float angle = 0, direction = 0; // radians
    DeformOrigin origin;
    friend bool operator==(const BendDeformer&, const BendDeformer&) = default;
};

struct NoiseDeformer {
    bool enabled = false, randomize = false;
    int method = 0;                   // popup value minus 1: noise, distortion, 3D distortion
    float intensity = 0;              // 1 is 100 %
    float distort = 1, scale = 1;     // 1 is 100 %
    float offset = 0, exponent = 1;   //
    float clampMin = 0, clampMax = 1; // 1 is 100 %
    Point3 axisIntensity{1, 1, 1};    // 1 is 100 %
    float evolution = 0;              // radians
    std::uint32_t seed = 5000;        // rounded
    friend bool operator==(const NoiseDeformer&, const NoiseDeformer&) = default;
};

struct DeformParameters {
    bool enabled = true;
    TaperDeformer taper;
    TwistDeformer twist;
    BendDeformer bend;
    NoiseDeformer noise;
    Point3 offset; // "Deform Offset"
    friend bool operator==(const DeformParameters&, const DeformParameters&) = default;

    // Whether anything would move.
    [[nodiscard]] bool active() const {
        return enabled && (taper.enabled || twist.enabled || bend.enabled || noise.enabled);
    }
};

} // namespace velorin
