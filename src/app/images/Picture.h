#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velorin::app {

// A picture in memory: rows from the top, red, green, blue, alpha in every pixel, straight alpha. 8 bits:
// bytes; 16: 0 to 65535; 32: floats.
struct Picture {
    int width = 0, height = 0;
    int depth = 8;
    std::vector<std::byte> pixels;

    Picture() = default;
    Picture(int width_, int height_, int depth_)
        : width(width_),
          height(height_),
          depth(depth_),
          pixels(rowBytes() * static_cast<std::size_t>(height_)) {}

    [[nodiscard]] std::size_t pixelBytes() const { return static_cast<std::size_t>(depth) / 2; }
    [[nodiscard]] std::size_t rowBytes() const { return static_cast<std::size_t>(width) * pixelBytes(); }
    [[nodiscard]] std::byte* row(int y) { return pixels.data() + rowBytes() * static_cast<std::size_t>(y); }
    [[nodiscard]] const std::byte* row(int y) const {
        return pixels.data() + rowBytes() * static_cast<std::size_t>(y);
    }
};

// Reads PNG (8 or 16 bits), JPEG (8), OpenEXR (32, its display window) or Radiance (32), known by their first
// bytes. False with a few words without the file's name when it cannot be read; a picture whose size the
// file's bytes cannot fill is refused before memory is asked for. With a picture, `reason` is empty or says
// what is wrong with it.
[[nodiscard]] bool ReadPicture(const std::string& path, Picture& picture, std::string& reason);

// Writes beside the place and renames over it. PNG: 8 or 16 bits of straight alpha; a float picture is
// clamped to 0..1 and stored with 16. EXR: floats, premultiplied. False with one sentence that names the
// file.
[[nodiscard]] bool WritePng(const std::string& path, const Picture& picture, std::string& error);
[[nodiscard]] bool WriteExr(const std::string& path, const Picture& picture, std::string& error);

} // namespace velorin::app
