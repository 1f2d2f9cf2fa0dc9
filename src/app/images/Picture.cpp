#include "app/images/Picture.h"

#include "images/Image.h"
#include "images/ImageWriter.h"
#include "services/MappedFile.h"
#include "services/SafeFile.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace velorin::app {

namespace {

constexpr std::uint64_t kLargestSide = 30000;
// What is shown but not stored costs memory only of the one who shows it; the file still has to have some
// bytes.
constexpr std::uint64_t kMostShownPixelsPerByte = 8192 * 64;

// Colour is stored multiplied by alpha.
void Unpremultiply(Image& image) {
    float* pixel = image.floats();
    for (float* end = pixel + 4 * image.pixelCount(); pixel != end; pixel += 4)
        if (pixel[3] != 0 && pixel[3] != 1)
            for (int c = 0; c < 3; ++c) pixel[c] /= pixel[3];
}

// The part of the image that lies on its canvas, and nothing around it. `depth` 16 takes the floats back to
// the integers that they were read from, exactly.
Picture OnCanvas(const Image& image, int depth) {
    const Image::Canvas& canvas = image.canvas();
    const auto width = static_cast<std::int64_t>(canvas.width),
               height = static_cast<std::int64_t>(canvas.height);
    Picture picture(static_cast<int>(width), static_cast<int>(height), depth);
    const std::int64_t left = std::max<std::int64_t>(canvas.left, 0),
                       right = std::min<std::int64_t>(canvas.left + width, image.width());
    const std::int64_t top = std::max<std::int64_t>(canvas.top, 0),
                       bottom = std::min<std::int64_t>(canvas.top + height, image.height());
    if (left >= right) return picture;
    const std::size_t values = 4 * static_cast<std::size_t>(right - left);
    for (std::int64_t y = top; y < bottom; ++y) {
        const std::size_t first =
            static_cast<std::size_t>(y) * image.width() + static_cast<std::size_t>(left);
        std::byte* const out = picture.row(static_cast<int>(y - canvas.top)) +
                               static_cast<std::size_t>(left - canvas.left) * picture.pixelBytes();
        if (depth != 16) {
            std::memcpy(out, image.data() + first * image.bytesPerPixel(), values * picture.pixelBytes() / 4);
            continue;
        }
        for (std::size_t i = 0; i < values; ++i) {
            const auto value = static_cast<std::uint16_t>(std::lround(image.floats()[4 * first + i] * 65535));
            std::memcpy(out + 2 * i, &value, 2);
        }
    }
    return picture;
}

bool Write(const std::string& path, const Picture& picture, std::string& error,
           std::optional<std::vector<std::byte>> (*encode)(const Pixels&, std::string&)) {
    std::string reason;
    const auto bytes = encode({static_cast<std::uint32_t>(picture.width),
                               static_cast<std::uint32_t>(picture.height), picture.depth, picture.pixels},
                              reason);
    if (bytes) return WriteFileSafely(path, *bytes, error);
    error = path + ": " + reason;
    return false;
}

} // namespace

bool ReadPicture(const std::string& path, Picture& picture, std::string& reason) {
    const MappedFile file = MappedFile::Open(path, FileAccess::Read);
    if (!file.valid()) {
        reason = file.reason();
        return false;
    }
    const Bytes bytes = file.bytes();
    const auto startsWith = [&](std::string_view magic) {
        return bytes.size() >= magic.size() && std::memcmp(bytes.data(), magic.data(), magic.size()) == 0;
    };
    auto image = DecodeImage(bytes, {}, reason);
    if (!image) return false;
    const Image::Canvas& canvas = image->canvas();
    if (canvas.width > kLargestSide || canvas.height > kLargestSide) {
        reason = "its size of " + std::to_string(canvas.width) + " by " + std::to_string(canvas.height) +
                 " pixels is not supported";
        return false;
    }
    if (!PlausibleSize(canvas.width, canvas.height, bytes.size(), kMostShownPixelsPerByte, reason))
        return false;
    const bool floats = image->format() == Image::Format::RgbaFloat;
    if (floats && startsWith("\x76\x2f\x31\x01")) Unpremultiply(*image);
    picture = OnCanvas(*image, !floats ? 8 : startsWith("\x89PNG") ? 16 : 32);
    return true;
}

bool WritePng(const std::string& path, const Picture& picture, std::string& error) {
    return Write(path, picture, error, EncodePng);
}

bool WriteExr(const std::string& path, const Picture& picture, std::string& error) {
    return Write(path, picture, error, EncodeExr);
}

} // namespace velorin::app
