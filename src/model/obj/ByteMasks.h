#pragma once

#include "model/obj/NumberScan.h"

#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// Classifies 64 characters at once: bit i of a mask tells of p[i].
namespace velorin::obj {

// What must be readable behind the end of a line for its numbers to be read by masks: the mask of a place
// within the line or one number behind it.
inline constexpr std::ptrdiff_t kFarBytes = 128;

// Set bits of a mask. std::popcount is a call where the processor's instruction may not be taken for granted.
[[nodiscard]] constexpr std::uint32_t CountBits(std::uint64_t mask) {
    mask -= mask >> 1 & 0x5555555555555555u;
    mask = (mask & 0x3333333333333333u) + (mask >> 2 & 0x3333333333333333u);
    mask = (mask + (mask >> 4)) & 0x0f0f0f0f0f0f0f0fu;
    return static_cast<std::uint32_t>(mask * 0x0101010101010101u >> 56);
}

#if defined(__SSE2__)

namespace detail {

template <class Classify>
std::uint64_t Mask64(const char* p, Classify&& classify) {
    std::uint64_t mask = 0;
    for (int i = 0; i < 4; ++i) {
        const __m128i chars = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * i));
        mask |= static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(classify(chars))))
                << (16 * i);
    }
    return mask;
}

} // namespace detail

[[nodiscard]] inline std::uint64_t Digits64(const char* p) {
    return detail::Mask64(p, [](__m128i chars) {
        const __m128i value = _mm_sub_epi8(chars, _mm_set1_epi8('0'));
        return _mm_cmpeq_epi8(_mm_min_epu8(value, _mm_set1_epi8(9)), value);
    });
}
[[nodiscard]] inline std::uint64_t LineEnds64(const char* p) {
    return detail::Mask64(p, [](__m128i chars) {
        return _mm_or_si128(_mm_cmpeq_epi8(chars, _mm_set1_epi8('\n')),
                            _mm_cmpeq_epi8(chars, _mm_set1_epi8('\r')));
    });
}
[[nodiscard]] inline std::uint64_t Blanks64(const char* p) {
    return detail::Mask64(p, [](__m128i chars) {
        return _mm_or_si128(_mm_cmpeq_epi8(chars, _mm_set1_epi8(' ')),
                            _mm_cmpeq_epi8(chars, _mm_set1_epi8('\t')));
    });
}

#else

namespace detail {

template <class Classify>
std::uint64_t Mask64(const char* p, Classify&& classify) {
    std::uint64_t mask = 0;
    for (int i = 0; i < 64; ++i) mask |= static_cast<std::uint64_t>(classify(p[i])) << i;
    return mask;
}

} // namespace detail

[[nodiscard]] inline std::uint64_t Digits64(const char* p) {
    return detail::Mask64(p, IsDigit);
}
[[nodiscard]] inline std::uint64_t LineEnds64(const char* p) {
    return detail::Mask64(p, IsLineEnd);
}
[[nodiscard]] inline std::uint64_t Blanks64(const char* p) {
    return detail::Mask64(p, IsBlank);
}

#endif

} // namespace velorin::obj
