#pragma once

#include "core/FrameParams.h"
#include "model/ModelData.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

// The surface points of models that serve as a replicator's shape.
namespace velorin {

class SceneModel;

// Where the sampler has geometry from.
class SurfaceSource {
public:
    struct Vertices {
        ModelVertices vertices;
        std::vector<std::uint32_t> meshes; // the mesh of each vertex
        GeometryFacts facts;
    };

    virtual ~SurfaceSource() = default;
    // Names a model's geometry with the state of its file; `path` is the file of the frame.
    [[nodiscard]] virtual std::string SurfaceKey(const SceneModel& model, const std::string& path) = 0;
    // Nothing for a model without geometry.
    [[nodiscard]] virtual Vertices ReadSurface(const SceneModel& model, const std::string& path) = 0;
};

// Spread-out points of a geometry: vertices sorted by x, then y, then z (stable), those nearer than a
// thousandth to the last one kept left out, the rest shuffled twice by the generator from 10000. In the
// geometry's space.
[[nodiscard]] std::vector<SurfacePoint> SurfacePoints(const SurfaceSource::Vertices& vertices);

// Surfaces of the group's shape 3D Object, from the scene's top-level models that are a replicator source in
// `groupIndex` and everything below them.
class SurfaceSampler {
public:
    SurfaceSampler(SurfaceCache& cache, SurfaceSource& source) : cache_(cache), source_(source) {}

    // How many points all surfaces have together.
    [[nodiscard]] std::uint64_t CountPoints(const FrameParams& params, std::size_t groupIndex);
    // At most `limit` points in scene space, in units of the shape radius: each through the model's flip, its
    // mesh's matrix and the model's matrix once. Normals are unit.
    [[nodiscard]] std::vector<SurfacePoint> Points(const FrameParams& params, std::size_t groupIndex,
                                                   std::size_t limit);

    // At the end of a frame.
    void DropUnused();

private:
    struct Part {
        const SceneModel* model;
        const SurfaceGeometry* geometry;
    };
    // In the order of the walk; with the baked frames that the group's seed gives.
    [[nodiscard]] std::vector<Part> Parts(const FrameParams& params, std::size_t groupIndex);
    const SurfaceGeometry& Geometry(const SceneModel& model, const std::string& path);

    SurfaceCache& cache_;
    SurfaceSource& source_;
};

} // namespace velorin
