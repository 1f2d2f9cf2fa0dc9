#pragma once

#include "services/NxMath.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

// What our own tools draw pictures with: the same bytes at every run.
namespace art {

using velorin::Point3;

// Linear or display values, row 0 at the top; u and v of a sampler run 0 to 1 from the left and the top.
struct Picture {
    int width = 0, height = 0;
    std::vector<Point3> pixels;
    [[nodiscard]] Point3& at(int x, int y) {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(x)];
    }
    [[nodiscard]] const Point3& at(int x, int y) const {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(x)];
    }
};

// `color` is called from several threads at once and must depend on nothing but its place.
[[nodiscard]] Picture Paint(int width, int height, const std::function<Point3(float u, float v)>& color);

// A tangent-space normal map of a height field (1 unit of height a pixel at strength 1); both sides wrap.
[[nodiscard]] Picture NormalMap(int width, int height, float strength,
                                const std::function<float(float u, float v)>& heightAt);

// Half the width and height, each pixel the mean of four.
[[nodiscard]] Picture Halved(const Picture& picture);

// 8-bit PNG, values clamped to 0..1. False with a line on stderr when it cannot be written.
[[nodiscard]] bool WritePng(const Picture& picture, const std::filesystem::path& path);
// 8-bit JPEG of that quality (1 to 100) with full colour resolution, values clamped to 0..1.
[[nodiscard]] bool WriteJpeg(const Picture& picture, const std::filesystem::path& path, int quality);
// Radiance RGBE, rows packed by runs. G. Ward, "Real pixels", Graphics Gems II, 1991.
[[nodiscard]] bool WriteHdr(const Picture& picture, const std::filesystem::path& path);

} // namespace art
