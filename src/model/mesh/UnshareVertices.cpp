#include "model/mesh/MeshSteps.h"

namespace velorin {

namespace {

bool IsUnshared(const ModelData& model) {
    std::uint32_t next = 0;
    for (const ModelMesh& mesh : model.meshes) {
        for (const ModelGroup& group : mesh.groups) {
            for (const Triangle& t : group.triangles) {
                if (t[0] != next || t[1] != next + 1 || t[2] != next + 2) return false;
                next += 3;
            }
        }
    }
    return next == model.vertices.size();
}

} // namespace

void UnshareVertices(ModelData& model) {
    if (IsUnshared(model)) return;
    ModelVertices vertices;
    vertices.reserve(3 * TriangleCount(model));
    for (ModelMesh& mesh : model.meshes) {
        for (ModelGroup& group : mesh.groups) {
            for (Triangle& triangle : group.triangles) {
                for (std::uint32_t& index : triangle) {
                    vertices.push_back(model.vertices[index]);
                    index = static_cast<std::uint32_t>(vertices.size() - 1);
                }
            }
        }
    }
    model.vertices = std::move(vertices);
}

} // namespace velorin
