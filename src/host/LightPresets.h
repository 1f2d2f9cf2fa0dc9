#pragma once

#include "render/RenderSettings.h"

#include <span>
#include <vector>

// Light rigs of the popup "Add Lighting".
namespace velorin {

// One light of a rig, placed around the middle of the comp: azimuth 0 shines from the viewer's side, 90 from
// the right; elevation 90 from above.
struct PresetLight {
    LightType type = LightType::Parallel;
    float azimuth = 0, elevation = 0; // degrees; where the light comes from
    Point3 colour{1, 1, 1};
    float intensity = 1;
    float distance = 1;   // of point and spot lights from the middle, in comp widths
    float coneAngle = 60; // degrees
    float feather = 0.5f; // 0 to 1
    bool castShadows = false;
};

inline constexpr int kLightPresetCount = 21;

// The rig of a popup value, 1 to 21; 1 ("None") is what lights a comp without lights. Empty for other values.
[[nodiscard]] std::span<const PresetLight> LightPreset(int popup);

// The rig as lights of a comp of `width` by `height` pixels. `rotation` turns it about the comp's middle (row
// vectors).
[[nodiscard]] std::vector<SceneLight> PlacePreset(int popup, float width, float height, float brightness,
                                                  const Matrix& rotation);

} // namespace velorin
