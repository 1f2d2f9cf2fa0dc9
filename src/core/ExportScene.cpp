#include "core/ExportScene.h"

#include "core/ModelMatrices.h"
#include "core/document/SceneMaterial.h"
#include "core/document/SceneModel.h"
#include "model/ModelLoader.h"
#include "render/MeshBuffers.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace velorin {
namespace {

constexpr float kExponentOfShininess = 64; // of the Standard shader
constexpr float kLargestExponent = 1000;   // of the format

// One mesh of a geometry with the vertices that it uses.
struct MeshPart {
    ModelVertices vertices;
    ModelTriangles triangles;
    std::vector<GroupRange> groups;
};
using GeometryParts = std::vector<MeshPart>;

GeometryParts SplitMeshes(const MeshBuffers& geometry) {
    const ModelVertices vertices = geometry.ReadVertices();
    const ModelTriangles triangles = geometry.ReadTriangles();
    constexpr std::uint32_t kNone = 0xffffffffu;
    GeometryParts parts(geometry.meshes().size());
    std::vector<std::uint32_t> place(vertices.size(), kNone);
    for (std::size_t m = 0; m < parts.size(); ++m) {
        MeshPart& part = parts[m];
        std::vector<std::uint32_t> used;
        for (const GroupRange& group : geometry.meshes()[m].groups) {
            const std::size_t last = std::size_t{group.firstIndex} + group.indexCount;
            if (last > triangles.size()) continue; // the context that held them is gone
            part.groups.push_back(
                {group.materialIndex, static_cast<std::uint32_t>(part.triangles.size()), group.indexCount});
            for (std::size_t t = group.firstIndex; t < last; ++t) {
                Triangle triangle = triangles[t];
                for (std::uint32_t& index : triangle) {
                    if (place[index] == kNone) {
                        place[index] = static_cast<std::uint32_t>(used.size());
                        used.push_back(index);
                        part.vertices.push_back(vertices[index]);
                    }
                    index = place[index];
                }
                part.triangles.push_back(triangle);
            }
        }
        for (const std::uint32_t index : used) place[index] = kNone;
    }
    return parts;
}

Point3 Times(Colour colour, float share, Point4 tint) {
    const auto channel = [share](std::uint8_t value, float by) {
        return std::clamp(static_cast<float>(value) / 255 * share * by, 0.0f, 1.0f);
    };
    return {channel(colour.r, tint.x), channel(colour.g, tint.y), channel(colour.b, tint.z)};
}

// The model whose look an instance has.
const SceneModel& Look(const DrawRecord& record, const InstanceRecord& instance) {
    return record.finishModel && instance.layerMix > 0.5f ? *record.finishModel : *record.model;
}

std::vector<ExportMaterial> MaterialsOf(const SceneModel& model, const MeshBuffers& geometry,
                                        const InstanceRecord& instance, const std::string& dataFolder) {
    static const Ref<SceneMaterial> plain = Ref<SceneMaterial>::Make();
    std::vector<ExportMaterial> materials;
    const std::vector<ModelMaterial>& slots = geometry.prepared().materials;
    for (std::size_t i = 0; i < std::max(slots.size(), model.bindings.size()); ++i) {
        const SceneMaterial* const bound = i < model.bindings.size() ? model.bindings[i].material : nullptr;
        materials.push_back(
            MaterialForExport(bound ? *bound : *plain, instance.colour, instance.uvOffset, dataFolder));
        if (!bound && i < slots.size() && !slots[i].name.empty()) materials.back().name = slots[i].name;
    }
    return materials;
}

} // namespace

ExportMaterial MaterialForExport(const SceneMaterial& material, Point4 tint, Point2 uvOffset,
                                 const std::string& dataFolder) {
    ExportMaterial result;
    result.name = material.name;
    if (material.type == MaterialType::Standard) {
        result.diffuse = Times(material.diffuseColor, material.diffuse, tint);
        result.specular = Times(material.specularColor, material.specular, tint);
        result.ambient = Times(material.diffuseColor, material.diffuse * material.ambient, tint);
        result.exponent = material.specularShininess * kExponentOfShininess;
    } else {
        result.diffuse = Times(material.pbrDiffuseColor, material.pbrDiffuse, tint);
        result.specular = Times(material.pbrReflectivityColor, material.pbrReflectivity, tint);
        result.ambient = Times(material.pbrDiffuseColor, material.pbrDiffuse * material.pbrAmbient, tint);
        const float roughness = 1 - std::clamp(material.pbrGlossiness, 0.0f, 1.0f);
        const float alpha = std::max(roughness * roughness, 1e-3f);
        result.exponent = 2 / (alpha * alpha) - 2;
    }
    result.exponent = std::clamp(result.exponent, 0.0f, kLargestExponent);
    static constexpr std::pair<Channel, ExportSlot> kSlots[] = {
        {Channel::Diffuse, ExportSlot::Diffuse},
        {Channel::Specular, ExportSlot::Specular},
        {Channel::Normal, ExportSlot::Bump},
        {Channel::Reflection, ExportSlot::Reflection}};
    for (const auto& [number, slot] : kSlots) {
        const TextureChannel& channel = material.channel(number);
        if (!channel.enabled || channel.path.empty() || channel.customLayer >= 0) continue;
        result.maps.push_back({slot, ResolveModelPath(channel.path, dataFolder), channel.uvOffset + uvOffset,
                               channel.uvRepeat});
    }
    return result;
}

bool ExportScene(const DrawList& list, int group, const std::string& dataFolder, const std::string& path,
                 std::string& error) {
    SceneExporter exporter(path);
    std::unordered_map<const MeshBuffers*, GeometryParts> geometries;
    std::size_t triangles = 0;
    for (const DrawRecord& record : list.records) {
        if ((group >= 0 && record.group != static_cast<std::uint32_t>(group)) || !record.model ||
            !record.geometry || record.geometry->empty())
            continue;
        auto known = geometries.find(record.geometry);
        if (known == geometries.end())
            known = geometries.emplace(record.geometry, SplitMeshes(*record.geometry)).first;
        const GeometryParts& parts = known->second;
        const SceneModel& model = *record.model;
        const Matrix flip = Matrix::Scale(FlipSigns(model));

        // Meshes that look the same are one object.
        std::vector<ExportMesh> meshes;
        std::vector<ExportMaterial> materials;
        const auto write = [&](const SceneModel& look) {
            const bool good = meshes.empty() || exporter.Add({look.name, meshes, materials, look.uvOffset,
                                                              look.uvRepeat, look.invertNormals});
            meshes.clear();
            return good;
        };
        const SceneModel* look = &model;
        for (std::size_t m = 0; m < std::min<std::size_t>(record.instanceCount, parts.size()); ++m) {
            const InstanceRecord& instance = list.instances[record.firstInstance + m];
            if (!instance.visible || instance.opacity == 0 || parts[m].triangles.empty()) continue;
            std::vector<ExportMaterial> own =
                MaterialsOf(Look(record, instance), *record.geometry, instance, dataFolder);
            if (look != &Look(record, instance) || own != materials) {
                if (!write(*look)) break;
                look = &Look(record, instance);
                materials = std::move(own);
            }
            triangles += parts[m].triangles.size();
            meshes.push_back({record.geometry->meshes()[m].name, parts[m].vertices, parts[m].triangles,
                              parts[m].groups, flip * instance.modelMatrix});
        }
        if (!write(*look)) break;
    }
    if (triangles > 0) return exporter.Finish(error);
    error = path + ": is not written: " +
            (group < 0 ? std::string("the effect") : "group " + std::to_string(group + 1)) +
            " shows no model at this frame.";
    return false;
}

} // namespace velorin
