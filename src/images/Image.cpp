#include "images/Image.h"

#include "services/StringConversion.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

namespace velorin {

namespace {

using Decoder = std::optional<Image> (*)(Bytes, std::string&);

bool StartsWith(Bytes file, std::string_view magic) {
    return file.size() >= magic.size() && std::memcmp(file.data(), magic.data(), magic.size()) == 0;
}

Decoder DecoderByExtension(std::string_view extension) {
    const std::string lower = SmallLetters(extension);
    if (lower == ".png") return DecodePng;
    if (lower == ".exr") return DecodeExr;
    if (lower == ".hdr" || lower == ".pic") return DecodeRadiance;
    return nullptr;
}

Decoder DecoderByContent(Bytes file) {
    if (StartsWith(file, "\xFF\xD8")) return DecodeJpeg;
    if (StartsWith(file, "\x89PNG")) return DecodePng;
    if (StartsWith(file, "\x76\x2F\x31\x01")) return DecodeExr;
    if (StartsWith(file, "#?")) return DecodeRadiance;
    return nullptr;
}

// Mean of two sets of four bytes, each rounded up: a + b = 2 (a | b) - (a ^ b).
constexpr std::uint32_t MeanUp(std::uint32_t a, std::uint32_t b) {
    return (a | b) - (((a ^ b) >> 1) & 0x7F7F7F7Fu);
}

std::uint32_t Load(const std::uint8_t* pixel) {
    std::uint32_t value;
    std::memcpy(&value, pixel, 4);
    return value;
}

void HalveFloats(const float* source, std::uint32_t width, std::uint32_t height, float* target) {
    const std::uint32_t w = std::max(width / 2, 1u), h = std::max(height / 2, 1u);
    const std::size_t right = width > 1 ? 4 : 0, below = height > 1 ? std::size_t{width} * 4 : 0;
    for (std::uint32_t y = 0; y < h; ++y) {
        const float* row = source + std::size_t{2} * y * width * 4;
        for (std::uint32_t x = 0; x < w; ++x, row += 8)
            for (std::size_t c = 0; c < 4; ++c)
                *target++ = 0.25f * (row[c] + row[c + right] + row[c + below] + row[c + below + right]);
    }
}

} // namespace

Image::Image(std::uint32_t width, std::uint32_t height, Format format)
    : width_(width), height_(height), canvas_{0, 0, width, height}, format_(format) {
    pixels_ = std::make_unique_for_overwrite<std::byte[]>(byteCount());
}

std::optional<Image> DecodeImage(Bytes file, std::string_view extension, std::string& reason) {
    if (file.empty()) {
        reason = "the file is empty";
        return std::nullopt;
    }
    Decoder decoder = DecoderByExtension(extension);
    if (!decoder) decoder = DecoderByContent(file);
    if (decoder) return decoder(file, reason);
    reason = "it is no picture that can be read (PNG, JPEG, OpenEXR, Radiance or DDS)";
    return std::nullopt;
}

bool PlausibleSize(std::uint64_t width, std::uint64_t height, std::uint64_t fileBytes,
                   std::uint64_t pixelsPerByte, std::string& reason) {
    const std::string size = std::to_string(width) + " by " + std::to_string(height) + " pixels";
    // No side above this passes, so that the product cannot wrap.
    constexpr std::uint64_t maxSide = kMaxImagePixels;
    if (width == 0 || height == 0) {
        reason = "its size of " + size + " holds no picture";
    } else if (width > maxSide || height > maxSide || width * height > kMaxImagePixels) {
        reason = "its size of " + size + " is too large";
    } else if (width * height / pixelsPerByte > fileBytes) {
        reason = "the file is too short for its size of " + size;
    } else {
        return true;
    }
    return false;
}

void HalveBytes(const std::uint8_t* source, std::uint32_t width, std::uint32_t height, std::uint8_t* target) {
    const std::uint32_t w = std::max(width / 2, 1u), h = std::max(height / 2, 1u);
    const std::size_t right = width > 1 ? 4 : 0, below = height > 1 ? std::size_t{width} * 4 : 0;
    for (std::uint32_t y = 0; y < h; ++y) {
        const std::uint8_t* row = source + std::size_t{2} * y * width * 4;
        for (std::uint32_t x = 0; x < w; ++x, row += 8, target += 4) {
            const std::uint32_t mean = MeanUp(MeanUp(Load(row), Load(row + right)),
                                              MeanUp(Load(row + below), Load(row + below + right)));
            std::memcpy(target, &mean, 4);
        }
    }
}

Image Halved(const Image& image) {
    if (image.empty()) return {};
    Image half(std::max(image.width() / 2, 1u), std::max(image.height() / 2, 1u), image.format());
    if (image.format() == Image::Format::Rgba8)
        HalveBytes(image.bytes(), image.width(), image.height(), half.bytes());
    else
        HalveFloats(image.floats(), image.width(), image.height(), half.floats());
    return half;
}

Image LimitedTo(Image image, std::uint32_t limit) {
    while ((image.width() > limit || image.height() > limit) && image.width() > 128 && image.height() > 128)
        image = Halved(image);
    return image;
}

std::uint32_t MipLevelCount(std::uint32_t width, std::uint32_t height) {
    return static_cast<std::uint32_t>(std::bit_width(std::max({width, height, 1u})));
}

} // namespace velorin
