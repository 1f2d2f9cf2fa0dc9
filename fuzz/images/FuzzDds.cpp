#include "images/Dds.h"

#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string reason;
    const auto image = velorin::ReadDds(std::as_bytes(std::span(data, size)), reason);
    if (!image) {
        if (reason.empty()) std::abort();
        return 0;
    }
    for (const velorin::DdsImage::Level& level : image->levels) {
        std::vector<std::uint8_t> rgba(std::size_t{4} * level.width * level.height);
        velorin::DecodeBlocks(image->format, level, rgba.data());
    }
    return 0;
}
