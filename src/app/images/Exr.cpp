#include "app/images/Decoders.h"
#include "app/images/Picture.h"

#include "services/SafeFile.h"

#include <OpenEXR/ImfArray.h>
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfInputFile.h>
#include <OpenEXR/ImfOutputFile.h>
#include <OpenEXR/ImfRgbaFile.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace velorin::app {

namespace {

// The lossy codecs keep a handful of bytes for a block of many equal pixels.
constexpr std::uint64_t kMostPixelsPerByte = 8192;

class MemoryInput : public Imf::IStream {
public:
    explicit MemoryInput(Bytes bytes) : Imf::IStream("picture"), bytes_(bytes) {}
    bool read(char out[], int count) override {
        const auto n = static_cast<std::size_t>(count);
        if (count < 0 || n > bytes_.size() - at_) throw std::runtime_error("the file ends too early");
        std::memcpy(out, bytes_.data() + at_, n);
        at_ += n;
        return at_ < bytes_.size();
    }
    std::uint64_t tellg() override { return at_; }
    void seekg(std::uint64_t position) override {
        if (position > bytes_.size()) throw std::runtime_error("the file ends too early");
        at_ = static_cast<std::size_t>(position);
    }

private:
    Bytes bytes_;
    std::size_t at_ = 0;
};

class MemoryOutput : public Imf::OStream {
public:
    MemoryOutput() : Imf::OStream("picture") {}
    void write(const char in[], int count) override {
        const auto n = static_cast<std::size_t>(count);
        if (at_ + n > bytes.size()) bytes.resize(at_ + n);
        std::memcpy(bytes.data() + at_, in, n);
        at_ += n;
    }
    std::uint64_t tellp() override { return at_; }
    void seekp(std::uint64_t position) override { at_ = static_cast<std::size_t>(position); }
    std::vector<std::byte> bytes;

private:
    std::size_t at_ = 0;
};

// Part of the data window that is seen.
Imath::Box2i Seen(const Imath::Box2i& data, const Imath::Box2i& display) {
    return {{std::max(data.min.x, display.min.x), std::max(data.min.y, display.min.y)},
            {std::min(data.max.x, display.max.x), std::min(data.max.y, display.max.y)}};
}

bool CheckWindows(const Imf::Header& header, std::uint64_t fileBytes, std::string& reason) {
    const auto extent = [](int a, int b) {
        return static_cast<std::uint64_t>(std::max<std::int64_t>(0, static_cast<std::int64_t>(b) - a + 1));
    };
    const Imath::Box2i &data = header.dataWindow(), &display = header.displayWindow();
    // What is shown but not stored costs memory of ours only, and its sides are bounded.
    return PlausibleSize(extent(data.min.x, data.max.x), extent(data.min.y, data.max.y), fileBytes,
                         kMostPixelsPerByte, reason) &&
           PlausibleSize(extent(display.min.x, display.max.x), extent(display.min.y, display.max.y),
                         fileBytes, kMostPixelsPerByte * 64, reason);
}

// Colour is stored multiplied by alpha.
void Unpremultiply(Picture& picture) {
    auto* pixel = reinterpret_cast<float*>(picture.pixels.data());
    for (float* end = pixel + picture.pixels.size() / sizeof(float); pixel != end; pixel += 4)
        if (pixel[3] != 0 && pixel[3] != 1)
            for (int c = 0; c < 3; ++c) pixel[c] /= pixel[3];
}

void ReadRgbFloats(Imf::InputFile& file, Picture& dataPicture) {
    const Imath::Box2i data = file.header().dataWindow();
    char* base = reinterpret_cast<char*>(dataPicture.pixels.data()) -
                 static_cast<std::ptrdiff_t>(dataPicture.rowBytes()) * data.min.y -
                 static_cast<std::ptrdiff_t>(16) * data.min.x;
    Imf::FrameBuffer buffer;
    const char* names[] = {"R", "G", "B", "A"};
    for (int c = 0; c < 4; ++c)
        buffer.insert(names[c], Imf::Slice(Imf::FLOAT, base + 4 * c, 16, dataPicture.rowBytes(), 1, 1,
                                           c == 3 ? 1.0 : 0.0));
    file.setFrameBuffer(buffer);
    file.readPixels(data.min.y, data.max.y);
}

// Luminance files, with chroma at half resolution or without, through the library's own conversion.
void ReadLuminance(Bytes bytes, Picture& dataPicture) {
    MemoryInput stream(bytes);
    Imf::RgbaInputFile file(stream);
    const Imath::Box2i data = file.dataWindow();
    Imf::Array2D<Imf::Rgba> pixels(dataPicture.height, dataPicture.width);
    file.setFrameBuffer(&pixels[0][0] - data.min.x -
                            static_cast<std::ptrdiff_t>(data.min.y) * dataPicture.width,
                        1, static_cast<std::size_t>(dataPicture.width));
    file.readPixels(data.min.y, data.max.y);
    for (int y = 0; y < dataPicture.height; ++y) {
        auto* out = reinterpret_cast<float*>(dataPicture.row(y));
        for (int x = 0; x < dataPicture.width; ++x, out += 4) {
            const Imf::Rgba& p = pixels[y][x];
            out[0] = p.r, out[1] = p.g, out[2] = p.b, out[3] = p.a;
        }
    }
}

} // namespace

bool DecodeExr(Bytes bytes, Picture& picture, std::string& reason) {
    try {
        MemoryInput stream(bytes);
        Imf::InputFile file(stream);
        const Imf::Header& header = file.header();
        if (!CheckWindows(header, bytes.size(), reason)) return false;
        const Imath::Box2i data = header.dataWindow(), display = header.displayWindow();
        Picture dataPicture(data.max.x - data.min.x + 1, data.max.y - data.min.y + 1, 32);
        const Imf::ChannelList& channels = header.channels();
        if (channels.findChannel("R") || channels.findChannel("G") || channels.findChannel("B"))
            ReadRgbFloats(file, dataPicture);
        else
            ReadLuminance(bytes, dataPicture);
        Unpremultiply(dataPicture);
        if (data == display) {
            picture = std::move(dataPicture);
            return true;
        }
        picture = Picture(display.max.x - display.min.x + 1, display.max.y - display.min.y + 1, 32);
        const Imath::Box2i seen = Seen(data, display);
        for (int y = seen.min.y; y <= seen.max.y && seen.min.x <= seen.max.x; ++y)
            std::memcpy(picture.row(y - display.min.y) + std::ptrdiff_t{16} * (seen.min.x - display.min.x),
                        dataPicture.row(y - data.min.y) + std::ptrdiff_t{16} * (seen.min.x - data.min.x),
                        std::size_t{16} * static_cast<std::size_t>(seen.max.x - seen.min.x + 1));
        return true;
    } catch (const std::exception& fault) {
        reason = fault.what();
        return false;
    }
}

bool WriteExr(const std::string& path, const Picture& picture, std::string& error) {
    Picture floats(picture.width, picture.height, 32);
    auto* out = reinterpret_cast<float*>(floats.pixels.data());
    const std::size_t count = floats.pixels.size() / sizeof(float);
    if (picture.depth == 8) {
        const auto* in = reinterpret_cast<const std::uint8_t*>(picture.pixels.data());
        for (std::size_t i = 0; i < count; ++i) out[i] = static_cast<float>(in[i]) / 255.0F;
    } else if (picture.depth == 16) {
        const auto* in = reinterpret_cast<const std::uint16_t*>(picture.pixels.data());
        for (std::size_t i = 0; i < count; ++i) out[i] = static_cast<float>(in[i]) / 65535.0F;
    } else {
        std::memcpy(out, picture.pixels.data(), picture.pixels.size());
    }
    for (std::size_t i = 0; i < count; i += 4)
        for (std::size_t c = 0; c < 3; ++c) out[i + c] *= out[i + 3];
    try {
        Imf::Header header(picture.width, picture.height);
        Imf::FrameBuffer buffer;
        const char* names[] = {"R", "G", "B", "A"};
        for (int c = 0; c < 4; ++c) {
            header.channels().insert(names[c], Imf::Channel(Imf::FLOAT));
            buffer.insert(names[c], Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(out) + 4 * c, 16,
                                               floats.rowBytes()));
        }
        MemoryOutput stream;
        {
            Imf::OutputFile file(stream, header);
            file.setFrameBuffer(buffer);
            file.writePixels(picture.height);
        }
        return WriteFileSafely(path, stream.bytes, error);
    } catch (const std::exception& fault) {
        error = path + ": " + fault.what();
        return false;
    }
}

} // namespace velorin::app
