#include "model/ModelRecord.h"

#include <cstdint>
#include <cstdlib>

using namespace velorin;

// What was read has no index outside its vertices; written anew, it is read again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ModelData model;
    if (!ReadModelRecord(std::as_bytes(std::span(data, size)), model)) {
        if (!model.vertices.empty() || !model.meshes.empty()) std::abort();
        return 0;
    }
    for (const ModelMesh& mesh : model.meshes)
        for (const ModelGroup& group : mesh.groups)
            for (const Triangle& triangle : group.triangles)
                for (const std::uint32_t index : triangle)
                    if (index >= model.vertices.size()) std::abort();
    const std::vector<std::byte> record = WriteModelRecord(model, 0);
    ModelData again;
    if (!ReadModelRecord(record, again) || again.vertices.size() != model.vertices.size()) std::abort();
    return 0;
}
