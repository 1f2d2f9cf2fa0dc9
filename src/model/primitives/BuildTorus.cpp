#include "model/primitives/PrimitiveMesh.h"

#include <algorithm>

namespace velorin {

void BuildTorus(ModelData& model, const TorusParameters& p) {
    const int segments = Count(p.ringSegments, 3, 500), sides = Count(p.ringSides, 3, 500);
    const int twists = Count(p.twists, 0, 20);
    // The addend keeps equal radii from giving no section at all.
    const float radius1 = Limit(p.ringRadius1, 0.01f, 100) + 1.1920929e-7f;
    const float radius2 = Limit(p.ringRadius2, 0.01f, 100);
    const float a = std::max(radius1, radius2) * 100, b = std::min(radius1, radius2) * 100;
    const float major = (a + b) / 2, minor = std::max((a - b) / 2, major * 1e-6f);
    const Turn ring(segments);
    // The section's start moves with the ring; at the end it has moved by whole sides and meets the start
    // again.
    std::vector<Turn> sections;
    for (int i = 0; i < segments; ++i) {
        const float share = static_cast<float>(i) / static_cast<float>(segments);
        sections.emplace_back(sides,
                              kFullTurn / static_cast<float>(sides) * static_cast<float>(twists) * share);
    }
    PrimitiveMesh mesh(model);
    mesh.Grid(sides + 1, segments + 1, [&](int j, int i) {
        const bool last = i == segments;
        const Turn& section = sections[static_cast<std::size_t>(last ? 0 : i)];
        const auto k = static_cast<std::size_t>(last ? (j + twists) % sides : j);
        const float c = section.cosine[k], s = section.sine[k];
        const float x = ring.cosine[static_cast<std::size_t>(i)], z = ring.sine[static_cast<std::size_t>(i)];
        const float radius = major + minor * c;
        return ModelVertex{{radius * x, -minor * s, radius * z},
                           {Inset(static_cast<float>(i) / static_cast<float>(segments)),
                            Inset(1 - static_cast<float>(j) / static_cast<float>(sides))},
                           {c * x, -s, c * z},
                           {}};
    });
    mesh.Finish(p.noSmoothing);
}

} // namespace velorin
