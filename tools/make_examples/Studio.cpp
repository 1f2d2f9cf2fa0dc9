#include "Noise.h"
#include "Picture.h"
#include "Scenes.h"
#include "Solid.h"

#include <algorithm>
#include <cmath>

namespace examples {

namespace {

// A soft-edged rectangle of light on the sphere: centre and half size in degrees, longitude 0 in the middle
// of the picture, latitude positive upwards.
struct SoftBox {
    float longitude, latitude, halfWidth, halfHeight, edge;
    Point3 radiance;
};

float Coverage(const SoftBox& box, float longitude, float latitude) {
    float dx = std::fabs(longitude - box.longitude);
    dx = std::min(dx, 360 - dx);
    const float dy = std::fabs(latitude - box.latitude);
    return (1 - SmoothStep(box.halfWidth - box.edge, box.halfWidth + box.edge, dx)) *
           (1 - SmoothStep(box.halfHeight - box.edge, box.halfHeight + box.edge, dy));
}

template <std::size_t N>
Picture LightRoom(const SoftBox (&boxes)[N], Point3 ceiling, Point3 wall, Point3 floor) {
    return Paint(1024, 512, [&](float u, float v) {
        const float longitude = (u - 0.5f) * 360, latitude = (0.5f - v) * 180;
        const float up = SmoothStep(-10, 70, latitude), down = SmoothStep(5, -35, latitude);
        Point3 color = Mix(Mix(wall, ceiling, up), floor, down);
        for (const SoftBox& box : boxes) color = color + box.radiance * Coverage(box, longitude, latitude);
        return color;
    });
}

} // namespace

bool MakeStudio(const std::filesystem::path& folder) {
    // A photographer's table: a large key on the left, a strip on the right, a small rim light behind.
    const SoftBox studio[] = {
        {-62, 38, 34, 24, 5, {9.0f, 8.6f, 8.0f}},
        {70, 20, 11, 38, 4, {4.2f, 4.6f, 5.4f}},
        {170, 55, 40, 12, 6, {3.5f, 3.4f, 3.3f}},
        {5, 82, 180, 9, 6, {2.4f, 2.4f, 2.5f}},
    };
    const Picture room =
        LightRoom(studio, {0.42f, 0.44f, 0.48f}, {0.16f, 0.17f, 0.19f}, {0.07f, 0.065f, 0.06f});

    // Rows of narrow strips, which draw long crisp lines over polished metal.
    const SoftBox strips[] = {
        {-75, 30, 9, 45, 2, {11, 10.4f, 9.4f}}, {-38, 35, 5, 40, 2, {5.5f, 5.3f, 5.0f}},
        {40, 30, 6, 42, 2, {6.0f, 6.3f, 6.9f}}, {82, 25, 12, 40, 3, {7.5f, 8.0f, 9.0f}},
        {0, 75, 60, 10, 4, {4, 4, 4}},          {180, 30, 30, 25, 6, {2.5f, 2.3f, 2.0f}},
        {0, -20, 30, 6, 5, {0.8f, 0.7f, 0.6f}},
    };
    const Picture metal =
        LightRoom(strips, {0.30f, 0.31f, 0.34f}, {0.10f, 0.10f, 0.115f}, {0.05f, 0.045f, 0.04f});

    // A wall of light with a warm low side: glass needs something bright behind it.
    const SoftBox window[] = {
        {-150, 20, 34, 40, 5, {4.6f, 4.8f, 5.2f}},
        {150, 20, 34, 40, 5, {4.6f, 4.8f, 5.2f}},
        {-70, 40, 16, 26, 3, {8.0f, 7.4f, 6.6f}},
        {75, 28, 10, 34, 3, {5.0f, 5.2f, 6.0f}},
    };
    const Picture glass =
        LightRoom(window, {0.75f, 0.82f, 0.95f}, {0.40f, 0.42f, 0.46f}, {0.18f, 0.16f, 0.15f});

    // What polished letters face: a wide soft light behind the camera that fades towards the horizon, so that
    // flat faces carry a gradient, and narrow strips at the sides for the bevels.
    const SoftBox gallery[] = {
        {180, 34, 75, 26, 18, {3.0f, 2.9f, 2.75f}}, {-88, 18, 8, 48, 3, {7.0f, 6.6f, 6.0f}},
        {-52, 34, 5, 34, 2, {4.0f, 3.9f, 3.6f}},    {66, 26, 6, 40, 2, {4.5f, 4.6f, 5.0f}},
        {104, 12, 9, 42, 3, {4.5f, 4.7f, 5.2f}},    {0, 76, 180, 7, 3, {5.0f, 5.0f, 5.0f}},
        {180, -26, 60, 5, 4, {0.9f, 0.75f, 0.55f}},
    };
    const Picture letters =
        LightRoom(gallery, {0.34f, 0.34f, 0.36f}, {0.10f, 0.095f, 0.09f}, {0.05f, 0.042f, 0.036f});

    // A wall behind the set, lit from its middle.
    const Picture backdrop = Paint(512, 512, [](float u, float v) {
        const float d = std::hypot((u - 0.5f) * 1.1f, v - 0.56f) * 2;
        const float light = 0.16f + 0.84f * std::exp(-d * d * 1.6f);
        const float dither = (Noise(u * 512, v * 512, 512, 6) - 0.5f) / 160; // no bands in the gradient
        return Point3{light + dither, light + dither, light + dither};
    });
    Solid wall;
    wall.group("Backdrop");
    wall.material("Backdrop");
    wall.surface(1, 1, [](float u, float v) { return Point3{1 - 2 * u, 2 * v - 1, 0}; });
    if (!wall.write(folder / "backdrop.obj", "A wall that faces the viewer") ||
        !WritePng(backdrop, folder / "backdrop.png"))
        return false;

    return WriteHdr(room, folder / "studio.hdr") && WriteHdr(metal, folder / "strips.hdr") &&
           WriteHdr(glass, folder / "window.hdr") && WriteHdr(letters, folder / "gallery.hdr");
}

} // namespace examples
