#pragma once

namespace velorin {

// One shell of an extrusion's bevel. Lengths are in units of the bevel scale.
struct BevelSettings {
    float extrude = 1;       // 0 to 100
    float zOffset = 0;       // -100 to 100
    float expandEdges = 0;   // -100 to 100
    float bevelSize = 0.5f;  // 0 to 100
    float bevelDepth = 1;    // -100 to 100
    float bevelCurve = 1;    // -1 to 1
    float bevelSegments = 3; // 0 to 32, whole numbers
    bool outlineEnable = false;
    bool bevelBackside = false;
    float outlineWidth = 0; // 0 to 100
    float insideExpand = 1;
    float insideBevel = 1;  // 0.0001 to 40
    float outsideBevel = 1; // 0.0001 to 40
    bool useLayerAsUV = false;

    friend bool operator==(const BevelSettings&, const BevelSettings&) = default;
};

} // namespace velorin
