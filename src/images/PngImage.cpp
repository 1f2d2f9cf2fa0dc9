#include "images/Image.h"

#include <png.h>

#include <algorithm>
#include <bit>
#include <csetjmp>
#include <cstring>
#include <vector>

namespace velorin {

namespace {

constexpr std::uint64_t kBitsPerByte = 1032 * 8; // deflate gives at most 1032 bytes a byte

struct PngSource {
    ByteReader reader;
    std::string* reason;
    std::jmp_buf escape;
};

void ReadBytes(png_structp png, png_bytep target, png_size_t count) {
    auto* source = static_cast<PngSource*>(png_get_io_ptr(png));
    const auto part = source->reader.Take(count);
    if (!part) png_error(png, "the file is cut short");
    std::memcpy(target, part->data(), count);
}

[[noreturn]] void OnError(png_structp png, png_const_charp message) {
    auto* source = static_cast<PngSource*>(png_get_error_ptr(png));
    *source->reason = std::string("the PNG data is damaged (") + message + ")";
    std::longjmp(source->escape, 1);
}

void OnWarning(png_structp, png_const_charp) {
}

// What outlives the jump.
struct PngState {
    png_structp png = nullptr;
    png_infop info = nullptr;
    std::vector<png_bytep> rows;
    Image image;
    ~PngState() { png_destroy_read_struct(&png, &info, nullptr); }
};

// Everything becomes RGBA of 8 or 16 bits, the latter in this machine's byte order. False for a size that is
// refused.
bool ReadHeader(PngState& state, PngSource& source, std::uint64_t fileBytes) {
    png_structp png = state.png;
    png_read_info(png, state.info);
    const png_uint_32 width = png_get_image_width(png, state.info),
                      height = png_get_image_height(png, state.info);
    const std::uint64_t pixelBits =
        std::uint64_t{png_get_bit_depth(png, state.info)} * png_get_channels(png, state.info);
    if (!PlausibleSize(width, height, fileBytes, kBitsPerByte / std::max<std::uint64_t>(pixelBits, 1),
                       *source.reason))
        return false;
    const bool deep = png_get_bit_depth(png, state.info) == 16;
    png_set_expand(png);
    png_set_gray_to_rgb(png);
    png_set_add_alpha(png, deep ? 0xFFFF : 0xFF, PNG_FILLER_AFTER);
    if (deep && std::endian::native == std::endian::little) png_set_swap(png);
    (void)png_set_interlace_handling(png);
    png_read_update_info(png, state.info);
    state.image = Image(width, height, deep ? Image::Format::RgbaFloat : Image::Format::Rgba8);
    return true;
}

// Values of 16 bits stand in the last half of each row's memory, so that widening in place from the front
// never overtakes them.
void PrepareRows(PngState& state) {
    const std::size_t rowBytes = state.image.width() * state.image.bytesPerPixel();
    const std::size_t lead = state.image.format() == Image::Format::RgbaFloat ? rowBytes / 2 : 0;
    state.rows.resize(state.image.height());
    for (std::size_t y = 0; y < state.rows.size(); ++y)
        state.rows[y] = state.image.bytes() + y * rowBytes + lead;
}

void WidenRows(PngState& state) {
    const std::size_t values = std::size_t{4} * state.image.width();
    for (std::size_t y = 0; y < state.rows.size(); ++y) {
        float* target = state.image.floats() + y * values;
        const std::uint8_t* source = state.rows[y];
        for (std::size_t i = 0; i < values; ++i) {
            std::uint16_t value;
            std::memcpy(&value, source + 2 * i, 2);
            target[i] = static_cast<float>(value) * (1 / 65535.0f);
        }
    }
}

} // namespace

std::optional<Image> DecodePng(Bytes file, std::string& reason) {
    PngSource source{ByteReader(file), &reason, {}};
    const auto state = std::make_unique<PngState>();
    state->png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &source, OnError, OnWarning);
    state->info = state->png ? png_create_info_struct(state->png) : nullptr;
    if (!state->info) {
        reason = "the PNG library cannot be used";
        return std::nullopt;
    }
    // No object with a destructor is made between here and the last call of the library.
    if (setjmp(source.escape)) return std::nullopt;
    png_set_read_fn(state->png, &source, ReadBytes);
    if (!ReadHeader(*state, source, file.size())) return std::nullopt;
    PrepareRows(*state);
    png_read_image(state->png, state->rows.data());
    png_read_end(state->png, nullptr);
    if (state->image.format() == Image::Format::RgbaFloat) WidenRows(*state);
    reason.clear();
    return std::move(state->image);
}

} // namespace velorin
