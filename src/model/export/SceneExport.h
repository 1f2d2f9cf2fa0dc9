#pragma once

#include "model/ModelTools.h"
#include "model/export/TextWriter.h"
#include "services/NxMath.h"

#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

// The full export of a scene: an OBJ file, a ".mtl" file of its name beside it, and copies of the textures.
namespace velorin {

enum class ExportSlot { Diffuse, Specular, Bump, Reflection };

struct ExportMap {
    ExportSlot slot = ExportSlot::Diffuse;
    std::string path; // of the picture
    Point2 offset{0, 0}, scale{1, 1};
    friend bool operator==(const ExportMap&, const ExportMap&) = default;
};

struct ExportMaterial {
    std::string name;
    Point3 ambient, diffuse{1, 1, 1}, specular{1, 1, 1}; // Ka, Kd, Ks
    float exponent = 0;                                  // Ns
    std::vector<ExportMap> maps;
    friend bool operator==(const ExportMaterial&, const ExportMaterial&) = default;
};

// One model where it stands. The spans are borrowed for the call.
struct ExportModel {
    std::string name; // empty: "unnamed_object"
    std::span<const ModelVertex> vertices;
    std::span<const Triangle> triangles;
    std::span<const MeshRange> meshes;         // meshes without a name: "unnamed_mesh"
    std::span<const ExportMaterial> materials; // by the materialIndex of the groups
    Matrix world;                              // model space to world (x right, y down, z away)
};

// Writes while it is given: the models need not be in memory together. The files of the export have the axes
// x right, y up, z towards the viewer.
class SceneExporter {
public:
    explicit SceneExporter(const std::string& path);

    // False after a failure; the sentence comes from Finish.
    bool Add(const ExportModel& model);
    // Puts both files in their place. On failure `error` is one sentence, and none of the two is left half.
    [[nodiscard]] bool Finish(std::string& error);

private:
    std::string NameOf(const ExportMaterial& material);
    std::string CopyTexture(const std::string& source);
    void WriteMaterial(const ExportMaterial& material, const std::string& name);
    void WriteVertices(const ExportModel& model);
    void WriteFaces(const ExportModel& model);

    std::string folder_;
    TextWriter obj_, mtl_;
    std::uint64_t vertexCount_ = 0; // written so far
    std::multimap<std::string, std::pair<ExportMaterial, std::string>>
        materials_; // by their names; with those given
    std::set<std::string> materialNames_, textureNames_;
    std::map<std::string, std::string> textures_; // sources and the names of their copies
};

} // namespace velorin
