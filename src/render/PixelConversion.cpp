#include "render/PixelConversion.h"

#include <algorithm>
#include <array>
#include <bit>

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

float HalfToFloat(std::uint16_t half) {
    const std::uint32_t magnitude = half & 0x7fffu, sign = static_cast<std::uint32_t>(half & 0x8000u) << 16;
    // An exponent of 31 is infinite or no number in both forms; the smallest numbers have no leading one.
    if (magnitude >= 0x7c00u) return std::bit_cast<float>(sign | 0x7f800000u | (magnitude & 0x3ffu) << 13);
    const float value = magnitude < 0x400u ? static_cast<float>(magnitude) * 0x1p-24f
                                           : std::bit_cast<float>((magnitude << 13) + (112u << 23));
    return std::bit_cast<float>(sign | std::bit_cast<std::uint32_t>(value));
}

// A row piece by piece through floats that stay in the cache.
template <class T>
void ConvertRow(const std::uint16_t* source, T* target, std::size_t count,
                void (*convert)(const float*, T*, std::size_t)) {
    std::array<float, 1024> piece;
    for (std::size_t i = 0; i < count; i += piece.size()) {
        const std::size_t length = std::min(piece.size(), count - i);
        HalvesToFloats(source + i, piece.data(), length);
        convert(piece.data(), target + i, length);
    }
}

#ifdef __SSE2__
// As HalfToFloat, of the low half of each lane. Of the numbers without a leading one the bits come to stand
// behind one of 2^-14, which is taken away again (F. Giesen, "Half to float done quick", 2012).
__m128 HalvesToFour(__m128i halves) {
    const __m128i magnitude = _mm_and_si128(halves, _mm_set1_epi32(0x7fff));
    const __m128i sign = _mm_slli_epi32(_mm_xor_si128(halves, magnitude), 16);
    const __m128i shifted = _mm_slli_epi32(magnitude, 13);
    const __m128i beyond = _mm_cmpgt_epi32(magnitude, _mm_set1_epi32(0x7bff));
    const __m128i normal = _mm_add_epi32(_mm_add_epi32(shifted, _mm_set1_epi32(112 << 23)),
                                         _mm_and_si128(beyond, _mm_set1_epi32(112 << 23)));
    const __m128i magic = _mm_set1_epi32(113 << 23);
    const __m128i small = _mm_castps_si128(
        _mm_sub_ps(_mm_castsi128_ps(_mm_add_epi32(shifted, magic)), _mm_castsi128_ps(magic)));
    const __m128i isSmall = _mm_cmpgt_epi32(_mm_set1_epi32(0x400), magnitude);
    const __m128i value = _mm_or_si128(_mm_and_si128(isSmall, small), _mm_andnot_si128(isSmall, normal));
    return _mm_castsi128_ps(_mm_or_si128(value, sign));
}

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

void HalvesToFloats(const std::uint16_t* source, float* target, std::size_t count) {
    std::size_t i = 0;
#ifdef __SSE2__
    for (; i + 8 <= count; i += 8) {
        const __m128i eight = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + i));
        _mm_storeu_ps(target + i, HalvesToFour(_mm_unpacklo_epi16(eight, _mm_setzero_si128())));
        _mm_storeu_ps(target + i + 4, HalvesToFour(_mm_unpackhi_epi16(eight, _mm_setzero_si128())));
    }
#endif
    for (; i < count; ++i) target[i] = HalfToFloat(source[i]);
}

bool WritePicture(const std::uint16_t* argb, int width, int height, const OutputTarget& target) {
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
        const std::uint16_t* source = argb + 4 * ((y - target.originY) * width + (left - target.originX));
        auto* row = static_cast<std::byte*>(image.data) + y * image.rowBytes + left * pixelBytes;
        switch (image.bytesPerChannel) {
        case 1:
            ConvertRow(source, reinterpret_cast<std::uint8_t*>(row), channels, ConvertChannels8);
            break;
        case 2:
            ConvertRow(source, reinterpret_cast<std::uint16_t*>(row), channels, ConvertChannels16);
            break;
        case 4:
            HalvesToFloats(source, reinterpret_cast<float*>(row), channels);
            break;
        default:
            return false;
        }
    }
    return true;
}

} // namespace velorin
