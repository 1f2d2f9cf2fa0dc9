#include "model/export/SceneExport.h"

#include "model/ModelPaths.h"
#include "services/MappedFile.h"
#include "services/Warnings.h"

#include <algorithm>
#include <filesystem>

namespace velorin {

namespace {

namespace fs = std::filesystem;

// A name as one word of a line.
std::string Word(std::string name, const char* fallback) {
    for (char& c : name)
        if (static_cast<unsigned char>(c) <= ' ' || c == 127) c = '_';
    return name.empty() ? fallback : name;
}
// A name as the rest of a line.
std::string Line(std::string name, const char* fallback) {
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return name.empty() ? fallback : name;
}

// The name, or the first of name_2, name_3 and so on in front of its extension that is not taken; takes it.
std::string TakeName(std::set<std::string>& taken, const std::string& stem, const std::string& extension) {
    std::string name = stem + extension;
    for (int i = 2; !taken.insert(name).second; ++i) name = stem + "_" + std::to_string(i) + extension;
    return name;
}

std::string MtlPath(const std::string& path) {
    return fs::path(path).replace_extension(".mtl").string();
}

constexpr const char* kMapKeywords[] = {"map_Kd", "map_Ks", "bump", "refl"};

// Normals go with the inverse transposed matrix; that of the cofactors is the same up to length and never
// divides.
Matrix NormalMatrix(const Matrix& a) {
    Matrix r;
    const Point3 x{a(0, 0), a(0, 1), a(0, 2)}, y{a(1, 0), a(1, 1), a(1, 2)}, z{a(2, 0), a(2, 1), a(2, 2)};
    const Point3 rows[3] = {Cross(y, z), Cross(z, x), Cross(x, y)};
    const float sign = Determinant3(a) < 0 ? -1.0f : 1.0f;
    for (int i = 0; i < 3; ++i) {
        r(i, 0) = rows[i].x * sign;
        r(i, 1) = rows[i].y * sign;
        r(i, 2) = rows[i].z * sign;
    }
    return r;
}

} // namespace

SceneExporter::SceneExporter(const std::string& path)
    : folder_(FolderOf(path)), obj_(path), mtl_(MtlPath(path)) {
    obj_.Text("mtllib " + fs::path(MtlPath(path)).filename().string() + "\n");
    // No copy takes the place of the files themselves.
    textureNames_ = {fs::path(path).filename().string(), fs::path(MtlPath(path)).filename().string()};
}

SceneExporter::~SceneExporter() = default;

bool SceneExporter::Add(const ExportModel& model) {
    obj_.Text("o " + Line(model.name, "unnamed_object") + "\n");
    for (const ExportMesh& mesh : model.meshes) {
        obj_.Text("g " + Line(mesh.name, "unnamed_mesh") + "\n");
        WriteVertices(model, mesh);
        WriteFaces(model, mesh);
        vertexCount_ += mesh.vertices.size();
    }
    return obj_.ok() && mtl_.ok() && textureError_.empty();
}

bool SceneExporter::Finish(std::string& error) {
    error = textureError_;
    if (!error.empty() || !obj_.Complete(error) || !mtl_.Complete(error)) return false;
    for (SafeFile& copy : copies_) {
        if (copy.Commit()) continue;
        error = copy.error();
        return false;
    }
    return mtl_.Commit(error) && obj_.Commit(error);
}

void SceneExporter::WriteVertices(const ExportModel& model, const ExportMesh& mesh) {
    const auto triple = [this](std::string_view keyword, Point3 p) {
        obj_.Text(keyword);
        obj_.Float(p.x);
        obj_.Text(" ");
        obj_.Float(-p.y);
        obj_.Text(" ");
        obj_.Float(-p.z);
        obj_.Text("\n");
    };
    const Matrix normals = NormalMatrix(mesh.world);
    const float sign = model.invertNormals ? -1.0f : 1.0f;
    for (const ModelVertex& v : mesh.vertices) triple("v ", TransformPoint(v.position, mesh.world));
    for (const ModelVertex& v : mesh.vertices) {
        obj_.Text("vt ");
        obj_.Float(v.texCoord.x * model.uvScale.x + model.uvOffset.x);
        obj_.Text(" ");
        obj_.Float(1 - (v.texCoord.y * model.uvScale.y + model.uvOffset.y));
        obj_.Text("\n");
    }
    for (const ModelVertex& v : mesh.vertices)
        triple("vn ", Normalized(TransformDirection(v.normal, normals)) * sign);
}

void SceneExporter::WriteFaces(const ExportModel& model, const ExportMesh& mesh) {
    const bool mirrored = Determinant3(mesh.world) < 0; // the corners then run the other way round
    for (const GroupRange& group : mesh.groups) {
        const ExportMaterial fallback;
        obj_.Text("usemtl " +
                  NameOf(group.materialIndex < model.materials.size() ? model.materials[group.materialIndex]
                                                                      : fallback) +
                  "\n");
        for (Triangle triangle : mesh.triangles.subspan(group.firstIndex, group.indexCount)) {
            if (mirrored) std::swap(triangle[1], triangle[2]);
            obj_.Text("f");
            for (const std::uint32_t index : triangle) {
                for (int i = 0; i < 3; ++i) {
                    obj_.Text(i == 0 ? " " : "/");
                    obj_.Number(vertexCount_ + index + 1);
                }
            }
            obj_.Text("\n");
        }
    }
}

// The name of a material in the library, which it enters when it is new. Equal materials are one; different
// ones of one name get a number.
std::string SceneExporter::NameOf(const ExportMaterial& material) {
    const auto [first, last] = materials_.equal_range(material.name);
    for (auto entry = first; entry != last; ++entry)
        if (entry->second.first == material) return entry->second.second;
    const std::string name = TakeName(materialNames_, Word(material.name, "Default"), "");
    materials_.emplace(material.name, std::pair(material, name));
    WriteMaterial(material, name);
    return name;
}

void SceneExporter::WriteMaterial(const ExportMaterial& material, const std::string& name) {
    const auto numbers = [this](std::string_view keyword, std::initializer_list<float> values) {
        mtl_.Text(keyword);
        for (const float value : values) {
            mtl_.Text(" ");
            mtl_.Float(value);
        }
    };
    const auto colour = [&](std::string_view keyword, Point3 c) {
        numbers(keyword, {c.x, c.y, c.z});
        mtl_.Text("\n");
    };
    mtl_.Text("newmtl " + name + "\n");
    colour("Ka", material.ambient);
    colour("Kd", material.diffuse);
    colour("Ks", material.specular);
    numbers("Ns", {material.exponent});
    mtl_.Text("\n");
    for (const ExportMap& map : material.maps) {
        const std::string copy = CopyTexture(map.path);
        if (copy.empty()) continue;
        mtl_.Text(kMapKeywords[static_cast<std::size_t>(map.slot)]);
        numbers(" -o", {map.offset.x, map.offset.y});
        numbers(" -s", {map.scale.x, map.scale.y});
        mtl_.Text(" " + copy + "\n");
    }
    mtl_.Text("\n");
}

// Makes a copy beside the export and returns its name; empty, with a warning, when the picture cannot be
// read. Pictures of one name from different folders get numbers; a picture that stands beside the export
// already stays.
std::string SceneExporter::CopyTexture(const std::string& source) {
    const auto known = textures_.find(source);
    if (known != textures_.end()) return known->second;
    std::string& name = textures_[source];
    const fs::path from(source);
    const fs::path folder(folder_.empty() ? "." : folder_);
    std::error_code failure;
    const MappedFile picture = MappedFile::Open(source, FileAccess::Read);
    if (!picture.valid()) {
        ReportWarning("Texture " + source + " is not exported: it cannot be read.");
        return name;
    }
    const std::string wanted =
        TakeName(textureNames_, Word(from.stem().string(), "texture"), Word(from.extension().string(), ""));
    const fs::path to = folder / wanted;
    if (!fs::equivalent(from, to, failure)) {
        SafeFile& copy = copies_.emplace_back(to.string());
        copy.Write(picture.bytes());
        if (!copy.Complete() && textureError_.empty()) textureError_ = copy.error();
    }
    return name = wanted;
}

} // namespace velorin
