#include "model/ModelTools.h"
#include "model/mesh/MeshSteps.h"
#include "model/mesh/TextureMappers.h"
#include "services/Log.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace velorin {

namespace {

constexpr std::uint32_t kMaximumLevels = 6;
// Subdivision stops before it gives more than this: about 2 GB.
constexpr std::size_t kMaximumTriangles = std::size_t{1} << 25;

// A mesh that has been written by hand may say anything: triangles without their vertices are not drawn.
void DropBadTriangles(ModelData& model) {
    const std::size_t count = model.vertices.size();
    for (ModelMesh& mesh : model.meshes)
        for (ModelGroup& group : mesh.groups)
            std::erase_if(group.triangles, [count](const Triangle& t) {
                return std::max({t[0], t[1], t[2]}) >= count;
            });
}

// The work on one model, step by step.
class Preparation {
public:
    Preparation(ModelData&& model, const ImportOptions& options)
        : model_(std::move(model)), options_(options) {}

    PreparedMesh Run() {
        DropBadTriangles(model_);
        if (options_.textureMapping != TextureMapping::UV) UnshareVertices(model_);
        CopyDescription();
        optimizer_ = std::make_unique<VertexOptimizer>(model_.vertices.size());
        if (options_.edgeMode != EdgeMode::Disconnected) connector_ = std::make_unique<EdgeConnector>(Half());
        mesh_.triangles.reserve(TriangleCount(model_));
        mesh_.meshes.reserve(model_.meshes.size());
        for (ModelMesh& source : model_.meshes) AddMesh(source);
        optimizer_->Append(model_.vertices);
        optimizer_.reset();
        connector_.reset();
        mesh_.vertices = std::move(model_.vertices);
        if (options_.optimizeMesh) OptimizeMesh(mesh_.vertices, mesh_.triangles);
        if (changed_ || !HasTangents()) ComputeTangents(mesh_.vertices, mesh_.triangles);
        if (options_.subdivision > 0) Subdivide();
        if (options_.edgeMode == EdgeMode::Connected) {
            mesh_.adjacentNormals = AdjacentNormals(mesh_.vertices);
        } else {
            mesh_.adjacentNormals.reserve(mesh_.vertices.size());
            for (const ModelVertex& vertex : mesh_.vertices) mesh_.adjacentNormals.push_back(vertex.normal);
        }
        if (options_.normalMode == NormalMode::Dynamic)
            mesh_.edgeList = BuildEdgeList(mesh_.vertices, mesh_.triangles);
        return std::move(mesh_);
    }

private:
    // Half the extent of the bounds; the vertices are centred in them.
    [[nodiscard]] Point3 Half() const { return (model_.boundsMax - model_.boundsMin) * 0.5f; }

    void CopyDescription() {
        mesh_.options = options_;
        mesh_.size = model_.size;
        mesh_.center = model_.center;
        mesh_.boundsMin = model_.boundsMin;
        mesh_.boundsMax = model_.boundsMax;
        mesh_.hasLayers = model_.hasLayers;
        mesh_.hasMeshTracks = model_.hasMeshTracks;
        mesh_.sourceOffset = model_.sourceOffset;
        mesh_.layers = std::move(model_.layers);
        mesh_.joints = std::move(model_.joints);
        mesh_.materials = std::move(model_.materials);
    }

    void AddMesh(ModelMesh& source) {
        MeshRange& range = mesh_.meshes.emplace_back();
        range.name = std::move(source.name);
        range.center = source.center;
        range.boundsMin = source.boundsMin;
        range.boundsMax = source.boundsMax;
        for (ModelGroup& group : source.groups) AddGroup(range, group);
        range.tracks = std::move(source.tracks);
    }

    void AddGroup(MeshRange& range, ModelGroup& group) {
        ModelTriangles triangles = std::move(group.triangles);
        if (triangles.empty()) return;
        if (options_.normalMode != NormalMode::FromModel) {
            AutoNormals(model_.vertices, triangles, options_.normalThreshold);
            changed_ = true;
        }
        if (options_.textureMapping != TextureMapping::UV && !group.useLayerAsUV) {
            MapTexture({model_.vertices, triangles, Half(), *optimizer_}, options_.textureMapping);
            changed_ = true;
        }
        if (connector_) {
            connector_->Connect(model_.vertices, triangles);
            if (options_.edgeMode > EdgeMode::Connected)
                FillEdges(model_.vertices, FindHardEdges(model_.vertices, triangles), triangles);
            changed_ = true;
        }
        range.groups.push_back({group.materialIndex, static_cast<std::uint32_t>(mesh_.triangles.size()),
                                static_cast<std::uint32_t>(triangles.size())});
        mesh_.triangles.insert(mesh_.triangles.end(), triangles.begin(), triangles.end());
    }

    // Readers and generators compute them; they hold while nothing has changed what they come from.
    [[nodiscard]] bool HasTangents() const {
        return !options_.optimizeMesh &&
               std::all_of(mesh_.vertices.begin(), mesh_.vertices.end(),
                           [](const ModelVertex& v) { return std::abs(v.tangent.w) == 1; });
    }

    void Subdivide() {
        std::uint32_t levels = std::min(options_.subdivision, kMaximumLevels);
        while (levels > 0 && mesh_.triangles.size() << (2 * levels) > kMaximumTriangles) --levels;
        if (levels < options_.subdivision)
            Log("Subdivision stops at level %u: %zu triangles", levels,
                mesh_.triangles.size() << (2 * levels));
        ModelTriangles divided;
        divided.reserve(mesh_.triangles.size() << (2 * levels));
        for (MeshRange& range : mesh_.meshes) {
            for (GroupRange& group : range.groups) {
                const auto first = static_cast<std::uint32_t>(divided.size());
                SubdivideGroup(levels, mesh_.vertices,
                               std::span(mesh_.triangles).subspan(group.firstIndex, group.indexCount),
                               divided);
                group.firstIndex = first;
                group.indexCount = static_cast<std::uint32_t>(divided.size()) - first;
            }
        }
        mesh_.triangles = std::move(divided);
    }

    ModelData model_;
    const ImportOptions& options_;
    PreparedMesh mesh_;
    std::unique_ptr<VertexOptimizer> optimizer_;
    std::unique_ptr<EdgeConnector> connector_;
    bool changed_ = false; // what tangents come from
};

} // namespace

PreparedMesh PrepareMesh(ModelData model, const ImportOptions& options) {
    return Preparation(std::move(model), options).Run();
}

} // namespace velorin
