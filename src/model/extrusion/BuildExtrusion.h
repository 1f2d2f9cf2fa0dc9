#pragma once

#include "core/document/SceneModel.h" // ExtrusionOptions
#include "model/ModelData.h"
#include "model/extrusion/PathSet.h"

namespace velorin {

// Turns flat outlines into a solid: one mesh a separate object, one group and one material ("Bevel 1", ...) a
// shell, tangents computed, normalised. Frame: x right, y down, z away; the front caps face -z. Outlines
// without points, or a `scale` whose z is 0.001 or less, leave the model without geometry.
//
// Lengths of the bevels are in hundredths of the larger extent of the paths when `autoPresetScale` is on (the
// paths are brought to pathSet.scale), else in the paths' own units.
void BuildExtrusion(ModelData& model, const PathSet& pathSet, const ExtrusionOptions& options, Point3 scale);

// The heights and distances that one shell is built with, in units of the paths.
struct ShellMeasures {
    float z = 0;         // level of the front, the most negative
    float thickness = 0; // from front to back
    float depth =
        0; // of the bevel: above 0 the cap stands before the wall, below 0 it is sunk behind the rim
    bool backside = false;
    bool outline = false;
    float cap = 0, wall = 0; // distances that outlines move out of the material at the cap and at the wall
    float innerCap = 0, innerWall = 0; // the same for the inner rim of an outline bevel
    float curve = 0;
    int segments = 0;
};
// All shells of an extrusion, with relative offsets resolved.
[[nodiscard]] std::vector<ShellMeasures> MeasureShells(const ExtrusionOptions& options);

} // namespace velorin
