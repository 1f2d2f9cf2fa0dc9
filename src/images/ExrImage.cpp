#include "images/Image.h"

#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfInputFile.h>
#include <OpenEXR/ImfRgbaFile.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <utility>
#include <vector>

namespace velorin {

namespace {

constexpr std::uint64_t kPixelsPerByte = 8192;

// The library reads through this; a read past the end is its "early end of file".
class MemoryStream final : public Imf::IStream {
public:
    explicit MemoryStream(Bytes file) : Imf::IStream("image"), reader_(file) {}

    bool isMemoryMapped() const override { return true; }
    char* readMemoryMapped(int count) override {
        const auto part = reader_.Take(static_cast<std::uint64_t>(std::max(count, 0)));
        if (!part) throw std::runtime_error("the file is cut short");
        // The library does not write through the pointer.
        return const_cast<char*>(reinterpret_cast<const char*>(part->data()));
    }
    bool read(char target[], int count) override {
        const auto part = reader_.Take(static_cast<std::uint64_t>(std::max(count, 0)));
        if (!part) throw std::runtime_error("the file is cut short");
        std::memcpy(target, part->data(), part->size());
        return reader_.remaining() > 0;
    }
    std::uint64_t tellg() override { return reader_.position(); }
    void seekg(std::uint64_t position) override {
        if (!reader_.Seek(position)) throw std::runtime_error("the file is cut short");
    }

private:
    ByteReader reader_;
};

// What of a header decides how much memory the library asks for.
struct HeaderFacts {
    std::array<std::int32_t, 4> dataWindow{0, 0, -1, -1}; // min x, min y, max x, max y
    std::uint8_t compression = 0;
    bool tiled = false;
    std::array<std::uint32_t, 2> tileSize{1, 1};
};

std::optional<std::string_view> TakeName(ByteReader& reader) {
    for (std::uint64_t start = reader.position(), length = 0; length < 256; ++length) {
        const auto c = reader.Read<char>();
        if (!c) return std::nullopt;
        if (*c == 0 && reader.Seek(start)) {
            const auto bytes = reader.Take(length + 1);
            return std::string_view(reinterpret_cast<const char*>(bytes->data()),
                                    static_cast<std::size_t>(length));
        }
    }
    return std::nullopt;
}

// The first header, attribute by attribute: name, type, size and value (OpenEXR file layout, "Header").
std::optional<HeaderFacts> ScanHeader(Bytes file) {
    ByteReader reader(file);
    const auto magic = reader.Read<std::uint32_t>();
    if (!magic || *magic != 20000630 || !reader.Skip(4)) return std::nullopt;
    HeaderFacts facts;
    bool windowFound = false;
    for (auto name = TakeName(reader); name && !name->empty(); name = TakeName(reader)) {
        const auto type = TakeName(reader);
        const auto size = reader.Read<std::uint32_t>();
        const auto value = type && size ? reader.Take(*size) : std::nullopt;
        if (!value) return std::nullopt;
        ByteReader field(*value);
        if (*name == "dataWindow") {
            const auto window = field.Read<std::array<std::int32_t, 4>>();
            windowFound = window.has_value();
            if (window) facts.dataWindow = *window;
        } else if (*name == "compression") {
            facts.compression = field.Read<std::uint8_t>().value_or(0);
        } else if (*name == "tiles") {
            facts.tiled = true;
            facts.tileSize = field.Read<std::array<std::uint32_t, 2>>().value_or(facts.tileSize);
        }
    }
    return windowFound ? std::optional(facts) : std::nullopt;
}

// Scan lines a chunk, by the number that stands for the compression.
std::uint64_t LinesPerChunk(std::uint8_t compression) {
    constexpr std::array<std::uint64_t, 10> lines{1, 1, 1, 16, 32, 16, 32, 32, 32, 256};
    return compression < lines.size() ? lines[compression] : 1;
}

// The library reads a table of 8 bytes a chunk before anything else, and takes room for one tile.
bool Plausible(const HeaderFacts& facts, std::uint64_t fileBytes, std::string& reason) {
    const auto side = [&](std::size_t axis) {
        const std::int64_t extent = std::int64_t{facts.dataWindow[axis + 2]} - facts.dataWindow[axis] + 1;
        return static_cast<std::uint64_t>(std::max<std::int64_t>(extent, 0));
    };
    const std::uint64_t width = side(0), height = side(1);
    if (!PlausibleSize(width, height, fileBytes, kPixelsPerByte, reason)) return false;
    std::uint64_t chunks = height / LinesPerChunk(facts.compression);
    if (facts.tiled) {
        const std::uint64_t tileWidth = facts.tileSize[0], tileHeight = facts.tileSize[1];
        if (tileWidth == 0 || tileHeight == 0 || tileWidth * tileHeight > kMaxImagePixels / 16 ||
            tileWidth * tileHeight / kPixelsPerByte > fileBytes) {
            reason = "its tile size cannot be believed";
            return false;
        }
        chunks = (width / tileWidth) * (height / tileHeight);
    }
    if (chunks > fileBytes / 8) {
        reason = "the file is too short for its size of " + std::to_string(width) + " by " +
                 std::to_string(height) + " pixels";
        return false;
    }
    return true;
}

Image ReadChannels(Imf::InputFile& input) {
    const Imath::Box2i window = input.header().dataWindow();
    Image image(static_cast<std::uint32_t>(window.max.x - window.min.x + 1),
                static_cast<std::uint32_t>(window.max.y - window.min.y + 1), Image::Format::RgbaFloat);
    const bool grey = !input.header().channels().findChannel("R");
    const std::array<const char*, 4> names =
        grey ? std::array{"Y", "", "", "A"} : std::array{"R", "G", "B", "A"};
    Imf::FrameBuffer target;
    const std::size_t rowBytes = image.width() * image.bytesPerPixel();
    for (std::size_t c = 0; c < names.size(); ++c) {
        if (!*names[c]) continue;
        target.insert(names[c], Imf::Slice::Make(Imf::FLOAT, image.floats() + c, window, 16, rowBytes, 1, 1,
                                                 c == 3 ? 1.0 : 0.0));
    }
    input.setFrameBuffer(target);
    input.readPixels(window.min.y, window.max.y);
    if (!grey) return image;
    float* pixel = image.floats();
    for (std::size_t i = 0; i < image.pixelCount(); ++i, pixel += 4) pixel[1] = pixel[2] = pixel[0];
    return image;
}

// Luminance with chroma at half the size: the library's own interface puts it together, in half floats.
Image ReadLuminanceChroma(Bytes file) {
    MemoryStream stream(file);
    Imf::RgbaInputFile input(stream);
    const Imath::Box2i window = input.dataWindow();
    Image image(static_cast<std::uint32_t>(window.max.x - window.min.x + 1),
                static_cast<std::uint32_t>(window.max.y - window.min.y + 1), Image::Format::RgbaFloat);
    std::vector<Imf::Rgba> row(image.width());
    float* target = image.floats();
    for (int y = window.min.y; y <= window.max.y; ++y) {
        // The row's memory serves as that of every row: stride 0 in y.
        input.setFrameBuffer(row.data() - window.min.x, 1, 0);
        input.readPixels(y);
        for (const Imf::Rgba& pixel : row) {
            *target++ = pixel.r;
            *target++ = pixel.g;
            *target++ = pixel.b;
            *target++ = pixel.a;
        }
    }
    return image;
}

Image::Canvas CanvasOf(const Imf::Header& header) {
    const Imath::Box2i &shown = header.displayWindow(), &data = header.dataWindow();
    const auto extent = [](int from, int to) {
        return static_cast<std::uint64_t>(std::max<std::int64_t>(std::int64_t{to} - from + 1, 0));
    };
    return {std::int64_t{shown.min.x} - data.min.x, std::int64_t{shown.min.y} - data.min.y,
            extent(shown.min.x, shown.max.x), extent(shown.min.y, shown.max.y)};
}

Image ReadPixels(Bytes file, Imf::InputFile& input) {
    const Imf::ChannelList& channels = input.header().channels();
    if (channels.findChannel("RY") || channels.findChannel("BY")) return ReadLuminanceChroma(file);
    if (!channels.findChannel("R") && !channels.findChannel("G") && !channels.findChannel("B") &&
        !channels.findChannel("Y"))
        throw std::runtime_error("it has no colour channels");
    return ReadChannels(input);
}

Image ReadExr(Bytes file) {
    MemoryStream stream(file);
    Imf::InputFile input(stream);
    Image image = ReadPixels(file, input);
    image.setCanvas(CanvasOf(input.header()));
    return image;
}

} // namespace

std::optional<Image> DecodeExr(Bytes file, std::string& reason) {
    const auto facts = ScanHeader(file);
    if (!facts) {
        reason = "the OpenEXR header is damaged";
        return std::nullopt;
    }
    if (!Plausible(*facts, file.size(), reason)) return std::nullopt;
    try {
        Image image = ReadExr(file);
        reason.clear();
        return image;
    } catch (const std::exception& fault) {
        reason = std::string("the OpenEXR data is damaged (") + fault.what() + ")";
        return std::nullopt;
    }
}

} // namespace velorin
