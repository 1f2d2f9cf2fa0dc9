#pragma once

#include "services/ByteReader.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Picture files made in memory, by the formats' own libraries or by hand, for tests and fuzz targets.
namespace velorin::test {

using FileBytes = std::vector<std::byte>;

[[nodiscard]] inline Bytes Span(const FileBytes& file) {
    return {file.data(), file.size()};
}
[[nodiscard]] FileBytes ToBytes(std::string_view text);

// One row of pixels, `packed` as libpng wants it (big-endian 16 bits, small depths packed); PNG colour types.
[[nodiscard]] FileBytes MakePng(std::uint32_t width, std::uint32_t height, int depth, int colourType,
                                const std::vector<std::uint8_t>& packed, bool interlaced = false);
// Of one colour all over. `components` is 1 (grey), 3 (RGB) or 4 (CMYK as it stands in the file).
[[nodiscard]] FileBytes MakeJpeg(std::uint32_t width, std::uint32_t height,
                                 const std::vector<std::uint8_t>& colour, bool progressive, bool adobe);

struct ExrOptions {
    int minX = 0, minY = 0; // corner of the data window
    bool tiled = false;
    bool half = false;
    bool bottomUp = false;
    std::string channels = "RGBA"; // one letter each; "Y" is grey
    int compression = 3;           // the library's number; 3 is ZIP
};
// The pixel (x, y) of the data window, counted from its corner, has red x, green y, blue x * y, alpha 0.5,
// grey x + y.
[[nodiscard]] FileBytes MakeExr(int width, int height, const ExrOptions& options);

// A DDS header with `data` behind it.
struct DdsOptions {
    std::uint32_t width = 4, height = 4, mips = 0;
    std::string_view fourCC = "DXT1";
    std::uint32_t size = 124, flags = 0x1007, caps = 0x1000;
};
[[nodiscard]] FileBytes MakeDds(const DdsOptions& options, const std::vector<std::uint8_t>& data);

} // namespace velorin::test
