#pragma once

#include "core/document/Retained.h"

#include <cstdint>

// Pictures of presets: what the browsers show, and the sheets of a folder.
namespace velorin {

class Scene;
class SceneMaterial;
class Velorin;
struct BevelSettings;
struct PresetPicture;

// Fills an empty scene with the model that a material is shown on: a ball on a small stand.
void StageMaterial(Scene& scene, const Ref<SceneMaterial>& material);
// An extruded letter with the bevel.
void StageBevel(Scene& scene, const BevelSettings& bevel);

// Draws all that the scene shows, from a little above and beside, as large as it fits into `width` by
// `height` pixels (1 to 4096), lit by three lights and the scene's environment for thumbnails. The picture
// has straight alpha, 0 behind the models. The groups that its top-level models are in are set to the first.
// Needs a core that is initialised and not inside a frame; the context is current on this thread. False, with
// no picture, when the core cannot draw or nothing is to be seen.
[[nodiscard]] bool DrawPresetPicture(Velorin& core, Scene& scene, std::uint32_t width, std::uint32_t height,
                                     PresetPicture& picture);

} // namespace velorin
