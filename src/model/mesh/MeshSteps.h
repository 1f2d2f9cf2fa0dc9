#pragma once

#include "model/ModelTools.h"
#include "model/mesh/PositionPlaces.h"

#include <cstdint>
#include <span>
#include <vector>

// The steps of PrepareMesh, each on plain arrays. All run in time linear in the mesh, whatever its positions
// are.
namespace velorin {

// Gives every triangle three vertices of its own, in the order of meshes, groups and triangles.
void UnshareVertices(ModelData& model);

// Replaces the normals of the vertices that the triangles use by the area-weighted mean over the triangles at
// the same position whose planes differ by less than `thresholdDegrees`.
void AutoNormals(std::span<ModelVertex> vertices, std::span<const Triangle> triangles,
                 float thresholdDegrees);

// Lets vertices that fall into one cell of a grid of 1024 steps over the bounds take the position of the
// first of them, so that displacement opens no cracks. Keeps what it has seen for the next group. Positions
// are centred: the cube of half-edge 1; `half` is half the extent of the bounds.
class EdgeConnector {
public:
    explicit EdgeConnector(Point3 half) : half_(half) {}
    void Connect(std::span<ModelVertex> vertices, std::span<const Triangle> triangles);

private:
    Point3 half_;
    IndexTable cells_;              // numbers of the cells that were met
    std::vector<Point3> positions_; // of the first vertex of each
};

// An edge between two triangles that meet at its positions with vertices of different normals.
struct HardEdge {
    std::uint32_t a1, b1; // of the one triangle, in its direction
    std::uint32_t a2, b2; // of the other, at the same places
};
[[nodiscard]] std::vector<HardEdge> FindHardEdges(std::span<const ModelVertex> vertices,
                                                  std::span<const Triangle> triangles);
// Two triangles without area along each hard edge whose normals differ by less than a quarter turn: displaced
// along the normals they close the crack.
void FillEdges(std::span<const ModelVertex> vertices, std::span<const HardEdge> edges,
               ModelTriangles& triangles);

// Makes one of vertices that are equal in position, texture coordinates, normal and handedness, drops those
// that no triangle uses and renumbers, in the order of first use. Tangents are computed afterwards and do not
// count.
void OptimizeMesh(ModelVertices& vertices, std::span<Triangle> triangles);

// Appends the result to `out` and its midpoints to `vertices`: each triangle becomes four, `levels` times.
void SubdivideGroup(std::uint32_t levels, ModelVertices& vertices, std::span<const Triangle> triangles,
                    ModelTriangles& out);

// For each vertex the mean of the normals of all vertices at its position.
[[nodiscard]] LargeArray<Point3> AdjacentNormals(std::span<const ModelVertex> vertices);

[[nodiscard]] EdgeList BuildEdgeList(std::span<const ModelVertex> vertices,
                                     std::span<const Triangle> triangles);

} // namespace velorin
