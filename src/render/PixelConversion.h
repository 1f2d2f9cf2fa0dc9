#pragma once

#include "render/ImageHeader.h"

#include <cstddef>
#include <cstdint>

namespace velorin {

// Channels of the renderer, as 16-bit floats bit by bit (1 is white), to those of a host world, `count` of
// them. To whole numbers what is out of range is cut, what is no number becomes 0, and the rest is rounded to
// the nearest.
void ConvertHalves8(const std::uint16_t* source, std::uint8_t* target, std::size_t count);   // 0..255
void ConvertHalves16(const std::uint16_t* source, std::uint16_t* target, std::size_t count); // 0..32768
void ConvertHalves32(const std::uint16_t* source, float* target, std::size_t count);         // as they are

// A picture in the host's channel order, top row first, as it comes from the driver. Writes its `width` *
// `height` pixels into the target's rectangle, cut at the edges of its image. What lies outside the
// rectangle, padding included, is not touched. False when nothing was written.
[[nodiscard]] bool WritePicture(const std::uint16_t* argb, int width, int height, const OutputTarget& target);

} // namespace velorin
