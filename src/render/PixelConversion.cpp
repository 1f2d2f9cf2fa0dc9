#include "render/PixelConversion.h"

#include <algorithm>
#include <cstring>

namespace velorin {

namespace {

// Written so that a NaN ends at 0 and compilers turn the loops into vector code.
template <class T>
void Convert(const float* source, T* target, std::size_t count, float white) {
    for (std::size_t i = 0; i < count; ++i) {
        float value = source[i] * white;
        value = value > 0 ? value : 0;
        value = value < white ? value : white;
        target[i] = static_cast<T>(static_cast<std::int32_t>(value + 0.5f));
    }
}

} // namespace

void ConvertChannels8(const float* source, std::uint8_t* target, std::size_t count) {
    Convert(source, target, count, 255.0f);
}

void ConvertChannels16(const float* source, std::uint16_t* target, std::size_t count) {
    Convert(source, target, count, 32768.0f);
}

bool WritePicture(const float* argb, int width, int height, const OutputTarget& target) {
    const ImageHeader& image = target.image;
    if (image.empty()) return false;
    const std::int64_t pixelBytes = std::int64_t{4} * image.bytesPerChannel;
    if (image.rowBytes < pixelBytes * image.width) return false;

    const std::int64_t left = std::max(0, target.originX), top = std::max(0, target.originY);
    const std::int64_t right = std::min<std::int64_t>(image.width, std::int64_t{target.originX} + width);
    const std::int64_t bottom = std::min<std::int64_t>(image.height, std::int64_t{target.originY} + height);
    if (left >= right || top >= bottom) return false;

    const auto channels = static_cast<std::size_t>(4 * (right - left));
    for (std::int64_t y = top; y < bottom; ++y) {
        const float* source = argb + 4 * ((y - target.originY) * width + (left - target.originX));
        auto* row = static_cast<std::byte*>(image.data) + y * image.rowBytes + left * pixelBytes;
        switch (image.bytesPerChannel) {
        case 1:
            ConvertChannels8(source, reinterpret_cast<std::uint8_t*>(row), channels);
            break;
        case 2:
            ConvertChannels16(source, reinterpret_cast<std::uint16_t*>(row), channels);
            break;
        case 4:
            std::memcpy(row, source, channels * sizeof(float));
            break;
        default:
            return false;
        }
    }
    return true;
}

} // namespace velorin
