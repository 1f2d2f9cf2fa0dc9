#pragma once

#include "render/ImageHeader.h"

#include <cstddef>

namespace velorin {

// Channels of the renderer (1 is white) to those of a host world, `count` of them. Out of range is cut, a NaN
// becomes 0, the rest is rounded to the nearest.
void ConvertChannels8(const float* source, std::uint8_t* target, std::size_t count);   // 0..255
void ConvertChannels16(const float* source, std::uint16_t* target, std::size_t count); // 0..32768

// Writes a float picture of `width` * `height` pixels in the host's channel order, top row first, into the
// target's rectangle, cut at the edges of its image. What lies outside the rectangle, padding included, is
// not touched. False when nothing was written.
[[nodiscard]] bool WritePicture(const float* argb, int width, int height, const OutputTarget& target);

} // namespace velorin
