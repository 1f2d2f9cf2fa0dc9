#pragma once

#include "model/ModelData.h"
#include "model/extrusion/PathSet.h"

#include <string>

namespace velorin {

class SceneModel;

// The bare export of an extrusion: positions and normals with y and z turned round, texture coordinates from
// the bottom, and for each group its material's number and its faces; no names, no library. What is imported
// again stands turned by half a turn about y. A file that cannot be written gives false and one sentence, and
// leaves the old one.
[[nodiscard]] bool WriteBareObj(const ModelData& model, const std::string& path, std::string& error);

// Builds the extrusion of a model of kind Extrusion (from the outlines of `layers`) or PathExtrusion afresh
// and writes it. For other kinds nothing happens, and all is well.
[[nodiscard]] bool ExportObj(const SceneModel& model, const std::string& dataFolder, const PathLayers& layers,
                             const std::string& path, std::string& error);

} // namespace velorin
