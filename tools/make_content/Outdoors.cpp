// Skies and a street.
#include "Noise.h"
#include "Sky.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace content {

namespace {

using art::Fractal3;
using art::Noise3;
using art::Random;
using art::SmoothStep;
using velorin::Dot;
using velorin::Mix;

// Where a direction meets a layer of cloud, in units of its height; the horizon lies at a bounded distance,
// as over a round earth.
Point3 OnCloudLayer(Point3 d) {
    const float t = 1 / (d.y + 0.09f);
    return {d.x * t, 0, d.z * t};
}

// A ridge line around the horizon, in degrees.
float Ridge(Point3 d, float frequency, float low, float high, std::uint32_t seed) {
    const float ground = std::max(1e-4f, std::hypot(d.x, d.z));
    const Point3 round{d.x / ground * frequency, 0.5f, d.z / ground * frequency};
    return low + (high - low) * (0.5f + Fractal3(round, 5, seed));
}

} // namespace

Point3 Overcast(Point3 d) {
    const float latitude = Latitude(d);
    const float up = std::max(0.0f, d.y);
    // CIE standard overcast sky: three times as bright above as at the horizon; R. G. Hopkinson et al.,
    // "Daylighting", 1966. The haze lifts the horizon.
    const Point3 haze = Point3{0.80f, 0.84f, 0.90f} * 0.95f;
    Point3 sky = Point3{0.90f, 0.95f, 1.04f} * (0.62f * (1 + 2 * up));
    const Point3 layer = OnCloudLayer(d);
    const Point3 warp{Noise3(layer * 0.7f, 3) * 0.8f, 0, Noise3(layer * 0.7f, 4) * 0.8f};
    const float cloud = Fractal3((layer + warp) * 0.75f, 6, 5);
    sky = sky * (1 + 0.75f * cloud * SmoothStep(0.02f, 0.3f, up)) +
          Point3{0.5f, 0.47f, 0.42f} *
              std::exp(-4 * (1 - Dot(d, Direction(-125, 48)))); // where the sun must be
    sky = Mix(haze, sky, SmoothStep(0, 0.22f, up));
    if (latitude > 8) return sky;

    const float far = Ridge(d, 1.6f, 1.2f, 5.0f, 31), near = Ridge(d, 3.4f, -0.6f, 2.6f, 47);
    const float trees = near + 0.5f * Fractal3({d.x * 60, d.y * 20, d.z * 60}, 3, 8);
    Point3 color = Mix(sky, {0.46f, 0.52f, 0.57f}, SmoothStep(far + 0.12f, far - 0.12f, latitude));
    color = Mix(color, Point3{0.16f, 0.20f, 0.14f} * (1 + 0.5f * Fractal3(d * 70, 3, 12)),
                SmoothStep(trees + 0.1f, trees - 0.1f, latitude));
    const float edge = -0.9f;
    if (latitude < edge + 0.3f) { // a meadow
        const float t = 1 / std::max(0.012f, -d.y);
        const Point3 at{d.x * t, 0, d.z * t};
        const float distance = std::hypot(at.x, at.z);
        const float patches = Fractal3(at * 0.22f, 3, 61),
                    blades = Fractal3(at * 3.1f, 4, 62) * SmoothStep(26, 4, distance);
        const Point3 grass =
            Mix({0.22f, 0.27f, 0.11f}, {0.34f, 0.31f, 0.17f}, std::clamp(0.5f + patches, 0.0f, 1.0f)) *
            (1 + 0.7f * blades);
        const Point3 hazed = Mix(grass, {0.42f, 0.46f, 0.45f}, 1 - std::exp(-distance * 0.016f));
        color = Mix(color, hazed, SmoothStep(edge + 0.3f, edge - 0.3f, latitude));
    }
    return color;
}

Point3 Sunset(Point3 d) {
    static const Point3 sun = Direction(128, 5);
    const float towards = Dot(d, sun), up = std::max(0.0f, d.y);
    const float flatX = d.x / std::max(1e-4f, std::hypot(d.x, d.z)),
                flatZ = d.z / std::max(1e-4f, std::hypot(d.x, d.z));
    const float side = 0.5f + 0.5f * (flatX * sun.x + flatZ * sun.z); // 1 below the sun, 0 opposite

    Point3 band = Mix({0.42f, 0.34f, 0.50f}, {2.0f, 0.78f, 0.26f}, side * side);
    Point3 sky = Mix(band, Mix({0.36f, 0.32f, 0.50f}, {0.95f, 0.52f, 0.40f}, side), SmoothStep(0, 0.18f, up));
    sky = Mix(sky, {0.15f, 0.21f, 0.44f}, SmoothStep(0.08f, 0.62f, up));
    sky = Mix(sky, {0.065f, 0.11f, 0.29f}, SmoothStep(0.5f, 1, up));
    sky += Point3{2.6f, 1.15f, 0.36f} * std::exp(-26 * (1 - towards)) +
           Point3{9, 4.6f, 1.5f} * std::exp(-340 * (1 - towards));

    if (d.y > 0) { // long streaks, lit from below near the sun
        const Point3 layer = OnCloudLayer(d);
        const Point3 along{layer.x * 0.35f - layer.z * 0.28f, 0, layer.x * 0.9f + layer.z * 1.1f};
        const Point3 warp{Noise3(along * 0.5f, 2), 0, Noise3(along * 0.5f, 3) * 0.6f};
        const float density = SmoothStep(0.0f, 0.34f, Fractal3((along + warp) * 0.9f, 6, 14) + 0.04f) *
                              SmoothStep(0.0f, 0.1f, up);
        const float thin = density * (1 - density) * 4;
        const float glow = std::exp(-3.2f * (1 - towards));
        const Point3 body =
            Mix({0.20f, 0.17f, 0.27f}, {1.15f, 0.46f, 0.26f}, std::clamp(0.25f * side + glow, 0.0f, 1.0f));
        const Point3 rim = Mix({0.55f, 0.36f, 0.42f}, {4.2f, 1.9f, 0.75f}, glow);
        sky = Mix(sky, Mix(body, rim, 0.55f * thin), 0.85f * density);
    }
    const float disc =
        SmoothStep(std::cos(0.85f * kRadiansPerDegree), std::cos(0.55f * kRadiansPerDegree), towards);
    sky = Mix(sky, {620, 330, 120}, disc * (d.y > 0 ? 1.0f : 0.0f));
    if (d.y > 0.004f) return sky;

    // The sea: the sky's colours, flattened, and the sun's path of glitter.
    const float depth = std::max(0.0f, -d.y), t = 1 / std::max(0.02f, depth);
    const Point3 at{d.x * t, 0, d.z * t};
    const float waves = Noise3({at.x * 2.2f, 0.3f, at.z * 2.2f}, 71) * 0.6f +
                        Noise3({at.x * 6.1f, 0.7f, at.z * 6.1f}, 72) * 0.4f;
    const float calm = SmoothStep(0.02f, 0.16f, depth);
    const float fresnel = 0.03f + 0.97f * std::pow(1 - std::min(1.0f, depth + 0.10f), 4.2f);
    const Point3 mirrored = Mix(band * 0.72f, Mix({0.22f, 0.22f, 0.36f}, {0.55f, 0.34f, 0.34f}, side),
                                SmoothStep(0, 0.35f, depth));
    Point3 sea = Mix({0.018f, 0.034f, 0.060f}, mirrored, fresnel * (1 + 0.55f * waves * calm));
    const float off = std::acos(std::clamp(flatX * sun.x + flatZ * sun.z, -1.0f, 1.0f)) / kRadiansPerDegree;
    const float width = 3.2f + 30 * depth;
    const float sparkle = std::max(0.0f, 0.55f + 1.5f * waves * SmoothStep(0.0f, 0.08f, depth));
    sea += Point3{16, 7.2f, 2.3f} *
           (std::exp(-off * off / (width * width)) * std::exp(-5.5f * depth) * sparkle * sparkle);
    return Mix(sky, sea, SmoothStep(0.004f, -0.004f, d.y));
}

namespace {

// A ring of houses: how far away, how wide and high they are.
struct Street {
    float distance, lot, low, high; // metres; the eye stands 2 above the ground
    float lit;                      // share of windows with light
    float haze;                     // how much of the sky's glow lies over it
    std::uint32_t seed;
};
constexpr Street kStreets[] = {
    // nearest first
    {130, 21, 12, 42, 0.36f, 0.10f, 57},
    {300, 30, 30, 120, 0.34f, 0.34f, 23},
    {620, 46, 60, 230, 0.30f, 0.62f, 5},
};

// What the city throws into the air, by height above the horizon.
Point3 SkyGlow(float up) {
    return Point3{0.17f, 0.105f, 0.062f} * std::exp(-5.5f * up);
}

Point3 NightSky(Point3 d) {
    const float up = std::max(0.0f, d.y);
    const float cloud = 0.5f + Fractal3(OnCloudLayer(d) * 0.6f, 5, 91);
    return Point3{0.008f, 0.012f, 0.026f} + SkyGlow(up) * (0.65f + 0.7f * cloud) +
           Point3{0.020f, 0.016f, 0.016f} * (cloud * (1 - up));
}

Point3 WindowLight(float kind, float bright) {
    const Point3 warm{1.0f, 0.62f, 0.28f}, white{0.92f, 0.90f, 0.80f}, cool{0.55f, 0.75f, 1.0f};
    return (kind < 0.62f ? warm : kind < 0.88f ? white : cool) * (0.5f + 3.2f * bright * bright);
}

// What a ring of houses shows in a direction; nothing above its roofs.
std::optional<Point3> House(const Street& street, float longitude, float latitude) {
    const int lots = static_cast<int>(2 * kPi * street.distance / street.lot);
    const float place = (longitude + 180) / 360 * static_cast<float>(lots);
    const int lot = std::clamp(static_cast<int>(place), 0, lots - 1);
    const float across = (place - static_cast<float>(lot)) * street.lot;
    const float tall = Random(lot, 1, street.seed);
    float roof = street.low + (street.high - street.low) * tall * tall;
    const float margin = street.lot * 0.12f * Random(lot, 2, street.seed);
    if (across < margin) roof *= 0.45f; // a gap, a lower wing
    const float y = 2 + std::tan(latitude * kRadiansPerDegree) * street.distance;
    if (y > roof) return {};

    const Point3 glow = Point3{0.02f, 0.02f, 0.034f} + SkyGlow(0.035f);
    Point3 wall =
        Mix(Point3{0.022f, 0.022f, 0.026f} * (0.6f + Random(lot, 3, street.seed)), glow, street.haze);
    const float column = 2.4f + 1.8f * Random(lot, 4, street.seed),
                storey = 3.1f + Random(lot, 5, street.seed);
    const int i = static_cast<int>(across / column), j = static_cast<int>(y / storey);
    const float fx = across / column - static_cast<float>(i), fy = y / storey - static_cast<float>(j);
    const bool glass =
        fx > 0.2f && fx < 0.8f && fy > 0.28f && fy < 0.8f && y < roof - 1.5f && across > margin;
    const int cell = i + 64 * j + 8192 * lot;
    if (!glass) return wall;
    const float office = Random(lot, 6, street.seed) > 0.8f ? 1.9f : 1.0f; // whole storeys in use
    if (Random(cell, 7, street.seed) > street.lit * office) return wall * 0.6f;
    const Point3 light = WindowLight(Random(cell, 8, street.seed), Random(cell, 9, street.seed));
    return Mix(light, glow, street.haze * 0.6f);
}

struct Lamp {
    Point3 direction, radiance;
    float radius; // degrees
};

std::vector<Lamp> Lamps() {
    std::vector<Lamp> lamps;
    for (int i = 0; i < 16; ++i) { // two rows along the street
        const float longitude = -180 + 22.5f * static_cast<float>(i) + 9 * (Random(i, 1, 3) - 0.5f);
        const float latitude = 7 + 15 * Random(i, 2, 3);
        const bool sodium = Random(i, 3, 3) < 0.6f;
        lamps.push_back({Direction(longitude, latitude),
                         (sodium ? Point3{150, 82, 26} : Point3{120, 132, 150}) * (latitude / 14),
                         0.5f + latitude / 34});
    }
    return lamps;
}

// An upright sign of neon: a bright panel with a halo.
struct Sign {
    float longitude, latitude, halfWidth, halfHeight; // degrees
    Point3 radiance;
};
constexpr Sign kSigns[] = {{-136, 13, 2.6f, 9, {9, 1.0f, 4.6f}},      {-98, 9, 7, 2.2f, {0.7f, 4.8f, 7.5f}},
                           {-24, 8, 5, 1.8f, {8, 2.6f, 0.5f}},        {62, 11, 2.2f, 7, {1.0f, 6.5f, 3.4f}},
                           {112, 10, 7.5f, 2.8f, {7.5f, 0.9f, 1.2f}}, {152, 15, 2.2f, 8, {1.4f, 2.2f, 9}}};

Point3 Glow(Point3 d, float longitude, float latitude, const std::vector<Lamp>& lamps) {
    Point3 light{};
    for (const Lamp& lamp : lamps) {
        const float angle = std::acos(std::clamp(Dot(d, lamp.direction), -1.0f, 1.0f)) / kRadiansPerDegree;
        if (angle > 14) continue;
        light += lamp.radiance *
                 (SmoothStep(lamp.radius, lamp.radius * 0.7f, angle) + 0.010f * std::exp(-angle * 0.9f) +
                  0.0015f * std::exp(-angle * 0.25f)) *
                 SmoothStep(14, 5, angle);
    }
    for (const Sign& sign : kSigns) {
        float x = std::fabs(longitude - sign.longitude);
        x = std::min(x, 360 - x) * std::cos(latitude * kRadiansPerDegree);
        const float y = std::fabs(latitude - sign.latitude);
        const float ox = std::max(0.0f, x - sign.halfWidth), oy = std::max(0.0f, y - sign.halfHeight);
        const float outside = std::hypot(ox, oy);
        const float letters =
            0.55f + 0.45f * std::sin(latitude * (sign.halfHeight > sign.halfWidth ? 2.1f : 0.0f) +
                                     longitude * (sign.halfHeight > sign.halfWidth ? 0.0f : 2.1f));
        light += sign.radiance * (outside <= 0 ? letters * letters : 0.0f) +
                 sign.radiance * (0.05f * std::exp(-outside * 0.7f));
    }
    return light;
}

} // namespace

Picture NightCity(int height) {
    const std::vector<Lamp> lamps = Lamps();
    Picture picture = Panorama(height * 2, [&](Point3 d) { // twice as fine: windows are small
        if (d.y < 0) return Point3{};
        const float longitude = Longitude(d), latitude = Latitude(d);
        std::optional<Point3> seen;
        for (const Street& street : kStreets)
            if (!seen) seen = House(street, longitude, latitude);
        const Point3 color = seen ? *seen : NightSky(d);
        return color + Glow(d, longitude, latitude, lamps);
    });
    picture = Halved(picture);
    // Wet asphalt: each place shows what stands above it, smeared the further the nearer the place lies.
    const int half = height / 2;
    for (int x = 0; x < picture.width; ++x) {
        std::vector<Point3> above(static_cast<std::size_t>(half) +
                                  1); // running sums from the horizon upwards
        for (int y = 0; y < half; ++y)
            above[static_cast<std::size_t>(y) + 1] =
                above[static_cast<std::size_t>(y)] + picture.at(x, half - 1 - y);
        for (int y = 0; y < half; ++y) {
            const float share = (static_cast<float>(y) + 0.5f) / static_cast<float>(half);
            Point3 mirrored{}; // three boxes of growing size make a soft smear
            for (const float size : {0.2f, 0.42f, 0.7f}) {
                const int reach = 3 + static_cast<int>(size * static_cast<float>(y));
                const int from = std::max(0, y - reach), to = std::min(half, y + reach + 1);
                mirrored += (above[static_cast<std::size_t>(to)] - above[static_cast<std::size_t>(from)]) *
                            (1 / (3 * static_cast<float>(to - from)));
            }
            const Point3 d = Direction(
                (static_cast<float>(x) + 0.5f) / static_cast<float>(picture.width) * 360 - 180, -90 * share);
            const float t = 1 / std::max(0.03f, -d.y);
            const float wet =
                std::clamp(0.55f + 0.9f * Fractal3({d.x * t * 0.8f, 0, d.z * t * 0.8f}, 4, 77), 0.12f, 1.0f);
            const float fresnel = 0.05f + 0.75f * std::pow(1 - std::min(1.0f, -d.y), 3.0f);
            picture.at(x, half + y) = Point3{0.010f, 0.010f, 0.012f} + mirrored * (wet * fresnel);
        }
    }
    return picture;
}

} // namespace content
