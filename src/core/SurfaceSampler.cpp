#include "core/SurfaceSampler.h"

#include "core/BakedAnimation.h"
#include "core/ModelMatrices.h"
#include "core/Random.h"
#include "core/SequencePath.h"
#include "core/document/Scene.h"
#include "core/document/SceneModel.h"

#include <algorithm>
#include <tuple>

namespace velorin {
namespace {

constexpr std::size_t kMostKept = 64; // geometries beside those of the frame
constexpr float kNearSquared = 1e-6f;
constexpr std::uint32_t kShuffleSeed = 10000;

Matrix MirrorMatrix(const SceneModel& model) {
    return Matrix::Scale(FlipSigns(model));
}

} // namespace

std::vector<SurfacePoint> SurfacePoints(const SurfaceSource::Vertices& source) {
    std::vector<SurfacePoint> points;
    points.reserve(source.vertices.size());
    for (std::size_t i = 0; i < source.vertices.size(); ++i)
        points.push_back({source.vertices[i].position, source.vertices[i].normal, source.meshes[i]});
    // Not-a-number has no place in an order.
    std::erase_if(points, [](const SurfacePoint& p) {
        return !(p.position.x == p.position.x && p.position.y == p.position.y &&
                 p.position.z == p.position.z);
    });
    std::stable_sort(points.begin(), points.end(), [](const SurfacePoint& a, const SurfacePoint& b) {
        return std::tie(a.position.x, a.position.y, a.position.z) <
               std::tie(b.position.x, b.position.y, b.position.z);
    });
    std::size_t kept = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (kept > 0 && LengthSquared(points[i].position - points[kept - 1].position) < kNearSquared)
            continue;
        points[kept++] = points[i];
    }
    points.resize(kept);
    points.shrink_to_fit();

    Random random(kShuffleSeed);
    for (int pass = 0; pass < 2; ++pass)
        for (std::size_t i = 1; i < points.size(); ++i) std::swap(points[i], points[random.Draw() % (i + 1)]);
    return points;
}

const SurfaceGeometry& SurfaceSampler::Geometry(const SceneModel& model, const std::string& path) {
    const auto [place, isNew] = cache_.geometries.try_emplace(source_.SurfaceKey(model, path));
    if (isNew) {
        const SurfaceSource::Vertices vertices = source_.ReadSurface(model, path);
        place->second = {SurfacePoints(vertices), vertices.facts, false};
    }
    place->second.used = true;
    return place->second;
}

std::vector<SurfaceSampler::Part> SurfaceSampler::Parts(const FrameParams& params, std::size_t groupIndex) {
    std::vector<Part> parts;
    if (!params.scene) return parts;
    const BakedParams& baked = params.groups[groupIndex].baked;
    Random random(baked.randomSeed);
    std::vector<const SceneModel*> open;
    for (const auto& top : params.scene->models) {
        if (!top->replicatorSource || !top->groups[groupIndex]) continue;
        open.assign(1, top.get());
        while (!open.empty()) {
            const SceneModel& model = *open.back();
            open.pop_back();
            for (auto child = model.children.rbegin(); child != model.children.rend(); ++child)
                open.push_back(child->get());
            if (model.type == ModelType::Folder) continue;
            const std::string path = model.type == ModelType::Sequence
                                         ? SequenceFramePath(model.path, BakedFrame(model, baked, random))
                                         : model.path;
            parts.push_back({&model, &Geometry(model, path)});
        }
    }
    return parts;
}

void SurfaceSampler::DropUnused() {
    if (cache_.geometries.size() > kMostKept)
        std::erase_if(cache_.geometries, [](const auto& item) { return !item.second.used; });
    for (auto& [key, geometry] : cache_.geometries) geometry.used = false;
}

std::uint64_t SurfaceSampler::CountPoints(const FrameParams& params, std::size_t groupIndex) {
    std::uint64_t count = 0;
    for (const Part& part : Parts(params, groupIndex)) count += part.geometry->points.size();
    return count;
}

std::vector<SurfacePoint> SurfaceSampler::Points(const FrameParams& params, std::size_t groupIndex,
                                                 std::size_t limit) {
    std::vector<SurfacePoint> result;
    for (const Part& part : Parts(params, groupIndex)) {
        const SceneModel& model = *part.model;
        const Matrix mirror = MirrorMatrix(model);
        const Matrix place = FitMatrix(model, part.geometry->facts) * ModelMatrix(model, nullptr);
        std::vector<Matrix> byMesh;
        const auto& points = part.geometry->points;
        const std::size_t taken = std::min(limit - result.size(), points.size());
        result.reserve(result.size() + taken);
        for (std::size_t i = 0; i < taken; ++i) {
            const SurfacePoint& point = points[i];
            for (auto mesh = static_cast<std::uint32_t>(byMesh.size()); mesh <= point.mesh; ++mesh)
                byMesh.push_back(mirror * MeshMatrix(model, mesh, nullptr) * place);
            const Matrix& matrix = byMesh[point.mesh];
            result.push_back({TransformPoint(point.position, matrix),
                              Normalized(TransformDirection(point.normal, matrix)), point.mesh});
        }
        if (result.size() == limit) break;
    }
    return result;
}

} // namespace velorin
