#include "app/project/Keyframes.h"

#include <algorithm>

namespace velorin::app {

namespace {

// A cubic Bezier curve of the value's progress over the span. The inner control points stand at a third and
// two thirds of the time, so that the curve's own parameter is the time; a straight side puts its point on
// the diagonal, an eased one at the height of its key.
double Progress(double s, KeyframeEase from, KeyframeEase to) {
    if (from != KeyframeEase::Bezier && to != KeyframeEase::Bezier) return s;
    const double leave = from == KeyframeEase::Bezier ? 0.0 : 1.0 / 3.0;
    const double arrive = to == KeyframeEase::Bezier ? 1.0 : 2.0 / 3.0;
    const double r = 1 - s;
    return 3 * r * r * s * leave + 3 * r * s * s * arrive + s * s * s;
}

} // namespace

Components AnimatedValue::At(double seconds, bool interpolates) const {
    if (keys.empty()) return constant;
    // Frame times and keyframe times are rounded separately; a key takes hold at its own frame.
    constexpr double kTolerance = 1e-9;
    const auto next = std::upper_bound(keys.begin(), keys.end(), seconds + kTolerance,
                                       [](double time, const Keyframe& key) { return time < key.time; });
    if (next == keys.begin()) return keys.front().value;
    const Keyframe& key = *(next - 1);
    if (next == keys.end() || key.ease == KeyframeEase::Hold || !interpolates) return key.value;
    const double s = (seconds - key.time) / (next->time - key.time);
    if (s <= 0) return key.value;
    const double p = Progress(s, key.ease, next->ease);
    Components value{};
    for (std::size_t i = 0; i < value.size(); ++i)
        value[i] = key.value[i] + (next->value[i] - key.value[i]) * p;
    return value;
}

} // namespace velorin::app
