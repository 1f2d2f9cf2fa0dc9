#include "Noise.h"
#include "Picture.h"
#include "Scenes.h"
#include "Solid.h"

#include <cmath>

namespace examples {

namespace {

using velorin::kPi;
using velorin::Matrix;

// A vessel of glass has an outer and an inner wall; each is one smooth curve.
void Vessel(Solid& solid, const std::string& name, const std::string& material, Point3 place,
            const std::vector<Point2>& outer, const std::vector<Point2>& inner,
            const std::function<float(float, float)>& relief = {}) {
    solid.group(name);
    solid.material(material);
    solid.transform(Matrix::Translation(place));
    solid.lathe(outer, 144, static_cast<int>(outer.size()) * 9, relief);
    if (!inner.empty()) solid.lathe(inner, 144, static_cast<int>(inner.size()) * 9);
}

} // namespace

bool MakeGlass(const std::filesystem::path& folder) {
    Solid glass;
    Vessel(glass, "Bottle", "Cobalt", {-92, 0, -18},
           {{0, 0},
            {20, 0},
            {34, 0.6f},
            {38, 4},
            {39, 12},
            {39, 40},
            {39, 70},
            {38.5f, 96},
            {34, 112},
            {24, 124},
            {15.5f, 134},
            {13, 148},
            {12.6f, 170},
            {12.8f, 184},
            {16, 186.5f},
            {16.2f, 192},
            {14, 194},
            {11.4f, 194.4f}},
           {{11.4f, 194.4f},
            {10.2f, 190},
            {10, 170},
            {10.4f, 148},
            {13, 135},
            {21, 125},
            {31, 112},
            {35.5f, 96},
            {36, 70},
            {36, 40},
            {35, 14},
            {28, 9},
            {14, 12},
            {0, 15}});
    Vessel(glass, "Goblet", "Ruby", {0, 0, 8},
           {{0, 0},   {30, 0},    {36, 0.5f}, {36.6f, 2},   {32, 3.4f}, {18, 5.6f},   {8, 9},
            {5, 15},  {4.4f, 30}, {4.6f, 44}, {7.4f, 50},   {7.4f, 54}, {5, 58},      {6, 66},
            {14, 74}, {26, 84},   {34, 98},   {37.4f, 114}, {37, 130},  {34.6f, 146}, {33.8f, 147.2f}},
           {{33.8f, 147.2f},
            {33, 146},
            {35.4f, 130},
            {35.8f, 114},
            {32.4f, 99},
            {24.6f, 86.4f},
            {13, 78},
            {0, 74.5f}},
           [](float angle, float height) { // cut facets low on the bowl
               const float band = SmoothStep(72, 78, height) * (1 - SmoothStep(92, 104, height));
               return -1.1f * band * (0.5f - 0.5f * std::cos(angle * 12));
           });
    Vessel(glass, "Jar", "Amber", {96, 0, -26},
           {{0, 0},
            {24, 0},
            {36, 0.8f},
            {43, 8},
            {50, 24},
            {54, 44},
            {54, 62},
            {49, 80},
            {40, 92},
            {33, 98},
            {31, 103},
            {33.5f, 107},
            {35, 111},
            {33, 113.6f},
            {30.4f, 113.8f}},
           {{30.4f, 113.8f},
            {29, 111},
            {28, 104},
            {30, 98},
            {37.4f, 91},
            {46, 79},
            {51, 62},
            {51, 44},
            {47, 25},
            {40, 12},
            {28, 7},
            {0, 6.4f}},
           [](float angle, float height) { // swirled ribs
               const float band = SmoothStep(6, 24, height) * (1 - SmoothStep(84, 98, height));
               return 1.3f * band * std::cos(angle * 22 + height * 0.045f);
           });
    // Marbles and a drop before them.
    glass.group("Marbles");
    const struct {
        const char* material;
        Point3 center;
        float radius;
    } marbles[] = {{"Emerald", {-44, 15, 78}, 15},
                   {"Clear", {46, 19, 92}, 19},
                   {"Cobalt", {82, 10, 104}, 10},
                   {"Amber", {-78, 9, 96}, 9},
                   {"Ruby", {14, 8, 120}, 8}};
    for (const auto& marble : marbles) {
        glass.transform({});
        glass.material(marble.material);
        glass.sphere(marble.center, marble.radius, 96);
    }
    // A round table top with the soft darkening of what stands on it.
    glass.transform({});
    glass.group("Table");
    glass.material("Table");
    glass.surface(96, 48, [](float u, float v) {
        const float a = -2 * kPi * u, r = 260 * (1 - v);
        return Point3{r * std::cos(a), -0.4f - 0.00002f * r * r, r * std::sin(a)};
    });
    glass.material("Rim");
    glass.lathe(
        {{0, -22}, {150, -22}, {250, -22}, {258, -19}, {262, -13}, {263, -8}, {261.5f, -3.6f}, {260, -1.8f}},
        160, 64);
    if (!glass.write(folder / "glass.obj", "Pieces of coloured glass on a round table")) return false;

    const struct {
        float x, z, radius;
    } feet[] = {{-92, -18, 39}, {0, 8, 36},   {96, -26, 44}, {-44, 78, 13},
                {46, 92, 16},   {82, 104, 9}, {-78, 96, 8},  {14, 120, 7}};
    const Picture top = Paint(1024, 1024, [&](float u, float v) {
        // The table's own polar texture: u round, v from the rim (bottom of the picture is v = 0) to the
        // middle.
        const float a = -2 * kPi * u, r = 260 * v;
        const float x = r * std::cos(a), z = r * std::sin(a);
        const float grain = Fractal(0.5f + x / 520, 0.5f + z / 520, 24, 4, 8);
        float light = 1;
        for (const auto& foot : feet) {
            const float d = std::hypot(x - foot.x, z - foot.z);
            light *= 1 - 0.62f * std::exp(-std::max(0.0f, d - foot.radius * 0.8f) / (foot.radius * 0.5f));
        }
        return Point3{0.80f, 0.78f, 0.75f} * (light * (0.94f + 0.06f * grain));
    });
    return WritePng(top, folder / "table.png");
}

} // namespace examples
