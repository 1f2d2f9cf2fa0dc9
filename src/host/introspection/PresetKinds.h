#pragma once

#include "core/document/BevelSettings.h"
#include "core/document/Retained.h"
#include "core/document/SceneMaterial.h"
#include "core/document/SceneModel.h"
#include "host/introspection/Request.h"
#include "model/ModelPreset.h"

#include <string>
#include <vector>

// The kinds of presets and what each can do, for the requests about them.
namespace velorin {

class Scene;
struct PresetKind;

// A preset as it was read, or what is to become one; what is not of its kind is empty.
struct Preset {
    const PresetKind* kind = nullptr;
    Ref<SceneModel> model;
    std::vector<Ref<SceneMaterial>> materials;
    BevelSettings bevel;
    PresetPicture picture;
};

struct PresetKind {
    const char* name;
    const char* extension; // small, with its dot
    // From a file or an entry of a bundle ("FILE.qbndl/ENTRY"). False when it is damaged or of another kind.
    bool (*read)(const std::string& path, AssetContext& assets, Preset& preset);
    // Fills a scene with what shows the preset. The scene takes the preset's models and materials.
    void (*stage)(Preset& preset, Scene& scene);
    // Takes what the request names out of a scene; the reply when it is not there, else empty.
    std::string (*pick)(const Request& request, const Scene& scene, Preset& preset);
    // Writes the file anew with a picture.
    bool (*write)(const std::string& path, const Preset& preset, const Scene& scene,
                  const PresetPicture& picture, std::string* error);
};

// Null for a name, or a file, of no kind of preset.
[[nodiscard]] const PresetKind* FindPresetKind(const std::string& name);
[[nodiscard]] const PresetKind* PresetKindOfFile(const std::string& path);

// Why a preset cannot be used; empty when it was read.
[[nodiscard]] std::string ReadPreset(const std::string& path, AssetContext& assets, Preset& preset);

} // namespace velorin
