#pragma once

#include "model/ModelTools.h"
#include "render/gl/Handles.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velorin {

struct RenderStatistics;

// The GPU-side mesh that all models of the same file and import settings share; owned by the scene's mesh
// cache. Construction is CPU work and may run on any thread; Upload needs the renderer's context. Once
// uploaded, vertices, triangles and averaged normals live on the GPU only. May die on any thread.
class MeshBuffers {
public:
    // A triangle with an index behind the vertices makes the mesh empty: nothing is ever drawn from such
    // data.
    explicit MeshBuffers(PreparedMesh prepared);
    ~MeshBuffers();
    MeshBuffers(const MeshBuffers&) = delete;
    MeshBuffers& operator=(const MeshBuffers&) = delete;

    // Sends the data when that has not happened yet. Returns whether there is something to draw.
    bool Upload(RenderStatistics& statistics) const;
    [[nodiscard]] bool uploaded() const { return static_cast<bool>(vertexBuffer_); }
    // The data from memory before the upload and from the GPU after it (then the context must be current);
    // slow, for inspection, export and surface sampling. Empty when the context that held them is gone.
    [[nodiscard]] ModelVertices ReadVertices() const;
    [[nodiscard]] ModelTriangles ReadTriangles() const;

    [[nodiscard]] std::uint64_t id() const { return id_; } // running number, unique in the process
    [[nodiscard]] std::uint32_t vertexCount() const { return vertexCount_; }
    [[nodiscard]] std::uint32_t triangleCount() const { return triangleCount_; }
    [[nodiscard]] bool empty() const { return vertexCount_ == 0 || triangleCount_ == 0; }
    // Ranges of the index buffer by mesh and group.
    [[nodiscard]] const std::vector<MeshRange>& meshes() const { return prepared_.meshes; }
    // The rest: size, center, bounds, materials, layers, joints, edge list, options. Its vertices, triangles
    // and averaged normals are empty after the upload.
    [[nodiscard]] const PreparedMesh& prepared() const { return prepared_; }

    [[nodiscard]] gl::Name vertexBuffer() const { return vertexBuffer_.name(); } // 48 bytes a vertex
    [[nodiscard]] gl::Name indexBuffer() const { return indexBuffer_.name(); }   // 3 * u32 a triangle
    [[nodiscard]] gl::Name adjacentNormalBuffer() const { return adjacentNormalBuffer_.name(); } // 0: none

    // What the mesh was made from, for the cache to compare. Set by the loader.
    std::string sourcePath;
    double sourceTime = 0;   // the file's last write, seconds since 1970
    double creationTime = 0; // of this object, likewise
    std::string identity;    // generator parameters beyond the options, as bytes

private:
    std::uint64_t id_ = 0;
    std::uint32_t vertexCount_ = 0, triangleCount_ = 0;
    mutable PreparedMesh prepared_; // its arrays go with the upload
    mutable gl::Buffer vertexBuffer_, indexBuffer_, adjacentNormalBuffer_;
};

} // namespace velorin
