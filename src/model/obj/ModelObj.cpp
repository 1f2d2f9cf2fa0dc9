#include "model/obj/ModelObj.h"

#include "model/ModelPaths.h"
#include "model/obj/ObjText.h"
#include "services/Log.h"
#include "services/MappedFile.h"

#include <algorithm>

namespace velorin {

namespace {

// Indices of vertices have 32 bits, and a triangle takes three of its own.
constexpr std::size_t kMaximumTriangles = 0xffffffffu / 3;

// The name between the last slash and the last dot.
std::string FileStem(const std::string& path) {
    std::string name = path.substr(path.find_last_of('/') + 1);
    return name.substr(0, name.find_last_of('.'));
}

// Whether `index`, counted from 1, lies in a list of `length`.
bool InList(std::int32_t index, std::size_t length) {
    return static_cast<std::size_t>(static_cast<std::int64_t>(index) - 1) < length;
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

// Turns the file's statements into vertices, groups and meshes; takes the lists apart while it goes to keep
// the memory low.
void ModelObj::Build(obj::ObjText& text) {
    BuildVertices(text);
    text.positions.Clear();
    text.texCoords.Clear();
    text.normals.Clear();
    text.faces.Clear();

    triangles_.reserve(vertices_.size() / 3);
    for (std::uint32_t v = 0; v < vertices_.size(); v += 3) triangles_.push_back({v, v + 1, v + 2});
    std::size_t first = 0;
    groups_.resize(text.groups.size());
    for (std::size_t i = 0; i < groups_.size(); ++i) {
        groups_[i].materialIndex = text.groups[i].material;
        groups_[i].triangles = triangles_.data() + first;
        groups_[i].triangleCount = text.groups[i].faceCount;
        first += text.groups[i].faceCount;
    }
    meshes_.resize(text.meshes.size());
    for (std::size_t i = 0; i < meshes_.size(); ++i) {
        meshes_[i].name = std::move(text.meshes[i].name);
        meshes_[i].groups = groups_.data() + text.meshes[i].firstGroup;
        meshes_[i].groupCount = text.meshes[i].groupCount;
    }
    materials_.resize(text.materialNames.size());
    for (std::size_t i = 0; i < materials_.size(); ++i) materials_[i].name = std::move(text.materialNames[i]);
}

// Three new vertices a face; faces that refer outside a list are dropped, also from their group's count.
void ModelObj::BuildVertices(obj::ObjText& text) {
    if (text.texCoords.empty()) text.texCoords.push_back({0, 1}); // (0, 0) of the file
    if (text.normals.empty()) text.normals.push_back({0, 0, 0});
    const std::size_t positionCount = text.positions.size(), texCoordCount = text.texCoords.size(),
                      normalCount = text.normals.size();
    const auto valid = [&](const obj::Corner& corner) {
        return InList(corner.position, positionCount) && InList(corner.texCoord, texCoordCount) &&
               InList(corner.normal, normalCount);
    };
    const auto vertex = [&](const obj::Corner& corner) {
        return ModelVertex{text.positions[static_cast<std::size_t>(corner.position - 1)],
                           text.texCoords[static_cast<std::size_t>(corner.texCoord - 1)],
                           text.normals[static_cast<std::size_t>(corner.normal - 1)],
                           {}};
    };
    std::size_t room = std::min(text.faces.size(), kMaximumTriangles);
    vertices_.reserve(3 * room);
    std::size_t dropped = 0;
    for (obj::TextGroup& group : text.groups) {
        const std::size_t faceCount = group.faceCount;
        for (std::size_t i = 0; i < faceCount; ++i) {
            const obj::Face& face = text.faces[group.firstFace + i];
            if (!valid(face[0]) || !valid(face[1]) || !valid(face[2]) || room == 0) {
                --group.faceCount;
                ++dropped;
                continue;
            }
            --room;
            const ModelVertex corners[3] = {vertex(face[0]), vertex(face[1]), vertex(face[2])};
            vertices_.insert(vertices_.end(), corners, corners + 3);
        }
    }
    if (dropped > 0) Log("Obj: %zu triangles refer outside the lists of the file and are left out", dropped);
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
std::uint32_t ModelObj::GroupObj::TriangleCount() const {
    return static_cast<std::uint32_t>(triangleCount);
}
std::uint32_t ModelObj::MeshObj::GroupCount() const {
    return static_cast<std::uint32_t>(groupCount);
}

} // namespace velorin
