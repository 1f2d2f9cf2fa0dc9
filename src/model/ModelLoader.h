#pragma once

#include "model/ModelData.h"

#include <string>

namespace velorin {

class SceneModel;

// The one entry to geometry on the CPU: fills an empty ModelData by the model's kind. `dataFolder` is what a
// relative path is joined to. False when there is no geometry; for a file that cannot be read the log has
// "Failed to load model: <path>" and the warnings have one sentence with the file and the reason.
[[nodiscard]] bool LoadModelData(const SceneModel& model, const std::string& dataFolder, ModelData& data);

// Reads a model file by its extension: the file half of LoadModelData. `loadMaterials`: with the properties
// of the materials, else only their names.
[[nodiscard]] bool LoadModelFile(const std::string& path, bool loadMaterials, bool loadAnimation,
                                 ModelData& data);

// The path of the model's file as it is opened: relative ones joined to `dataFolder`, "." and ".." resolved.
[[nodiscard]] std::string ResolveModelPath(const std::string& path, const std::string& dataFolder);

} // namespace velorin
