#include "model/export/ExportObj.h"

#include "core/document/SceneModel.h"
#include "model/ModelLoader.h"
#include "model/export/TextWriter.h"

namespace velorin {

bool WriteBareObj(const ModelData& model, const std::string& path, std::string& error) {
    TextWriter out(path);
    const auto triple = [&out](std::string_view keyword, Point3 p) {
        out.Text(keyword);
        out.Float(p.x);
        out.Text(" ");
        out.Float(-p.y);
        out.Text(" ");
        out.Float(-p.z);
        out.Text("\n");
    };
    for (const ModelVertex& v : model.vertices) triple("v  ", v.position); // two blanks
    for (const ModelVertex& v : model.vertices) triple("vn ", v.normal);
    for (const ModelVertex& v : model.vertices) {
        out.Text("vt ");
        out.Float(v.texCoord.x);
        out.Text(" ");
        out.Float(1 - v.texCoord.y);
        out.Text("\n");
    }
    for (const ModelMesh& mesh : model.meshes) {
        for (const ModelGroup& group : mesh.groups) {
            out.Text("usemtl Material");
            out.Number(std::uint64_t{group.materialIndex} + 1);
            out.Text("\n");
            for (const Triangle& triangle : group.triangles) {
                out.Text("f");
                for (const std::uint32_t index : triangle) {
                    for (int i = 0; i < 3; ++i) {
                        out.Text(i == 0 ? " " : "/");
                        out.Number(std::uint64_t{index} + 1);
                    }
                }
                out.Text("\n");
            }
        }
    }
    return out.Commit(error);
}

bool ExportObj(const SceneModel& model, const std::string& dataFolder, const PathLayers& layers,
               const std::string& path, std::string& error) {
    if (!IsExtrusion(model.type)) return true;
    ModelData data;
    if (!LoadModelData(model, dataFolder, data, layers)) {
        error = "Model " + model.name + " has no geometry to export to " + path + ".";
        return false;
    }
    return WriteBareObj(data, path, error);
}

} // namespace velorin
