#pragma once

#include <cstdint>

namespace velorin {

// Four bytes as stored, red first; alpha is not premultiplied.
struct Colour {
    std::uint8_t r = 255, g = 255, b = 255, a = 255;
    friend bool operator==(const Colour&, const Colour&) = default;
};

inline constexpr Colour kWhite{};

} // namespace velorin
