#include "model/LayerPlane.h"

#include "model/ModelTools.h"

namespace velorin {

ModelData MakeLayerPlane() {
    constexpr Point3 normal{0, 0, -1}; // at the viewer
    ModelData model;
    model.vertices = {{{-1, -1, 0}, {0, 0}, normal, {}},
                      {{1, -1, 0}, {1, 0}, normal, {}},
                      {{-1, 1, 0}, {0, 1}, normal, {}},
                      {{1, 1, 0}, {1, 1}, normal, {}}};
    ModelMesh& mesh = model.meshes.emplace_back();
    mesh.groups.push_back({0, false, {{0, 1, 2}, {1, 3, 2}}});
    model.materials.emplace_back().name = "Default";
    NormaliseModel(model);
    mesh.boundsMin = model.boundsMin;
    mesh.boundsMax = model.boundsMax;
    mesh.center = model.center;
    ComputeTangents(model);
    return model;
}

} // namespace velorin
