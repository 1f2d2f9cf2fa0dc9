#include "app/images/Decoders.h"
#include "app/images/Picture.h"

#include "services/SafeFile.h"

#include <png.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <csetjmp>
#include <cstring>

namespace velorin::app {

namespace {

// Deflate makes at most 1032 bytes of one; a pixel has at least one bit.
constexpr std::uint64_t kMostPixelsPerByte = 1032 * 8;

struct PngMessage {
    char text[160] = "the picture is damaged";
};

[[noreturn]] void OnError(png_structp png, png_const_charp text) {
    auto* message = static_cast<PngMessage*>(png_get_error_ptr(png));
    std::snprintf(message->text, sizeof message->text, "%s", text);
    png_longjmp(png, 1);
}

void OnWarning(png_structp, png_const_charp) {
}

struct PngSource {
    const std::byte* at;
    std::size_t left;
};

void ReadBytes(png_structp png, png_bytep out, png_size_t count) {
    auto* source = static_cast<PngSource*>(png_get_io_ptr(png));
    if (count > source->left) png_error(png, "the file ends too early");
    std::memcpy(out, source->at, count);
    source->at += count, source->left -= count;
}

void AppendBytes(png_structp png, png_bytep bytes, png_size_t count) {
    auto* out = static_cast<std::vector<std::byte>*>(png_get_io_ptr(png));
    const auto* from = reinterpret_cast<const std::byte*>(bytes);
    out->insert(out->end(), from, from + count);
}

// Everything becomes red, green, blue, alpha of 8 or 16 bits in the machine's byte order.
void AskForRgba(png_structp png, png_infop info) {
    const png_byte depth = png_get_bit_depth(png, info);
    const png_byte color = png_get_color_type(png, info);
    if (color == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(png);
    if (color == PNG_COLOR_TYPE_GRAY && depth < 8) png_set_expand_gray_1_2_4_to_8(png);
    if (png_get_valid(png, info, PNG_INFO_tRNS)) png_set_tRNS_to_alpha(png);
    if (!(color & PNG_COLOR_MASK_COLOR)) png_set_gray_to_rgb(png);
    if (depth == 16 && std::endian::native == std::endian::little) png_set_swap(png);
    png_set_filler(png, 0xFFFF, PNG_FILLER_AFTER);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
}

// No object with a destructor lives in here across the jumps of libpng.
bool DecodeInto(png_structp png, png_infop info, PngSource& source, std::size_t fileBytes, Picture& picture,
                std::vector<png_bytep>& rows, std::string& reason) {
    if (setjmp(png_jmpbuf(png))) return false;
    png_set_read_fn(png, &source, ReadBytes);
    png_set_user_limits(png, kLargestPictureSide, kLargestPictureSide);
    png_read_info(png, info);
    if (!PlausibleSize(png_get_image_width(png, info), png_get_image_height(png, info), fileBytes,
                       kMostPixelsPerByte, reason))
        return false;
    const int depth = png_get_bit_depth(png, info) == 16 ? 16 : 8;
    AskForRgba(png, info);
    picture = Picture(static_cast<int>(png_get_image_width(png, info)),
                      static_cast<int>(png_get_image_height(png, info)), depth);
    if (png_get_rowbytes(png, info) != picture.rowBytes()) return false;
    rows.resize(static_cast<std::size_t>(picture.height));
    for (int y = 0; y < picture.height; ++y)
        rows[static_cast<std::size_t>(y)] = reinterpret_cast<png_bytep>(picture.row(y));
    png_read_image(png, rows.data());
    return true;
}

bool EncodeInto(png_structp png, png_infop info, const Picture& picture, std::vector<std::byte>& out) {
    if (setjmp(png_jmpbuf(png))) return false;
    png_set_write_fn(png, &out, AppendBytes, nullptr);
    png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width), static_cast<png_uint_32>(picture.height),
                 picture.depth, PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
    // Rendered pictures compress almost as well at a third of the default's time.
    png_set_compression_level(png, 3);
    png_write_info(png, info);
    if (picture.depth == 16 && std::endian::native == std::endian::little) png_set_swap(png);
    for (int y = 0; y < picture.height; ++y)
        png_write_row(png, reinterpret_cast<png_const_bytep>(picture.row(y)));
    png_write_end(png, info);
    return true;
}

Picture FloatTo16(const Picture& picture) {
    Picture result(picture.width, picture.height, 16);
    const auto* from = reinterpret_cast<const float*>(picture.pixels.data());
    auto* to = reinterpret_cast<std::uint16_t*>(result.pixels.data());
    for (std::size_t i = 0; i < result.pixels.size() / 2; ++i) {
        const float value = from[i] > 0 ? std::min(from[i], 1.0F) : 0.0F; // NaN becomes 0
        to[i] = static_cast<std::uint16_t>(std::lround(value * 65535.0F));
    }
    return result;
}

} // namespace

bool DecodePng(Bytes bytes, Picture& picture, std::string& reason) {
    PngMessage message;
    PngSource source{bytes.data(), bytes.size()};
    std::vector<png_bytep> rows;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &message, OnError, OnWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    const bool good = info && DecodeInto(png, info, source, bytes.size(), picture, rows, reason);
    png_destroy_read_struct(&png, &info, nullptr);
    if (!good && reason.empty()) reason = message.text;
    return good;
}

bool WritePng(const std::string& path, const Picture& picture, std::string& error) {
    if (picture.depth == 32) return WritePng(path, FloatTo16(picture), error);
    PngMessage message;
    std::vector<std::byte> out;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &message, OnError, OnWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    const bool good = info && EncodeInto(png, info, picture, out);
    png_destroy_write_struct(&png, &info);
    if (!good) {
        error = path + ": " + message.text;
        return false;
    }
    return WriteFileSafely(path, out, error);
}

} // namespace velorin::app
