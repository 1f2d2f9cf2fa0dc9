#include "Noise.h"
#include "Picture.h"
#include "Scenes.h"
#include "Solid.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

// What the scenes of generated models and particles need: floors with soft shadows, a checker, a mark, a pawn
// and a block of cubes.
namespace examples {

namespace {

using velorin::kPi;

// Coverage 0 to 1 as the alpha of a white picture.
bool WriteMask(int size, const std::filesystem::path& path,
               const std::function<float(float u, float v)>& coverage) {
    constexpr int kFine = 4; // samples a pixel and axis
    const auto side = static_cast<std::size_t>(size);
    std::vector<std::uint8_t> bytes(side * side * 4, 255);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            float sum = 0;
            for (int i = 0; i < kFine * kFine; ++i)
                sum += coverage((static_cast<float>(x) + (static_cast<float>(i % kFine) + 0.5f) / kFine) /
                                    static_cast<float>(size),
                                (static_cast<float>(y) + (static_cast<float>(i / kFine) + 0.5f) / kFine) /
                                    static_cast<float>(size));
            bytes[(static_cast<std::size_t>(y) * side + static_cast<std::size_t>(x)) * 4 + 3] =
                static_cast<std::uint8_t>(sum / (kFine * kFine) * 255 + 0.5f);
        }
    }
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = image.height = static_cast<png_uint_32>(size);
    image.format = PNG_FORMAT_RGBA;
    if (png_image_write_to_file(&image, path.c_str(), 0, bytes.data(), 0, nullptr)) return true;
    std::fprintf(stderr, "%s cannot be written: %s\n", path.c_str(), image.message);
    return false;
}

// A shadow on a floor: an ellipse (centre and half axes in units of the floor) that darkens by `depth` in its
// middle and is soft over its outer `softness`.
struct Shadow {
    Point2 center, radius;
    float depth = 0.5f, softness = 0.6f;
};

// A floor of `width` by `height` units around its middle, seen from above with y away from the viewer, lit
// from the middle of its back.
bool PaintFloor(const std::filesystem::path& path, float width, float height, Point3 colour,
                const std::vector<Shadow>& shadows) {
    constexpr int kPixels = 1024;
    const auto rows = static_cast<int>(kPixels * height / width);
    return WritePng(Paint(kPixels, rows,
                          [&](float u, float v) {
                              const float x = (u - 0.5f) * width, y = (0.5f - v) * height;
                              float light = 1;
                              for (const Shadow& s : shadows) {
                                  const float d = std::hypot((x - s.center.x) / s.radius.x,
                                                             (y - s.center.y) / s.radius.y);
                                  light *= 1 - s.depth * (1 - SmoothStep(1 - s.softness, 1, d));
                              }
                              const float dither =
                                  (Noise(u * kPixels, v * kPixels, kPixels, 11) - 0.5f) / 140;
                              return colour * light + Point3{dither, dither, dither};
                          }),
                    path);
}

// Two shadows an object: a wide soft one away from the light, and a small dark one where it stands.
void Stand(std::vector<Shadow>& shadows, Point2 place, Point2 foot) {
    shadows.push_back(
        {{place.x + foot.x * 0.32f, place.y + foot.y * 0.3f}, {foot.x * 1.75f, foot.y * 1.6f}, 0.26f, 0.95f});
    shadows.push_back({place, {foot.x * 1.16f, foot.y * 1.16f}, 0.42f, 0.3f});
}

bool MakeFloors(const std::filesystem::path& folder) {
    std::vector<Shadow> shadows;
    const float half[2][5] = {{0.4f, 0.3f, 0.38f, 0.42f, 0.5f}, {0.4f, 0.42f, 0.3f, 0.34f, 0.42f}};
    const float depth[2][5] = {{0.4f, 0.3f, 0.38f, 0.42f, 0.5f}, {0.4f, 0.12f, 0.3f, 0.14f, 0.14f}};
    for (int row = 0; row < 2; ++row)
        for (int i = 0; i < 5; ++i)
            Stand(shadows, {1.25f * static_cast<float>(i - 2), row == 0 ? 1.2f : -1.1f},
                  {half[row][i], depth[row][i]});
    const bool good = PaintFloor(folder / "primitives_floor.png", 16, 12, {0.76f, 0.74f, 0.72f}, shadows);
    shadows.clear();
    for (int i = 0; i < 13; ++i) {
        const int row = i < 7 ? 0 : 1;
        const float x = row == 0 ? static_cast<float>(i - 3) : static_cast<float>(i - 7) - 2.5f;
        Stand(shadows, {x * 1.02f, row == 0 ? 0.8f : -0.8f}, {0.36f, 0.36f});
    }
    return PaintFloor(folder / "mappings_floor.png", 20, 16, {0.30f, 0.34f, 0.40f}, shadows) && good;
}

Point3 Hue(float hue, float saturation, float value) {
    const auto channel = [&](float offset) {
        const float k = std::fmod(offset + hue * 6, 6.0f);
        return value * (1 - saturation * std::clamp(std::min(k, 4 - k), 0.0f, 1.0f));
    };
    return {channel(5), channel(3), channel(1)};
}

// Eight by eight fields: the hue runs with u, the light ones alternate, and every field carries a corner that
// tells up from down and left from right.
bool MakeChecker(const std::filesystem::path& folder) {
    constexpr int kFields = 8;
    return WritePng(Paint(512, 512,
                          [](float u, float v) {
                              const float x = u * kFields, y = v * kFields;
                              const int column = static_cast<int>(x), row = static_cast<int>(y);
                              const float a = x - std::floor(x), b = y - std::floor(y);
                              const bool dark = (column + row) % 2 == 0;
                              const float down = static_cast<float>(row) / kFields;
                              Point3 c = dark ? Hue(static_cast<float>(column) / kFields, 0.78f,
                                                    0.86f - 0.36f * down)
                                              : Point3{0.95f, 0.94f, 0.92f};
                              if (a + (1 - b) < 0.34f)
                                  c = dark ? Point3{0.97f, 0.96f, 0.94f}
                                           : Hue(static_cast<float>(column) / kFields, 0.7f, 0.6f);
                              const float line = std::min(std::min(a, 1 - a), std::min(b, 1 - b));
                              return line < 0.02f ? Point3{0.12f, 0.12f, 0.14f} : c;
                          }),
                    folder / "checker.png");
}

float DistanceToSegment(Point2 p, Point2 a, Point2 b) {
    const Point2 d{b.x - a.x, b.y - a.y}, q{p.x - a.x, p.y - a.y};
    const float t = std::clamp((q.x * d.x + q.y * d.y) / (d.x * d.x + d.y * d.y), 0.0f, 1.0f);
    return std::hypot(q.x - t * d.x, q.y - t * d.y);
}

// The mark: a valley and its sun in a ring.
bool MakeMark(const std::filesystem::path& folder) {
    return WriteMask(512, folder / "mark.png", [](float u, float v) {
        const Point2 p{2 * u - 1, 1 - 2 * v};
        const float r = std::hypot(p.x, p.y);
        const bool ring = r < 0.98f && r > 0.86f;
        const bool valley = std::min(DistanceToSegment(p, {-0.46f, 0.42f}, {0, -0.5f}),
                                     DistanceToSegment(p, {0.46f, 0.42f}, {0, -0.5f})) < 0.135f;
        const bool sun = std::hypot(p.x, p.y - 0.36f) < 0.17f;
        return ring || valley || sun ? 1.0f : 0.0f;
    });
}

bool MakePawn(const std::filesystem::path& folder) {
    Solid pawn;
    pawn.group("Pawn");
    pawn.material("Checker");
    pawn.lathe({{0, 0},      {15, 0.1f},     {19.4f, 0.7f}, {20.6f, 3},     {20.4f, 6},    {18, 8.6f},
                {15.8f, 10}, {15.4f, 12},    {13.2f, 15},   {10.4f, 21},    {8.4f, 28},    {7.4f, 34},
                {7.8f, 37},  {11.8f, 38.2f}, {13, 39.8f},   {11.8f, 41.4f}, {8.2f, 42.6f}, {9.6f, 45},
                {12.2f, 49}, {12.8f, 53.4f}, {11, 58.6f},   {7, 62.4f},     {3, 64},       {0, 64.4f}},
               40, 60, {}, {4, 3});
    return pawn.write(folder / "pawn.obj", "A pawn of chess, turned");
}

// Three by three cubes, each a mesh of its own.
bool MakeBlock(const std::filesystem::path& folder) {
    Solid block;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            block.group("Cube " + std::to_string(3 * row + column + 1));
            block.material("Cube");
            block.transform(velorin::Matrix::Translation(
                {static_cast<float>(column - 1) * 2, static_cast<float>(1 - row) * 2, 0}));
            constexpr float kHalf = 0.9f;
            block.plate({{-kHalf, -kHalf}, {kHalf, -kHalf}, {kHalf, kHalf}, {-kHalf, kHalf}}, {}, -kHalf,
                        kHalf, 0.1f, false);
        }
    }
    return block.write(folder / "block.obj", "Nine cubes");
}

} // namespace

bool MakeDesigns(const std::filesystem::path& folder) {
    return MakeFloors(folder) && MakeChecker(folder) && MakeMark(folder) && MakePawn(folder) &&
           MakeBlock(folder);
}

} // namespace examples
