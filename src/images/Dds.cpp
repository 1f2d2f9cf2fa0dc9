#include "images/Dds.h"

#include "images/Image.h"

#include <algorithm>
#include <array>
#include <cstring>

// Microsoft, "DDS_HEADER structure" and "Block Compression (Direct3D 10)".

namespace velorin {

namespace {

constexpr std::uint32_t FourCC(const char (&text)[5]) {
    std::uint32_t code = 0;
    for (std::size_t i = 4; i-- > 0;) code = code << 8 | static_cast<std::uint8_t>(text[i]);
    return code;
}

constexpr std::uint32_t kHeaderSize = 124;
constexpr std::uint32_t kFlagPixelFormat = 0x1000, kFlagMipCount = 0x20000; // of the header
constexpr std::uint32_t kFlagFourCC = 0x4;                                  // of the pixel format
constexpr std::uint32_t kCapsTexture = 0x1000;

struct DdsHeader {
    std::uint32_t magic, size, flags, height, width, pitch, depth, mipCount;
    std::array<std::uint32_t, 11> reserved;
    std::uint32_t formatSize, formatFlags, fourCC, bits;
    std::array<std::uint32_t, 4> masks;
    std::array<std::uint32_t, 4> caps;
    std::uint32_t reserved2;
};
static_assert(sizeof(DdsHeader) == 4 + kHeaderSize);

std::optional<BlockFormat> FormatOf(std::uint32_t fourCC) {
    if (fourCC == FourCC("DXT1")) return BlockFormat::Dxt1;
    if (fourCC == FourCC("DXT3")) return BlockFormat::Dxt3;
    if (fourCC == FourCC("DXT5")) return BlockFormat::Dxt5;
    return std::nullopt;
}

std::uint64_t LevelBytes(BlockFormat format, std::uint32_t width, std::uint32_t height) {
    return ((std::uint64_t{width} + 3) / 4) * ((std::uint64_t{height} + 3) / 4) * BlockBytes(format);
}

bool HeaderHolds(const DdsHeader& header, std::string& reason) {
    if (header.magic != FourCC("DDS ") || header.size != kHeaderSize)
        reason = "it is no DDS file";
    else if (!(header.flags & kFlagPixelFormat) || !(header.caps[0] & kCapsTexture))
        reason = "its header names no texture";
    else if (!(header.formatFlags & kFlagFourCC) || !FormatOf(header.fourCC))
        reason = "only DXT1, DXT3 and DXT5 can be read of this format";
    else
        return true;
    return false;
}

using Colour = std::array<std::uint8_t, 4>;

Colour Expand565(std::uint16_t value) {
    const unsigned r = value >> 11, g = value >> 5 & 63, b = value & 31;
    return {static_cast<std::uint8_t>(r << 3 | r >> 2), static_cast<std::uint8_t>(g << 2 | g >> 4),
            static_cast<std::uint8_t>(b << 3 | b >> 2), 255};
}

Colour Blend(const Colour& a, const Colour& b, unsigned wa, unsigned wb) {
    Colour out{0, 0, 0, 255};
    for (std::size_t c = 0; c < 3; ++c)
        out[c] = static_cast<std::uint8_t>((a[c] * wa + b[c] * wb) / (wa + wb));
    return out;
}

template <class T>
T LoadAt(const std::byte* bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof(T));
    return value;
}

// The colour half of a block; DXT1 has a transparent fourth colour when the first is not greater than the
// second.
void DecodeColours(const std::byte* block, bool dxt1, std::array<Colour, 16>& out) {
    const auto first = LoadAt<std::uint16_t>(block), second = LoadAt<std::uint16_t>(block + 2);
    const auto indices = LoadAt<std::uint32_t>(block + 4);
    std::array<Colour, 4> palette{Expand565(first), Expand565(second)};
    if (first > second || !dxt1) {
        palette[2] = Blend(palette[0], palette[1], 2, 1);
        palette[3] = Blend(palette[0], palette[1], 1, 2);
    } else {
        palette[2] = Blend(palette[0], palette[1], 1, 1);
        palette[3] = {0, 0, 0, 0};
    }
    for (std::size_t i = 0; i < 16; ++i) out[i] = palette[indices >> (2 * i) & 3];
}

void DecodeAlpha(const std::byte* block, BlockFormat format, std::array<Colour, 16>& out) {
    const auto bits = LoadAt<std::uint64_t>(block);
    if (format == BlockFormat::Dxt3) {
        for (std::size_t i = 0; i < 16; ++i)
            out[i][3] = static_cast<std::uint8_t>((bits >> (4 * i) & 15) * 17);
        return;
    }
    const unsigned a = bits & 255, b = bits >> 8 & 255;
    std::array<unsigned, 8> ramp{a, b};
    const unsigned steps = a > b ? 7 : 5;
    for (unsigned i = 1; i < steps; ++i) ramp[i + 1] = (a * (steps - i) + b * i) / steps;
    if (steps == 5) ramp[6] = 0, ramp[7] = 255;
    for (std::size_t i = 0; i < 16; ++i)
        out[i][3] = static_cast<std::uint8_t>(ramp[bits >> (16 + 3 * i) & 7]);
}

} // namespace

std::optional<DdsImage> ReadDds(Bytes file, std::string& reason) {
    ByteReader reader(file);
    const auto header = reader.Read<DdsHeader>();
    if (!header) {
        reason = "it is no DDS file";
        return std::nullopt;
    }
    if (!HeaderHolds(*header, reason)) return std::nullopt;
    DdsImage image;
    image.format = *FormatOf(header->fourCC);
    std::uint32_t width = header->width, height = header->height;
    // A block of 16 pixels takes 8 bytes at least.
    if (!PlausibleSize(width, height, reader.remaining(), 2, reason)) return std::nullopt;
    const std::uint32_t stored = header->flags & kFlagMipCount ? std::max(header->mipCount, 1u) : 1;
    const std::uint32_t count = std::min(stored, MipLevelCount(width, height));
    for (std::uint32_t level = 0; level < count; ++level) {
        const auto blocks = reader.Take(LevelBytes(image.format, width, height));
        if (!blocks) break;
        image.levels.push_back({width, height, *blocks});
        width = std::max(width / 2, 1u);
        height = std::max(height / 2, 1u);
    }
    if (image.levels.empty()) {
        reason = "the file is cut short";
        return std::nullopt;
    }
    reason.clear();
    return image;
}

void DecodeBlocks(BlockFormat format, const DdsImage::Level& level, std::uint8_t* rgba) {
    const std::byte* block = level.blocks.data();
    std::array<Colour, 16> pixels{};
    for (std::uint32_t top = 0; top < level.height; top += 4) {
        for (std::uint32_t left = 0; left < level.width; left += 4, block += BlockBytes(format)) {
            DecodeColours(format == BlockFormat::Dxt1 ? block : block + 8, format == BlockFormat::Dxt1,
                          pixels);
            if (format != BlockFormat::Dxt1) DecodeAlpha(block, format, pixels);
            for (std::uint32_t y = top; y < std::min(top + 4, level.height); ++y)
                for (std::uint32_t x = left; x < std::min(left + 4, level.width); ++x)
                    std::memcpy(rgba + (std::size_t{y} * level.width + x) * 4,
                                pixels[(y - top) * 4 + (x - left)].data(), 4);
        }
    }
}

} // namespace velorin
