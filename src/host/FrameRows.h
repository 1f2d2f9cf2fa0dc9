#pragma once

#include "host/ParamReader.h"
#include "host/SequenceRecord.h"

namespace velorin {

struct DriverInfo;

// What the comp says of motion blur at the time of a call.
struct CompMotionBlur {
    bool compEnabled = false, layerEnabled = false; // switches
    float shutter = 0.5f;                           // comp shutter angle over 360
};
[[nodiscard]] CompMotionBlur ReadCompMotionBlur(PluginCall& call);

// The rows that stand once, at the reader's time, as plain values; camera left at its defaults but for its
// planes. Lights come from the comp and the rig of "Add Lighting". `driver` bounds multisampling.
[[nodiscard]] FrameRecord ReadFrameRecord(PluginCall& call, const ParamReader& rows,
                                          const DriverInfo& driver);

// The rows of the groups, the animation engine and the world transform into `params`; what it keeps over
// frames (models, surfaces, particles) stays. Playback sums are kept in `record`.
void ReadInstance(PluginCall& call, ParamReader& rows, SequenceRecord& record);

} // namespace velorin
