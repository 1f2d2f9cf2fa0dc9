#pragma once

#include "services/ByteReader.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace velorin {

// A decoded picture: four channels a pixel, red, green, blue, alpha (straight), rows without gaps. Row 0 is
// the top row of the picture; uploaded as it stands it lies at texture coordinate v = 0.
class Image {
public:
    enum class Format : std::uint8_t {
        Rgba8,    // 0 to 255
        RgbaFloat // 1 is white
    };

    // An image without pixels.
    Image() = default;
    // Pixels are not initialised.
    Image(std::uint32_t width, std::uint32_t height, Format format);

    [[nodiscard]] std::uint32_t width() const { return width_; }
    [[nodiscard]] std::uint32_t height() const { return height_; }
    [[nodiscard]] Format format() const { return format_; }
    [[nodiscard]] bool empty() const { return !pixels_; }
    [[nodiscard]] std::size_t pixelCount() const { return std::size_t{width_} * height_; }
    [[nodiscard]] std::size_t bytesPerPixel() const { return format_ == Format::Rgba8 ? 4 : 16; }
    [[nodiscard]] std::size_t byteCount() const { return pixelCount() * bytesPerPixel(); }

    // What a viewer shows, in pixels of the image: the whole of it, but for an OpenEXR file whose display
    // window is another than its data window. The decoders set it.
    struct Canvas {
        std::int64_t left = 0, top = 0;
        std::uint64_t width = 0, height = 0;
    };
    [[nodiscard]] const Canvas& canvas() const { return canvas_; }
    void setCanvas(const Canvas& canvas) { canvas_ = canvas; }

    [[nodiscard]] std::byte* data() { return pixels_.get(); }
    [[nodiscard]] const std::byte* data() const { return pixels_.get(); }
    // The same memory as values; only of the matching format.
    [[nodiscard]] std::uint8_t* bytes() { return reinterpret_cast<std::uint8_t*>(pixels_.get()); }
    [[nodiscard]] const std::uint8_t* bytes() const {
        return reinterpret_cast<const std::uint8_t*>(pixels_.get());
    }
    [[nodiscard]] float* floats() { return reinterpret_cast<float*>(pixels_.get()); }
    [[nodiscard]] const float* floats() const { return reinterpret_cast<const float*>(pixels_.get()); }

private:
    std::unique_ptr<std::byte[]> pixels_;
    std::uint32_t width_ = 0, height_ = 0;
    Canvas canvas_;
    Format format_ = Format::Rgba8;
};

// The decoders: from a whole file to an image. Nothing on failure, and `reason` says in a few words why ("the
// file is cut short"). With an image, `reason` is empty or says what is wrong with it (a JPEG whose end is
// missing shows what came before). No input crashes, hangs or asks for memory out of proportion to its bytes.
//
// PNG: 8 bits or less give Rgba8, 16 bits give RgbaFloat (value / 65535). Grey, palette and transparency are
// expanded; gamma and colour profile chunks are ignored.
[[nodiscard]] std::optional<Image> DecodePng(Bytes file, std::string& reason);
// JPEG: Rgba8; grey and CMYK (Adobe's inverted and the plain one) are converted.
[[nodiscard]] std::optional<Image> DecodeJpeg(Bytes file, std::string& reason);
// OpenEXR: RgbaFloat of the data window, wherever it lies; channels R, G, B, A, or luminance with or without
// chroma. A missing alpha is 1, another missing channel 0. Of a file of several parts, the first.
[[nodiscard]] std::optional<Image> DecodeExr(Bytes file, std::string& reason);
// Radiance pictures (".hdr", ".pic"): RgbaFloat with alpha 1, the mantissa's value times 2^(exponent - 136)
// without regard to the exposure lines; flat, old and new run-length scan lines, all eight orientations; XYZE
// is converted to Radiance's RGB.
[[nodiscard]] std::optional<Image> DecodeRadiance(Bytes file, std::string& reason);

// By the extension, in any case and with its dot: ".png", ".exr", ".hdr", ".pic"; everything else by the
// first bytes of the file.
[[nodiscard]] std::optional<Image> DecodeImage(Bytes file, std::string_view extension, std::string& reason);

// Largest number of pixels that is decoded.
inline constexpr std::uint64_t kMaxImagePixels = std::uint64_t{1} << 28;

// Whether a header's size may be believed: no side 0, not above kMaxImagePixels, and at most `pixelsPerByte`
// for each of the file's bytes (how far the format can compress). Sets `reason` when not.
[[nodiscard]] bool PlausibleSize(std::uint64_t width, std::uint64_t height, std::uint64_t fileBytes,
                                 std::uint64_t pixelsPerByte, std::string& reason);

// Half the size in both directions (rounded down, not below 1): each pixel the mean of 2 by 2. Bytes round up
// at each of the two steps, pairs of neighbours in a row first; an odd last column or row is left out.
[[nodiscard]] Image Halved(const Image& image);
void HalveBytes(const std::uint8_t* source, std::uint32_t width, std::uint32_t height, std::uint8_t* target);

// Halves while a side is above `limit` and both sides are above 128.
[[nodiscard]] Image LimitedTo(Image image, std::uint32_t limit);

// Levels of a full mip chain down to 1 by 1.
[[nodiscard]] std::uint32_t MipLevelCount(std::uint32_t width, std::uint32_t height);

} // namespace velorin
