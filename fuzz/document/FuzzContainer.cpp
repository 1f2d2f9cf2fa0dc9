#include "core/document/ChunkFile.h"

#include <cstdint>
#include <cstdlib>

using namespace velorin;

// The first byte chooses the form; the rest is the document. What was read is written again and must read
// alike.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const ContainerForm forms[] = {kDefaultForm, kSceneForm, kMaterialPresetForm};
    const ContainerForm& form = forms[data[0] % 3];
    const Bytes document = std::as_bytes(std::span(data, size)).subspan(1);

    std::vector<std::byte> copy(document.size() + 8);
    ChunkFile writer(copy.data(), copy.size(), form);
    std::size_t chunks = 0;
    ChunkFile reader(document, form);
    while (const std::uint32_t tag = reader.NextChunk()) {
        writer.WriteChunk(tag, reader.Payload());
        ++chunks;
    }
    if (chunks != 0 && !writer.opened()) std::abort();
    ChunkFile again(Bytes(copy).first(static_cast<std::size_t>(writer.size())), form);
    while (again.NextChunk() != 0) --chunks;
    if (chunks != 0) std::abort();
    return 0;
}
