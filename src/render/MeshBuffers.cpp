#include "render/MeshBuffers.h"

#include "render/RenderStatistics.h"
#include "render/gl/GLError.h"

#include <GL/glew.h>

#include <algorithm>
#include <atomic>
#include <utility>

namespace velorin {

namespace {

std::uint64_t NextId() {
    static std::atomic<std::uint64_t> counter{0};
    return ++counter;
}

bool IndicesFit(const PreparedMesh& mesh) {
    const std::size_t vertexCount = mesh.vertices.size();
    const auto fits = [vertexCount](const Triangle& triangle) {
        return std::ranges::all_of(triangle, [&](std::uint32_t index) { return index < vertexCount; });
    };
    if (!std::ranges::all_of(mesh.triangles, fits)) return false;
    for (const MeshRange& range : mesh.meshes)
        for (const GroupRange& group : range.groups)
            if (std::uint64_t{group.firstIndex} + group.indexCount > mesh.triangles.size()) return false;
    return true;
}

template <class T>
gl::Buffer UploadArray(GLenum target, LargeArray<T>& data) {
    gl::Buffer buffer = gl::Buffer::New();
    glBindBuffer(target, buffer.name());
    glBufferData(target, static_cast<GLsizeiptr>(data.size() * sizeof(T)), data.data(), GL_STATIC_DRAW);
    glBindBuffer(target, 0);
    LargeArray<T>().swap(data);
    return buffer;
}

template <class T>
LargeArray<T> ReadArray(gl::Name buffer, std::size_t count) {
    if (!buffer) return {};
    LargeArray<T> data;
    ResizeUnwritten(data, count);
    glBindBuffer(GL_COPY_READ_BUFFER, buffer);
    glGetBufferSubData(GL_COPY_READ_BUFFER, 0, static_cast<GLsizeiptr>(count * sizeof(T)), data.data());
    glBindBuffer(GL_COPY_READ_BUFFER, 0);
    return data;
}

} // namespace

MeshBuffers::MeshBuffers(PreparedMesh prepared) : id_(NextId()), prepared_(std::move(prepared)) {
    if (!IndicesFit(prepared_)) {
        prepared_.vertices.clear();
        prepared_.triangles.clear();
        prepared_.adjacentNormals.clear();
        prepared_.meshes.clear();
    }
    vertexCount_ = static_cast<std::uint32_t>(prepared_.vertices.size());
    triangleCount_ = static_cast<std::uint32_t>(prepared_.triangles.size());
}

MeshBuffers::~MeshBuffers() = default;

bool MeshBuffers::Upload(RenderStatistics& statistics) const {
    if (empty()) return false;
    if (uploaded()) return true;
    if (prepared_.vertices.empty()) return false; // the context that held the data is gone
    // The element buffer's binding belongs to the vertex array: none must be bound here.
    glBindVertexArray(0);
    indexBuffer_ = UploadArray(GL_COPY_WRITE_BUFFER, prepared_.triangles);
    vertexBuffer_ = UploadArray(GL_ARRAY_BUFFER, prepared_.vertices);
    if (prepared_.adjacentNormals.size() == vertexCount_)
        adjacentNormalBuffer_ = UploadArray(GL_ARRAY_BUFFER, prepared_.adjacentNormals);
    ++statistics.meshUploads;
    gl::CheckGLError("MeshBuffers::Upload", __LINE__);
    return true;
}

ModelVertices MeshBuffers::ReadVertices() const {
    if (!prepared_.vertices.empty()) return prepared_.vertices;
    return ReadArray<ModelVertex>(vertexBuffer_.name(), vertexCount_);
}

ModelTriangles MeshBuffers::ReadTriangles() const {
    if (!prepared_.triangles.empty()) return prepared_.triangles;
    return ReadArray<Triangle>(indexBuffer_.name(), triangleCount_);
}

} // namespace velorin
