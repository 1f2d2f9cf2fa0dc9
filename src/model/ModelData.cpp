#include "model/ModelData.h"

namespace velorin {

std::size_t TriangleCount(const ModelData& model) {
    std::size_t count = 0;
    for (const ModelMesh& mesh : model.meshes)
        for (const ModelGroup& group : mesh.groups) count += group.triangles.size();
    return count;
}

} // namespace velorin
