#pragma once

#include <cstdint>

namespace velorin {

// The linear congruential generator of all randomness of the particles. Every stage seeds one of its own, so
// a frame's particles follow from its parameters alone.
class Random {
public:
    static constexpr float kUnit = 3.051851e-5f; // 1/32767

    explicit constexpr Random(std::uint32_t seed) : state_(seed) {}

    // One step and its 15 bits, 0 to 32767.
    constexpr std::uint32_t Draw() {
        Step();
        return Bits();
    }
    // 0 to 1, both included.
    constexpr float Draw01() { return static_cast<float>(Draw()) * kUnit; }

    constexpr void Step() { state_ = state_ * kFactor + kSummand; }
    constexpr void Skip(std::uint64_t count) { state_ = JumpOf(count).From(state_); }
    // Of the present state, without a step.
    [[nodiscard]] constexpr std::uint32_t Bits() const { return (state_ >> 16) & 32767u; }
    [[nodiscard]] constexpr float Fraction() const { return static_cast<float>(Bits()) * kUnit; }
    [[nodiscard]] constexpr std::uint32_t state() const { return state_; }

    // Several steps at once: again an affine map of the state.
    struct Jump {
        std::uint32_t factor = 1, summand = 0;
        [[nodiscard]] constexpr std::uint32_t From(std::uint32_t state) const {
            return state * factor + summand;
        }
        // What the last of the steps draws.
        [[nodiscard]] constexpr std::uint32_t Bits(std::uint32_t state) const {
            return (From(state) >> 16) & 32767u;
        }
    };
    // The map of one step raised to a power by squaring.
    [[nodiscard]] static constexpr Jump JumpOf(std::uint64_t count) {
        Jump jump;
        std::uint32_t factor = kFactor, summand = kSummand;
        for (; count > 0; count >>= 1) {
            if (count & 1) jump = {jump.factor * factor, jump.summand * factor + summand};
            summand *= factor + 1;
            factor *= factor;
        }
        return jump;
    }

private:
    static constexpr std::uint32_t kFactor = 214013, kSummand = 2531011;
    std::uint32_t state_;
};

} // namespace velorin
