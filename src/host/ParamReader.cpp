#include "host/ParamReader.h"

#include "host/HostMemory.h"
#include "host/ParamTable.h"

#include <algorithm>
#include <cmath>

namespace velorin {
namespace {

constexpr double kFixedOne = 1.0 / 65536; // exact, so that whole turns stay whole
constexpr double kRadians = 0.017453292519943295;
constexpr double kFarthest = 1e9; // of values that no row's range holds: degrees, pixels

double Held(double value) {
    return std::isfinite(value) ? std::clamp(value, -kFarthest, kFarthest) : 0;
}

} // namespace

double InverseDownsample(PF_RationalScale scale) {
    if (scale.num <= 0 || scale.den == 0) return 1;
    return static_cast<double>(scale.den) / static_cast<double>(scale.num);
}

double LayerPixelAspect(const PF_InData& in) {
    const PF_RationalScale& aspect = in.pixel_aspect_ratio;
    return aspect.num > 0 && aspect.den > 0 ? static_cast<double>(aspect.num) / aspect.den : 1;
}

int ParamReader::Popup(std::uint32_t diskId) const {
    const ParamCheckout row(*call_.in_data, Index(diskId), time_);
    return row.def.u.pd.value;
}

bool ParamReader::Check(std::uint32_t diskId) const {
    const ParamCheckout row(*call_.in_data, Index(diskId), time_);
    return row.def.u.bd.value != 0;
}

float ParamReader::Float(std::uint32_t diskId) const {
    const ParamCheckout row(*call_.in_data, Index(diskId), time_);
    const double value = row.def.u.fs_d.value;
    const ParamRow* const known = FindParam(diskId);
    if (!known) return static_cast<float>(Held(value));
    if (std::isnan(value)) return known->row->value;
    return static_cast<float>(std::clamp(value, double{known->row->minimum}, double{known->row->maximum}));
}

double ParamReader::Degrees(std::uint32_t diskId) const {
    const ParamCheckout row(*call_.in_data, Index(diskId), time_);
    A_FpLong degrees = 0;
    if (!call_.angleSuite || call_.angleSuite->PF_GetFloatingPointValueFromAngleDef(
                                 call_.in_data->effect_ref, &row.def, &degrees) != PF_Err_NONE)
        degrees = row.def.u.ad.value * kFixedOne;
    return Held(degrees);
}

float ParamReader::Angle(std::uint32_t diskId) const {
    return static_cast<float>(Degrees(diskId) * kRadians);
}

float ParamReader::Turn(std::uint32_t diskId) const {
    return static_cast<float>(std::fmod(Degrees(diskId), 360.0) * kRadians);
}

Point2 ParamReader::PointXY(std::uint32_t diskId) const {
    const ParamCheckout row(*call_.in_data, Index(diskId), time_);
    A_FloatPoint point{};
    if (!call_.pointSuite || call_.pointSuite->PF_GetFloatingPointValueFromPointDef(
                                 call_.in_data->effect_ref, &row.def, &point) != PF_Err_NONE)
        point = {row.def.u.td.x_value * kFixedOne, row.def.u.td.y_value * kFixedOne};
    // The host counts in pixels of the reduced buffer.
    const PF_InData& in = *call_.in_data;
    return {static_cast<float>(Held(point.x * InverseDownsample(in.downsample_x) * LayerPixelAspect(in))),
            static_cast<float>(Held(point.y * InverseDownsample(in.downsample_y)))};
}

Point4 ParamReader::Color(std::uint32_t diskId) const {
    const ParamCheckout row(*call_.in_data, Index(diskId), time_);
    const PF_Pixel& pixel = row.def.u.cd.value;
    constexpr float kByte = 0.003921569f;
    return {static_cast<float>(pixel.red) * kByte, static_cast<float>(pixel.green) * kByte,
            static_cast<float>(pixel.blue) * kByte, static_cast<float>(pixel.alpha) * kByte};
}

} // namespace velorin
