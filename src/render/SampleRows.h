#pragma once

#include <cstdint>
#include <vector>

namespace velorin {

inline constexpr std::uint32_t kSampleRowWidth = 512;
inline constexpr std::uint32_t kSampleRows = 24;

// The first row of six, and the samples in each, of one use.
struct SampleRowSet {
    int firstRow;
    int samples;
};
inline constexpr SampleRowSet kCubeFull{0, 512}, kCubeQuick{6, 128}, kSphereQuick{12, 196},
    kSphereFull{18, 512};

// Four floats (x, y, z, 0) a texel, row by row. Row r = 1 to 6 of each set has half-vectors around +z that
// follow the GGX distribution of roughness (r / 6)^2.8 in the cube sets and (r / 6)^3 in the others; there z
// is a weight, drawn out over 0 to 1. What lies behind a row's samples is 0. B. Walter et al., "Microfacet
// Models for Refraction through Rough Surfaces", 2007, eq. 35; the points are Hammersley's.
[[nodiscard]] std::vector<float> MakeSampleRows();

} // namespace velorin
