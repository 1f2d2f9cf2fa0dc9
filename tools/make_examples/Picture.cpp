#include "Picture.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <png.h>

namespace examples {

namespace {

std::uint32_t Hash(int x, int y, std::uint32_t seed) {
    std::uint32_t h = static_cast<std::uint32_t>(x) * 0x9E3779B1u ^
                      static_cast<std::uint32_t>(y) * 0x85EBCA77u ^ seed * 0xC2B2AE3Du;
    h = (h ^ (h >> 15)) * 0x2C1B3C6Du;
    h = (h ^ (h >> 12)) * 0x297A2D39u;
    return h ^ (h >> 15);
}

float Unit(std::uint32_t h) {
    return static_cast<float>(h >> 8) * (1.0f / 16777216.0f);
}

int Wrap(int i, int period) {
    return ((i % period) + period) % period;
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File Open(const std::filesystem::path& path) {
    File file(std::fopen(path.c_str(), "wb"));
    if (!file) std::fprintf(stderr, "%s cannot be written\n", path.c_str());
    return file;
}

} // namespace

float SmoothStep(float low, float high, float x) {
    const float t = std::clamp((x - low) / (high - low), 0.0f, 1.0f);
    return t * t * (3 - 2 * t);
}

float Noise(float x, float y, int period, std::uint32_t seed) {
    const float fx = std::floor(x), fy = std::floor(y);
    const int ix = static_cast<int>(fx), iy = static_cast<int>(fy);
    const auto fade = [](float t) { return t * t * t * (t * (t * 6 - 15) + 10); };
    const float tx = fade(x - fx), ty = fade(y - fy);
    const auto at = [&](int i, int j) {
        return Unit(Hash(Wrap(ix + i, period), Wrap(iy + j, period), seed));
    };
    const float top = at(0, 0) + (at(1, 0) - at(0, 0)) * tx, bottom = at(0, 1) + (at(1, 1) - at(0, 1)) * tx;
    return top + (bottom - top) * ty;
}

float Fractal(float u, float v, int period, int octaves, std::uint32_t seed) {
    float sum = 0, weight = 0.5f, total = 0;
    for (int i = 0; i < octaves; ++i) {
        const int cells = period << i;
        sum += weight * Noise(u * static_cast<float>(cells), v * static_cast<float>(cells), cells,
                              seed + static_cast<std::uint32_t>(i));
        total += weight;
        weight *= 0.5f;
    }
    return sum / total;
}

Cells Cellular(float u, float v, int period, std::uint32_t seed) {
    const float x = u * static_cast<float>(period), y = v * static_cast<float>(period);
    const int ix = static_cast<int>(std::floor(x)), iy = static_cast<int>(std::floor(y));
    Cells cells{9, 9};
    for (int j = iy - 1; j <= iy + 1; ++j)
        for (int i = ix - 1; i <= ix + 1; ++i) {
            const std::uint32_t h = Hash(Wrap(i, period), Wrap(j, period), seed);
            const float dx = static_cast<float>(i) + Unit(h) - x;
            const float dy = static_cast<float>(j) + Unit(h * 747796405u + 1u) - y;
            const float d = std::hypot(dx, dy);
            if (d < cells.nearest) {
                cells.second = cells.nearest;
                cells.nearest = d;
            } else {
                cells.second = std::min(cells.second, d);
            }
        }
    return cells;
}

Picture Paint(int width, int height, const std::function<Point3(float, float)>& color) {
    Picture picture{width, height, {}};
    picture.pixels.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture.pixels.push_back(color((static_cast<float>(x) + 0.5f) / static_cast<float>(width),
                                           (static_cast<float>(y) + 0.5f) / static_cast<float>(height)));
    return picture;
}

Picture NormalMap(int width, int height, float strength, const std::function<float(float, float)>& heightAt) {
    Picture field = Paint(width, height, [&](float u, float v) { return Point3{heightAt(u, v), 0, 0}; });
    Picture normals{width, height, {}};
    normals.pixels.resize(field.pixels.size());
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const float dx = field.at((x + 1) % width, y).x - field.at((x + width - 1) % width, y).x;
            const float dy = field.at(x, (y + 1) % height).x - field.at(x, (y + height - 1) % height).x;
            const Point3 n = velorin::Normalized({-dx * strength, dy * strength, 1}); // green up
            normals.at(x, y) = (n + Point3{1, 1, 1}) * 0.5f;
        }
    return normals;
}

bool WritePng(const Picture& picture, const std::filesystem::path& path) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(picture.pixels.size() * 3);
    const auto byte = [](float v) {
        return static_cast<std::uint8_t>(std::clamp(v, 0.0f, 1.0f) * 255 + 0.5f);
    };
    for (const Point3& p : picture.pixels) bytes.insert(bytes.end(), {byte(p.x), byte(p.y), byte(p.z)});
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.width);
    image.height = static_cast<png_uint_32>(picture.height);
    image.format = PNG_FORMAT_RGB;
    if (png_image_write_to_file(&image, path.c_str(), 0, bytes.data(), 0, nullptr)) return true;
    std::fprintf(stderr, "%s cannot be written: %s\n", path.c_str(), image.message);
    return false;
}

bool WriteHdr(const Picture& picture, const std::filesystem::path& path) {
    const File file = Open(path);
    if (!file) return false;
    std::fprintf(file.get(), "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y %d +X %d\n", picture.height,
                 picture.width);
    std::vector<std::uint8_t> row(static_cast<std::size_t>(picture.width) * 4);
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const Point3& p = picture.at(x, y);
            std::uint8_t* rgbe = &row[static_cast<std::size_t>(x) * 4];
            const float largest = std::max({p.x, p.y, p.z});
            if (largest < 1e-30f) {
                std::fill(rgbe, rgbe + 4, std::uint8_t{0});
                continue;
            }
            int exponent = 0;
            const float scale = std::frexp(largest, &exponent) * 256 / largest;
            rgbe[0] = static_cast<std::uint8_t>(p.x * scale);
            rgbe[1] = static_cast<std::uint8_t>(p.y * scale);
            rgbe[2] = static_cast<std::uint8_t>(p.z * scale);
            rgbe[3] = static_cast<std::uint8_t>(exponent + 128);
        }
        std::fwrite(row.data(), 1, row.size(), file.get());
    }
    return std::fflush(file.get()) == 0 && std::ferror(file.get()) == 0;
}

} // namespace examples
