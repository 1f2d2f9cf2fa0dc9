#pragma once

#include "host/AEPlugin.h"
#include "model/extrusion/PathSet.h"

namespace velorin {

class ParamReader;

// The outlines of the layers that the rows "Path Layer 1" to 15 name, at the call's time: the letters of a
// text layer, the closed masks of any other, in layer pixels (x right, y down). A row whose outlines are the
// same as those it holds keeps its object. What the host refuses leaves the row's set without paths.
void ReadPathLayers(PluginCall& call, const ParamReader& rows, AEGP_PluginID pluginId, PathLayers& layers);

} // namespace velorin
