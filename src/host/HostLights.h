#pragma once

#include "host/AEPlugin.h"
#include "render/RenderSettings.h"

#include <vector>

namespace velorin {

// The switched-on lights of the effect's comp at a layer time, in layer order from the top. World space has
// square pixels: x counts pixels of the comp times their aspect, `compAspect`. Point lights cast shadows only
// where rays are traced.
[[nodiscard]] std::vector<SceneLight> ReadCompLights(PluginCall& call, A_long layerTime, double compAspect,
                                                     bool rayTracedShadows);

// Values of one light as the host gives them.
struct HostLight {
    AEGP_LightType type = AEGP_LightType_POINT;
    A_Matrix4 toWorld{};                     // row vectors
    AEGP_ColorVal colour{1, 1, 1, 1};        // 0 to 1
    double intensity = 100;                  // percent
    double coneAngle = 90, coneFeather = 50; // degrees, percent
    bool castsShadows = false;
    double shadowDarkness = 100, shadowDiffusion = 0; // percent, pixels
};
// False for kinds that have no counterpart.
[[nodiscard]] bool MakeSceneLight(const HostLight& host, double compAspect, SceneLight& light);

} // namespace velorin
