#pragma once

#include "model/ModelData.h"

#include <cstddef>
#include <cstdint>

// The parts of a model record that reading and writing share.
namespace velorin::record {

// The first version that has a part.
inline constexpr std::uint32_t kLayers = 4;
inline constexpr std::uint32_t kMaterialProperties = 5;
inline constexpr std::uint32_t kMeshTracks = 6;
inline constexpr std::uint32_t kMeshBounds = 7;
inline constexpr std::uint32_t kSampleRotation = 8;
inline constexpr std::uint32_t kSamplePadding = 9; // 4 bytes without a meaning, in versions 9 and 10
inline constexpr std::uint32_t kInterpolation = 11;

// The members of a material that are stored behind its name, in their order.
inline constexpr Point3 ModelMaterial::*kColours[] = {&ModelMaterial::colour1, &ModelMaterial::colour2,
                                                      &ModelMaterial::colour3, &ModelMaterial::colour4,
                                                      &ModelMaterial::colour5};
inline constexpr float ModelMaterial::*kValues[] = {
    &ModelMaterial::value6,  &ModelMaterial::value7,  &ModelMaterial::value8,  &ModelMaterial::value9,
    &ModelMaterial::value10, &ModelMaterial::value11, &ModelMaterial::value12, &ModelMaterial::value13};

inline constexpr std::size_t kLayerKeySize = 28;
inline constexpr std::size_t kKeyFlagsSize = 9;
static_assert(sizeof(LayerKey) == kLayerKeySize);
static_assert(sizeof(TrackSample::hasKey) == kKeyFlagsSize && sizeof(TrackSample::channels) == 192);

} // namespace velorin::record
