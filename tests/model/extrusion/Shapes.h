#pragma once

#include "model/ModelData.h"
#include "model/extrusion/PathSet.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <set>
#include <utility>
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
    std::size_t openEdges = 0;    // welded edges with an odd number of triangles
    std::size_t turnedEdges = 0;  // that triangles do not run as often one way as the other
    std::size_t crowdedEdges = 0; // without exactly one triangle on each side
    double volume = 0;            // by the divergence theorem; positive when wound outward
    double capArea = 0;           // of flat triangles whose normal faces -z, less those that are turned over
    double shownArea = 0;         // the same without those
    std::size_t slivers = 0;      // triangles with two corners at one place
    int euler = 0;                // places - edges + triangles: 2 for a ball, 0 for a ring
    bool finite = true;
    double normalError = 0; // largest cosine defect between a face and its vertices' normals
    std::set<std::pair<float, float>> places; // of all vertices, in the plane
};

// In the units of the source: ModelData is normalised, `size` undoes it.
inline Measures Measure(const ModelData& model) {
    Measures m;
    std::map<std::array<float, 3>, int> welded;
    std::map<std::pair<int, int>, std::array<int, 2>> edges; // by their ends in order: runs either way
    const auto all = [](Point3 v) { return v.x + v.y + v.z; };
    const auto corner = [&](const Triangle& t) {
        std::array<Point3, 3> p;
        std::array<int, 3> id{};
        for (std::size_t k = 0; k < 3; ++k) {
            const ModelVertex& v = model.vertices[t[k]];
            p[k] = v.position * model.size;
            const std::array<float, 3> place{v.position.x + 0.0f, v.position.y + 0.0f, v.position.z + 0.0f};
            id[k] = welded.try_emplace(place, static_cast<int>(welded.size())).first->second;
            m.finite = m.finite && std::isfinite(all(v.position) + all(v.normal) + v.texCoord.x +
                                                 v.texCoord.y + v.tangent.x + v.tangent.y + v.tangent.z);
            m.places.emplace(p[k].x, p[k].y);
        }
        m.slivers += id[0] == id[1] || id[1] == id[2] || id[2] == id[0];
        for (std::size_t k = 0; k < 3; ++k) {
            const int a = id[k], b = id[(k + 1) % 3];
            if (a != b) ++edges[{std::min(a, b), std::max(a, b)}][a < b];
        }
        return p;
    };
    for (const ModelMesh& mesh : model.meshes)
        for (const ModelGroup& group : mesh.groups)
            for (const Triangle& t : group.triangles) {
                ++m.triangles;
                const auto p = corner(t);
                const Point3 cross = Cross(p[1] - p[0], p[2] - p[0]);
                m.volume += static_cast<double>(Dot(p[0], Cross(p[1], p[2]))) / 6;
                if (p[0].z == p[1].z && p[0].z == p[2].z && model.vertices[t[0]].normal.z < 0) {
                    m.capArea -= static_cast<double>(cross.z) / 2;
                    m.shownArea += std::max(0.0, -static_cast<double>(cross.z) / 2);
                }
                for (const std::uint32_t i : t)
                    m.normalError =
                        std::max(m.normalError,
                                 1 - static_cast<double>(Dot(Normalized(cross), model.vertices[i].normal)));
            }
    m.euler = static_cast<int>(welded.size() + m.triangles);
    for (const auto& [edge, runs] : edges) {
        m.euler -= std::max(runs[0], runs[1]);
        m.openEdges += (runs[0] + runs[1]) % 2 != 0;
        m.turnedEdges += runs[0] != runs[1];
        m.crowdedEdges += runs[0] != 1 || runs[1] != 1;
    }
    return m;
}

} // namespace velorin::shapes
