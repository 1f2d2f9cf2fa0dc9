#include "images/ImageWriter.h"

#include <png.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <csetjmp>
#include <cstdio>

namespace velorin {

namespace {

struct PngMessage {
    char text[160] = "the picture cannot be written";
};

[[noreturn]] void OnError(png_structp png, png_const_charp text) {
    auto* message = static_cast<PngMessage*>(png_get_error_ptr(png));
    std::snprintf(message->text, sizeof message->text, "%s", text);
    png_longjmp(png, 1);
}

void OnWarning(png_structp, png_const_charp) {
}

void AppendBytes(png_structp png, png_bytep bytes, png_size_t count) {
    auto* out = static_cast<std::vector<std::byte>*>(png_get_io_ptr(png));
    const auto* from = reinterpret_cast<const std::byte*>(bytes);
    out->insert(out->end(), from, from + count);
}

// No object with a destructor lives in here across the jumps of libpng.
bool EncodeInto(png_structp png, png_infop info, const Pixels& pixels, std::vector<std::byte>& out) {
    if (setjmp(png_jmpbuf(png))) return false;
    png_set_write_fn(png, &out, AppendBytes, nullptr);
    png_set_IHDR(png, info, pixels.width, pixels.height, pixels.depth, PNG_COLOR_TYPE_RGB_ALPHA,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
    // Rendered pictures compress almost as well at a third of the default's time.
    png_set_compression_level(png, 3);
    png_write_info(png, info);
    if (pixels.depth == 16 && std::endian::native == std::endian::little) png_set_swap(png);
    const std::size_t rowBytes = std::size_t{pixels.width} * 4 * static_cast<std::size_t>(pixels.depth) / 8;
    for (std::size_t y = 0; y < pixels.height; ++y)
        png_write_row(png, reinterpret_cast<png_const_bytep>(pixels.bytes.data() + y * rowBytes));
    png_write_end(png, info);
    return true;
}

std::vector<std::uint16_t> FloatsTo16(const Pixels& pixels) {
    std::vector<std::uint16_t> result(pixels.bytes.size() / sizeof(float));
    const auto* from = reinterpret_cast<const float*>(pixels.bytes.data());
    for (std::size_t i = 0; i < result.size(); ++i) {
        const float value = from[i] > 0 ? std::min(from[i], 1.0F) : 0.0F; // NaN becomes 0
        result[i] = static_cast<std::uint16_t>(std::lround(value * 65535.0F));
    }
    return result;
}

} // namespace

std::optional<std::vector<std::byte>> EncodePng(const Pixels& pixels, std::string& reason) {
    if (pixels.depth == 32) {
        const std::vector<std::uint16_t> integers = FloatsTo16(pixels);
        return EncodePng({pixels.width, pixels.height, 16, std::as_bytes(std::span(integers))}, reason);
    }
    PngMessage message;
    std::vector<std::byte> out;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &message, OnError, OnWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    const bool good = info && EncodeInto(png, info, pixels, out);
    png_destroy_write_struct(&png, &info);
    if (good) return out;
    reason = message.text;
    return std::nullopt;
}

} // namespace velorin
