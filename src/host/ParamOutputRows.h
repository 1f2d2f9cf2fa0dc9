#pragma once

#include "host/ParamRow.h"

namespace velorin::rows {

// What is written out, and how.
inline constexpr Row kOutputRows[] = {
    Group(1450, "Output"),
    Popup(1454, "Show",
          "Composite|Z Depth|Z Depth no AA|Normals|Ambient "
          "Occlusion|Diffuse|Specular|Refraction|Reflection|Lighting|Illumination|Focus|Glow|World "
          "Position|Shadows|SSS|Shading|Blend Mode|Wireframe|Dynamic Reflection",
          1),
    Group(1500, "Z Depth Output"),
    Float(1502, "Z Depth Start", 0, 2000000, 250, 1, 0.0005f),
    Float(1504, "Z Depth End", 0, 2000000, 2000, 1, 0.0005f),
    Check(1503, "Clamp Output", true),
    Check(1505, "Preserve Alpha", false),
    End(1501),
    Group(1550, "World Position Output"),
    Popup(1552, "Show", "Color|Matte", 2),
    PointXY(1553, "Position XY Matte", 50, 50),
    Float(1554, "Position Z Matte", -2000000, 2000000, 0, 1, 0.0005f),
    Angle(1555, "X Rotation Matte"),
    Angle(1556, "Y Rotation Matte"),
    Float(1559, "Matte Expansion", -100000, 100000, 0, 1, 0.005f),
    Float(1557, "Matte Feather", 0, 100000, 100, 1, 0.005f),
    Float(1567, "Edge Smoothing", 0, 10, 0, 0, 1),
    Check(1560, "Feather Both Sides", false),
    Float(1563, "Matte Gamma", 0.1f, 10, 1, 2, 1),
    Check(1561, "Invert Matte", false),
    Check(1571, "Invert from Back", false),
    Check(1562, "Face Camera", false),
    OpenGroup(1568, "Invisibility"),
    Check(1564, "Invisible from Back", false),
    Float(1565, "Invisibility Offset", -90, 90, 0, 1, 0.5f),
    Float(1566, "Invisibility Fade", 0, 180, 30, 1, 0.5f),
    End(1569),
    Check(1558, "Preserve Alpha", false),
    Control(1570, "Create World Position Null", 230),
    End(1551),
    Popup(1463, "Polygon Mode", "Normal|Wireframe|Point Cloud", 1),
    Float(1460, "Wireframe Width", 0, 100, 1, 1, 0.1f),
    Float(1464, "Point Size", 1, 8, 1, 1, 1),
    Popup(1452, "Multisampling", "0|1|2|4|8|16|32", 5),
    Popup(1465, "Supersampling", "0 |2 |4 |8 ", 1),
    Check(1469, "Enhanced Multisampling", false),
    Float(1468, "Highlight Compression", 0, 1, 0, 2, 1),
    Float(1470, "Specular Compression", 0, 1, 1, 2, 1),
    Group(1461, "Sampling & Aliasing"),
    Float(1453, "FXAA Smoothing", 0, 50, 0, 0, 1),
    Check(1456, "Compress Textures", true),
    Check(1105, "Subsample Post Effects", false),
    Float(1455, "Gamma", 0.1f, 10, 2.2f, 2, 1),
    Float(1459, "Texture Gamma", 0.1f, 10, 2.2f, 2, 1),
    End(1462),
    OpenGroup(1600, "Multi-Pass Mixer"),
    Float(1602, "Diffuse", 0, 100, 1, 2, 0.01f),
    Float(1603, "Specular", 0, 100, 1, 2, 0.01f),
    Float(1604, "Ambient Lighting", 0, 100, 1, 2, 0.01f),
    Float(1605, "Reflectivity", 0, 100, 1, 2, 0.01f),
    Float(1606, "Refraction", 0, 100, 1, 2, 0.01f),
    Float(1607, "Illumination", 0, 100, 1, 2, 0.01f),
    Float(1609, "Shadows", 0, 100, 1, 2, 0.01f),
    Float(1608, "SSS", 0, 100, 1, 2, 0.01f),
    End(1601),
    End(1451),
};

inline constexpr Row kRenderModeRows[] = {
    Popup(1950, "Render Mode", "Full Render|Preview|Draft|Unified", 1),
};

} // namespace velorin::rows
