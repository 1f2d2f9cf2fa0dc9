#pragma once

#include "model/ModelData.h"
#include "model/extrusion/PathSet.h"

#include <array>
#include <cmath>
#include <map>
#include <vector>

// Outlines to extrude and measures of the solids that come out, all worked out without the code under test.
namespace velorin::shapes {

inline std::vector<PathPoint> Polygon(std::initializer_list<Point2> points) {
    std::vector<PathPoint> path;
    for (const Point2 p : points) path.push_back({p, {}, {}});
    return path;
}

inline std::vector<PathPoint> Rectangle(float x, float y, float w, float h) {
    return Polygon({{x, y}, {x + w, y}, {x + w, y + h}, {x, y + h}});
}

// Four Bezier quarters, 0.5522847 the usual constant for a circle.
inline std::vector<PathPoint> Round(Point2 center, float r) {
    const float k = 0.5522847f * r;
    return {{{center.x + r, center.y}, {0, -k}, {0, k}},
            {{center.x, center.y + r}, {k, 0}, {-k, 0}},
            {{center.x - r, center.y}, {0, k}, {0, -k}},
            {{center.x, center.y - r}, {-k, 0}, {k, 0}}};
}

struct Measures {
    std::size_t triangles = 0;
    std::size_t openEdges = 0; // edges not shared by exactly two triangles that run it in opposite directions
    double volume = 0;         // by the divergence theorem; positive when wound outward
    double frontArea = 0;      // of triangles that face -z
    bool finite = true;
    double normalError = 0; // largest angle's cosine defect between a face and its vertex normals' side
};

// In the units of the source: ModelData is normalised, `size` undoes it.
inline Measures Measure(const ModelData& model) {
    Measures m;
    std::map<std::array<float, 3>, int> welded;
    std::map<std::pair<int, int>, int> edges;
    const auto weld = [&](std::uint32_t i) {
        const Point3 p = model.vertices[i].position;
        return welded.try_emplace({p.x + 0.0f, p.y + 0.0f, p.z + 0.0f}, static_cast<int>(welded.size()))
            .first->second;
    };
    for (const ModelMesh& mesh : model.meshes)
        for (const ModelGroup& group : mesh.groups)
            for (const Triangle& t : group.triangles) {
                ++m.triangles;
                std::array<Point3, 3> p;
                std::array<int, 3> id;
                for (std::size_t k = 0; k < 3; ++k) {
                    const ModelVertex& v = model.vertices[t[k]];
                    p[k] = v.position * model.size;
                    id[k] = weld(t[k]);
                    m.finite =
                        m.finite && std::isfinite(v.position.x + v.position.y + v.position.z + v.normal.x +
                                                  v.normal.y + v.normal.z + v.texCoord.x + v.texCoord.y);
                }
                for (std::size_t k = 0; k < 3; ++k) {
                    ++edges[{id[k], id[(k + 1) % 3]}];
                    --edges[{id[(k + 1) % 3], id[k]}];
                }
                const Point3 cross = Cross(p[1] - p[0], p[2] - p[0]);
                m.volume += static_cast<double>(Dot(p[0], Cross(p[1], p[2]))) / 6;
                if (cross.z < -0.999f * Length(cross))
                    m.frontArea += 0.5 * static_cast<double>(Length(cross));
                for (std::size_t k = 0; k < 3; ++k)
                    m.normalError = std::max(
                        m.normalError,
                        1.0 - static_cast<double>(Dot(Normalized(cross), model.vertices[t[k]].normal)));
            }
    for (const auto& [edge, balance] : edges) m.openEdges += balance != 0;
    return m;
}

} // namespace velorin::shapes
