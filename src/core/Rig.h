#pragma once

#include "core/FrameParams.h"
#include "model/ModelData.h"

#include <array>
#include <cstdint>
#include <list>
#include <map>
#include <span>
#include <string>
#include <string_view>

// Rigs: how the rows of "Aircraft Rig" drive the animation layers of a model.
namespace velorin {

// For each rig channel (see GroupParams::rig) the animation layer of the model that it drives; -1 for none.
using RigTable = std::array<std::int32_t, kRigChannelCount>;

// Of a model that no table names: channels 19 to 29 (Rig Control 0 to 10) drive the layers 0 to 10.
[[nodiscard]] const RigTable& DefaultRigTable();

// Tables by the model's file name in lower case (RigKey).
using RigTables = std::map<std::string, RigTable, std::less<>>;

// What a model's table is found by: the text behind ".qbndl>", else behind the last "/" or "\", in lower case
// (letters A to Z).
[[nodiscard]] std::string RigKey(std::string_view path);

// Adds the tables of a text to `tables`: a line is a model's file name, a colon, and up to 30 whole numbers
// parted by blanks or commas; channels that are not given drive nothing; "#" starts a comment. A later line
// for one name replaces the earlier. Lines that do not fit are left out; returns how many those were.
std::size_t ReadRigTables(std::string_view text, RigTables& tables);

// Transform of one mesh of a rigged model in its geometry's space, row vectors. `values` are the group's
// percents.
//
// A channel's value v in percent stands at v / 100 of the way through its layer's frames; the two nearest
// keys of the joint that bears the mesh's name are mixed, and the motion acts around the joint's place. What
// its parent joints do follows. A value below 0 mirrors the motion at the rest pose of the first frame.
// Channels act in their order. A layer of a single frame at 0 percent is left out. A mesh that no joint or
// track names stays.
[[nodiscard]] Matrix RigMatrix(std::span<const AnimationLayer> layers, const std::list<ModelJoint>& joints,
                               const std::string& mesh, const RigTable& table,
                               const std::array<float, kRigChannelCount>& values);

} // namespace velorin
