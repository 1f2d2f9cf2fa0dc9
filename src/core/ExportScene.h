#pragma once

#include "model/export/SceneExport.h"
#include "render/DrawRecord.h"
#include "services/NxMath.h"

#include <string>

namespace velorin {

class SceneMaterial;

// A scene material as the library of an OBJ file has it, which knows the Phong model: of a Standard material
// its colours and its exponent, of a Physical one the colours by their shares and the exponent whose lobe is
// as wide as its roughness (B. Walter et al., "Microfacet Models for Refraction through Rough Surfaces",
// 2007). `tint` and `uvOffset` are those of an instance. Channels that a layer of the effect feeds have no
// file and are left out. Relative paths are joined to `dataFolder`.
[[nodiscard]] ExportMaterial MaterialForExport(const SceneMaterial& material, Point4 tint, Point2 uvOffset,
                                               const std::string& dataFolder);

// Writes what a frame draws: every model of every particle of one group (0 to 4), or of all (negative), in
// its place, as a file of SceneExporter. What is hidden or has no opacity is left out; deformers act where
// the frame is drawn and not here. Where two models blend, the nearer one's materials count. Geometry that is
// on the graphics card is read back: the context must be current then. False with one sentence, and no file,
// when that fails or there is nothing to write.
[[nodiscard]] bool ExportScene(const DrawList& list, int group, const std::string& dataFolder,
                               const std::string& path, std::string& error);

} // namespace velorin
