#include "app/images/Decoders.h"

#include <cstdio>

#include <jpeglib.h>

#include <csetjmp>

namespace velorin::app {

namespace {

// A block of 64 pixels takes at least a few bits; progressive files may leave blocks out, so this is
// generous.
constexpr std::uint64_t kMostPixelsPerByte = 4096;

struct JpegErrors {
    jpeg_error_mgr base;
    std::jmp_buf jump;
    char text[JMSG_LENGTH_MAX];
};

[[noreturn]] void OnError(j_common_ptr info) {
    auto* errors = reinterpret_cast<JpegErrors*>(info->err);
    errors->base.format_message(info, errors->text);
    std::longjmp(errors->jump, 1);
}

void OnMessage(j_common_ptr) {
}

// Four inks are stored inverted: 255 is no ink.
void InksToRgba(const JSAMPLE* inks, std::byte* out, int width) {
    for (int x = 0; x < width; ++x, inks += 4, out += 4) {
        for (int c = 0; c < 3; ++c) out[c] = static_cast<std::byte>(inks[c] * inks[3] / 255);
        out[3] = std::byte{255};
    }
}

bool DecodeInto(jpeg_decompress_struct& info, JpegErrors& errors, Bytes bytes, Picture& picture,
                std::vector<JSAMPLE>& line, std::string& reason) {
    if (setjmp(errors.jump)) return false;
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, reinterpret_cast<const unsigned char*>(bytes.data()),
                 static_cast<unsigned long>(bytes.size()));
    jpeg_read_header(&info, TRUE);
    if (!PlausibleSize(info.image_width, info.image_height, bytes.size(), kMostPixelsPerByte, reason))
        return false;
    const bool inks = info.num_components == 4;
    info.out_color_space = inks ? JCS_CMYK : JCS_EXT_RGBA;
    jpeg_start_decompress(&info);
    picture = Picture(static_cast<int>(info.output_width), static_cast<int>(info.output_height), 8);
    line.resize(inks ? picture.rowBytes() : 0);
    while (info.output_scanline < info.output_height) {
        std::byte* row = picture.row(static_cast<int>(info.output_scanline));
        JSAMPROW target = inks ? line.data() : reinterpret_cast<JSAMPROW>(row);
        jpeg_read_scanlines(&info, &target, 1);
        if (inks) InksToRgba(line.data(), row, picture.width);
    }
    jpeg_finish_decompress(&info);
    return true;
}

} // namespace

bool DecodeJpeg(Bytes bytes, Picture& picture, std::string& reason) {
    jpeg_decompress_struct info{};
    JpegErrors errors{};
    std::vector<JSAMPLE> line;
    info.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = OnError;
    errors.base.output_message = OnMessage;
    const bool good = DecodeInto(info, errors, bytes, picture, line, reason);
    jpeg_destroy_decompress(&info);
    if (!good && reason.empty()) reason = errors.text[0] ? errors.text : "the picture is damaged";
    return good;
}

} // namespace velorin::app
