// The OBJ reader: every index it hands out lies in its list, and its memory grows with the input.

#include "model/obj/ObjText.h"

#include <cstdint>
#include <cstdlib>
#include <numeric>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velorin;
    obj::ObjText text = obj::ReadObjText(std::as_bytes(std::span(data, size)), "fuzz");
    std::vector<std::uint32_t> triangleCounts;
    const ModelVertices vertices = obj::BuildVertices(text, triangleCounts);
    std::size_t triangles = 0;
    for (const std::uint32_t count : triangleCounts) triangles += count;
    if (3 * triangles != vertices.size() || triangles > size) std::abort();
    if (triangleCounts.size() != text.groups.size()) std::abort();
    std::size_t groups = 0;
    for (const obj::TextMesh& mesh : text.meshes) {
        if (mesh.firstGroup != groups) std::abort();
        groups += mesh.groupCount;
    }
    if (groups != text.groups.size()) std::abort();
    for (const obj::TextGroup& group : text.groups)
        if (group.material >= text.materialNames.size()) std::abort();
    return 0;
}
