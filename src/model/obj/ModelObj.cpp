#include "model/obj/ModelObj.h"

#include "model/ModelPaths.h"
#include "model/obj/ObjText.h"
#include "services/Log.h"
#include "services/MappedFile.h"

namespace velorin {

namespace {

// The name between the last slash and the last dot.
std::string FileStem(const std::string& path) {
    std::string name = path.substr(path.find_last_of('/') + 1);
    return name.substr(0, name.find_last_of('.'));
}

} // namespace

bool ModelObj::Load(const std::string& path, bool loadMaterials, [[maybe_unused]] bool loadAnimation) {
    const MappedFile file = MappedFile::Open(path, FileAccess::Read);
    if (!file.valid()) {
        reason_ = "cannot be opened: " + file.reason();
        return false;
    }
    folder_ = FolderOf(path);
    LoadLayers(path);
    {
        obj::ObjText text = obj::ReadObjText(file.bytes(), FileStem(path));
        if (!text.mtlLibrary.empty()) mtlLibrary_ = JoinPath(folder_, text.mtlLibrary);
        Build(text);
    }
    if (vertices_.empty()) {
        reason_ = "holds no face";
        return false;
    }
    if (loadMaterials && !materials_.empty()) LoadMaterials();
    return true;
}

void ModelObj::LoadLayers(const std::string& path) {
    if (path.size() < 3) return;
    const MappedFile file = MappedFile::Open(path.substr(0, path.size() - 3) + "vrd", FileAccess::Read);
    if (!file.valid()) return;
    hasLayers_ = true;
    layers_ = obj::ReadLayerFile(file.bytes());
}

void ModelObj::LoadMaterials() {
    if (mtlLibrary_.empty()) return;
    const MappedFile library = MappedFile::Open(mtlLibrary_, FileAccess::Read);
    if (library.valid()) obj::ReadMtl(library.bytes(), materials_);
}

// Turns the file's statements into vertices, groups and meshes.
void ModelObj::Build(obj::ObjText& text) {
    std::vector<std::uint32_t> triangleCounts;
    vertices_ = obj::BuildVertices(text, triangleCounts);
    std::uint32_t vertex = 0;
    groups_.resize(text.groups.size());
    for (std::size_t i = 0; i < groups_.size(); ++i) {
        groups_[i].materialIndex = text.groups[i].material;
        groups_[i].firstVertex = vertex;
        groups_[i].triangleCount = triangleCounts[i];
        vertex += 3 * triangleCounts[i];
    }
    meshes_.resize(text.meshes.size());
    for (std::size_t i = 0; i < meshes_.size(); ++i) {
        meshes_[i].name = std::move(text.meshes[i].name);
        meshes_[i].groups = groups_.data() + text.meshes[i].firstGroup;
        meshes_[i].groupCount = static_cast<std::uint32_t>(text.meshes[i].groupCount);
    }
    materials_.resize(text.materialNames.size());
    for (std::size_t i = 0; i < materials_.size(); ++i) materials_[i].name = std::move(text.materialNames[i]);
}

ModelTriangles ModelObj::GroupObj::CopyTriangles() const {
    ModelTriangles triangles;
    triangles.reserve(triangleCount);
    for (std::uint32_t i = 0, v = firstVertex; i < triangleCount; ++i, v += 3)
        triangles.push_back({v, v + 1, v + 2});
    return triangles;
}

const Triangle* ModelObj::GroupObj::Indices() const {
    if (triangles_.empty()) triangles_ = CopyTriangles();
    return triangles_.data();
}

std::uint32_t ModelObj::MaterialCount() const {
    return static_cast<std::uint32_t>(materials_.size());
}
std::uint32_t ModelObj::MeshCount() const {
    return static_cast<std::uint32_t>(meshes_.size());
}
std::uint32_t ModelObj::VertexCount() const {
    return static_cast<std::uint32_t>(vertices_.size());
}
} // namespace velorin
