#include "Noise.h"
#include "Picture.h"
#include "Scenes.h"
#include "Solid.h"

#include <cmath>
#include <string>

namespace examples {

namespace {

using velorin::kPi;
using velorin::Matrix;

Matrix At(float x, float y, float z = 0, float turn = 0) {
    Matrix spin;
    spin.m[0] = std::cos(turn), spin.m[1] = std::sin(turn);
    spin.m[4] = -std::sin(turn), spin.m[5] = std::cos(turn);
    return spin * Matrix::Translation({x, y, z});
}

// A toothed wheel: rim with teeth, spokes, hub with its arbor.
void Wheel(Solid& solid, Matrix place, const std::string& name, int teeth, float tip, float thickness,
           int spokes) {
    solid.group(name);
    solid.material("Brass");
    solid.transform(place);
    const int points = teeth * 8;
    const float root = tip * (1 - 4.2f / static_cast<float>(teeth)), inner = root * 0.82f;
    Outline hole = Circle(inner, points);
    solid.plate(GearOutline(teeth, root, tip, 0.56f), hole, 0, thickness, thickness * 0.08f, false);
    solid.plate(Circle(tip * 0.2f, 64), Circle(tip * 0.07f, 64), -thickness * 0.1f, thickness * 1.1f,
                thickness * 0.12f, true);
    for (int i = 0; i < spokes; ++i) {
        const float a = 2 * kPi * (static_cast<float>(i) + 0.5f) / static_cast<float>(spokes);
        const Point2 from{tip * 0.17f * std::cos(a), tip * 0.17f * std::sin(a)};
        const Point2 to{inner * 1.01f * std::cos(a), inner * 1.01f * std::sin(a)};
        solid.plate(Stadium(from, to, tip * 0.045f, 24), {}, thickness * 0.1f, thickness * 0.9f,
                    thickness * 0.1f, true);
    }
    solid.material("Steel");
    solid.plate(Circle(tip * 0.075f, 48), {}, -thickness, thickness * 3.2f, 0.06f, true);
    // The pinion below the wheel.
    solid.plate(GearOutline(10, tip * 0.13f, tip * 0.19f, 0.5f), {}, -thickness * 2.4f, -thickness * 0.2f,
                0.04f, false);
}

void Jewel(Solid& solid, float x, float y, float z, float radius) {
    solid.group("Jewels");
    solid.transform(At(x, y, z));
    solid.material("Gold");
    solid.plate(Circle(radius * 1.5f, 72), Circle(radius * 1.02f, 72), -0.2f, 0.16f, 0.07f, true);
    solid.material("Ruby");
    solid.surface(72, 18, [=](float u, float v) { // a cushion with a hole
        const float a = 2 * kPi * u, b = kPi * v;
        const float r = radius * (0.6f + 0.42f * std::cos(b));
        return Point3{r * std::cos(a), r * std::sin(a), radius * 0.34f * std::sin(b)};
    });
    solid.material("Steel");
    solid.sphere({0, 0, -0.02f}, radius * 0.22f, 32);
}

void Screw(Solid& solid, float x, float y, float z, float radius, float turn) {
    solid.group("Screws");
    solid.material("Blued steel");
    // The head in two halves, which leaves the slot between them.
    for (int half = 0; half < 2; ++half) {
        Outline outline;
        const float slot = 0.17f, start = std::asin(slot);
        const int n = 40;
        for (int i = 0; i < n; ++i) {
            const float a = start + (kPi - 2 * start) * static_cast<float>(i) / static_cast<float>(n - 1);
            outline.push_back({radius * std::cos(a), radius * std::sin(a)});
        }
        solid.transform(At(x, y, z, turn + static_cast<float>(half) * kPi));
        solid.plate(outline, {}, 0, radius * 0.5f, radius * 0.07f, false);
    }
    solid.transform(At(x, y, z, turn));
    solid.plate(Circle(radius * 0.985f, 64), {}, -0.3f, radius * 0.2f, 0.02f, true);
    solid.material("Steel");
    solid.plate(Circle(radius * 1.25f, 64), Circle(radius * 1.04f, 64), -0.1f, radius * 0.1f, 0.05f, true);
}

void Bridge(Solid& solid, const std::string& name, Point2 a, Point2 b, float radius, float back,
            float front) {
    solid.group(name);
    solid.material("Nickel");
    solid.transform({});
    solid.plate(Stadium(a, b, radius, 96), {}, back, front, 0.28f, true);
    solid.material("Gold");
    const Outline bead = Stadium(a, b, radius - 0.75f, 96);
    solid.plate(bead, Inset(bead, 0.16f), front - 0.05f, front + 0.06f, 0.03f, true);
}

void Balance(Solid& solid, float x, float y, float z) {
    solid.group("Balance");
    solid.transform(At(x, y, z, 0.4f));
    solid.material("Gold");
    const int points = 192;
    solid.plate(Circle(6.6f, points), Circle(5.7f, points), -0.45f, 0.45f, 0.14f, true);
    for (int i = 0; i < 3; ++i) {
        const float a = 2 * kPi * static_cast<float>(i) / 3;
        solid.plate(Stadium({}, {5.8f * std::cos(a), 5.8f * std::sin(a)}, 0.36f, 32), {}, -0.22f, 0.22f,
                    0.08f, true);
    }
    for (int i = 0; i < 12; ++i) { // timing screws round the rim
        const float a = 2 * kPi * (static_cast<float>(i) + 0.5f) / 12;
        solid.transform(At(x, y, z, 0.4f));
        solid.material("Brass");
        solid.sphere({6.95f * std::cos(a), 6.95f * std::sin(a), 0}, 0.42f, 32);
    }
    solid.material("Steel");
    solid.transform(At(x, y, z));
    solid.plate(Circle(0.55f, 48), {}, -1.6f, 2.1f, 0.1f, true);
    solid.material("Blued steel");
    std::vector<Point3> spiral;
    for (int i = 0; i <= 1400; ++i) {
        const float a = 2 * kPi * static_cast<float>(i) / 110,
                    r = 0.75f + 0.29f * static_cast<float>(i) / 110;
        spiral.push_back({r * std::cos(a), r * std::sin(a), 0.95f});
    }
    solid.tube(spiral, 0.07f, 8);
}

} // namespace

bool MakeWatch(const std::filesystem::path& folder) {
    Solid watch;
    watch.group("Main plate");
    watch.material("Perlage");
    watch.transform({});
    const int rim = 360;
    watch.plate(Circle(30, rim), {}, -3.2f, -1.6f, 0.4f, true);
    watch.material("Nickel");
    watch.plate(Circle(31.6f, rim), Circle(29.8f, rim), -3.4f, 1.2f, 0.35f, true);
    watch.material("Brass");
    watch.plate(GearOutline(180, 31.9f, 32.6f, 0.5f), Circle(31.5f, 1440), -2.4f, -0.6f, 0.06f, false);

    // The train: barrel, centre, third, fourth, escape wheel.
    Wheel(watch, At(-11.5f, 9.5f, 0.2f, 0.1f), "Barrel", 96, 13.2f, 0.8f, 6);
    Wheel(watch, At(4.6f, 3.8f, 1.5f, 0.02f), "Centre wheel", 80, 9.4f, 0.6f, 5);
    Wheel(watch, At(15.2f, 12.4f, 0.1f, 0.2f), "Third wheel", 72, 7.6f, 0.55f, 5);
    Wheel(watch, At(17.4f, -2.2f, 1.2f, 0.05f), "Fourth wheel", 70, 7.0f, 0.5f, 5);
    Wheel(watch, At(11.2f, -13.0f, 0.4f, 0.3f), "Escape wheel", 30, 4.6f, 0.45f, 4);
    Wheel(watch, At(-1.8f, 22.2f, 0.6f, 0.12f), "Crown wheel", 44, 6.0f, 0.7f, 6);

    Balance(watch, -9.0f, -14.5f, 1.4f);

    Bridge(watch, "Barrel bridge", {-24.5f, 3.0f}, {-11.5f, 9.5f}, 3.6f, 2.2f, 3.8f);
    Bridge(watch, "Train bridge", {4.6f, 3.8f}, {24.0f, 7.4f}, 3.1f, 3.3f, 4.8f);
    Bridge(watch, "Fourth bridge", {17.4f, -2.2f}, {26.0f, -8.4f}, 2.4f, 2.6f, 3.9f);
    Bridge(watch, "Escape bridge", {11.2f, -13.0f}, {18.0f, -20.4f}, 2.3f, 2.0f, 3.4f);
    Bridge(watch, "Balance cock", {-9.0f, -14.5f}, {-23.0f, -17.0f}, 3.0f, 3.4f, 5.0f);

    Jewel(watch, -11.5f, 9.5f, 3.8f, 1.15f);
    Jewel(watch, 4.6f, 3.8f, 4.8f, 1.1f);
    Jewel(watch, 15.2f, 12.4f, 2.2f, 0.9f);
    Jewel(watch, 17.4f, -2.2f, 3.9f, 0.95f);
    Jewel(watch, 11.2f, -13.0f, 3.4f, 0.9f);
    Jewel(watch, -9.0f, -14.5f, 5.0f, 1.1f);

    const struct {
        float x, y, z, radius, turn;
    } screws[] = {{-24.5f, 3.0f, 3.8f, 1.5f, 0.5f},   {24.0f, 7.4f, 4.8f, 1.4f, 1.3f},
                  {26.0f, -8.4f, 3.9f, 1.2f, 2.2f},   {18.0f, -20.4f, 3.4f, 1.2f, 0.2f},
                  {-23.0f, -17.0f, 5.0f, 1.5f, 1.0f}, {-2.0f, -25.5f, -1.6f, 1.4f, 0.7f},
                  {-26.5f, 12.0f, -1.6f, 1.1f, 2.0f}, {8.6f, 26.0f, -1.6f, 1.3f, 0.9f},
                  {-1.8f, 22.2f, 1.4f, 1.7f, 0.4f}};
    for (const auto& s : screws) Screw(watch, s.x, s.y, s.z, s.radius, s.turn);
    if (!watch.write(folder / "watch.obj", "The movement of a pocket watch")) return false;

    // Perlage: overlapping rows of circular graining, in plate coordinates (uv = 0.1 * mm + 0.5, repeating).
    const auto grain = [](float u, float v) {
        float height = 0;
        for (int row = 0; row < 6; ++row)
            for (int column = -1; column < 6; ++column)
                for (int wrap = -1; wrap <= 1; ++wrap) {
                    const float cx = (static_cast<float>(column) + (row % 2 ? 0.5f : 0.0f)) / 5;
                    const float cy = (static_cast<float>(row) + 0.5f) / 6 + static_cast<float>(wrap);
                    const float d = std::hypot(u - cx, v - cy) * 5;
                    if (d < 0.8f)
                        height = 0.5f + 0.5f * std::cos(d * 46) * (0.6f + 0.4f * SmoothStep(0.8f, 0.5f, d));
                }
        return height;
    };
    const Picture perlage = NormalMap(1024, 1024, 1.6f, grain);
    // Straight stripes across the bridges, each a shallow cylinder with fine lines along it.
    const Picture stripes = NormalMap(1024, 1024, 7.0f, [](float u, float v) {
        const float f = (u + v) * 3 - std::floor((u + v) * 3);
        return 1.4f * std::sin(f * kPi) + 0.06f * Noise((u + v) * 512, (u - v) * 6, 512, 31);
    });
    return WritePng(perlage, folder / "perlage_normal.png") &&
           WritePng(stripes, folder / "stripes_normal.png");
}

} // namespace examples
