#include "model/ModelTools.h"

namespace velorin {

namespace {

void AppendGroup(PreparedMesh& mesh, MeshRange& range, const ModelGroup& group) {
    if (group.triangles.empty()) return;
    range.groups.push_back({group.materialIndex, static_cast<std::uint32_t>(mesh.triangles.size()),
                            static_cast<std::uint32_t>(group.triangles.size())});
    mesh.triangles.insert(mesh.triangles.end(), group.triangles.begin(), group.triangles.end());
}

} // namespace

PreparedMesh PrepareMesh(ModelData model, const ImportOptions& options) {
    PreparedMesh mesh;
    mesh.options = options;
    mesh.size = model.size;
    mesh.center = model.center;
    mesh.boundsMin = model.boundsMin;
    mesh.boundsMax = model.boundsMax;
    mesh.hasLayers = model.hasLayers;
    mesh.hasMeshTracks = model.hasMeshTracks;
    mesh.sourceOffset = model.sourceOffset;
    mesh.layers = std::move(model.layers);
    mesh.joints = std::move(model.joints);
    mesh.materials = std::move(model.materials);

    mesh.triangles.reserve(TriangleCount(model));
    mesh.meshes.reserve(model.meshes.size());
    for (ModelMesh& source : model.meshes) {
        MeshRange& range = mesh.meshes.emplace_back();
        range.name = std::move(source.name);
        range.center = source.center;
        range.boundsMin = source.boundsMin;
        range.boundsMax = source.boundsMax;
        for (const ModelGroup& group : source.groups) AppendGroup(mesh, range, group);
        range.tracks = std::move(source.tracks);
        source.groups.clear();
    }
    mesh.vertices = std::move(model.vertices);
    ComputeTangents(mesh.vertices, mesh.triangles);
    mesh.adjacentNormals.reserve(mesh.vertices.size());
    for (const ModelVertex& vertex : mesh.vertices) mesh.adjacentNormals.push_back(vertex.normal);
    return mesh;
}

} // namespace velorin
