#pragma once

#include <cstdint>

namespace velorin {

// A picture in somebody else's memory: the host's input, output or layer world. Four channels a pixel in the
// order alpha, red, green, blue; the first row is the top one.
struct ImageHeader {
    std::uint32_t width = 0;           // pixels
    std::uint32_t height = 0;          // rows
    std::uint32_t bytesPerChannel = 1; // 1: 0..255; 2: 0..32768; 4: float, 1 is white
    std::int32_t rowBytes = 0;         // from one row to the next; at least 4 * bytesPerChannel * width
    void* data = nullptr;              // first row; owned by the host, valid during its call

    [[nodiscard]] bool empty() const { return !data || width == 0 || height == 0; }
};

// Where a frame goes: a rectangle of the host's world.
struct OutputTarget {
    ImageHeader image;
    std::int32_t originX = 0, originY = 0; // of the frame's first pixel inside `image`
    std::int32_t width = 0, height = 0;    // of the frame in pixels; what lies outside `image` is cut off
    float pixelAspect = 1;                 // height over width of a pixel
};

} // namespace velorin
