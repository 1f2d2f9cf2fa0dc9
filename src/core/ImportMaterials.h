#pragma once

#include "core/document/Retained.h"
#include "model/ModelData.h"

#include <span>

namespace velorin {

class Scene;
class SceneMaterial;
class SceneModel;

// The scene material that stands for a material of a model file. A file's colours, exponent and opacity are
// those of the Phong model, so they become a Standard material: the exponent's lobe is the same. A material
// of which the file knows nothing but the name becomes a default one of that name.
[[nodiscard]] Ref<SceneMaterial> MaterialFromFile(const ModelMaterial& material);

// What importing a model means for the scene: a model without bindings gets one material for each slot of its
// geometry, appended to the scene's list, and is bound to them in slot order. A model with bindings stays as
// it is.
void BindImportedMaterials(Scene& scene, SceneModel& model, std::span<const ModelMaterial> materials);

} // namespace velorin
