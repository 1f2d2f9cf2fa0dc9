#pragma once

#include "render/gl/Handles.h"

#include <cstddef>
#include <cstdint>

namespace velorin {

struct DdsImage;
struct DriverInfo;

// From pixels in memory to 2D textures: mip-mapped, trilinear, repeating, with the driver's anisotropy. The
// binding of the active unit is left as it was. Empty on a size that the driver refuses and on a GL fault,
// which is logged.

// `compress` stores DXT5 where the driver can. On drivers marked as ATI's the mip levels are made here.
[[nodiscard]] gl::Texture UploadBytes(const std::uint8_t* rgba, std::uint32_t width, std::uint32_t height,
                                      bool compress, const DriverInfo& driver);
[[nodiscard]] gl::Texture UploadFloats(const float* rgba, std::uint32_t width, std::uint32_t height,
                                       const DriverInfo& driver);
// The stored levels from `firstLevel` on, and no others; unpacked to bytes where the driver has no such
// formats.
[[nodiscard]] gl::Texture UploadBlocks(const DdsImage& image, std::size_t firstLevel,
                                       const DriverInfo& driver);

} // namespace velorin
