#pragma once

#include "images/Image.h"

#include <cstdlib>
#include <optional>
#include <span>
#include <string>

// An input either gives a picture, every pixel of which is there to be read, or a reason.
namespace velorin::fuzz {

inline void CheckDecoder(std::optional<Image> (*decode)(Bytes, std::string&), const std::uint8_t* data,
                         std::size_t size) {
    std::string reason;
    const auto image = decode(std::as_bytes(std::span(data, size)), reason);
    if (!image && reason.empty()) std::abort();
    if (!image) return;
    unsigned sum = 0;
    for (std::size_t i = 0; i < image->byteCount(); ++i) sum += image->bytes()[i];
    volatile unsigned sink = sum;
    (void)sink;
    (void)LimitedTo(Halved(*image), 64);
}

} // namespace velorin::fuzz

#define VELORIN_FUZZ_DECODER(decoder)                                                                        \
    extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {                      \
        velorin::fuzz::CheckDecoder(decoder, data, size);                                                    \
        return 0;                                                                                            \
    }
