#include "model/DefaultModel.h"

#include "model/ModelData.h"
#include "model/ModelTools.h"

#include <cmath>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

namespace velorin {

namespace {

// A tube along a torus knot that winds twice around the axis while it passes three times through the hole.
constexpr int kSteps = 164; // along the knot
constexpr int kSides = 39;  // around the tube
constexpr float kHalfExtent = 100;
constexpr float kTubeRadius = 0.42f, kRingRadius = 2, kWinding = 0.8f;

Point3 KnotPoint(float t) {
    const float radius = kRingRadius + kWinding * std::cos(3 * t);
    return {radius * std::cos(2 * t), radius * std::sin(2 * t), kWinding * std::sin(3 * t)};
}

ModelVertex TubeVertex(int step, int side) {
    const float t = 2 * kPi * static_cast<float>(step % kSteps) / static_cast<float>(kSteps);
    const float angle = 2 * kPi * static_cast<float>(side % kSides) / static_cast<float>(kSides);
    // The frame leans on the ring's axis point below the knot, so that it closes after one round.
    const Point3 center = KnotPoint(t);
    const Point3 forward = Normalized(KnotPoint(t + 1e-3f) - KnotPoint(t - 1e-3f));
    const Point3 ring = Point3{std::cos(2 * t), std::sin(2 * t), 0} * kRingRadius;
    const Point3 toward = center - ring;
    const Point3 outward = Normalized(toward - forward * Dot(toward, forward));
    const Point3 sideways = Cross(forward, outward);
    ModelVertex vertex;
    vertex.normal = outward * std::cos(angle) + sideways * std::sin(angle);
    vertex.position = center + vertex.normal * kTubeRadius;
    vertex.texCoord = {12 * static_cast<float>(step) / kSteps, static_cast<float>(side) / kSides};
    return vertex;
}

ModelData MakeKnot() {
    ModelData model;
    for (int step = 0; step <= kSteps; ++step)
        for (int side = 0; side <= kSides; ++side) model.vertices.push_back(TubeVertex(step, side));
    ModelMesh& mesh = model.meshes.emplace_back();
    mesh.name = "Default";
    ModelGroup& group = mesh.groups.emplace_back();
    const auto at = [](int step, int side) { return static_cast<std::uint32_t>(step * (kSides + 1) + side); };
    for (int step = 0; step < kSteps; ++step) {
        for (int side = 0; side < kSides; ++side) {
            group.triangles.push_back({at(step, side), at(step, side + 1), at(step + 1, side)});
            group.triangles.push_back({at(step + 1, side), at(step, side + 1), at(step + 1, side + 1)});
        }
    }
    model.materials.emplace_back().name = "Default";
    NormaliseModel(model);
    ComputeTangents(model);
    return model;
}

class RecordBytes {
public:
    template <class T>
    void Put(const T& value) {
        static_assert(std::is_trivially_copyable_v<T>);
        Raw(&value, sizeof value);
    }
    void Raw(const void* data, std::size_t size) {
        const auto* const from = static_cast<const std::byte*>(data);
        bytes.insert(bytes.end(), from, from + size);
    }
    void Text(const std::string& text) {
        Put(static_cast<std::uint32_t>(text.size()));
        Raw(text.data(), text.size());
    }
    std::vector<std::byte> bytes;
};

// Version 3: no layers, no joints, materials by name only, meshes with their centre alone.
std::vector<std::byte> Version3Record(const ModelData& model) {
    RecordBytes record;
    for (const std::size_t number :
         {std::size_t{3}, std::size_t{0}, model.vertices.size(), model.materials.size(), model.meshes.size()})
        record.Put(static_cast<std::uint32_t>(number));
    record.Put(kHalfExtent);
    record.Put(model.center);
    record.Put(model.boundsMin);
    record.Put(model.boundsMax);
    record.Raw(model.vertices.data(), model.vertices.size() * sizeof(ModelVertex));
    for (const ModelMaterial& material : model.materials) record.Text(material.name);
    for (const ModelMesh& mesh : model.meshes) {
        record.Put(mesh.center);
        record.Put(static_cast<std::uint32_t>(mesh.groups.size()));
        record.Text(mesh.name);
        for (const ModelGroup& group : mesh.groups) {
            record.Put(group.materialIndex);
            record.Put(static_cast<std::uint32_t>(group.triangles.size()));
            record.Raw(group.triangles.data(), group.triangles.size() * sizeof(Triangle));
        }
    }
    return std::move(record.bytes);
}

} // namespace

Bytes DefaultModelRecord() {
    static const std::vector<std::byte> record = Version3Record(MakeKnot());
    return record;
}

} // namespace velorin
