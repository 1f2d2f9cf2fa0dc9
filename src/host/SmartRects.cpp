#include "host/SmartRects.h"

#include "host/LayerInputs.h"
#include "host/ParamReader.h"

#include <algorithm>
#include <cmath>

namespace velorin {

PF_LRect JoinResult(const PF_LRect& stored, const PF_LRect& layer) {
    if (IsEmpty(stored) || IsEmpty(layer)) return layer;
    return {std::min(stored.left, layer.left), std::min(stored.top, layer.top),
            std::max(stored.right, layer.right), std::max(stored.bottom, layer.bottom)};
}

OutputTarget MakeOutputTarget(const PF_InData& in, const PF_EffectWorld* world, int bytesPerChannel) {
    OutputTarget target;
    target.image = ToImageHeader(world, bytesPerChannel);
    const auto reduced = [](A_long size, PF_RationalScale scale, std::uint32_t limit) {
        const double pixels = std::ceil(size / InverseDownsample(scale));
        return static_cast<std::int32_t>(std::clamp(pixels, 0.0, static_cast<double>(limit)));
    };
    target.width = reduced(in.width, in.downsample_x, target.image.width);
    target.height = reduced(in.height, in.downsample_y, target.image.height);
    if (world) {
        target.originX = std::max(world->origin_x, A_long{0});
        target.originY = std::max(world->origin_y, A_long{0});
    }
    target.pixelAspect = static_cast<float>(1 / LayerPixelAspect(in));
    return target;
}

} // namespace velorin
