#pragma once

#include "model/ModelTools.h"

#include <span>
#include <vector>

// Texture coordinates made from positions. Positions are those of a normalised model, in the cube of
// half-edge 1.
namespace velorin {

// Keeps apart the texture coordinates of triangles that share a vertex: the first to write a vertex does so
// in place, each later one gets a copy, which Append puts behind the vertices.
class VertexOptimizer {
public:
    explicit VertexOptimizer(std::size_t vertexCount);
    // May change `index` to that of a copy.
    void Write(ModelVertices& vertices, std::uint32_t& index, Point2 texCoord);
    void Append(ModelVertices& vertices);

private:
    std::size_t vertexCount_;
    std::vector<bool> written_;
    ModelVertices extras_;
};

// What the mappers know of the model: half the extent of its bounds, centred.
struct MappedMesh {
    ModelVertices& vertices;
    std::span<Triangle> triangles;
    Point3 half;
    VertexOptimizer& optimizer;
};

enum class Axis { X, Y, Z };
enum class MappingPlane { XY, YZ, XZ };

void UvPolygon(const MappedMesh& mesh);
void UvPlane(const MappedMesh& mesh, MappingPlane plane);
void UvBox(const MappedMesh& mesh, bool preserveAspect, bool repeat);
void UvSphere(const MappedMesh& mesh);
void UvCylinder(const MappedMesh& mesh, Axis axis);

// The one that an option chooses; nothing for TextureMapping::UV.
void MapTexture(const MappedMesh& mesh, TextureMapping mapping);

} // namespace velorin
