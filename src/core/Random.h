#pragma once

#include <cstdint>

namespace velorin {

// The linear congruential generator of all randomness of the particles. Every stage seeds one of its own, so
// a frame's particles follow from its parameters alone.
class Random {
public:
    explicit constexpr Random(std::uint32_t seed) : state_(seed) {}

    // One step and its 15 bits, 0 to 32767.
    constexpr std::uint32_t Draw() {
        Step();
        return Bits();
    }
    // 0 to 1, both included.
    constexpr float Draw01() { return static_cast<float>(Draw()) * 3.051851e-5f; }

    constexpr void Step() { state_ = state_ * kFactor + kSummand; }
    // `count` steps at once: the affine map of one step raised to a power by squaring.
    constexpr void Skip(std::uint64_t count) {
        std::uint32_t factor = kFactor, summand = kSummand;
        for (; count > 0; count >>= 1) {
            if (count & 1) state_ = state_ * factor + summand;
            summand *= factor + 1;
            factor *= factor;
        }
    }
    // Of the present state, without a step.
    [[nodiscard]] constexpr std::uint32_t Bits() const { return (state_ >> 16) & 32767u; }
    [[nodiscard]] constexpr float Fraction() const { return static_cast<float>(Bits()) * 3.051851e-5f; }

private:
    static constexpr std::uint32_t kFactor = 214013, kSummand = 2531011;
    std::uint32_t state_;
};

} // namespace velorin
