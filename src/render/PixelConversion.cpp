#include "render/PixelConversion.h"

#include <algorithm>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace velorin {

namespace {

// One channel; a NaN fails the first comparison and becomes 0.
template <class T>
T ConvertOne(float source, float white) {
    float value = source * white;
    value = value > 0 ? value : 0;
    value = value < white ? value : white;
    return static_cast<T>(static_cast<std::int32_t>(value + 0.5f));
}

#ifdef __SSE2__
// Four channels as whole numbers from 0 to `white`. The maximum of a NaN and 0 is 0 in this order of
// operands.
__m128i ConvertFour(const float* source, __m128 white) {
    const __m128 scaled = _mm_mul_ps(_mm_loadu_ps(source), white);
    const __m128 cut = _mm_min_ps(_mm_max_ps(scaled, _mm_setzero_ps()), white);
    return _mm_cvttps_epi32(_mm_add_ps(cut, _mm_set1_ps(0.5f)));
}
#endif

} // namespace

void ConvertChannels8(const float* source, std::uint8_t* target, std::size_t count) {
    constexpr float kWhite = 255;
    std::size_t i = 0;
#ifdef __SSE2__
    const __m128 white = _mm_set1_ps(kWhite);
    for (; i + 16 <= count; i += 16) {
        const __m128i low =
            _mm_packs_epi32(ConvertFour(source + i, white), ConvertFour(source + i + 4, white));
        const __m128i high =
            _mm_packs_epi32(ConvertFour(source + i + 8, white), ConvertFour(source + i + 12, white));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target + i), _mm_packus_epi16(low, high));
    }
#endif
    for (; i < count; ++i) target[i] = ConvertOne<std::uint8_t>(source[i], kWhite);
}

void ConvertChannels16(const float* source, std::uint16_t* target, std::size_t count) {
    constexpr float kWhite = 32768;
    std::size_t i = 0;
#ifdef __SSE2__
    // The pack is signed and 32768 is one too many for it: shifted down for the pack, and up again after it.
    const __m128 white = _mm_set1_ps(kWhite);
    const __m128i down = _mm_set1_epi32(16384);
    const __m128i up = _mm_set1_epi16(16384);
    for (; i + 8 <= count; i += 8) {
        const __m128i low = _mm_sub_epi32(ConvertFour(source + i, white), down);
        const __m128i high = _mm_sub_epi32(ConvertFour(source + i + 4, white), down);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target + i),
                         _mm_add_epi16(_mm_packs_epi32(low, high), up));
    }
#endif
    for (; i < count; ++i) target[i] = ConvertOne<std::uint16_t>(source[i], kWhite);
}

bool WritePicture(const float* argb, int width, int height, const OutputTarget& target) {
    const ImageHeader& image = target.image;
    if (image.empty()) return false;
    const std::int64_t pixelBytes = std::int64_t{4} * image.bytesPerChannel;
    if (image.rowBytes < pixelBytes * image.width) return false;

    const std::int64_t left = std::max(0, target.originX), top = std::max(0, target.originY);
    const std::int64_t right = std::min<std::int64_t>(image.width, std::int64_t{target.originX} + width);
    const std::int64_t bottom = std::min<std::int64_t>(image.height, std::int64_t{target.originY} + height);
    if (left >= right || top >= bottom) return false;

    const auto channels = static_cast<std::size_t>(4 * (right - left));
    for (std::int64_t y = top; y < bottom; ++y) {
        const float* source = argb + 4 * ((y - target.originY) * width + (left - target.originX));
        auto* row = static_cast<std::byte*>(image.data) + y * image.rowBytes + left * pixelBytes;
        switch (image.bytesPerChannel) {
        case 1:
            ConvertChannels8(source, reinterpret_cast<std::uint8_t*>(row), channels);
            break;
        case 2:
            ConvertChannels16(source, reinterpret_cast<std::uint16_t*>(row), channels);
            break;
        case 4:
            std::memcpy(row, source, channels * sizeof(float));
            break;
        default:
            return false;
        }
    }
    return true;
}

} // namespace velorin
