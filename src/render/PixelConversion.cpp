#include "render/PixelConversion.h"

#include <algorithm>
#include <bit>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace velorin {

namespace {

// Of the bits without the sign: 1, infinity (above it is no number), and the smallest one with a leading 1.
constexpr std::uint16_t kOne = 0x3c00, kInfinity = 0x7c00, kNormal = 0x400;

float HalfToFloat(std::uint16_t half) {
    const std::uint32_t magnitude = half & 0x7fffu, sign = static_cast<std::uint32_t>(half & 0x8000u) << 16;
    if (magnitude >= kInfinity) return std::bit_cast<float>(sign | 0x7f800000u | (magnitude & 0x3ffu) << 13);
    const float value = magnitude < kNormal ? static_cast<float>(magnitude) * 0x1p-24f
                                            : std::bit_cast<float>((magnitude << 13) + (112u << 23));
    return std::bit_cast<float>(sign | std::bit_cast<std::uint32_t>(value));
}

// A channel from 0 to `white`.
template <class T>
T ConvertOne(std::uint16_t half, float white) {
    const bool hidden = (half & 0x8000) != 0 || half > kInfinity;
    const float value = hidden ? 0 : HalfToFloat(std::min(half, kOne));
    return static_cast<T>(static_cast<std::int32_t>(value * white + 0.5f));
}

#ifdef __SSE2__
// Eight halves within 0 to 1. As whole numbers they are ordered like their values.
__m128i CutEight(const std::uint16_t* source) {
    const __m128i halves = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
    const __m128i number = _mm_cmplt_epi16(halves, _mm_set1_epi16(kInfinity + 1));
    return _mm_and_si128(number,
                         _mm_min_epi16(_mm_max_epi16(halves, _mm_setzero_si128()), _mm_set1_epi16(kOne)));
}

// Four of them times `white`, rounded. The halves' bits stand in the upper half of each lane; behind the sign
// and three more bits of exponent they are the value times 2^-112.
__m128i ScaleFour(__m128i upper, float white) {
    const __m128 small = _mm_castsi128_ps(_mm_srli_epi32(upper, 3));
    const __m128 scaled = _mm_mul_ps(small, _mm_set1_ps(white * 0x1p112f));
    return _mm_cvttps_epi32(_mm_add_ps(scaled, _mm_set1_ps(0.5f)));
}

__m128i EightTimes255(const std::uint16_t* source) {
    const __m128i cut = CutEight(source);
    // Without a leading 1 they are too dark to count, and slow to multiply.
    const __m128i eight = _mm_and_si128(cut, _mm_cmpgt_epi16(cut, _mm_set1_epi16(kNormal - 1)));
    const __m128i zero = _mm_setzero_si128();
    return _mm_packs_epi32(ScaleFour(_mm_unpacklo_epi16(zero, eight), 255),
                           ScaleFour(_mm_unpackhi_epi16(zero, eight), 255));
}

__m128i EightTimes32768(const std::uint16_t* source) {
    const __m128i cut = CutEight(source);
    const __m128i isNormal = _mm_cmpgt_epi16(cut, _mm_set1_epi16(kNormal - 1));
    const __m128i eight = _mm_and_si128(cut, isNormal), zero = _mm_setzero_si128();
    // The pack is signed and 32768 is one too many for it: shifted down for the pack, and up again after it.
    const __m128i down = _mm_set1_epi32(16384);
    const __m128i low = _mm_sub_epi32(ScaleFour(_mm_unpacklo_epi16(zero, eight), 32768), down);
    const __m128i high = _mm_sub_epi32(ScaleFour(_mm_unpackhi_epi16(zero, eight), 32768), down);
    const __m128i large = _mm_add_epi16(_mm_packs_epi32(low, high), _mm_set1_epi16(16384));
    // Those without a leading 1 count steps of 2^-24: 512 to one of the result.
    const __m128i dark = _mm_srli_epi16(_mm_add_epi16(cut, _mm_set1_epi16(256)), 9);
    return _mm_or_si128(large, _mm_andnot_si128(isNormal, dark));
}

// As HalfToFloat, of the low half of each lane. Of the numbers without a leading 1 the bits come to stand
// behind one of 2^-14, which is taken away again (F. Giesen, "Half to float done quick", 2012).
__m128 HalvesToFour(__m128i halves) {
    const __m128i magnitude = _mm_and_si128(halves, _mm_set1_epi32(0x7fff));
    const __m128i sign = _mm_slli_epi32(_mm_xor_si128(halves, magnitude), 16);
    const __m128i shifted = _mm_slli_epi32(magnitude, 13);
    const __m128i beyond = _mm_cmpgt_epi32(magnitude, _mm_set1_epi32(kInfinity - 1));
    const __m128i offset = _mm_set1_epi32(112 << 23);
    const __m128i normal = _mm_add_epi32(_mm_add_epi32(shifted, offset), _mm_and_si128(beyond, offset));
    const __m128i magic = _mm_set1_epi32(113 << 23);
    const __m128i small = _mm_castps_si128(
        _mm_sub_ps(_mm_castsi128_ps(_mm_add_epi32(shifted, magic)), _mm_castsi128_ps(magic)));
    const __m128i isSmall = _mm_cmpgt_epi32(_mm_set1_epi32(kNormal), magnitude);
    const __m128i value = _mm_or_si128(_mm_and_si128(isSmall, small), _mm_andnot_si128(isSmall, normal));
    return _mm_castsi128_ps(_mm_or_si128(value, sign));
}
#endif

} // namespace

void ConvertHalves8(const std::uint16_t* source, std::uint8_t* target, std::size_t count) {
    std::size_t i = 0;
#ifdef __SSE2__
    for (; i + 16 <= count; i += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target + i),
                         _mm_packus_epi16(EightTimes255(source + i), EightTimes255(source + i + 8)));
#endif
    for (; i < count; ++i) target[i] = ConvertOne<std::uint8_t>(source[i], 255);
}

void ConvertHalves16(const std::uint16_t* source, std::uint16_t* target, std::size_t count) {
    std::size_t i = 0;
#ifdef __SSE2__
    for (; i + 8 <= count; i += 8)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target + i), EightTimes32768(source + i));
#endif
    for (; i < count; ++i) target[i] = ConvertOne<std::uint16_t>(source[i], 32768);
}

void ConvertHalves32(const std::uint16_t* source, float* target, std::size_t count) {
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
            ConvertHalves8(source, reinterpret_cast<std::uint8_t*>(row), channels);
            break;
        case 2:
            ConvertHalves16(source, reinterpret_cast<std::uint16_t*>(row), channels);
            break;
        case 4:
            ConvertHalves32(source, reinterpret_cast<float*>(row), channels);
            break;
        default:
            return false;
        }
    }
    return true;
}

} // namespace velorin
