#include "core/document/ChunkFile.h"
#include "core/document/SceneMaterial.h"

#include <cstdint>
#include <cstdlib>

using namespace velorin;

namespace {

std::vector<std::byte> Written(const SceneMaterial& material) {
    ChunkFile measure(nullptr, 0, kMaterialPresetForm);
    material.WriteChunks(measure, nullptr, true);
    std::vector<std::byte> bytes(static_cast<std::size_t>(measure.size()));
    ChunkFile file(bytes.data(), bytes.size(), kMaterialPresetForm);
    material.WriteChunks(file, nullptr, true);
    return bytes;
}

} // namespace

// A preset that was read is written and read again without a change.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    SceneMaterial first;
    if (!first.ReadPresetBytes(std::as_bytes(std::span(data, size)))) return 0;
    const std::vector<std::byte> bytes = Written(first);
    SceneMaterial second;
    if (!second.ReadPresetBytes(bytes) || Written(second) != bytes) std::abort();
    return 0;
}
