#pragma once

#include <array>
#include <vector>

namespace velorin::app {

// How the value moves at a keyframe. Linear: straight towards the next key and from the one before. Hold:
// stays until the next key. Bezier: leaves and arrives at rest, with an influence of a third of the span on
// each side.
enum class KeyframeEase { Linear, Hold, Bezier };

using Components = std::array<double, 4>;

struct Keyframe {
    double time = 0; // seconds
    Components value{};
    KeyframeEase ease = KeyframeEase::Linear;
};

// A number or vector of up to four components over time.
struct AnimatedValue {
    int size = 1;
    Components constant{};      // when there are no keys
    std::vector<Keyframe> keys; // by time, all different

    AnimatedValue() = default;
    AnimatedValue(double value) : constant{value} {}
    AnimatedValue(double x, double y, double z) : size(3), constant{x, y, z} {}

    // Before the first key its value, after the last the last's. `interpolates` false makes every key hold
    // (choices, switches, layers).
    [[nodiscard]] Components At(double seconds, bool interpolates = true) const;
    [[nodiscard]] double NumberAt(double seconds, bool interpolates = true) const {
        return At(seconds, interpolates)[0];
    }
};

} // namespace velorin::app
