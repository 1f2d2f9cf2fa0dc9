#pragma once

#include "core/document/Retained.h"
#include "core/document/SceneMaterial.h"
#include "core/document/SceneModel.h"
#include "services/ByteReader.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velorin {

class Scene;

// The picture of a preset: `width` times `height` pixels of four bytes, row by row. Empty: no picture.
struct PresetPicture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint8_t> pixels;
};

// A model preset file (".qmx") holds how a tree of models is set up: the models, their materials and a
// picture, but no geometry.

// Writes `model` with all below it; materials are told apart by their place in `scene`. The file is written
// beside its place and renamed over it. False when it cannot be written; `error` then says why.
[[nodiscard]] bool SaveModelPreset(const std::string& path, const SceneModel& model, const Scene& scene,
                                   const PresetPicture& picture, std::string* error = nullptr);

// Reads a preset into `root`, a fresh model that becomes the top of the tree, and `materials`, to which its
// bindings point; a material that two models share stands there twice, and both bind to the first. Every
// model comes closed in the tree, in group 1 alone and drawn. `path` may name an entry of a content bundle
// ("content.qbndl>folder/ship.qmx"). False, with nothing read, when the file cannot be opened or holds no
// model.
[[nodiscard]] bool LoadModelPreset(const std::string& path, SceneModel& root,
                                   std::vector<Ref<SceneMaterial>>& materials,
                                   PresetPicture* picture = nullptr);
[[nodiscard]] bool LoadModelPresetBytes(Bytes bytes, SceneModel& root,
                                        std::vector<Ref<SceneMaterial>>& materials,
                                        PresetPicture* picture = nullptr);

} // namespace velorin
