#pragma once

#include "core/document/BevelSettings.h"
#include "services/ByteReader.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velorin {

// A bevel preset file (".qbv"): the container of a material preset with the tags of one bevel and a picture.
struct BevelPreset {
    BevelSettings bevel;
    std::vector<std::uint8_t> thumbnail; // RGBA pixels, 105 by 63; may be empty
};

// Written beside its place and renamed over it. False when it cannot be written, or when the picture has more
// than 65,535 bytes; `error` then says why.
[[nodiscard]] bool WriteBevelPreset(const std::string& path, const BevelPreset& preset,
                                    std::string* error = nullptr);

// False, with the preset as it was, when the file is missing, its magic is refused or it holds no bevel.
[[nodiscard]] bool ReadBevelPreset(const std::string& path, BevelPreset& preset);
[[nodiscard]] bool ReadBevelPresetBytes(Bytes bytes, BevelPreset& preset);

} // namespace velorin
