#pragma once

#include <cstdint>
#include <functional>

namespace velorin {

class FrameBuffers;

// Hands colour 0 of the result buffer to `use` as the driver keeps it: 16-bit floats, RGBA, row 0 first. The
// pixels are valid during the call. False when the driver does not give them or when `use` says so. Binds the
// read frame buffer and the pixel pack buffer.
[[nodiscard]] bool ReadResult(const FrameBuffers& buffers,
                              const std::function<bool(const std::uint16_t*)>& use);

} // namespace velorin
