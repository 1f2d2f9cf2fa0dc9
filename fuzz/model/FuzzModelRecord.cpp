#include "model/ModelRecord.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

using namespace velorin;

// What was read has no index outside its vertices; written anew, it is read again. Read in pieces it is the
// same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes bytes = std::as_bytes(std::span(data, size));
    const auto piece = [&](std::uint64_t at, std::span<std::byte> to) {
        const Bytes part = bytes.subspan(static_cast<std::size_t>(at), to.size()); // within, or a fault
        std::memcpy(to.data(), part.data(), to.size());
        return true;
    };
    ModelData model, inPieces;
    const bool whole = ReadModelRecord(bytes, model);
    if (ReadModelRecord(ByteStream(size, piece), inPieces) != whole) std::abort();
    if (!whole) {
        if (!model.vertices.empty() || !model.meshes.empty()) std::abort();
        return 0;
    }
    for (const ModelMesh& mesh : model.meshes)
        for (const ModelGroup& group : mesh.groups)
            for (const Triangle& triangle : group.triangles)
                for (const std::uint32_t index : triangle)
                    if (index >= model.vertices.size()) std::abort();
    const std::vector<std::byte> record = WriteModelRecord(model, 0);
    if (WriteModelRecord(inPieces, 0) != record) std::abort();
    ModelData again;
    if (!ReadModelRecord(record, again) || again.vertices.size() != model.vertices.size()) std::abort();
    return 0;
}
