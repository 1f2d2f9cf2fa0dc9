#pragma once

#include "services/ByteReader.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velorin {

enum class BlockFormat : std::uint8_t { Dxt1, Dxt3, Dxt5 };

// A DirectDraw surface of compressed 4 by 4 blocks, as it lies in the file.
struct DdsImage {
    struct Level {
        std::uint32_t width = 0, height = 0;
        Bytes blocks; // part of the bytes that were read
    };
    BlockFormat format = BlockFormat::Dxt1;
    std::vector<Level> levels; // from the largest; each half of the one before, rounded down, at least 1
};

[[nodiscard]] constexpr std::uint32_t BlockBytes(BlockFormat format) {
    return format == BlockFormat::Dxt1 ? 8 : 16;
}

// Checks the header and finds the levels; copies nothing. Nothing on a refused file (`reason` says why):
// wrong magic or header size, missing flags, another pixel format than DXT1, DXT3 or DXT5, no complete first
// level. A file that ends inside a later level has the levels before it.
[[nodiscard]] std::optional<DdsImage> ReadDds(Bytes file, std::string& reason);

// One level as 8-bit RGBA, for drivers without compressed textures and for tests; `rgba` holds 4 * width *
// height bytes.
void DecodeBlocks(BlockFormat format, const DdsImage::Level& level, std::uint8_t* rgba);

} // namespace velorin
