#include "render/SampleRows.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>

namespace velorin {

namespace {

// Bits in reverse as a fraction of 1.
float RadicalInverse(std::uint32_t bits) {
    bits = bits << 16 | bits >> 16;
    bits = (bits & 0x00FF00FFu) << 8 | (bits & 0xFF00FF00u) >> 8;
    bits = (bits & 0x0F0F0F0Fu) << 4 | (bits & 0xF0F0F0F0u) >> 4;
    bits = (bits & 0x33333333u) << 2 | (bits & 0xCCCCCCCCu) >> 2;
    bits = (bits & 0x55555555u) << 1 | (bits & 0xAAAAAAAAu) >> 1;
    return static_cast<float>(bits) * 2.3283064365386963e-10f; // 2^-32
}

void FillRow(std::span<float> row, int samples, float roughness) {
    const float square = roughness * roughness;
    for (int i = 0; i < samples; ++i) {
        const float xi = RadicalInverse(static_cast<std::uint32_t>(i));
        const float phi = static_cast<float>(i) / static_cast<float>(samples) * 6.2831855f;
        const float cosine = std::sqrt((1 - xi) / ((square - 1) * xi + 1));
        const float sine = std::sqrt(std::max(0.0f, 1 - cosine * cosine));
        float* texel = &row[static_cast<std::size_t>(i) * 4];
        texel[0] = std::cos(phi) * sine;
        texel[1] = std::sin(phi) * sine;
        texel[2] = cosine;
    }
}

// z becomes a weight from 0, at the row's widest sample, to 1.
void StretchWeights(std::span<float> row, int samples) {
    float least = 1;
    for (int i = 0; i < samples; ++i) least = std::min(least, row[static_cast<std::size_t>(i) * 4 + 2]);
    if (least >= 1) return;
    for (int i = 0; i < samples; ++i) {
        float& z = row[static_cast<std::size_t>(i) * 4 + 2];
        z = (z - least) / (1 - least);
    }
}

} // namespace

std::vector<float> MakeSampleRows() {
    constexpr std::size_t rowFloats = std::size_t{kSampleRowWidth} * 4;
    std::vector<float> rows(rowFloats * kSampleRows);
    for (const SampleRowSet& set : {kCubeFull, kCubeQuick, kSphereQuick, kSphereFull}) {
        const bool cube = set.firstRow < kSphereQuick.firstRow;
        for (int r = 1; r <= 6; ++r) {
            const auto row = std::span(rows).subspan(
                static_cast<std::size_t>(set.firstRow + r - 1) * rowFloats, rowFloats);
            FillRow(row, set.samples, std::pow(static_cast<float>(r) / 6, cube ? 2.8f : 3.0f));
            if (!cube) StretchWeights(row, set.samples);
        }
    }
    return rows;
}

} // namespace velorin
