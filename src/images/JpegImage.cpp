#include "images/Image.h"

#include <cstdio>

#include <jerror.h>
#include <jpeglib.h>

#include <array>
#include <csetjmp>
#include <limits>
#include <utility>

namespace velorin {

namespace {

// A block of 64 pixels takes at least one bit in the first scan of a progressive file.
constexpr std::uint64_t kPixelsPerByte = 512;
// Each scan of a progressive file walks over the whole picture.
constexpr int kMaxScans = 100;

struct JpegState {
    jpeg_decompress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg_progress_mgr progress{};
    std::jmp_buf escape;
    Image image;
    std::unique_ptr<std::uint8_t[]> cmykRow;
    std::array<char, JMSG_LENGTH_MAX> warning{}; // the first
    ~JpegState() { jpeg_destroy_decompress(&jpeg); }
};

[[noreturn]] void OnError(j_common_ptr jpeg) {
    std::longjmp(static_cast<JpegState*>(jpeg->client_data)->escape, 1);
}

// Level -1 is a warning, the others only tell what the file has.
void OnMessage(j_common_ptr jpeg, int level) {
    auto* state = static_cast<JpegState*>(jpeg->client_data);
    if (level < 0 && state->errors.num_warnings++ == 0)
        state->errors.format_message(jpeg, state->warning.data());
}

void OnProgress(j_common_ptr jpeg) {
    if (reinterpret_cast<j_decompress_ptr>(jpeg)->input_scan_number > kMaxScans) {
        jpeg->err->msg_code = JERR_BAD_PROGRESSION;
        OnError(jpeg);
    }
}

// Values of Adobe's files are inverted, 255 being no ink; the others have 255 as full ink.
void CmykToRgba(const std::uint8_t* cmyk, std::size_t pixels, bool inverted, std::uint8_t* rgba) {
    for (std::size_t i = 0; i < pixels; ++i, cmyk += 4, rgba += 4) {
        const unsigned flip = inverted ? 0 : 255;
        const unsigned black = cmyk[3] ^ flip;
        for (std::size_t c = 0; c < 3; ++c)
            rgba[c] = static_cast<std::uint8_t>(((cmyk[c] ^ flip) * black + 127) / 255);
        rgba[3] = 255;
    }
}

void ReadRows(JpegState& state) {
    jpeg_decompress_struct& jpeg = state.jpeg;
    const std::size_t rowBytes = std::size_t{4} * state.image.width();
    const bool cmyk = jpeg.out_color_space == JCS_CMYK;
    while (jpeg.output_scanline < jpeg.output_height) {
        // As many rows as are left; the library stops after the few that it has ready.
        std::array<JSAMPROW, 8> rows{};
        const JDIMENSION first = jpeg.output_scanline;
        JDIMENSION count = 0;
        for (; count < rows.size() && first + count < jpeg.output_height; ++count)
            rows[count] = state.image.bytes() + (first + count) * rowBytes;
        if (cmyk) {
            rows[0] = state.cmykRow.get();
            count = 1;
        }
        jpeg_read_scanlines(&jpeg, rows.data(), count);
        if (cmyk)
            CmykToRgba(state.cmykRow.get(), state.image.width(), jpeg.saw_Adobe_marker,
                       state.image.bytes() + first * rowBytes);
    }
}

// False for a size that is refused.
bool ReadHeader(JpegState& state, std::uint64_t fileBytes, std::string& reason) {
    jpeg_decompress_struct& jpeg = state.jpeg;
    (void)jpeg_read_header(&jpeg, TRUE);
    if (!PlausibleSize(jpeg.image_width, jpeg.image_height, fileBytes, kPixelsPerByte, reason)) return false;
    const bool cmyk = jpeg.jpeg_color_space == JCS_CMYK || jpeg.jpeg_color_space == JCS_YCCK;
    jpeg.out_color_space = cmyk ? JCS_CMYK : JCS_EXT_RGBA;
    (void)jpeg_start_decompress(&jpeg);
    state.image = Image(jpeg.output_width, jpeg.output_height, Image::Format::Rgba8);
    if (cmyk)
        state.cmykRow = std::make_unique_for_overwrite<std::uint8_t[]>(state.image.width() * std::size_t{4});
    return true;
}

std::string MessageOf(JpegState& state) {
    std::array<char, JMSG_LENGTH_MAX> text{};
    state.errors.format_message(reinterpret_cast<j_common_ptr>(&state.jpeg), text.data());
    return text.data();
}

} // namespace

std::optional<Image> DecodeJpeg(Bytes file, std::string& reason) {
    if (file.size() > std::numeric_limits<unsigned long>::max()) {
        reason = "the file is too large";
        return std::nullopt;
    }
    const auto state = std::make_unique<JpegState>();
    state->jpeg.err = jpeg_std_error(&state->errors);
    state->errors.error_exit = OnError;
    state->errors.emit_message = OnMessage;
    state->jpeg.client_data = state.get();
    // No object with a destructor is made between here and the last call of the library.
    if (setjmp(state->escape)) {
        reason = "the JPEG data is damaged (" + MessageOf(*state) + ")";
        return std::nullopt;
    }
    jpeg_create_decompress(&state->jpeg);
    state->progress.progress_monitor = OnProgress;
    state->jpeg.progress = &state->progress;
    jpeg_mem_src(&state->jpeg, reinterpret_cast<const unsigned char*>(file.data()),
                 static_cast<unsigned long>(file.size()));
    if (!ReadHeader(*state, file.size(), reason)) return std::nullopt;
    ReadRows(*state);
    (void)jpeg_finish_decompress(&state->jpeg);
    if (state->errors.num_warnings > 0)
        reason = std::string("the JPEG data is damaged (") + state->warning.data() +
                 "); what could be read is shown";
    else
        reason.clear();
    return std::move(state->image);
}

} // namespace velorin
