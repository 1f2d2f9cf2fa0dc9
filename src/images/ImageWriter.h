#pragma once

#include "services/ByteReader.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velorin {

// Pixels to be written: red, green, blue and straight alpha, rows from the top without gaps.
struct Pixels {
    std::uint32_t width = 0, height = 0;
    int depth = 8; // bits of a channel: 8 and 16 are integers in this machine's byte order, 32 floats
    Bytes bytes;   // width * height * 4 * depth / 8
};

// The bytes of a file. Nothing, with a reason in a few words, when the format's library fails.
//
// PNG: 8 or 16 bits of straight alpha; floats are clamped to 0..1 and stored with 16.
[[nodiscard]] std::optional<std::vector<std::byte>> EncodePng(const Pixels& pixels, std::string& reason);
// OpenEXR: 32-bit floats, colour multiplied by alpha; 255 and 65,535 become 1.
[[nodiscard]] std::optional<std::vector<std::byte>> EncodeExr(const Pixels& pixels, std::string& reason);

} // namespace velorin
