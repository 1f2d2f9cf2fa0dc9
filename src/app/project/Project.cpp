#include "app/project/Project.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace velorin::app {

FrameRate FrameRateFromNumber(double perSecond) {
    constexpr int kUnits = 1000;
    const double nearest = std::round(perSecond);
    if (nearest >= 1 && std::abs(perSecond - nearest) < 1e-6)
        return {static_cast<int>(nearest) * kUnits, kUnits};
    // Rates of television: a whole number slowed by 1000 / 1001, written with two or three decimals.
    const double whole = std::round(perSecond * 1.001);
    if (whole >= 1 && std::abs(perSecond - whole / 1.001) < 0.006)
        return {static_cast<int>(whole) * 1000, 1001};
    const int scale = std::max(1, static_cast<int>(std::lround(perSecond * 1000)));
    return {scale, 1000};
}

int Composition::frameCount() const {
    return std::max(1, static_cast<int>(std::lround(duration * frameRate.perSecond())));
}

TextStyle TextStyleAt(const Layer& layer, double seconds) {
    const double size = layer.size.NumberAt(seconds), leading = layer.leading.NumberAt(seconds);
    return {size, layer.tracking.NumberAt(seconds) / 1000 * size, leading > 0 ? leading : size * 1.2};
}

} // namespace velorin::app
