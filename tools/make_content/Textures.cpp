// Pictures that surfaces are made of. All of them wrap on both sides.
#include "Library.h"
#include "Noise.h"
#include "Picture.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace content {

namespace {

using art::Cells;
using art::Cellular;
using art::Fractal;
using art::Grain;
using art::Picture;
using art::Random;
using art::SmoothStep;
using velorin::kPi;
using velorin::Mix;
using velorin::Normalized;
using velorin::Point2;
using velorin::Point3;

using Color = std::function<Point3(float u, float v)>;
using Height = std::function<float(float u, float v)>;

int Floor(float x) {
    return static_cast<int>(std::floor(x));
}
float Fraction(float x) {
    return x - std::floor(x);
}
Point3 Grey(float x) {
    return {x, x, x};
}
// A place moved by soft noise of that size.
Point2 Warped(float u, float v, int period, float amount, std::uint32_t seed) {
    return {u + amount * (Fractal(u, v, period, 3, seed) - 0.5f),
            v + amount * (Fractal(u, v, period, 3, seed + 50) - 0.5f)};
}

// Wood, sawn along the grain, which runs with u: 0 in the pale early wood, 1 in the dark late wood.
float Rings(float u, float v, float count, std::uint32_t seed) {
    const float bend =
        0.16f * (Grain(u, v, 2, 3, seed) - 0.5f) + 0.05f * (Grain(u, v, 4, 9, seed + 1) - 0.5f);
    const float ring = Fraction((v + bend) * count + 0.35f * Grain(u, v, 6, 40, seed + 2));
    return SmoothStep(0.15f, 0.86f, ring) * (1 - SmoothStep(0.9f, 1.0f, ring));
}
float Fibres(float u, float v, std::uint32_t seed) {
    return 0.5f * Grain(u, v, 10, 300, seed) + 0.3f * Grain(u, v, 24, 512, seed + 1) +
           0.2f * Grain(u, v, 3, 90, seed + 2);
}
float Pores(float u, float v, std::uint32_t seed) {
    return SmoothStep(0.76f, 0.9f, Grain(u, v, 26, 330, seed)) *
           SmoothStep(0.35f, 0.7f, Grain(u, v, 5, 20, seed + 1));
}
Color Wood(Point3 pale, Point3 dark, float count, std::uint32_t seed) {
    return [=](float u, float v) {
        const float tone = 0.62f * Rings(u, v, count, seed) + 0.75f * (Fibres(u, v, seed + 7) - 0.5f) +
                           0.5f * (Fractal(u, v, 2, 3, seed + 9) - 0.5f);
        return Mix(pale, dark, std::clamp(tone + 0.22f, 0.0f, 1.0f)) * (1 - 0.5f * Pores(u, v, seed + 11));
    };
}
Height WoodRelief(float count, std::uint32_t seed) {
    return [=](float u, float v) {
        return 0.5f * Fibres(u, v, seed + 7) - 1.1f * Pores(u, v, seed + 11) -
               0.3f * Rings(u, v, count, seed);
    };
}

// Round dents. Where two meet the smaller of their heights is rounded off, so that mirrored light bends there
// and does not break.
float HammeredHeight(float u, float v) {
    constexpr float kRound = 0.5f; // squared cells over which they blend
    const Cells cells = Cellular(u, v, 9, 1311);
    const float nearest = cells.nearest * cells.nearest, second = cells.second * cells.second;
    const float blend = std::max(kRound - (second - nearest), 0.0f) / kRound;
    return nearest - blend * blend * kRound / 4;
}

// Marble: lines where folded noise crosses its middle. K. Perlin, "An image synthesizer", 1985.
float Vein(float u, float v, int period, float width, std::uint32_t seed) {
    const Point2 far = Warped(u, v, 3, 0.30f, seed), at = Warped(far.x, far.y, 11, 0.09f, seed + 20);
    const float line = std::fabs(Fractal(at.x, at.y, period, 5, seed + 3) - 0.5f);
    return std::exp(-line / (width * (0.3f + 1.4f * Fractal(u, v, 3, 2, seed + 4))));
}
Point3 WhiteMarble(float u, float v) {
    const float cloud = Fractal(u, v, 3, 5, 301);
    Point3 color = Mix({0.93f, 0.93f, 0.92f}, {0.78f, 0.79f, 0.80f}, SmoothStep(0.45f, 0.8f, cloud));
    color = Mix(color, {0.50f, 0.51f, 0.53f}, 0.75f * Vein(u, v, 2, 0.016f, 311));
    color = Mix(color, {0.62f, 0.60f, 0.57f}, 0.5f * Vein(u, v, 5, 0.010f, 331));
    return Mix(color, {0.74f, 0.66f, 0.52f}, 0.30f * Vein(u, v, 3, 0.03f, 351));
}
Point3 BlackMarble(float u, float v) {
    Point3 color = Mix({0.025f, 0.026f, 0.03f}, {0.075f, 0.076f, 0.08f}, Fractal(u, v, 4, 5, 401));
    color = Mix(color, {0.86f, 0.83f, 0.77f}, 0.9f * Vein(u, v, 2, 0.006f, 411));
    return Mix(color, {0.62f, 0.50f, 0.30f}, 0.7f * Vein(u, v, 3, 0.0045f, 441));
}
Point3 Granite(float u, float v) {
    const Point2 at = Warped(u, v, 40, 0.02f, 501);
    const Cells coarse = Cellular(at.x, at.y, 46, 502), fine = Cellular(at.x, at.y, 110, 503);
    const Point3 quartz{0.62f, 0.61f, 0.60f}, feldspar{0.68f, 0.50f, 0.43f}, pale{0.80f, 0.78f, 0.75f},
        mica{0.09f, 0.09f, 0.10f};
    Point3 color = coarse.own < 0.4f ? feldspar : coarse.own < 0.7f ? quartz : pale;
    if (fine.own < 0.24f)
        color = mica;
    else if (fine.own < 0.45f)
        color = Mix(color, quartz, 0.7f);
    return color * (0.84f + 0.32f * Fractal(u, v, 90, 3, 504));
}

float ConcreteHeight(float u, float v) {
    const Cells pit = Cellular(u, v, 22, 603);
    const float hole =
        pit.own > 0.6f ? 1 - SmoothStep(0.03f, 0.05f + 0.16f * (pit.own - 0.6f), pit.nearest) : 0;
    return 2.4f * Fractal(u, v, 12, 6, 601) + 0.8f * Grain(u, v, 300, 300, 602) - 5 * hole;
}
Point3 Concrete(float u, float v) {
    const Cells pit = Cellular(u, v, 22, 603);
    const float hole =
        pit.own > 0.6f ? 1 - SmoothStep(0.03f, 0.05f + 0.16f * (pit.own - 0.6f), pit.nearest) : 0;
    const float stain = Fractal(u, v, 3, 5, 611), grit = Fractal(u, v, 120, 3, 612);
    const Point3 base = Mix({0.54f, 0.535f, 0.52f}, {0.70f, 0.695f, 0.68f}, SmoothStep(0.3f, 0.7f, stain));
    return base * (0.86f + 0.28f * grit) * (1 - 0.45f * hole);
}

// Cloth of `count` threads on each side: who lies on top, and how high.
struct Thread {
    float height;
    bool warp;
    int i, j;
};
Thread Woven(float u, float v, int count, int over, int step) {
    const float x = u * static_cast<float>(count), y = v * static_cast<float>(count);
    const int i = Floor(x), j = Floor(y);
    const bool warp = ((i + j * step) % (over + 1) + over + 1) % (over + 1) < over;
    const float across = (warp ? Fraction(x) : Fraction(y)) * 2 - 1,
                along = (warp ? Fraction(y) : Fraction(x)) * 2 - 1;
    const float round = std::sqrt(std::max(0.0f, 1 - across * across));
    return {round * (1 - 0.35f * along * along), warp, i, j};
}
Point3 Linen(float u, float v) {
    const Point2 at = Warped(u, v, 12, 0.006f, 701);
    const Thread thread = Woven(at.x, at.y, 56, 1, 1);
    const float own = thread.warp ? Random(thread.i, 1, 702) : Random(thread.j, 2, 702);
    const float slub = thread.warp ? Grain(u, v, 56, 7, 703) : Grain(u, v, 7, 56, 704);
    const Point3 flax = Mix({0.70f, 0.64f, 0.53f}, {0.83f, 0.78f, 0.68f}, 0.5f * own + 0.5f * slub);
    return flax * (0.45f + 0.55f * thread.height) * (0.92f + 0.16f * Grain(u, v, 512, 512, 705));
}
Point3 Denim(float u, float v) {
    const Point2 at = Warped(u, v, 10, 0.004f, 711);
    const Thread thread = Woven(at.x, at.y, 72, 2, 1);
    const float worn = Fractal(u, v, 4, 4, 712), own = thread.warp ? Random(thread.i, 3, 713) : 0.5f;
    const Point3 indigo = Mix({0.10f, 0.16f, 0.31f}, {0.27f, 0.36f, 0.53f},
                              0.35f * own + 0.65f * SmoothStep(0.3f, 0.75f, worn));
    return (thread.warp ? indigo : Point3{0.62f, 0.64f, 0.68f}) * (0.5f + 0.5f * thread.height);
}
// Two over two under, as carbon fibre is laid.
Thread Carbon(float u, float v) {
    const float x = u * 16, y = v * 16;
    const int i = Floor(x), j = Floor(y);
    const bool warp = (((i + j) % 4) + 4) % 4 < 2;
    // Each float spans two cells; `along` runs over both.
    const int phase = (((i + j) % 4) + 4) % 4;
    const float along = warp ? (static_cast<float>(phase & 1) + Fraction(y)) / 2
                             : (static_cast<float>(phase & 1) + Fraction(x)) / 2;
    const float across = (warp ? Fraction(x) : Fraction(y)) * 2 - 1, end = along * 2 - 1;
    return {(1 - 0.55f * across * across * across * across) * (1 - 0.5f * end * end), warp, i, j};
}
float CarbonHeight(float u, float v) {
    const Thread tow = Carbon(u, v);
    return 9 * tow.height + 0.5f * (tow.warp ? Grain(u, v, 400, 16, 721) : Grain(u, v, 16, 400, 722));
}
Point3 CarbonColor(float u, float v) {
    const Thread tow = Carbon(u, v);
    const float fibre = tow.warp ? Grain(u, v, 400, 16, 721) : Grain(u, v, 16, 400, 722);
    return Grey((tow.warp ? 0.16f : 0.24f) * (0.55f + 0.45f * tow.height) * (0.75f + 0.5f * fibre));
}

float LeatherHeight(float u, float v) {
    const Point2 at = Warped(u, v, 14, 0.045f, 801);
    const Cells grain = Cellular(at.x, at.y, 34, 802), small = Cellular(at.x, at.y, 90, 803);
    const float crease = SmoothStep(0.0f, 0.30f, grain.second - grain.nearest);
    return 3.4f * crease + 0.8f * SmoothStep(0, 0.4f, small.second - small.nearest) +
           1.5f * Fractal(u, v, 9, 4, 804);
}
Point3 Leather(float u, float v) {
    const Point2 at = Warped(u, v, 14, 0.045f, 801);
    const Cells grain = Cellular(at.x, at.y, 34, 802);
    const float crease = SmoothStep(0.0f, 0.25f, grain.second - grain.nearest);
    return Mix({0.16f, 0.065f, 0.03f}, {0.47f, 0.235f, 0.115f},
               crease * (0.55f + 0.6f * (Fractal(u, v, 5, 4, 805) - 0.2f)));
}

float SkinHeight(float u, float v) {
    const Point2 at = Warped(u, v, 24, 0.02f, 901);
    const Cells lines = Cellular(at.x, at.y, 74, 902), pores = Cellular(at.x, at.y, 58, 903);
    return 1.6f * SmoothStep(0, 0.24f, lines.second - lines.nearest) -
           2.2f * (1 - SmoothStep(0.04f, 0.16f, pores.nearest)) + 2.0f * Fractal(u, v, 14, 4, 904);
}
Point3 Skin(float u, float v) {
    const Cells pores = Cellular(u, v, 58, 903);
    Point3 color = Mix({0.83f, 0.62f, 0.51f}, {0.80f, 0.545f, 0.455f},
                       SmoothStep(0.38f, 0.72f, Fractal(u, v, 5, 5, 911)));
    color = Mix(color, {0.86f, 0.68f, 0.56f}, 0.5f * SmoothStep(0.5f, 0.75f, Fractal(u, v, 11, 4, 912)));
    const Cells freckle = Cellular(u, v, 30, 913);
    const float spot = freckle.own > 0.82f ? 1 - SmoothStep(0.06f, 0.16f, freckle.nearest) : 0;
    color = Mix(color, {0.55f, 0.32f, 0.22f}, 0.35f * spot);
    return color * (1 - 0.12f * (1 - SmoothStep(0.05f, 0.16f, pores.nearest)));
}

float RustMask(float u, float v) {
    return SmoothStep(0.44f, 0.60f, 0.75f * Fractal(u, v, 5, 6, 1001) + 0.25f * Fractal(u, v, 40, 3, 1002));
}
Point3 RustColor(float u, float v) {
    const float mask = RustMask(u, v);
    const Point3 rust = Mix({0.20f, 0.075f, 0.03f}, {0.62f, 0.28f, 0.10f},
                            SmoothStep(0.25f, 0.75f, Fractal(u, v, 22, 5, 1003)));
    return Mix({0.02f, 0.02f, 0.022f}, rust, mask);
}
float RustHeight(float u, float v) {
    return RustMask(u, v) * (2.5f + 4 * Fractal(u, v, 50, 4, 1004));
}

struct Brick {
    float mortar; // 1 in the joint
    float own;
};
Brick Bricks(float u, float v) {
    const float row = v * 8;
    const int j = Floor(row);
    const float x = u * 4 + (j % 2 ? 0.5f : 0.0f);
    const int i = ((Floor(x) % 4) + 4) % 4;
    const float wobble = 0.05f * (Fractal(u, v, 30, 3, 1101) - 0.5f);
    const float dx = std::min(Fraction(x), 1 - Fraction(x)) * 2,
                dy = std::min(Fraction(row), 1 - Fraction(row));
    const float d = std::min(dx, dy) + wobble; // in heights of a brick
    return {1 - SmoothStep(0.055f, 0.10f, d), Random(i, j, 1102)};
}
Point3 BrickColor(float u, float v) {
    const Brick brick = Bricks(u, v);
    const Point3 fired = Mix({0.36f, 0.135f, 0.095f}, {0.63f, 0.30f, 0.20f},
                             0.65f * brick.own + 0.5f * (Fractal(u, v, 16, 4, 1103) - 0.3f));
    return Mix(fired * (0.8f + 0.4f * Fractal(u, v, 100, 3, 1104)), {0.60f, 0.58f, 0.54f}, brick.mortar);
}
float BrickHeight(float u, float v) {
    return 7 * (1 - Bricks(u, v).mortar) + 3.5f * Fractal(u, v, 40, 5, 1105);
}

float LavaCrack(float u, float v) {
    const Point2 at = Warped(u, v, 8, 0.10f, 1201);
    const Cells plate = Cellular(at.x, at.y, 7, 1202), small = Cellular(at.x, at.y, 19, 1203);
    return std::max(1 - SmoothStep(0, 0.10f, plate.second - plate.nearest),
                    0.6f * (1 - SmoothStep(0, 0.07f, small.second - small.nearest)));
}
Point3 LavaGlow(float u, float v) {
    const float heat = std::clamp(LavaCrack(u, v) * (0.5f + Fractal(u, v, 6, 4, 1204)) +
                                      0.25f * SmoothStep(0.62f, 0.8f, Fractal(u, v, 3, 4, 1205)),
                                  0.0f, 1.0f);
    return {std::min(1.0f, 1.9f * heat), std::min(1.0f, 1.1f * heat * heat), 0.55f * heat * heat * heat};
}

bool Save(const Picture& picture, const std::filesystem::path& folder, const std::string& name) {
    return name.ends_with(".png") ? WritePng(picture, folder / name) : WriteJpeg(picture, folder / name, 90);
}

} // namespace

bool MakeTextures(const std::filesystem::path& root, int shrink) {
    const std::filesystem::path folder = root / "Materials/Textures";
    if (!MakeFolder(folder)) return false;

    const struct {
        const char* name;
        int size;
        Color color;
    } pictures[] = {
        {"Oak.jpg", 1024, Wood({0.74f, 0.56f, 0.36f}, {0.47f, 0.30f, 0.16f}, 9, 100)},
        {"Walnut.jpg", 1024, Wood({0.42f, 0.27f, 0.17f}, {0.15f, 0.085f, 0.05f}, 7, 200)},
        {"Marble_White.jpg", 1024, WhiteMarble},
        {"Marble_Black.jpg", 1024, BlackMarble},
        {"Granite.jpg", 1024, Granite},
        {"Concrete.jpg", 1024, Concrete},
        {"Linen.jpg", 1024, Linen},
        {"Denim.jpg", 1024, Denim},
        {"Carbon_Fibre.jpg", 1024, CarbonColor},
        {"Leather.jpg", 1024, Leather},
        {"Skin.jpg", 1024, Skin},
        {"Rust.jpg", 1024, RustColor},
        // Bare metal is smooth and mirrors; rust does neither.
        {"Rust_Bare.jpg", 512, [](float u, float v) { return Grey(1 - RustMask(u, v)); }},
        {"Brick.jpg", 1024, BrickColor},
        {"Lava.jpg", 1024, LavaGlow},
    };
    for (const auto& row : pictures)
        if (!Save(art::Paint(row.size / shrink, row.size / shrink, row.color), folder, row.name))
            return false;

    const struct {
        const char* name;
        int size;
        float strength;
        Height height;
    } reliefs[] = {
        {"Oak_Normal.png", 1024, 1.0f, WoodRelief(9, 100)},
        {"Walnut_Normal.png", 512, 1.0f, WoodRelief(7, 200)},
        {"Concrete_Normal.png", 1024, 0.5f, ConcreteHeight},
        {"Linen_Normal.png", 1024, 2.2f,
         [](float u, float v) {
             const Point2 at = Warped(u, v, 12, 0.006f, 701);
             return Woven(at.x, at.y, 56, 1, 1).height;
         }},
        {"Denim_Normal.png", 1024, 1.8f,
         [](float u, float v) {
             const Point2 at = Warped(u, v, 10, 0.004f, 711);
             return Woven(at.x, at.y, 72, 2, 1).height;
         }},
        {"Carbon_Fibre_Normal.png", 1024, 0.5f, CarbonHeight},
        {"Leather_Normal.png", 1024, 0.55f, LeatherHeight},
        {"Skin_Normal.png", 1024, 0.35f, SkinHeight},
        {"Rust_Normal.png", 512, 0.55f, RustHeight},
        {"Brick_Normal.png", 1024, 0.55f, BrickHeight},
        {"Lava_Normal.png", 512, 2.0f,
         [](float u, float v) { return 3 * Fractal(u, v, 10, 6, 1206) - 2.5f * LavaCrack(u, v); }},
        {"Brushed_Normal.png", 512, 0.32f,
         [](float u, float v) { return Grain(u, v, 4, 512, 1301) + 0.8f * Grain(u, v, 9, 256, 1302); }},
        {"Hammered_Normal.png", 512, 15.0f, HammeredHeight},
        {"Ripples_Normal.png", 512, 14.0f, [](float u, float v) { return Fractal(u, v, 5, 4, 1321); }},
        {"Fine_Grain_Normal.png", 512, 1.0f, [](float u, float v) { return Fractal(u, v, 90, 2, 1331); }},
    };
    for (const auto& row : reliefs)
        if (!Save(art::NormalMap(row.size / shrink, row.size / shrink, row.strength, row.height), folder,
                  row.name))
            return false;

    // Flakes of metal in paint: each lies a little tilted.
    return Save(art::Paint(512 / shrink, 512 / shrink,
                           [](float u, float v) {
                               const float own = Cellular(u, v, 150, 1401).own;
                               const float turn = own * 2 * kPi * 7, tilt = 0.28f * Fraction(own * 13);
                               return (Normalized({tilt * std::cos(turn), tilt * std::sin(turn), 1}) +
                                       Point3{1, 1, 1}) *
                                      0.5f;
                           }),
                folder, "Flakes_Normal.png");
}

} // namespace content
