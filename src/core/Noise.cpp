#include "core/Noise.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace velorin {
namespace {

constexpr std::array<std::uint8_t, 256> kPermutation{
    151, 160, 137, 91,  90,  15,  131, 13,  201, 95,  96,  53,  194, 233, 7,   225, 140, 36,  103, 30,
    69,  142, 8,   99,  37,  240, 21,  10,  23,  190, 6,   148, 247, 120, 234, 75,  0,   26,  197, 62,
    94,  252, 219, 203, 117, 35,  11,  32,  57,  177, 33,  88,  237, 149, 56,  87,  174, 20,  125, 136,
    171, 168, 68,  175, 74,  165, 71,  134, 139, 48,  27,  166, 77,  146, 158, 231, 83,  111, 229, 122,
    60,  211, 133, 230, 220, 105, 92,  41,  55,  46,  245, 40,  244, 102, 143, 54,  65,  25,  63,  161,
    1,   216, 80,  73,  209, 76,  132, 187, 208, 89,  18,  169, 200, 196, 135, 130, 116, 188, 159, 86,
    164, 100, 109, 198, 173, 186, 3,   64,  52,  217, 226, 250, 124, 123, 5,   202, 38,  147, 118, 126,
    255, 82,  85,  212, 207, 206, 59,  227, 47,  16,  58,  17,  182, 189, 28,  42,  223, 183, 170, 213,
    119, 248, 152, 2,   44,  154, 163, 70,  221, 153, 101, 155, 167, 43,  172, 9,   129, 22,  39,  253,
    19,  98,  108, 110, 79,  113, 224, 232, 178, 185, 112, 104, 218, 246, 97,  228, 251, 34,  242, 193,
    238, 210, 144, 12,  191, 179, 162, 241, 81,  51,  145, 235, 249, 14,  239, 107, 49,  192, 214, 31,
    181, 199, 106, 157, 184, 84,  204, 176, 115, 121, 50,  45,  127, 4,   150, 254, 138, 236, 205, 93,
    222, 114, 67,  29,  24,  72,  243, 141, 128, 195, 78,  66,  215, 61,  156, 180};

std::size_t Hash(std::size_t index) {
    return kPermutation[index & 255];
}

float Fade(float t) {
    return t * t * t * (t * (t * 6 - 15) + 10);
}

float Mix(float t, float a, float b) {
    return a + t * (b - a);
}

float Gradient(std::size_t hash, float x, float y, float z) {
    const std::size_t h = hash & 15;
    const float u = h < 8 ? x : y;
    const float v = h < 4 ? y : (h == 12 || h == 14 ? x : z);
    return ((h & 1) == 0 ? u : -u) + ((h & 2) == 0 ? v : -v);
}

// Lattice coordinate modulo 256 and the place within the cell.
struct Cell {
    explicit Cell(float value) {
        const float whole = std::floor(value);
        fraction = value - whole;
        index = static_cast<std::size_t>(whole - 256 * std::floor(whole / 256)) & 255;
    }
    std::size_t index = 0;
    float fraction = 0;
};

} // namespace

float Noise2(float x, float y) {
    if (!std::isfinite(x) || !std::isfinite(y)) return 0;
    const Cell cx(x), cy(y);
    const float u = Fade(cx.fraction), v = Fade(cy.fraction);
    const std::size_t a = Hash(cx.index) + cy.index, b = Hash(cx.index + 1) + cy.index;
    const float fx = cx.fraction, fy = cy.fraction;
    return Mix(v, Mix(u, Gradient(Hash(a), fx, fy, 0), Gradient(Hash(b), fx - 1, fy, 0)),
               Mix(u, Gradient(Hash(a + 1), fx, fy - 1, 0), Gradient(Hash(b + 1), fx - 1, fy - 1, 0)));
}

float Noise3(float x, float y, float z) {
    if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(z)) return 0;
    const Cell cx(x), cy(y), cz(z);
    const float u = Fade(cx.fraction), v = Fade(cy.fraction), w = Fade(cz.fraction);
    const std::size_t a = Hash(cx.index) + cy.index, aa = Hash(a) + cz.index, ab = Hash(a + 1) + cz.index;
    const std::size_t b = Hash(cx.index + 1) + cy.index, ba = Hash(b) + cz.index, bb = Hash(b + 1) + cz.index;
    const float fx = cx.fraction, fy = cy.fraction, fz = cz.fraction;
    const float near =
        Mix(v, Mix(u, Gradient(Hash(aa), fx, fy, fz), Gradient(Hash(ba), fx - 1, fy, fz)),
            Mix(u, Gradient(Hash(ab), fx, fy - 1, fz), Gradient(Hash(bb), fx - 1, fy - 1, fz)));
    const float far = Mix(
        v, Mix(u, Gradient(Hash(aa + 1), fx, fy, fz - 1), Gradient(Hash(ba + 1), fx - 1, fy, fz - 1)),
        Mix(u, Gradient(Hash(ab + 1), fx, fy - 1, fz - 1), Gradient(Hash(bb + 1), fx - 1, fy - 1, fz - 1)));
    return Mix(w, near, far);
}

} // namespace velorin
