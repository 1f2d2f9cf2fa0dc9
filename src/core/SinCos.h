#pragma once

#include <cmath>
#include <cstddef>

namespace velorin {

// Beyond this the reduction below would lose digits.
inline constexpr float kSinCosRange = 8192;

// Sine and cosine of `count` angles in radians to about one unit in the last place, the same bits on every
// compiler; written so that compilers turn the loop into vector code. Angles beyond kSinCosRange go through
// the standard library. Reduction to a quarter turn by W. J. Cody and W. Waite, "Software Manual for the
// Elementary Functions", 1980; polynomials of S. Moshier's Cephes library, 1989.
inline void SinCos(const float* angles, float* sines, float* cosines, std::size_t count) {
    constexpr float kQuarters = 0.63661977f;                                               // 2 / pi
    constexpr float kPart1 = 1.5703125f, kPart2 = 4.83751297e-4f, kPart3 = 7.54978995e-8f; // of pi / 2
    int outside = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const bool inRange = std::fabs(angles[i]) <= kSinCosRange;
        outside += inRange ? 0 : 1;
        const float x = inRange ? angles[i] : 0;
        const float quarters = x * kQuarters;
        const int n = static_cast<int>(quarters + (quarters < 0 ? -0.5f : 0.5f));
        const float whole = static_cast<float>(n);
        const float r = ((x - whole * kPart1) - whole * kPart2) - whole * kPart3;
        const float z = r * r;
        const float s = r + r * z * (-1.6666654611e-1f + z * (8.3321608736e-3f + z * -1.9515295891e-4f));
        const float c =
            1 - 0.5f * z +
            z * z * (4.166664568298827e-2f + z * (-1.388731625493765e-3f + z * 2.443315711809948e-5f));
        const float first = (n & 1) ? c : s, second = (n & 1) ? s : c;
        sines[i] = (n & 2) ? -first : first;
        cosines[i] = ((n + 1) & 2) ? -second : second;
    }
    if (outside == 0) return;
    for (std::size_t i = 0; i < count; ++i)
        if (!(std::fabs(angles[i]) <= kSinCosRange)) {
            sines[i] = std::sin(angles[i]);
            cosines[i] = std::cos(angles[i]);
        }
}

} // namespace velorin
