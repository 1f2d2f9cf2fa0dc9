#include "host/LightPresets.h"

#include <array>
#include <cmath>
#include <vector>

namespace velorin {
namespace {

using Rig = std::vector<PresetLight>;

PresetLight Sun(float azimuth, float elevation, float intensity, Point3 colour, bool shadows = false) {
    return {LightType::Parallel, azimuth, elevation, colour, intensity, 1, 60, 0.5f, shadows};
}
PresetLight Fill(float intensity, Point3 colour) {
    return {LightType::Ambient, 0, 0, colour, intensity, 1, 60, 0.5f, false};
}
PresetLight Bulb(float azimuth, float elevation, float distance, float intensity, Point3 colour) {
    return {LightType::Point, azimuth, elevation, colour, intensity, distance, 60, 0.5f, false};
}
PresetLight Spot(float azimuth, float elevation, float distance, float cone, float intensity, Point3 colour) {
    return {LightType::Spot, azimuth, elevation, colour, intensity, distance, cone, 0.6f, true};
}

constexpr Point3 kWhite{1, 1, 1};
constexpr Point3 kDaylight{1, 0.97f, 0.92f};
constexpr Point3 kSky{0.72f, 0.83f, 1};
constexpr Point3 kTungsten{1, 0.82f, 0.60f};
constexpr Point3 kAmber{1, 0.62f, 0.30f};
constexpr Point3 kIce{0.62f, 0.80f, 1};
constexpr Point3 kBlue{0.30f, 0.52f, 1};
constexpr Point3 kDusk{0.36f, 0.38f, 0.62f};

// In the order of the popup.
std::array<Rig, kLightPresetCount> MakeRigs() {
    return {{
        // None: a comp without lights is still seen, with room left for what the environment adds.
        {Sun(-35, 40, 0.43f, kWhite), Sun(125, 20, 0.14f, kWhite), Fill(0.05f, kWhite)},
        // Single Light
        {Sun(-30, 35, 0.78f, kWhite, true)},
        // Clean Blue: cool key, cooler rim, a little sky from below.
        {Sun(-40, 35, 0.66f, kIce, true), Sun(150, 25, 0.47f, kBlue), Sun(70, 5, 0.2f, kSky),
         Fill(0.12f, kSky)},
        // Warm
        {Sun(-35, 35, 0.74f, kTungsten, true), Sun(60, 10, 0.23f, {1, 0.70f, 0.52f}),
         Sun(160, 30, 0.27f, kAmber), Fill(0.09f, {1, 0.88f, 0.75f})},
        // Spot
        {Spot(-20, 55, 1.1f, 50, 1.4f, kWhite), Fill(0.05f, kWhite)},
        // Spot Blue
        {Spot(-20, 55, 1.1f, 50, 1.4f, {0.45f, 0.65f, 1}), Sun(165, 15, 0.23f, kBlue), Fill(0.05f, kSky)},
        // Sun: hard, high and warm, with the sky in the shadows.
        {Sun(40, 55, 0.98f, kDaylight, true), Fill(0.17f, kSky)},
        // Sun Set: low and orange from the side, against a violet sky.
        {Sun(75, 9, 0.94f, {1, 0.52f, 0.22f}, true), Sun(-110, 30, 0.27f, kDusk),
         Fill(0.11f, {0.55f, 0.45f, 0.62f})},
        // Basic: key, fill and back.
        {Sun(-40, 35, 0.66f, kWhite, true), Sun(50, 15, 0.27f, kWhite), Sun(170, 40, 0.31f, kWhite),
         Fill(0.08f, kWhite)},
        // Dramatic: one side bright, the other told by an edge.
        {Sun(-80, 30, 1.01f, kDaylight, true), Sun(135, 20, 0.35f, kIce), Fill(0.02f, kWhite)},
        // Cinema: amber key against a teal fill.
        {Sun(-50, 30, 0.78f, {1, 0.74f, 0.48f}, true), Sun(65, 12, 0.31f, {0.28f, 0.62f, 0.70f}),
         Sun(170, 35, 0.43f, {0.45f, 0.75f, 0.85f}), Fill(0.04f, {0.5f, 0.7f, 0.75f})},
        // Stylized: magenta and cyan from the sides.
        {Sun(-75, 15, 0.7f, {1, 0.22f, 0.70f}), Sun(75, 15, 0.7f, {0.15f, 0.75f, 1}),
         Sun(0, 75, 0.27f, kWhite), Fill(0.05f, {0.6f, 0.5f, 0.8f})},
        // 360: the same from everywhere around.
        {Sun(0, 15, 0.31f, kWhite), Sun(60, 15, 0.31f, kWhite), Sun(120, 15, 0.31f, kWhite),
         Sun(180, 15, 0.31f, kWhite), Sun(-120, 15, 0.31f, kWhite), Sun(-60, 15, 0.31f, kWhite),
         Fill(0.09f, kWhite)},
        // Product: two large sources and a strong top, almost no shadow.
        {Sun(-55, 25, 0.47f, kWhite), Sun(55, 25, 0.43f, kWhite), Sun(0, 80, 0.43f, kWhite, true),
         Sun(180, 35, 0.31f, kWhite), Fill(0.17f, kWhite)},
        // Aqua
        {Sun(-30, 50, 0.62f, {0.45f, 0.95f, 0.95f}, true), Sun(80, 10, 0.27f, {0.20f, 0.60f, 0.90f}),
         Sun(170, 20, 0.31f, {0.40f, 1, 0.85f}), Fill(0.11f, {0.35f, 0.75f, 0.85f})},
        // Underwater: light falls from above and is lost below.
        {Sun(10, 85, 0.7f, {0.35f, 0.80f, 0.90f}, true), Bulb(-60, -20, 0.8f, 0.25f, {0.08f, 0.30f, 0.50f}),
         Fill(0.09f, {0.06f, 0.28f, 0.42f})},
        // Natural: an overcast sky with the sun behind it.
        {Sun(-25, 60, 0.51f, kDaylight, true), Sun(0, 90, 0.23f, kSky), Sun(120, 20, 0.12f, kSky),
         Fill(0.23f, {0.90f, 0.95f, 1})},
        // Dark: edges only.
        {Sun(145, 25, 0.47f, kIce), Sun(-150, 20, 0.27f, {0.60f, 0.70f, 0.90f}), Fill(0.01f, kSky)},
        // Red
        {Sun(-45, 30, 0.78f, {1, 0.10f, 0.06f}, true), Sun(140, 20, 0.55f, {1, 0.25f, 0.12f}),
         Fill(0.05f, {0.8f, 0.1f, 0.1f})},
        // 100 Ambient: flat, the colour of the surface itself.
        {Fill(1, kWhite)},
        // SSS: from behind and the sides, so that thin parts glow.
        {Bulb(160, 25, 0.7f, 1.3f, {1, 0.90f, 0.80f}), Sun(-60, 30, 0.39f, kDaylight, true),
         Sun(75, 10, 0.2f, kTungsten), Fill(0.06f, kWhite)},
    }};
}

Point3 From(const PresetLight& light) {
    const float azimuth = light.azimuth * kRadiansPerDegree, elevation = light.elevation * kRadiansPerDegree;
    return {std::sin(azimuth) * std::cos(elevation), -std::sin(elevation),
            -std::cos(azimuth) * std::cos(elevation)};
}

} // namespace

std::span<const PresetLight> LightPreset(int popup) {
    static const std::array<Rig, kLightPresetCount> rigs = MakeRigs();
    if (popup < 1 || popup > kLightPresetCount) return {};
    return rigs[static_cast<std::size_t>(popup - 1)];
}

std::vector<SceneLight> PlacePreset(int popup, float width, float height, float brightness,
                                    const Matrix& rotation) {
    std::vector<SceneLight> lights;
    const Point3 middle{width / 2, height / 2, 0};
    for (const PresetLight& preset : LightPreset(popup)) {
        const Point3 from = TransformDirection(From(preset), rotation);
        SceneLight& light = lights.emplace_back();
        light.type = preset.type;
        light.colour = preset.colour;
        light.intensity = preset.intensity * brightness;
        light.coneAngle = preset.coneAngle * kRadiansPerDegree;
        light.feather = preset.feather;
        light.castShadows = preset.castShadows;
        if (preset.type == LightType::Ambient) continue;
        light.direction = -from;
        light.position = middle + from * (preset.distance * width);
    }
    return lights;
}

} // namespace velorin
