#pragma once

#include "model/ModelData.h"
#include "model/extrusion/PathSet.h"

#include <cstdint>
#include <string>

namespace velorin {

class SceneModel;

// The one entry to geometry on the CPU: fills an empty ModelData by the model's kind. `dataFolder` is what a
// relative path is joined to; `layers` are what an extrusion of text or masks is made from. False when there
// is no geometry; for a file that cannot be read the log has "Failed to load model: <path>" and the warnings
// have one sentence with the file and the reason.
[[nodiscard]] bool LoadModelData(const SceneModel& model, const std::string& dataFolder, ModelData& data,
                                 const PathLayers& layers = {});

// How many model files this process has parsed, and how many came from the model cache in place of that.
struct ModelLoadCounts {
    std::uint64_t parsed = 0, cached = 0;
};
[[nodiscard]] ModelLoadCounts GetModelLoadCounts();

// Reads a model file by its extension: the file half of LoadModelData. `loadMaterials`: with the properties
// of the materials, else only their names. `writtenAs`: the path as the scene has it, for the warning.
// `reason`: gets why it failed, to stand behind the file's name, in place of the warning. A file of an
// unknown kind fails without a word.
[[nodiscard]] bool LoadModelFile(const std::string& path, bool loadMaterials, bool loadAnimation,
                                 ModelData& data, const std::string& writtenAs = {},
                                 std::string* reason = nullptr);

// The path of a file of the scene as it is opened: FindAsset of services/Library.h.
[[nodiscard]] std::string ResolveModelPath(const std::string& path, const std::string& dataFolder);

} // namespace velorin
