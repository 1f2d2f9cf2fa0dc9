#pragma once

#include "app/images/Picture.h"

#include "services/ByteReader.h"

namespace velorin::app {

inline constexpr std::uint64_t kLargestPictureSide = 30000;

// Whether `fileBytes` can hold a picture of that size when no byte of the format fills more than
// `pixelsPerByte`.
[[nodiscard]] bool PlausibleSize(std::uint64_t width, std::uint64_t height, std::uint64_t fileBytes,
                                 std::uint64_t pixelsPerByte, std::string& reason);

[[nodiscard]] bool DecodePng(Bytes bytes, Picture& picture, std::string& reason);
[[nodiscard]] bool DecodeJpeg(Bytes bytes, Picture& picture, std::string& reason);
[[nodiscard]] bool DecodeExr(Bytes bytes, Picture& picture, std::string& reason);

} // namespace velorin::app
