#pragma once

#include "host/ParamRow.h"

// The ten aux channels of one replicator group: each drives the meshes that are tagged with it.
namespace velorin::rows {

// Offsets from the group's base.
inline constexpr Row kAuxHeadRows[] = {
    Group(8000, "Aux Channels"),
};

// One channel, offsets from its own base; the head is named with the channel's number.
inline constexpr Row kAuxChannelRows[] = {
    Group(8002, "Channel"),
    OpenGroup(8016, "Position"),
    Float(8004, "Position X", -200000, 200000, 0, 2, 2.5e-06f),
    Float(8005, "Position Y", -200000, 200000, 0, 2, 2.5e-06f),
    Float(8006, "Position Z", -200000, 200000, 0, 2, 2.5e-06f),
    End(8017),
    Float(8007, "Scale", 0, 6000, 1, 2, 0.001f),
    Group(8008, "Rotation"),
    Angle(8010, "Rotation X"),
    Angle(8011, "Rotation Y"),
    Angle(8012, "Rotation Z"),
    End(8009),
    Percent(8013, "Force Opacity", 0, 100, 100, 1, 1),
    Float(8014, "UV Offset U", -100, 100, 0, 2, 0.001f),
    Float(8015, "UV Offset V", -100, 100, 0, 2, 0.001f),
    End(8003),
};

// Offsets from the group's base.
inline constexpr Row kAuxEndRows[] = {
    Control(8018, "Reset", 70),
    End(8001),
};

} // namespace velorin::rows
