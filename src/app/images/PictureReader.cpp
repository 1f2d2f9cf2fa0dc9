#include "app/images/Picture.h"

#include "app/images/Decoders.h"

#include "services/MappedFile.h"

#include <cstring>

namespace velorin::app {

bool PlausibleSize(std::uint64_t width, std::uint64_t height, std::uint64_t fileBytes,
                   std::uint64_t pixelsPerByte, std::string& reason) {
    if (width == 0 || height == 0 || width > kLargestPictureSide || height > kLargestPictureSide) {
        reason =
            "its size of " + std::to_string(width) + " x " + std::to_string(height) + " is not supported";
        return false;
    }
    if (width * height / pixelsPerByte > fileBytes) {
        reason =
            "the file is too short for " + std::to_string(width) + " x " + std::to_string(height) + " pixels";
        return false;
    }
    return true;
}

bool ReadPicture(const std::string& path, Picture& picture, std::string& reason) {
    const MappedFile file = MappedFile::Open(path, FileAccess::Read);
    if (!file.valid()) {
        reason = file.reason();
        return false;
    }
    const Bytes bytes = file.bytes();
    const auto startsWith = [&](const char* magic, std::size_t length) {
        return bytes.size() >= length && std::memcmp(bytes.data(), magic, length) == 0;
    };
    if (startsWith("\x89PNG\r\n\x1a\n", 8)) return DecodePng(bytes, picture, reason);
    if (startsWith("\xff\xd8\xff", 3)) return DecodeJpeg(bytes, picture, reason);
    if (startsWith("\x76\x2f\x31\x01", 4)) return DecodeExr(bytes, picture, reason);
    reason = bytes.empty() ? "the file is empty" : "the file is neither PNG, JPEG nor OpenEXR";
    return false;
}

} // namespace velorin::app
