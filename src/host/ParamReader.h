#pragma once

#include "host/AEPlugin.h"
#include "services/NxMath.h"

#include <cstdint>
#include <span>

namespace velorin {

// Values of the effect's rows by disk id, at the time of a call or at another one. Each read takes the row
// out of the host and gives it back at once. Whatever the host gives, what comes out is finite, and floats
// are within their row's range (not-a-number gives the default), so that no count or loop behind a row can
// run away.
class ParamReader {
public:
    ParamReader(PluginCall& call, std::span<const std::uint32_t> paramIndex)
        : call_(call), paramIndex_(paramIndex), time_(call.in_data->current_time) {}

    // Reads that follow are of this time, in the host's units.
    void SetTime(A_long time) { time_ = time; }

    [[nodiscard]] PF_ParamIndex Index(std::uint32_t diskId) const {
        return diskId < paramIndex_.size() ? static_cast<PF_ParamIndex>(paramIndex_[diskId]) : 0;
    }

    // The raw value, 1-based.
    [[nodiscard]] int Popup(std::uint32_t diskId) const;
    [[nodiscard]] bool Check(std::uint32_t diskId) const;
    [[nodiscard]] float Float(std::uint32_t diskId) const; // as the host shows it
    // A row that shows percent, as a factor: 10 percent are the float next to 0.1.
    [[nodiscard]] float Percent(std::uint32_t diskId) const {
        return static_cast<float>(static_cast<double>(Float(diskId)) * 0.01);
    }
    [[nodiscard]] float Angle(std::uint32_t diskId) const; // radians
    // Radians without whole turns, for what only turns: 360 degrees are exactly 0.
    [[nodiscard]] float Turn(std::uint32_t diskId) const;
    // World space: square pixels of the layer at full resolution.
    [[nodiscard]] Point2 PointXY(std::uint32_t diskId) const;
    [[nodiscard]] Point4 Color(std::uint32_t diskId) const; // red, green, blue, alpha in 0..1

private:
    [[nodiscard]] double Degrees(std::uint32_t diskId) const;

    PluginCall& call_;
    std::span<const std::uint32_t> paramIndex_;
    A_long time_;
};

// Denominator over numerator of a downsampling: how many pixels of the layer one pixel of the buffer stands
// for. Hosts give 0 in commands where the value has no meaning; that counts as 1.
[[nodiscard]] double InverseDownsample(PF_RationalScale scale);

// Width over height of a pixel of the effect's layer.
[[nodiscard]] double LayerPixelAspect(const PF_InData& in);

} // namespace velorin
