#include "ImageSamples.h"

#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfOutputFile.h>
#include <OpenEXR/ImfTiledOutputFile.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <jpeglib.h>
#include <png.h>

namespace velorin::test {

namespace {

void Append(FileBytes& file, const void* bytes, std::size_t size) {
    // By resize and copy: GCC 12 sees an overflow in vector::insert here that is not there.
    const std::size_t start = file.size();
    file.resize(start + size);
    if (size > 0) std::memcpy(file.data() + start, bytes, size);
}

class GrowingStream final : public Imf::OStream {
public:
    explicit GrowingStream(FileBytes& file) : Imf::OStream("sample"), file_(file) {}
    void write(const char bytes[], int count) override {
        const auto size = static_cast<std::size_t>(count);
        if (file_.size() < position_ + size) file_.resize(position_ + size);
        std::memcpy(file_.data() + position_, bytes, size);
        position_ += size;
    }
    std::uint64_t tellp() override { return position_; }
    void seekp(std::uint64_t position) override { position_ = static_cast<std::size_t>(position); }

private:
    FileBytes& file_;
    std::size_t position_ = 0;
};

float SampleValue(char channel, int x, int y) {
    switch (channel) {
    case 'R':
        return static_cast<float>(x);
    case 'G':
        return static_cast<float>(y);
    case 'B':
        return static_cast<float>(x * y);
    case 'A':
        return 0.5f;
    default:
        return static_cast<float>(x + y);
    }
}

} // namespace

FileBytes ToBytes(std::string_view text) {
    FileBytes file;
    Append(file, text.data(), text.size());
    return file;
}

FileBytes MakePng(std::uint32_t width, std::uint32_t height, int depth, int colourType,
                  const std::vector<std::uint8_t>& packed, bool interlaced) {
    FileBytes file;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(
        png, &file,
        [](png_structp p, png_bytep bytes, png_size_t size) {
            Append(*static_cast<FileBytes*>(png_get_io_ptr(p)), bytes, size);
        },
        nullptr);
    png_set_IHDR(png, info, width, height, depth, colourType,
                 interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    // Entry i of a palette is (10 i, 20 i, 30 i), the first two of them transparent and half transparent.
    png_color palette[4];
    for (int i = 0; i < 4; ++i)
        palette[i] = {static_cast<png_byte>(10 * i), static_cast<png_byte>(20 * i),
                      static_cast<png_byte>(30 * i)};
    png_byte alphas[2] = {0, 128};
    if (colourType == PNG_COLOR_TYPE_PALETTE) {
        png_set_PLTE(png, info, palette, 1 << (depth < 2 ? depth : 2));
        png_set_tRNS(png, info, alphas, 2, nullptr);
    }
    png_write_info(png, info);
    const std::size_t rowBytes = png_get_rowbytes(png, info);
    std::vector<png_bytep> rows(height);
    for (std::size_t y = 0; y < height; ++y) rows[y] = const_cast<png_bytep>(packed.data() + y * rowBytes);
    png_write_image(png, rows.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return file;
}

FileBytes MakeJpeg(std::uint32_t width, std::uint32_t height, const std::vector<std::uint8_t>& colour,
                   bool progressive, bool adobe) {
    jpeg_compress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    unsigned char* memory = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&jpeg, &memory, &size);
    jpeg.image_width = width;
    jpeg.image_height = height;
    jpeg.input_components = static_cast<int>(colour.size());
    jpeg.in_color_space = colour.size() == 1 ? JCS_GRAYSCALE : colour.size() == 3 ? JCS_RGB : JCS_CMYK;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 100, TRUE);
    if (progressive) jpeg_simple_progression(&jpeg);
    jpeg.write_Adobe_marker = adobe;
    jpeg_start_compress(&jpeg, TRUE);
    std::vector<std::uint8_t> row;
    for (std::uint32_t x = 0; x < width; ++x) row.insert(row.end(), colour.begin(), colour.end());
    for (std::uint32_t y = 0; y < height; ++y) {
        JSAMPROW pointer = row.data();
        jpeg_write_scanlines(&jpeg, &pointer, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    FileBytes file;
    Append(file, memory, size);
    std::free(memory);
    return file;
}

FileBytes MakeExr(int width, int height, const ExrOptions& options) {
    FileBytes file;
    const Imath::Box2i data(Imath::V2i(options.minX, options.minY),
                            Imath::V2i(options.minX + width - 1, options.minY + height - 1));
    const Imath::Box2i display(Imath::V2i(0, 0), Imath::V2i(99, 99));
    Imf::Header header(display, data, 1, Imath::V2f(0, 0), 1,
                       options.bottomUp ? Imf::DECREASING_Y : Imf::INCREASING_Y,
                       static_cast<Imf::Compression>(options.compression));
    const Imf::PixelType type = options.half ? Imf::HALF : Imf::FLOAT;
    const std::size_t pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    std::vector<std::vector<float>> floats;
    std::vector<std::vector<Imath::half>> halves;
    Imf::FrameBuffer buffer;
    for (const char channel : options.channels) {
        header.channels().insert(std::string(1, channel), Imf::Channel(type));
        auto& values = floats.emplace_back();
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) values.push_back(SampleValue(channel, x, y));
        halves.emplace_back(values.begin(), values.end());
    }
    for (std::size_t c = 0; c < options.channels.size(); ++c) {
        const std::size_t size = options.half ? sizeof(Imath::half) : sizeof(float);
        void* first =
            options.half ? static_cast<void*>(halves[c].data()) : static_cast<void*>(floats[c].data());
        buffer.insert(std::string(1, options.channels[c]),
                      Imf::Slice::Make(type, first, data, size, size * static_cast<std::size_t>(width)));
    }
    if (pixels == 0) return file;
    GrowingStream stream(file);
    if (options.tiled) {
        header.setTileDescription(Imf::TileDescription(8, 4, Imf::ONE_LEVEL));
        Imf::TiledOutputFile output(stream, header);
        output.setFrameBuffer(buffer);
        output.writeTiles(0, output.numXTiles() - 1, 0, output.numYTiles() - 1);
    } else {
        Imf::OutputFile output(stream, header);
        output.setFrameBuffer(buffer);
        output.writePixels(height);
    }
    return file;
}

FileBytes MakeDds(const DdsOptions& o, const std::vector<std::uint8_t>& data) {
    std::uint32_t words[31]{};
    words[0] = o.size, words[1] = o.flags | (o.mips ? 0x20000u : 0u);
    words[2] = o.height, words[3] = o.width, words[6] = o.mips;
    words[18] = 32, words[19] = o.fourCC.empty() ? 0x41 : 4;
    if (!o.fourCC.empty()) std::memcpy(&words[20], o.fourCC.data(), 4);
    words[26] = o.caps;
    FileBytes file = ToBytes("DDS ");
    Append(file, words, sizeof words);
    Append(file, data.data(), data.size());
    return file;
}

} // namespace velorin::test
