#pragma once

#include "model/ModelTools.h"
#include "model/export/TextWriter.h"
#include "services/NxMath.h"

#include <deque>
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

// One mesh of a model where it stands. The spans are borrowed for the call.
struct ExportMesh {
    std::string name; // empty: "unnamed_mesh"
    std::span<const ModelVertex> vertices;
    std::span<const Triangle> triangles; // into `vertices`
    std::span<const GroupRange> groups;  // runs of `triangles`
    Matrix world;                        // model space to world (x right, y down, z away)
};

struct ExportModel {
    std::string name; // empty: "unnamed_object"
    std::span<const ExportMesh> meshes;
    std::span<const ExportMaterial> materials; // by the materialIndex of the groups
    Point2 uvOffset{0, 0}, uvScale{1, 1};      // of the model: for its texture coordinates
    bool invertNormals = false;
};

// Writes while it is given: the models need not be in memory together. The files of the export have the axes
// x right, y up, z towards the viewer. They appear together, in Finish: before it, and after a failure, there
// is nothing of them.
class SceneExporter {
public:
    explicit SceneExporter(const std::string& path);
    ~SceneExporter();

    // False after a failure; the sentence comes from Finish.
    bool Add(const ExportModel& model);
    // Puts all files in their places. On failure `error` is one sentence.
    [[nodiscard]] bool Finish(std::string& error);

private:
    std::string NameOf(const ExportMaterial& material);
    std::string CopyTexture(const std::string& source);
    void WriteMaterial(const ExportMaterial& material, const std::string& name);
    void WriteVertices(const ExportModel& model, const ExportMesh& mesh);
    void WriteFaces(const ExportModel& model, const ExportMesh& mesh);

    std::string folder_;
    TextWriter obj_, mtl_;
    std::uint64_t vertexCount_ = 0; // written so far
    std::multimap<std::string, std::pair<ExportMaterial, std::string>>
        materials_; // by their names; with those given
    std::set<std::string> materialNames_, textureNames_;
    std::map<std::string, std::string> textures_; // sources and the names of their copies
    std::deque<SafeFile> copies_;                 // complete, not yet in their places
    std::string textureError_;                    // of the first copy that could not be written
};

} // namespace velorin
