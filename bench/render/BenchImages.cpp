// Decoding of pictures beside the plain decode of the same bytes by the format's own library, in one run.
// Radiance has no such library: its peer is the time of reading every byte of the file and writing every
// value of the picture once.

#include "images/Image.h"

#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfInputFile.h>

#include <cstdio>
#include <cstring>

#include <jpeglib.h>
#include <png.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace velorin;

using File = std::vector<char>;

double BestMilliseconds(const std::function<void()>& work) {
    using Clock = std::chrono::steady_clock;
    double best = 1e30;
    const auto start = Clock::now();
    for (int runs = 0; runs < 5 || Clock::now() - start < std::chrono::milliseconds(500); ++runs) {
        const auto before = Clock::now();
        work();
        best = std::min(best, std::chrono::duration<double, std::milli>(Clock::now() - before).count());
    }
    return best;
}

std::vector<std::uint8_t> PlainPng(const File& file) {
    png_structp png =
        png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, [](png_structp, png_const_charp) {});
    png_infop info = png_create_info_struct(png);
    struct Cursor {
        const char* next;
    } cursor{file.data()};
    png_set_read_fn(png, &cursor, [](png_structp p, png_bytep target, png_size_t count) {
        auto* c = static_cast<Cursor*>(png_get_io_ptr(p));
        std::memcpy(target, c->next, count);
        c->next += count;
    });
    png_read_info(png, info);
    const std::size_t height = png_get_image_height(png, info);
    const int passes = png_set_interlace_handling(png);
    png_set_expand(png);
    png_set_gray_to_rgb(png);
    png_set_add_alpha(png, 0xFFFF, PNG_FILLER_AFTER);
    png_read_update_info(png, info);
    const std::size_t rowBytes = png_get_rowbytes(png, info);
    std::vector<std::uint8_t> pixels(rowBytes * height);
    for (int pass = 0; pass < passes; ++pass)
        for (std::size_t y = 0; y < height; ++y) png_read_row(png, &pixels[y * rowBytes], nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
    return pixels;
}

std::vector<std::uint8_t> PlainJpeg(const File& file) {
    jpeg_decompress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&jpeg);
    jpeg_mem_src(&jpeg, reinterpret_cast<const unsigned char*>(file.data()),
                 static_cast<unsigned long>(file.size()));
    jpeg_read_header(&jpeg, TRUE);
    if (jpeg.num_components != 4) jpeg.out_color_space = JCS_EXT_RGBA;
    jpeg_start_decompress(&jpeg);
    const std::size_t rowBytes = std::size_t{4} * jpeg.output_width;
    std::vector<std::uint8_t> pixels(rowBytes * jpeg.output_height);
    while (jpeg.output_scanline < jpeg.output_height) {
        JSAMPROW row = &pixels[jpeg.output_scanline * rowBytes];
        jpeg_read_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_decompress(&jpeg);
    jpeg_destroy_decompress(&jpeg);
    return pixels;
}

std::vector<float> PlainExr(const std::string& path) {
    Imf::InputFile input(path.c_str());
    const Imath::Box2i window = input.header().dataWindow();
    const auto width = static_cast<std::size_t>(window.max.x - window.min.x + 1);
    const auto height = static_cast<std::size_t>(window.max.y - window.min.y + 1);
    std::vector<float> pixels(width * height * 4);
    Imf::FrameBuffer target;
    for (std::size_t c = 0; c < 4; ++c)
        target.insert(std::string(1, "RGBA"[c]), Imf::Slice::Make(Imf::FLOAT, &pixels[c], window, 16,
                                                                  16 * width, 1, 1, c == 3 ? 1.0 : 0.0));
    input.setFrameBuffer(target);
    input.readPixels(window.min.y, window.max.y);
    return pixels;
}

void CopyRadiance(const File& file, std::size_t pixels) {
    volatile unsigned sum = 0;
    unsigned total = 0;
    for (const char c : file) total += static_cast<unsigned char>(c);
    sum = total;
    std::vector<float> out(pixels * 4, 1.0f);
    volatile float last = out.back();
    (void)last;
    (void)sum;
}

void Row(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    const File file(std::istreambuf_iterator<char>(stream), {});
    const Bytes bytes = std::as_bytes(std::span(file.data(), file.size()));
    const std::string extension = path.extension().string();
    std::string reason;
    const auto image = DecodeImage(bytes, extension, reason);
    if (!image) return;
    const double ours = BestMilliseconds([&] { (void)DecodeImage(bytes, extension, reason).has_value(); });
    const double peer = BestMilliseconds([&] {
        if (extension == ".png")
            (void)PlainPng(file).size();
        else if (extension == ".exr")
            (void)PlainExr(path.string()).size();
        else if (extension == ".hdr" || extension == ".pic")
            CopyRadiance(file, image->pixelCount());
        else
            (void)PlainJpeg(file).size();
    });
    const double megapixels = static_cast<double>(image->pixelCount()) * 1e-6;
    std::printf("%-32s %5u x %-5u %9.3f %9.3f %7.2f %9.1f\n", path.filename().c_str(), image->width(),
                image->height(), ours, peer, ours / peer, megapixels / ours * 1000);
}

} // namespace

int main(int count, char** arguments) {
    const std::filesystem::path folder = count > 1
                                             ? std::filesystem::path(arguments[1])
                                             : std::filesystem::path(VELORIN_SOURCE_DIR "/../shared/data");
    if (!std::filesystem::exists(folder)) {
        std::fprintf(stderr, "%s: no such folder; give one with pictures\n", folder.c_str());
        return 1;
    }
    std::printf("%-32s %-13s %9s %9s %7s %9s\n", "picture", "size", "ours ms", "peer ms", "ratio",
                "Mpixel/s");
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        if (entry.is_regular_file() && entry.path().string().find("/broken/") == std::string::npos &&
            entry.file_size() > 16384 &&
            std::string(".png.jpg.jpeg.exr.hdr.pic.").find(entry.path().extension().string() + ".") !=
                std::string::npos)
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    for (const auto& file : files) Row(file);
    return 0;
}
