#include "core/Introspect.h"

#include "core/document/SceneModel.h"
#include "model/ModelData.h"
#include "model/ModelTools.h"
#include "render/DrawRecord.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <cmath>
#include <cstring>
#include <span>
#include <string_view>

namespace velorin {
namespace {

// Writes JSON straight into a text: a frame has millions of numbers.
class JsonText {
public:
    void Open(char bracket) {
        Separate();
        text_ += bracket;
        first_ = true;
    }
    void Close(char bracket) {
        text_ += bracket;
        first_ = false;
    }
    void Key(std::string_view name) {
        Separate();
        text_ += '"';
        text_ += name;
        text_ += "\":";
        first_ = true; // no comma before the value
    }
    void Value(float number) {
        Separate();
        if (!std::isfinite(number)) {
            text_ += "null";
            return;
        }
        char digits[32];
        text_.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
    }
    void Value(std::uint32_t number) {
        Separate();
        text_ += std::to_string(number);
    }
    void Value(bool value) {
        Separate();
        text_ += value ? "true" : "false";
    }
    void Value(const std::string& string) {
        Separate();
        text_ += nlohmann::json(string).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    }
    void Value(Point3 p) { Numbers({{p.x, p.y, p.z}}); }
    void Numbers(std::initializer_list<float> numbers) {
        Numbers(std::span(numbers.begin(), numbers.size()));
    }
    void Numbers(std::span<const float> numbers) {
        Open('[');
        for (const float number : numbers) Value(number);
        Close(']');
    }
    template <class T>
    void Member(std::string_view name, const T& value) {
        Key(name);
        Value(value);
    }
    void Member(std::string_view name, std::initializer_list<float> numbers) {
        Key(name);
        Numbers(numbers);
    }

    [[nodiscard]] std::string Take() { return std::move(text_); }

private:
    void Separate() {
        if (!first_) text_ += ',';
        first_ = false;
    }
    std::string text_;
    bool first_ = true;
};

void WriteTriangles(JsonText& json, std::span<const Triangle> triangles) {
    json.Key("triangles");
    json.Open('[');
    for (const Triangle& triangle : triangles) {
        json.Open('[');
        for (const std::uint32_t vertex : triangle) json.Value(vertex);
        json.Close(']');
    }
    json.Close(']');
}

// The triangles of a group lie in the group itself or in the mesh's list.
std::span<const Triangle> TrianglesOf(const ModelData&, const ModelGroup& group) {
    return group.triangles;
}
std::span<const Triangle> TrianglesOf(const PreparedMesh& mesh, const GroupRange& group) {
    const std::size_t first = std::min<std::size_t>(group.firstIndex, mesh.triangles.size());
    return std::span(mesh.triangles)
        .subspan(first, std::min<std::size_t>(group.indexCount, mesh.triangles.size() - first));
}

template <class Mesh>
std::string WriteMesh(const Mesh& mesh) {
    JsonText json;
    json.Open('{');
    json.Member("size", mesh.size);
    json.Member("center", mesh.center);
    json.Member("boundsMin", mesh.boundsMin);
    json.Member("boundsMax", mesh.boundsMax);
    json.Key("materials");
    json.Open('[');
    for (const ModelMaterial& material : mesh.materials) json.Value(material.name);
    json.Close(']');
    json.Key("meshes");
    json.Open('[');
    for (const auto& part : mesh.meshes) {
        json.Open('{');
        json.Member("name", part.name);
        json.Member("center", part.center);
        json.Member("boundsMin", part.boundsMin);
        json.Member("boundsMax", part.boundsMax);
        json.Key("groups");
        json.Open('[');
        for (const auto& group : part.groups) {
            json.Open('{');
            json.Member("materialIndex", group.materialIndex);
            WriteTriangles(json, TrianglesOf(mesh, group));
            json.Close('}');
        }
        json.Close(']');
        json.Close('}');
    }
    json.Close(']');
    json.Key("vertices");
    json.Open('[');
    for (const ModelVertex& vertex : mesh.vertices) {
        std::array<float, 12> numbers;
        std::memcpy(numbers.data(), &vertex, sizeof vertex);
        json.Numbers(numbers);
    }
    json.Close(']');
    json.Close('}');
    return json.Take();
}

} // namespace

std::string ParticlesJson(const FrameParams& params, std::size_t groupIndex) {
    JsonText json;
    json.Open('[');
    if (groupIndex < kGroupCount)
        for (const Particle& particle : params.particles[groupIndex]) {
            json.Open('{');
            json.Member("index", particle.index);
            json.Member("position", particle.position);
            json.Member("normal", particle.normal);
            json.Member("size", particle.size);
            const Quaternion q = particle.rotation;
            json.Member("rotation", {q.x, q.y, q.z, q.w});
            json.Member("animationKey", particle.animationKey);
            json.Member("target", particle.target);
            json.Close('}');
        }
    json.Close(']');
    return json.Take();
}

std::string DrawsJson(const DrawList& list, int group) {
    JsonText json;
    json.Open('[');
    for (const DrawRecord& record : list.records) {
        if (group >= 0 && record.group != static_cast<std::uint32_t>(group)) continue;
        for (std::uint32_t mesh = 0; mesh < record.instanceCount; ++mesh) {
            const InstanceRecord& instance = list.instances[record.firstInstance + mesh];
            json.Open('{');
            json.Member("model", record.model ? record.model->name : std::string());
            json.Member("group", record.group + 1);
            json.Member("particle", record.particleIndex);
            json.Member("mesh", mesh);
            json.Key("modelMatrix");
            json.Numbers(instance.modelMatrix.m);
            json.Member("opacity", instance.opacity);
            const Point4 tint = instance.colour;
            json.Member("tint", {tint.x, tint.y, tint.z, tint.w});
            json.Member("uvOffset", {instance.uvOffset.x, instance.uvOffset.y});
            json.Member("visible", instance.visible);
            json.Member("frame", record.frame);
            json.Member("distance", record.distance);
            json.Close('}');
        }
    }
    json.Close(']');
    return json.Take();
}

std::string MeshJson(const ModelData& model) {
    return WriteMesh(model);
}

std::string MeshJson(const PreparedMesh& mesh) {
    return WriteMesh(mesh);
}

} // namespace velorin
