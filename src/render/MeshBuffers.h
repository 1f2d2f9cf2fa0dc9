#pragma once

#include "render/gl/Handles.h"
#include "services/NxMath.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace velorin {

struct ModelData;
struct ModelVertex;
struct RenderStatistics;

// Triangles of one material in the index buffer. Counts are of triangles: 12 bytes each.
struct GroupRange {
    std::uint32_t materialIndex = 0; // into ModelData::materials and into SceneModel::bindings
    std::uint32_t firstTriangle = 0;
    std::uint32_t triangleCount = 0;
};

struct MeshRange {
    std::string name;
    Point3 center, boundsMin, boundsMax; // normalised units, as in ModelData
    std::vector<GroupRange> groups;      // those without triangles are kept, in order
};

// The GPU-side mesh that all models of the same file and import settings share; owned by the scene's mesh
// cache. Construction is CPU work on prepared data and may run on any thread; Upload needs the renderer's
// context. Once uploaded, vertices and triangles live on the GPU only. May die on any thread.
class MeshBuffers {
public:
    // Flattens the groups of all meshes, in order, into one index list. An index behind the vertices drops
    // its triangle. `adjacentNormals` is empty or has one averaged normal a vertex, for displacement.
    explicit MeshBuffers(std::unique_ptr<ModelData> model, std::vector<Point3> adjacentNormals = {});
    ~MeshBuffers();
    MeshBuffers(const MeshBuffers&) = delete;
    MeshBuffers& operator=(const MeshBuffers&) = delete;

    // Sends the data when that has not happened in the current context. Returns whether there is something to
    // draw.
    bool Upload(RenderStatistics& statistics);
    [[nodiscard]] bool uploaded() const { return static_cast<bool>(vertexBuffer_); }
    // The vertices, from memory before the upload and from the GPU after it (then the context must be
    // current); slow, for inspection, export and surface sampling. Empty when the context that held them is
    // gone.
    [[nodiscard]] std::vector<ModelVertex> ReadVertices() const;
    // Likewise: three vertex numbers a triangle.
    [[nodiscard]] std::vector<std::uint32_t> ReadIndices() const;

    [[nodiscard]] std::uint64_t id() const { return id_; } // running number, unique in the process
    [[nodiscard]] std::uint32_t vertexCount() const { return vertexCount_; }
    [[nodiscard]] std::uint32_t triangleCount() const { return triangleCount_; }
    [[nodiscard]] bool empty() const { return vertexCount_ == 0 || triangleCount_ == 0; }
    [[nodiscard]] const std::vector<MeshRange>& meshes() const { return meshes_; }
    // The rest of the data: size, center, bounds, materials, layers, joints, tracks. Its vertices are empty
    // after the upload, its triangles after construction.
    [[nodiscard]] const ModelData& model() const { return *model_; }

    [[nodiscard]] gl::Name vertexBuffer() const { return vertexBuffer_.name(); } // 48 bytes a vertex
    [[nodiscard]] gl::Name indexBuffer() const { return indexBuffer_.name(); }   // 3 * u32 a triangle
    [[nodiscard]] gl::Name adjacentNormalBuffer() const { return adjacentNormalBuffer_.name(); } // 0: none

    // What the mesh was made from, for the cache to compare. Set by the loader.
    std::string sourcePath;
    double sourceTime = 0; // the file's last write, seconds since 1970
    std::string identity;  // import options and generator parameters, as bytes

private:
    std::uint64_t id_ = 0;
    std::uint32_t vertexCount_ = 0, triangleCount_ = 0;
    std::vector<MeshRange> meshes_;
    std::unique_ptr<ModelData> model_;
    std::vector<std::uint32_t> indices_;  // until the upload
    std::vector<Point3> adjacentNormals_; // until the upload
    gl::Buffer vertexBuffer_, indexBuffer_, adjacentNormalBuffer_;
};

} // namespace velorin
