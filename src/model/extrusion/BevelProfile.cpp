#include "model/extrusion/BevelProfile.h"

#include <algorithm>

namespace velorin {

namespace {

constexpr float kNearlyRound = 0.75f; // curves above it close smoothly against wall and cap

} // namespace

std::vector<ProfileRow> BevelProfile(float length, float depth, float curve, int segments) {
    if (length <= 0) length = 0.001f;
    curve = std::clamp(curve, -0.9999f, 0.9999f);
    segments = std::clamp(segments, 0, 32);
    const float amount = segments > 0 ? std::fabs(curve) : 0; // one row is flat
    // A sunk bevel faces inwards: over its straight line the normal still leans to the viewer's side.
    const float towardCap = depth >= 0 ? 1.0f : -1.0f;
    const float diagonal = std::hypot(length, depth);
    const float straightOut = std::fabs(depth) / diagonal * towardCap, straightDepth = length / diagonal;

    std::vector<ProfileRow> rows;
    const double step = 1.0 / (segments + 1);
    for (int i = 0; i <= segments + 1; ++i) {
        const auto t = static_cast<float>(std::min(1.0, i * step));
        ProfileRow row{length * (1 - t), depth * t, straightOut, straightDepth};
        const float angle = t * kPi / 2, c = std::cos(angle), s = std::sin(angle);
        // The convex quarter turns about the corner inside, the hollow one about the corner outside.
        const float arcOut = curve > 0 ? length * c : length * (1 - s);
        const float arcDepth = curve > 0 ? depth * s : depth * (1 - c);
        float arcNormalOut = std::fabs(depth) * (curve > 0 ? c : s) * towardCap;
        float arcNormalDepth = length * (curve > 0 ? s : c);
        const float arcLength = std::hypot(arcNormalOut, arcNormalDepth);
        const bool closing = curve > kNearlyRound && (i == 0 || i == segments + 1);
        const float lean = closing ? 1 : amount;
        if (amount > 0 && arcLength > 0) {
            row.out -= (row.out - arcOut) * amount;
            row.depth -= (row.depth - arcDepth) * amount;
            arcNormalOut /= arcLength, arcNormalDepth /= arcLength;
            row.normalOut -= (row.normalOut - arcNormalOut) * lean;
            row.normalDepth -= (row.normalDepth - arcNormalDepth) * lean;
            const float blended = std::hypot(row.normalOut, row.normalDepth);
            if (blended > 0) row.normalOut /= blended, row.normalDepth /= blended;
        }
        rows.push_back(row);
    }
    return rows;
}

} // namespace velorin
