#pragma once

#include "render/ImageHeader.h"

#include <cstddef>
#include <cstdint>

namespace velorin {

// Channels of the renderer (1 is white) to those of a host world, `count` of them. Out of range is cut, a NaN
// becomes 0, the rest is rounded to the nearest.
void ConvertChannels8(const float* source, std::uint8_t* target, std::size_t count);   // 0..255
void ConvertChannels16(const float* source, std::uint16_t* target, std::size_t count); // 0..32768

// 16-bit floats, bit by bit, to the 32-bit floats of the same value.
void HalvesToFloats(const std::uint16_t* source, float* target, std::size_t count);

// A picture in the host's channel order, top row first, as it comes from the driver: 16-bit floats. Writes
// its `width` * `height` pixels into the target's rectangle, cut at the edges of its image. What lies outside
// the rectangle, padding included, is not touched. False when nothing was written.
[[nodiscard]] bool WritePicture(const std::uint16_t* argb, int width, int height, const OutputTarget& target);

} // namespace velorin
