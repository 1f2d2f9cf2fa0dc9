// The reader of animation beside OBJ files: it never holds more than the input's bytes can say.

#include "model/obj/LayerFile.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velorin;
    const obj::LayerFile file = obj::ReadLayerFile(std::as_bytes(std::span(data, size)));
    std::size_t bytes = 30 * file.joints.size();
    for (const AnimationLayer& layer : file.layers) {
        bytes += 17;
        for (const auto& [name, keys] : layer.tracks) bytes += 5 + 28 * keys.size();
    }
    if (bytes > size) std::abort();
    return 0;
}
