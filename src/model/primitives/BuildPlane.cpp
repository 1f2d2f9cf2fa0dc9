#include "model/primitives/PrimitiveMesh.h"

namespace velorin {

void BuildPlane(ModelData& model, const PlaneParameters& p) {
    const float width = Limit(p.size.x, 0.01f, 100) * 100, height = Limit(p.size.y, 0.01f, 100) * 100;
    const int nx = Count(p.segments.x, 1, 200), ny = Count(p.segments.y, 1, 200);
    PrimitiveMesh mesh(model);
    for (int side = 0; side < (p.twoSided ? 2 : 1); ++side) {
        const std::size_t before = mesh.triangleCount();
        // Rows run upward, so that v, which runs downward, ends at 0 at the top.
        mesh.Grid(ny + 1, nx + 1, [&](int j, int i) {
            const float s = static_cast<float>(i) / static_cast<float>(nx);
            const float t = static_cast<float>(j) / static_cast<float>(ny);
            return ModelVertex{{(s - 0.5f) * width, (0.5f - t) * height, 0},
                               {Inset(s), Inset(1 - t)},
                               {0, 0, side == 0 ? -1.0f : 1.0f},
                               {}};
        });
        if (side == 1) mesh.Reverse(mesh.triangleCount() - before);
    }
    mesh.Finish(false);
}

} // namespace velorin
