// Rooms with panels of light.
#include "Noise.h"
#include "Sky.h"

#include <algorithm>
#include <vector>

namespace content {

namespace {

using art::SmoothStep;
using velorin::Cross;
using velorin::Dot;
using velorin::Length;
using velorin::Mix;
using velorin::Normalized;

// A rectangle of light that faces the origin, upright or, overhead, with its upper side towards +z.
struct Panel {
    float longitude, latitude, distance; // of its middle
    float width, height;                 // whole sides, in units of the distance
    Point3 radiance;
    float soft = 0.06f; // width of the fading rim, as a share of the shorter side
    float fall = 0.3f;  // how much dimmer the corners are than the middle
};

struct Room {
    float radius, ceiling; // of its round wall and above the eye; the floor lies 1 below
    Point3 wall, floor, top;
    Point3 ambient; // light that comes from everywhere
};

struct Frame {
    Point3 center, facing, right, up;
};

Frame FrameOf(const Panel& panel) {
    const Point3 out = Direction(panel.longitude, panel.latitude);
    const Point3 above = std::fabs(panel.latitude) > 80 ? Point3{0, 0, 1} : Point3{0, 1, 0};
    const Point3 right = Normalized(Cross(above, out));
    return {out * panel.distance, -out, right, Cross(out, right)};
}

// A room with its lights in place.
struct Lit {
    Panel panel;
    Frame frame;
};
struct Stage {
    template <std::size_t N>
    Stage(const Room& itsRoom, const Panel (&panels)[N]) : room(itsRoom) {
        for (const Panel& panel : panels) lights.push_back({panel, FrameOf(panel)});
    }
    Room room;
    std::vector<Lit> lights;
};

Point3 Seen(const Lit& light, Point3 direction) {
    const auto& [panel, frame] = light;
    const float towards = -Dot(direction, frame.facing);
    if (towards <= 0.02f) return {};
    const Point3 at = direction * (panel.distance / towards) - frame.center;
    const float w = panel.width * panel.distance / 2, h = panel.height * panel.distance / 2;
    const float rim = std::min(w, h) * 2 * panel.soft;
    const float x = std::fabs(Dot(at, frame.right)), y = std::fabs(Dot(at, frame.up));
    const float inside = (1 - SmoothStep(w - rim, w, x)) * (1 - SmoothStep(h - rim, h, y));
    if (inside <= 0) return {};
    const float dx = x / w, dy = y / h;
    return panel.radiance * (inside * (1 - panel.fall * std::min(1.0f, (dx * dx + dy * dy) / 2)));
}

// Light that a panel throws on a small surface: as from a disc of its area.
Point3 Irradiance(const Lit& light, Point3 at, Point3 normal) {
    const auto& [panel, frame] = light;
    const float area = panel.width * panel.height * panel.distance * panel.distance;
    const Point3 to = frame.center - at;
    const float squared = Dot(to, to), length = std::sqrt(squared);
    const float cosines =
        std::max(0.0f, Dot(normal, to) / length) * std::max(0.0f, -Dot(frame.facing, to) / length);
    return panel.radiance * (cosines * area / (kPi * squared + area));
}

// What the eye meets of floor, wall and ceiling, whose edges are round.
Point3 SeenRoom(const Stage& stage, Point3 d) {
    const Room& room = stage.room;
    const float ground = std::max(1e-4f, std::hypot(d.x, d.z));
    const float toWall = room.radius / ground;
    const float toLevel = d.y < 0 ? -1 / std::min(d.y, -1e-4f) : room.ceiling / std::max(d.y, 1e-4f);
    const float sharpness = 6; // of the p-norm that rounds the edge
    const float level = std::pow(toLevel, -sharpness), wall = std::pow(toWall, -sharpness);
    const Point3 at = d * std::pow(level + wall, -1 / sharpness);
    const float flat = level / (level + wall);
    const Point3 inward = Point3{-d.x, 0, -d.z} * (1 / ground);
    const Point3 normal = Normalized(Mix(inward, {0, d.y < 0 ? 1.0f : -1.0f, 0}, flat));
    const Point3 albedo = Mix(room.wall, d.y < 0 ? room.floor : room.top, flat);
    Point3 light = room.ambient;
    for (const Lit& lit : stage.lights) light += Irradiance(lit, at, normal);
    return albedo * light;
}

Point3 Brighter(Point3 a, Point3 b) {
    return {std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z)};
}

Point3 SeenStage(const Stage& stage, Point3 d) {
    Point3 color = SeenRoom(stage, d);
    for (const Lit& light : stage.lights) color = Brighter(color, Seen(light, d));
    return color;
}

} // namespace

Picture Panorama(int height, const Radiance& radiance) {
    return art::Paint(height * 2, height, [&](float u, float v) {
        return radiance(Direction((u - 0.5f) * 360, (0.5f - v) * 180));
    });
}

Point3 ProductStudio(Point3 d) {
    static const Panel kPanels[] = {
        {0, 88, 2.6f, 2.0f, 1.5f, {1.9f, 1.9f, 1.92f}, 0.16f}, // a bank above
        {-132, 26, 3, 0.9f, 1.0f, {2.6f, 2.55f, 2.46f}, 0.1f},
        {124, 14, 3, 0.5f, 1.2f, {1.7f, 1.75f, 1.84f}, 0.12f},
        {0, 7, 3.2f, 2.0f, 0.9f, {1.1f, 1.1f, 1.1f}, 0.5f, 0.6f}, // the wall behind the set, lit
        {-66, 18, 3.2f, 0.2f, 1.1f, {1.3f, 1.3f, 1.32f}, 0.2f},
        {66, 18, 3.2f, 0.2f, 1.1f, {1.3f, 1.3f, 1.32f}, 0.2f},
    };
    static const Stage kStage(
        Room{4, 3, {0.36f, 0.36f, 0.37f}, {0.5f, 0.495f, 0.49f}, {0.4f, 0.4f, 0.41f}, {0.36f, 0.36f, 0.37f}},
        kPanels);
    return SeenStage(kStage, d);
}

Point3 ThumbnailStudio(Point3 d) {
    static const Panel kPanels[] = {
        {0, 88, 2.6f, 1.9f, 1.3f, {1.8f, 1.8f, 1.8f}, 0.12f},
        {-164, 30, 3, 0.95f, 0.9f, {3.4f, 3.35f, 3.25f}, 0.06f}, // the camera looks from longitude 156
        {96, 12, 3, 0.42f, 1.3f, {2.2f, 2.25f, 2.35f}, 0.08f},
        {-24, 8, 3.2f, 1.9f, 0.9f, {1.2f, 1.2f, 1.2f}, 0.5f, 0.6f},
        {-84, 14, 3, 0.22f, 1.2f, {1.9f, 1.9f, 1.92f}, 0.12f},
    };
    static const Stage kStage(
        Room{
            4, 3, {0.26f, 0.265f, 0.28f}, {0.44f, 0.435f, 0.43f}, {0.3f, 0.3f, 0.31f}, {0.3f, 0.305f, 0.32f}},
        kPanels);
    return SeenStage(kStage, d);
}

Point3 SoftBoxStudio(Point3 d) {
    static const Panel kPanels[] = {
        {-132, 32, 3, 0.95f, 0.95f, {14, 13.4f, 12.4f}, 0.07f},
        {118, 12, 3, 0.3f, 1.35f, {6.2f, 6.6f, 7.2f}, 0.1f},
        {38, 40, 3, 0.75f, 0.3f, {4.4f, 4.5f, 4.7f}, 0.14f},
        {-40, 16, 3.2f, 0.22f, 1.1f, {3.6f, 3.6f, 3.6f}, 0.14f},
    };
    static const Stage kStage(Room{4.4f,
                                   3.2f,
                                   {0.17f, 0.175f, 0.185f},
                                   {0.15f, 0.145f, 0.14f},
                                   {0.11f, 0.11f, 0.115f},
                                   {0.3f, 0.3f, 0.31f}},
                              kPanels);
    return SeenStage(kStage, d);
}

Point3 StripLights(Point3 d) {
    static const Panel kPanels[] = {
        {-160, 18, 3, 0.1f, 1.7f, {16, 15.6f, 15}, 0.16f},
        {-118, 18, 3, 0.1f, 1.7f, {16, 15.6f, 15}, 0.16f},
        {-76, 18, 3, 0.1f, 1.7f, {12, 11.8f, 11.4f}, 0.16f},
        {74, 18, 3, 0.1f, 1.7f, {11, 11.6f, 12.6f}, 0.16f},
        {118, 18, 3, 0.1f, 1.7f, {15, 15.8f, 17}, 0.16f},
        {158, 18, 3, 0.1f, 1.7f, {15, 15.8f, 17}, 0.16f},
        {0, 66, 2.6f, 2.2f, 0.1f, {12, 12, 12}, 0.2f},
        {0, 88, 2.6f, 2.2f, 0.1f, {12, 12, 12}, 0.2f},
        {180, 68, 2.6f, 2.2f, 0.1f, {12, 12, 12}, 0.2f},
    };
    static const Stage kStage(
        Room{4.2f, 3, {0.2f, 0.2f, 0.21f}, {0.1f, 0.1f, 0.1f}, {0.12f, 0.12f, 0.125f}, {0.2f, 0.2f, 0.21f}},
        kPanels);
    return SeenStage(kStage, d);
}

Point3 WindowRoom(Point3 d) {
    // Two tall windows on the left with bars, a doorway of lamplight on the right, wood on the floor.
    static const Panel kWindows[] = {
        {-146, 15, 3, 0.55f, 1.05f, {7.6f, 8.4f, 9.6f}, 0.02f, 0.05f},
        {-100, 15, 3, 0.55f, 1.05f, {7.6f, 8.4f, 9.6f}, 0.02f, 0.05f},
        {104, 2, 3.4f, 0.42f, 0.95f, {2.3f, 1.55f, 0.85f}, 0.1f, 0.5f},
        {150, 36, 2.6f, 0.14f, 0.14f, {9, 5.6f, 2.8f}, 0.5f, 0.4f},
    };
    static const Stage kStage(Room{4,
                                   2.2f,
                                   {0.4f, 0.385f, 0.36f},
                                   {0.27f, 0.185f, 0.115f},
                                   {0.5f, 0.49f, 0.47f},
                                   {0.34f, 0.35f, 0.37f}},
                              kWindows);
    Point3 color = SeenRoom(kStage, d);
    if (d.y < -0.05f) { // boards
        const float x = -d.x / d.y, z = -d.z / d.y, board = std::floor(x * 3.2f);
        const float near = SmoothStep(14, 3, std::hypot(x, z));
        const float tone =
            art::Random(static_cast<int>(board), static_cast<int>(std::floor(z * 0.6f + board * 0.37f)), 3);
        const float grain = art::Fractal3({x * 22, 0, z * 1.6f + board}, 3, 9);
        const float gap = SmoothStep(0.46f, 0.5f, std::fabs(x * 3.2f - board - 0.5f));
        color = color * (1 + near * (0.34f * (tone - 0.5f) + 0.35f * grain - 0.6f * gap));
    }
    for (std::size_t i = 0; i < kStage.lights.size(); ++i) {
        const auto& [window, frame] = kStage.lights[i];
        Point3 light = Seen(kStage.lights[i], d);
        if (light.x <= 0) continue;
        if (i < 2) { // bars, and a garden in the lower part
            const Point3 at = d * (window.distance / -Dot(d, frame.facing));
            const float x = Dot(at - frame.center, frame.right) / (window.width * window.distance);
            const float y = Dot(at - frame.center, frame.up) / (window.height * window.distance);
            const float leaves = art::Fractal3({at.x * 5, at.y * 5, at.z * 5}, 4, 21);
            const float garden = 1 - SmoothStep(-0.26f, -0.12f, y + leaves * 0.25f);
            light = Mix(light, Point3{1.5f, 2.1f, 1.1f} * (1 + leaves), garden);
            const float bar = std::max(SmoothStep(0.022f, 0.012f, std::fabs(x)),
                                       std::max(SmoothStep(0.014f, 0.008f, std::fabs(y - 0.17f)),
                                                SmoothStep(0.014f, 0.008f, std::fabs(y + 0.17f))));
            light = Mix(light, {0.5f, 0.5f, 0.5f}, bar);
        }
        color = Brighter(color, light);
    }
    return color;
}

} // namespace content
