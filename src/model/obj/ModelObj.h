#pragma once

#include "model/FileModel.h"
#include "model/obj/LayerFile.h"
#include "model/obj/MtlReader.h"

#include <string>
#include <vector>

namespace velorin {

namespace obj {
struct ObjText;
}

// A Wavefront OBJ file with its MTL library and its ".vrd" animation. Every triangle has three vertices of
// its own; a face that refers outside the file's lists is left out.
class ModelObj final : public FileModel {
public:
    // The side file is tried whatever `loadAnimation` says: a member of a sequence has none of its own.
    [[nodiscard]] bool Load(const std::string& path, bool loadMaterials, bool loadAnimation) override;

    [[nodiscard]] const std::string& Reason() const override { return reason_; }
    [[nodiscard]] const std::string& Folder() const override { return folder_; }
    [[nodiscard]] std::uint32_t MaterialCount() const override;
    [[nodiscard]] const FileMaterial& Material(std::uint32_t index) const override {
        return materials_[index];
    }
    [[nodiscard]] std::uint32_t MeshCount() const override;
    [[nodiscard]] const FileMesh& Mesh(std::uint32_t index) const override { return meshes_[index]; }
    [[nodiscard]] std::uint32_t VertexCount() const override;
    [[nodiscard]] const ModelVertex* Vertices() const override { return vertices_.data(); }
    [[nodiscard]] ModelVertices TakeVertices() override { return std::move(vertices_); }
    [[nodiscard]] bool HasLayers() const override { return hasLayers_; }
    [[nodiscard]] const std::vector<AnimationLayer>& Layers() const override { return layers_.layers; }
    [[nodiscard]] const std::list<ModelJoint>& Joints() const override { return layers_.joints; }
    [[nodiscard]] bool HasMeshTracks() const override { return false; }
    [[nodiscard]] Point3 SourceOffset() const override { return {}; }

private:
    // The vertices of a group stand behind one another, three a triangle: its indices are made when asked
    // for.
    class GroupObj final : public FileGroup {
    public:
        std::uint32_t materialIndex = 0;
        std::uint32_t firstVertex = 0;
        std::uint32_t triangleCount = 0;
        [[nodiscard]] std::uint32_t TriangleCount() const override { return triangleCount; }
        [[nodiscard]] const Triangle* Indices() const override; // by one thread at a time
        [[nodiscard]] ModelTriangles CopyTriangles() const override;
        [[nodiscard]] std::uint32_t MaterialIndex() const override { return materialIndex; }

    private:
        mutable ModelTriangles triangles_;
    };
    class MeshObj final : public FileMesh {
    public:
        std::string name;
        std::uint32_t groupCount = 0;
        const GroupObj* groups = nullptr; // in ModelObj::groups_
        [[nodiscard]] const std::string& Name() const override { return name; }
        [[nodiscard]] std::uint32_t GroupCount() const override { return groupCount; }
        [[nodiscard]] const FileGroup& Group(std::uint32_t index) const override { return groups[index]; }
        [[nodiscard]] std::uint32_t TrackCount() const override { return 0; }
        [[nodiscard]] const FileAnimationLayer* Track(std::uint32_t) const override { return nullptr; }
    };

    void LoadLayers(const std::string& path);
    void LoadMaterials();
    void Build(obj::ObjText& text);

    std::string reason_, folder_, mtlLibrary_;
    std::vector<obj::MaterialObj> materials_;
    std::vector<MeshObj> meshes_;
    std::vector<GroupObj> groups_;
    ModelVertices vertices_;
    bool hasLayers_ = false;
    obj::LayerFile layers_;
};

} // namespace velorin
