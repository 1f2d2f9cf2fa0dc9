#include "model/Bounds.h"
#include "model/FileModel.h"
#include "model/ModelPaths.h"
#include "model/ModelTools.h"

#include <unordered_map>
#include <unordered_set>

namespace velorin {

namespace {

ModelMaterial ImportMaterial(const FileMaterial& file, const std::string& folder) {
    ModelMaterial material;
    material.name = file.Name();
    material.colour1 = file.DiffuseColour();
    material.colour2 = file.SpecularColour();
    material.colour3 = file.EmissiveColour();
    material.colour4 = file.ReflectionColour();
    material.colour5 = file.TransparencyColour();
    material.value6 = file.DiffuseBrightness();
    material.value7 = file.SpecularExponent();
    material.value8 = file.Value8();
    material.value9 = file.Value9();
    material.value10 = file.Value10();
    material.value11 = file.Value11();
    material.value12 = file.Opacity();
    material.value13 = file.Value13();
    for (std::size_t i = 0; i < kMapSlotCount; ++i) {
        const auto slot = static_cast<MapSlot>(i);
        ModelMap& map = material.maps[i];
        map.mmBase = file.MapBase(slot);
        map.mmGain = file.MapGain(slot);
        const FileMaterial::Transform transform = file.MapTransform(slot);
        map.offset = transform.offset;
        map.scale = transform.scale;
        const std::string& path = file.MapPath(slot);
        if (!path.empty()) map.path = JoinPath(folder, path);
    }
    return material;
}

MeshTrack ImportTrack(const FileAnimationLayer& file) {
    MeshTrack track;
    track.position = file.Position();
    track.scale = file.Scale();
    track.rotation = file.Rotation();
    track.rotationOrder = file.RotationOrder();
    const std::uint32_t count = file.SampleCount();
    track.samples.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        const FileKeyframe& keyframe = file.Sample(i);
        track.samples.push_back(keyframe.Values());
        track.samples.back().frame = keyframe.Frame();
    }
    return track;
}

// One group for each material, in the order of first appearance.
std::vector<ModelGroup> MergeByMaterial(std::vector<ModelGroup>&& groups) {
    std::vector<ModelGroup> merged;
    std::unordered_map<std::uint32_t, std::size_t> place;
    for (ModelGroup& group : groups) {
        const auto [entry, isNew] = place.try_emplace(group.materialIndex, merged.size());
        if (isNew) {
            merged.push_back(std::move(group));
        } else {
            ModelTriangles& triangles = merged[entry->second].triangles;
            triangles.insert(triangles.end(), group.triangles.begin(), group.triangles.end());
        }
    }
    return merged;
}

void ImportGroups(ModelMesh& mesh, const FileMesh& file, const ModelVertices& vertices) {
    const std::uint32_t groupCount = file.GroupCount();
    if (groupCount == 0) return;
    Bounds bounds;
    std::unordered_set<std::uint32_t> materials;
    bool repeated = false;
    mesh.groups.resize(groupCount);
    for (std::uint32_t i = 0; i < groupCount; ++i) {
        const FileGroup& fileGroup = file.Group(i);
        ModelGroup& group = mesh.groups[i];
        group.materialIndex = fileGroup.MaterialIndex();
        group.triangles = fileGroup.CopyTriangles();
        for (const Triangle& triangle : group.triangles)
            for (const std::uint32_t index : triangle) bounds.Widen(vertices[index].position);
        repeated |= !materials.insert(group.materialIndex).second;
    }
    if (repeated) mesh.groups = MergeByMaterial(std::move(mesh.groups));
    mesh.boundsMin = bounds.min;
    mesh.boundsMax = bounds.max;
    mesh.center = bounds.Center();
}

} // namespace

void ImportFile(ModelData& model, FileModel& file) {
    model.vertices = file.TakeVertices();
    if (model.vertices.empty()) return;
    model.hasLayers = file.HasLayers();
    model.hasMeshTracks = file.HasMeshTracks();
    if (model.hasLayers) {
        model.layers = file.Layers();
        model.joints = file.Joints();
    }
    const std::uint32_t materialCount = file.MaterialCount();
    model.materials.reserve(materialCount);
    for (std::uint32_t i = 0; i < materialCount; ++i)
        model.materials.push_back(ImportMaterial(file.Material(i), file.Folder()));

    model.meshes.resize(file.MeshCount());
    for (std::uint32_t i = 0; i < model.meshes.size(); ++i) {
        const FileMesh& fileMesh = file.Mesh(i);
        ModelMesh& mesh = model.meshes[i];
        mesh.name = fileMesh.Name();
        for (std::uint32_t t = 0; t < fileMesh.TrackCount(); ++t)
            if (const FileAnimationLayer* track = fileMesh.Track(t))
                mesh.tracks.push_back(ImportTrack(*track));
    }
    NormaliseModel(model);
    for (std::uint32_t i = 0; i < model.meshes.size(); ++i)
        ImportGroups(model.meshes[i], file.Mesh(i), model.vertices);
    model.sourceOffset = file.SourceOffset();
    ComputeTangents(model);
}

} // namespace velorin
