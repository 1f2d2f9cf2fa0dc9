#include "host/ParamReader.h"

#include "host/HostMemory.h"

namespace velorin {
namespace {

constexpr double kFixedOne = 1.5258789e-5; // 1 / 65536

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
    return static_cast<float>(row.def.u.fs_d.value);
}

float ParamReader::Angle(std::uint32_t diskId) const {
    const ParamCheckout row(*call_.in_data, Index(diskId), time_);
    A_FpLong degrees = 0;
    if (!call_.angleSuite || call_.angleSuite->PF_GetFloatingPointValueFromAngleDef(
                                 call_.in_data->effect_ref, &row.def, &degrees) != PF_Err_NONE)
        degrees = row.def.u.ad.value * kFixedOne;
    return static_cast<float>(degrees * 0.017453292519943295);
}

Point2 ParamReader::PointXY(std::uint32_t diskId) const {
    const ParamCheckout row(*call_.in_data, Index(diskId), time_);
    A_FloatPoint point{};
    if (!call_.pointSuite || call_.pointSuite->PF_GetFloatingPointValueFromPointDef(
                                 call_.in_data->effect_ref, &row.def, &point) != PF_Err_NONE)
        point = {row.def.u.td.x_value * kFixedOne, row.def.u.td.y_value * kFixedOne};
    // The host counts in pixels of the reduced buffer.
    const PF_InData& in = *call_.in_data;
    return {static_cast<float>(point.x * InverseDownsample(in.downsample_x) * LayerPixelAspect(in)),
            static_cast<float>(point.y * InverseDownsample(in.downsample_y))};
}

Point4 ParamReader::Color(std::uint32_t diskId) const {
    const ParamCheckout row(*call_.in_data, Index(diskId), time_);
    const PF_Pixel& pixel = row.def.u.cd.value;
    constexpr float kByte = 0.003921569f;
    return {static_cast<float>(pixel.red) * kByte, static_cast<float>(pixel.green) * kByte,
            static_cast<float>(pixel.blue) * kByte, static_cast<float>(pixel.alpha) * kByte};
}

} // namespace velorin
