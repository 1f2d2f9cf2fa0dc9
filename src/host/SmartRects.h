#pragma once

#include "host/api/HostApi.h"
#include "render/ImageHeader.h"

namespace velorin {

[[nodiscard]] constexpr bool IsEmpty(const PF_LRect& rect) {
    return rect.left >= rect.right || rect.top >= rect.bottom;
}
// The smallest rectangle around both when neither is empty, else `layer`.
[[nodiscard]] PF_LRect JoinResult(const PF_LRect& stored, const PF_LRect& layer);

// Where in the output world the frame goes: the layer's size reduced by the downsampling and cut to the
// world, at the world's origin where that is at least 1, else at 0.
[[nodiscard]] OutputTarget MakeOutputTarget(const PF_InData& in, const PF_EffectWorld* world,
                                            int bytesPerChannel);

} // namespace velorin
