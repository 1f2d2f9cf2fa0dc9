#include "Picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <jpeglib.h>
#include <memory>
#include <png.h>
#include <thread>

namespace art {

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File Open(const std::filesystem::path& path) {
    File file(std::fopen(path.c_str(), "wb"));
    if (!file) std::fprintf(stderr, "%s cannot be written\n", path.c_str());
    return file;
}

std::vector<std::uint8_t> Bytes8(const Picture& picture) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(picture.pixels.size() * 3);
    const auto byte = [](float v) {
        return static_cast<std::uint8_t>(std::clamp(v, 0.0f, 1.0f) * 255 + 0.5f);
    };
    for (const Point3& p : picture.pixels) bytes.insert(bytes.end(), {byte(p.x), byte(p.y), byte(p.z)});
    return bytes;
}

} // namespace

Picture Paint(int width, int height, const std::function<Point3(float, float)>& color) {
    Picture picture{width, height, {}};
    picture.pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    const auto rows = [&](int from, int to) {
        for (int y = from; y < to; ++y)
            for (int x = 0; x < width; ++x)
                picture.at(x, y) = color((static_cast<float>(x) + 0.5f) / static_cast<float>(width),
                                         (static_cast<float>(y) + 0.5f) / static_cast<float>(height));
    };
    const int parts = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, 16);
    std::vector<std::jthread> workers; // joined at the end
    for (int i = 1; i < parts; ++i) workers.emplace_back(rows, height * i / parts, height * (i + 1) / parts);
    rows(0, height / parts);
    workers.clear();
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

Picture Halved(const Picture& picture) {
    Picture half{picture.width / 2, picture.height / 2, {}};
    half.pixels.reserve(picture.pixels.size() / 4);
    for (int y = 0; y < half.height; ++y)
        for (int x = 0; x < half.width; ++x)
            half.pixels.push_back((picture.at(2 * x, 2 * y) + picture.at(2 * x + 1, 2 * y) +
                                   picture.at(2 * x, 2 * y + 1) + picture.at(2 * x + 1, 2 * y + 1)) *
                                  0.25f);
    return half;
}

bool WritePng(const Picture& picture, const std::filesystem::path& path) {
    const std::vector<std::uint8_t> bytes = Bytes8(picture);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.width);
    image.height = static_cast<png_uint_32>(picture.height);
    image.format = PNG_FORMAT_RGB;
    image.flags = PNG_IMAGE_FLAG_FAST;
    if (png_image_write_to_file(&image, path.c_str(), 0, bytes.data(), 0, nullptr)) return true;
    std::fprintf(stderr, "%s cannot be written: %s\n", path.c_str(), image.message);
    return false;
}

namespace {

struct JpegFailure {
    jpeg_error_mgr manager; // first, so that the library's pointer is also one to this
    std::jmp_buf jump;
};

void FailJpeg(j_common_ptr info) {
    std::longjmp(reinterpret_cast<JpegFailure*>(info->err)->jump, 1);
}

// No object with a destructor lives between setjmp and a jump to it.
bool CompressJpeg(std::FILE* file, const std::vector<std::uint8_t>& bytes, int width, int height,
                  int quality) {
    jpeg_compress_struct info;
    JpegFailure failure;
    info.err = jpeg_std_error(&failure.manager);
    failure.manager.error_exit = FailJpeg;
    if (setjmp(failure.jump)) {
        jpeg_destroy_compress(&info);
        return false;
    }
    jpeg_create_compress(&info);
    jpeg_stdio_dest(&info, file);
    info.image_width = static_cast<JDIMENSION>(width);
    info.image_height = static_cast<JDIMENSION>(height);
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, quality, TRUE);
    info.optimize_coding = TRUE;
    info.comp_info[0].h_samp_factor = info.comp_info[0].v_samp_factor = 1; // colour as fine as brightness
    jpeg_start_compress(&info, TRUE);
    while (info.next_scanline < info.image_height) {
        // The library only reads the row.
        JSAMPROW row = const_cast<JSAMPROW>(
            &bytes[std::size_t{info.next_scanline} * static_cast<std::size_t>(width) * 3]);
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    return true;
}

std::array<std::uint8_t, 4> Rgbe(const Point3& p) {
    const float largest = std::max({p.x, p.y, p.z});
    if (largest < 1e-30f) return {};
    int exponent = 0;
    const float scale = std::frexp(largest, &exponent) * 256 / largest;
    const auto byte = [&](float v) { return static_cast<std::uint8_t>(std::max(0.0f, v) * scale); };
    return {byte(p.x), byte(p.y), byte(p.z), static_cast<std::uint8_t>(exponent + 128)};
}

// One component of a row as runs of four or more equal bytes and stretches of others.
void PackRuns(const std::vector<std::uint8_t>& row, std::vector<std::uint8_t>& packed) {
    const auto runAt = [&](std::size_t i) {
        std::size_t n = 1;
        while (n < 127 && i + n < row.size() && row[i + n] == row[i]) ++n;
        return n;
    };
    for (std::size_t i = 0; i < row.size();) {
        if (const std::size_t run = runAt(i); run >= 4) {
            packed.insert(packed.end(), {static_cast<std::uint8_t>(128 + run), row[i]});
            i += run;
            continue;
        }
        std::size_t end = i + 1;
        while (end < row.size() && end - i < 128 && runAt(end) < 4) ++end;
        packed.push_back(static_cast<std::uint8_t>(end - i));
        packed.insert(packed.end(), row.begin() + static_cast<std::ptrdiff_t>(i),
                      row.begin() + static_cast<std::ptrdiff_t>(end));
        i = end;
    }
}

} // namespace

bool WriteJpeg(const Picture& picture, const std::filesystem::path& path, int quality) {
    const File file = Open(path);
    if (!file) return false;
    if (CompressJpeg(file.get(), Bytes8(picture), picture.width, picture.height, quality) &&
        std::fflush(file.get()) == 0)
        return true;
    std::fprintf(stderr, "%s cannot be written\n", path.c_str());
    return false;
}

bool WriteHdr(const Picture& picture, const std::filesystem::path& path) {
    const File file = Open(path);
    if (!file) return false;
    std::fprintf(file.get(), "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y %d +X %d\n", picture.height,
                 picture.width);
    std::vector<std::uint8_t> component(static_cast<std::size_t>(picture.width)), packed;
    for (int y = 0; y < picture.height; ++y) {
        packed = {2, 2, static_cast<std::uint8_t>(picture.width >> 8),
                  static_cast<std::uint8_t>(picture.width & 255)};
        for (std::size_t c = 0; c < 4; ++c) {
            for (int x = 0; x < picture.width; ++x)
                component[static_cast<std::size_t>(x)] = Rgbe(picture.at(x, y))[c];
            PackRuns(component, packed);
        }
        std::fwrite(packed.data(), 1, packed.size(), file.get());
    }
    if (std::fflush(file.get()) == 0 && std::ferror(file.get()) == 0) return true;
    std::fprintf(stderr, "%s cannot be written\n", path.c_str());
    return false;
}

} // namespace art
