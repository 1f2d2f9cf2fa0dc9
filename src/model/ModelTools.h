#pragma once

#include "core/document/SceneModel.h" // ImportOptions
#include "model/ModelData.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace velorin {

class FileModel;

// A run of PreparedMesh::triangles. Both numbers count triangles: the draw call starts at byte 12 *
// firstIndex of the index buffer and takes 3 * indexCount indices.
struct GroupRange {
    std::uint32_t materialIndex = 0;
    std::uint32_t firstIndex = 0;
    std::uint32_t indexCount = 0;
    friend bool operator==(const GroupRange&, const GroupRange&) = default;
};

struct MeshRange {
    std::string name;
    Point3 center, boundsMin, boundsMax; // in normalised units
    std::vector<GroupRange> groups;
    std::vector<MeshTrack> tracks;
};

// For "Dynamic" normals: the corners that lie at one position, for each corner of the index list. Corner c is
// corner c % 3 of triangle c / 3; the corners at its position are corners[first[place[c]]] to
// corners[first[place[c] + 1] - 1] in ascending order, c among them.
struct EdgeList {
    LargeArray<std::uint32_t> place;   // one a corner
    LargeArray<std::uint32_t> first;   // one a place, and one behind the last
    LargeArray<std::uint32_t> corners; // one a corner
    [[nodiscard]] bool empty() const { return place.empty(); }
};

// A mesh as the renderer uploads it: the result of PrepareMesh, without any GL object.
struct PreparedMesh {
    ModelVertices vertices;
    ModelTriangles triangles; // all groups of all meshes, in order
    // One a vertex: the smooth surface normal that vertices split at an edge share with EdgeMode::Connected,
    // else a copy of the vertex's normal.
    LargeArray<Point3> adjacentNormals;
    std::vector<MeshRange> meshes;
    std::vector<ModelMaterial> materials;
    std::vector<AnimationLayer> layers;
    std::list<ModelJoint> joints;
    EdgeList edgeList; // empty but with NormalMode::Dynamic
    ImportOptions options;
    float size = 0;
    Point3 center, boundsMin, boundsMax;
    bool hasLayers = false, hasMeshTracks = false;
    Point3 sourceOffset;
};

// Moves and scales the model into the cube of half-edge 1 around the origin and fills size, center and
// bounds. Called once by each source of geometry, when the vertices are complete and before bounds of meshes
// are computed. Without vertices nothing happens; a model without extent becomes not-a-number.
void NormaliseModel(ModelData& model);

// Fills an empty ModelData from a file that was loaded; takes the file's vertices. A file without vertices
// leaves it empty.
void ImportFile(ModelData& model, FileModel& file);

// Tangents of all vertices from positions, texture coordinates and normals; vertices that no triangle of the
// list uses get the fallback that the normal gives. E. Lengyel, "Computing Tangent Space Basis Vectors for an
// Arbitrary Mesh", 2001.
void ComputeTangents(std::span<ModelVertex> vertices, std::span<const Triangle> triangles);
// The same over all groups of the model.
void ComputeTangents(ModelData& model);
// The same for triangles that share no vertex and have their corners behind one another.
void ComputeCornerTangents(std::span<ModelVertex> corners);

// The CPU half of getting geometry to the renderer: normals, texture mapping, edges, optimisation, tangents
// and subdivision as the options ask, in this order. Takes the model; pass a copy to keep it.
[[nodiscard]] PreparedMesh PrepareMesh(ModelData model, const ImportOptions& options);

} // namespace velorin
