#include "Noise.h"
#include "Picture.h"
#include "Scenes.h"
#include "Solid.h"

#include <algorithm>
#include <cmath>

namespace examples {

namespace {

using velorin::kPi;
using velorin::Matrix;
using velorin::Mix;

constexpr float kVaseHeight = 210;

// The engraving: leaves round the belly, a lattice above them, turned grooves at the shoulder and the foot.
// Depth in millimetres, 0 untouched, negative cut. `turn` runs 0 to 1 round the vase, `height` from the foot.
float Engraving(float turn, float height) {
    float depth = 0;
    const auto within = [&](float low, float high, float soft) {
        return SmoothStep(low - soft, low + soft, height) *
               (1 - SmoothStep(high - soft, high + soft, height));
    };
    // Upright leaves: between two neighbours the surface is cut away to a point.
    const float belly = within(34, 92, 1.2f);
    if (belly > 0) {
        const float across = std::fabs(std::fmod(turn * 16 + 16, 1.0f) - 0.5f) * 2; // 0 at the leaf's middle
        const float along = std::clamp((height - 34) / 58, 0.0f, 1.0f);
        const float halfWidth = 0.94f * std::pow(std::sin(kPi * std::pow(1 - along, 0.62f)), 0.7f) + 0.02f;
        const float outside = SmoothStep(halfWidth - 0.1f, halfWidth + 0.1f, across);
        const float vein = (1 - SmoothStep(0.02f, 0.1f, across)) * (1 - outside);
        const float ribs = 0.5f + 0.5f * std::cos((along * 9 + across * 1.6f) * 2 * kPi);
        depth -= belly * (1.5f * outside + 0.5f * vein + 0.22f * ribs * (1 - outside));
    }
    // A lattice of two families of turned lines.
    const float lattice = within(103, 132, 0.8f);
    if (lattice > 0) {
        const auto line = [](float x) {
            const float f = x - std::floor(x);
            return 1 - SmoothStep(0.05f, 0.16f, std::min(f, 1 - f));
        };
        const float a = turn * 36, b = height / 9.0f;
        depth -= lattice * 0.9f * std::max(line(a + b), line(a - b));
    }
    for (const float groove : {97.0f, 100.0f, 135.0f, 138.0f, 22.0f, 26.0f}) {
        const float d = (height - groove) / 0.8f;
        depth -= 0.8f * std::exp(-d * d);
    }
    return depth;
}

Matrix TurnedUpright() { // a ring about z becomes one about y
    Matrix m;
    m.m = {1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1};
    return m;
}

std::vector<Point2> OuterProfile() {
    return {{0, 2},       {20, 2},      {30, 1.2f},   {33, 3},         {33.5f, 8},
            {31, 14},     {32, 20},     {40, 30},     {50, 42},        {58.5f, 56},
            {63, 70},     {64, 84},     {61.5f, 98},  {55.5f, 112},    {46, 126},
            {35.5f, 139}, {27, 151},    {22.5f, 163}, {21.5f, 174},    {23, 185},
            {27.5f, 195}, {33.5f, 203}, {38, 208},    {39.4f, 210.2f}, {38.4f, 211.4f}};
}

std::vector<Point2> InnerProfile() {
    return {{38.4f, 211.4f}, {36.8f, 210.6f}, {31.5f, 203.5f}, {25, 195}, {20.4f, 185}, {18.8f, 174},
            {19.5f, 163},    {24, 151},       {32, 139},       {42, 126}, {51, 112},    {57, 98},
            {60, 80},        {57, 60},        {46, 42},        {30, 28},  {12, 22},     {0, 21}};
}

} // namespace

bool MakeVase(const std::filesystem::path& folder) {
    Solid vase;
    vase.group("Vase");
    vase.material("Glaze");
    vase.lathe(OuterProfile(), 448, 360,
               [](float angle, float height) { return Engraving(-angle / (2 * kPi), height); });
    vase.material("Inside");
    vase.lathe(InnerProfile(), 160, 70);

    vase.group("Rings");
    vase.material("Gilding");
    for (const Point2 ring : {Point2{33.9f, 5.5f}, {25.6f, 153.5f}, {23.9f, 158.5f}, {39.1f, 210.4f}}) {
        vase.transform(TurnedUpright() * Matrix::Translation({0, ring.y, 0}));
        vase.torus({}, ring.x, ring.y > 200 ? 0.8f : 1.1f, 200, 20);
    }

    vase.transform({});
    vase.group("Plinth");
    vase.material("Wood");
    const std::vector<Point2> plinth{{0, -26},     {40, -26}, {74, -26}, {78, -25}, {79, -22}, {77, -18},
                                     {72, -15.5f}, {69, -13}, {69, -9},  {71, -7},  {74, -5},  {74.5f, -2.5f},
                                     {73, -0.4f},  {70, 0},   {40, 0},   {0, 0}};
    vase.lathe(plinth, 220, 150, {}, {4, 2});
    if (!vase.write(folder / "vase.obj", "A turned and engraved vase on a wooden plinth")) return false;

    // The glaze runs off the edges and pools in the engraving, where it is deeper in colour.
    const auto profile = OuterProfile();
    const auto heightAt = [&](float v) { // the mesh's v to millimetres, by the profile's even steps
        const float s = (1 - v) * static_cast<float>(profile.size() - 1);
        const auto i = std::min(static_cast<std::size_t>(s), profile.size() - 2);
        const float f = s - static_cast<float>(i);
        return profile[i].y + (profile[i + 1].y - profile[i].y) * f;
    };
    const Picture glaze = Paint(2048, 1024, [&](float u, float v) {
        const float height = heightAt(v), cut = -Engraving(u, height);
        const float cloud = Fractal(u, v, 6, 5, 11);
        const float pool = std::clamp(cut / 1.5f, 0.0f, 1.0f);
        Point3 color = Mix({0.60f, 0.76f, 0.70f}, {0.42f, 0.66f, 0.60f}, cloud);
        color = Mix(color, {0.07f, 0.30f, 0.30f}, 0.82f * pool);
        const float thin = std::exp(-std::pow((height - kVaseHeight) / 5, 2.0f)); // clay shows at the lip
        color = Mix(color, {0.60f, 0.45f, 0.30f}, 0.6f * thin);
        const Cells crackle = Cellular(u * 2, v, 34, 5);
        const float crack = 1 - SmoothStep(0.0f, 0.035f, crackle.second - crackle.nearest);
        color = Mix(color, {0.20f, 0.30f, 0.26f}, 0.45f * crack);
        const float iron = SmoothStep(0.80f, 0.88f, Noise(u * 420, v * 210, 420, 77));
        return Mix(color, {0.30f, 0.20f, 0.11f}, 0.5f * iron * (1 - pool));
    });
    const Picture skin = NormalMap(2048, 1024, 2.2f, [&](float u, float v) {
        const Cells crackle = Cellular(u * 2, v, 34, 5);
        const float crack = 1 - SmoothStep(0.0f, 0.05f, crackle.second - crackle.nearest);
        return 0.35f * Fractal(u, v, 40, 3, 3) - 0.22f * crack;
    });
    const Picture wood = Paint(1024, 1024, [](float u, float v) {
        const float warp = Fractal(u, v, 3, 4, 21);
        const float rings = 0.5f + 0.5f * std::sin((v * 9 + warp * 2.2f) * 2 * kPi);
        const float fibre = Fractal(u * 0.5f, v, 96, 2, 4) * 0.6f + Noise(u * 16, v * 512, 512, 9) * 0.4f;
        Point3 color = Mix({0.24f, 0.115f, 0.055f}, {0.40f, 0.21f, 0.10f}, rings * 0.6f + warp * 0.4f);
        return color * (0.72f + 0.5f * fibre);
    });
    return WritePng(glaze, folder / "vase_glaze.png") && WritePng(skin, folder / "vase_normal.png") &&
           WritePng(wood, folder / "wood.png");
}

} // namespace examples
