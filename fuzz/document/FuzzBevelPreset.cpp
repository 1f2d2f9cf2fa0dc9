#include "core/document/BevelPreset.h"

#include <cstdint>

using namespace velorin;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    BevelPreset preset;
    (void)ReadBevelPresetBytes(std::as_bytes(std::span(data, size)), preset);
    return 0;
}
