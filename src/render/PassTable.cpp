#include "render/PassTable.h"

#include <array>

namespace velorin {

namespace {

constexpr Point4 kClear{0, 0, 0, 0}, kWhite4{1, 1, 1, 1}, kBlack{0, 0, 0, 1};

constexpr std::array kRows{
    OutputRow{Output::Composite, MaterialPass::None, false, kClear},
    OutputRow{Output::ZDepth, MaterialPass::ZDepth, true, kClear},
    OutputRow{Output::Normals, MaterialPass::Normals, true, kClear},
    OutputRow{Output::AmbientOcclusion, MaterialPass::AmbientOcclusion, true, kWhite4},
    OutputRow{Output::Diffuse, MaterialPass::Diffuse, false, kClear},
    OutputRow{Output::Specular, MaterialPass::Specular, false, kClear},
    OutputRow{Output::Refraction, MaterialPass::Refraction, false, kClear},
    OutputRow{Output::Reflection, MaterialPass::Reflection, false, kClear},
    OutputRow{Output::Lighting, MaterialPass::Lighting, false, kClear},
    OutputRow{Output::Illumination, MaterialPass::Illumination, false, kClear},
    OutputRow{Output::Focus, MaterialPass::Focus, true, kClear},
    OutputRow{Output::Glow, MaterialPass::None, false, kClear},
    OutputRow{Output::WorldPosition, MaterialPass::WorldPosition, true, kClear},
    OutputRow{Output::Shadows, MaterialPass::Shadows, false, kWhite4},
    OutputRow{Output::SubSurface, MaterialPass::SubSurface, false, kClear},
    OutputRow{Output::Shading, MaterialPass::Shading, false, kClear},
    OutputRow{Output::BlendMode, MaterialPass::None, false, kClear},
    OutputRow{Output::Wireframe, MaterialPass::None, false, kBlack},
    OutputRow{Output::DynamicReflection, MaterialPass::DynamicReflection, false, kClear}};

} // namespace

const OutputRow& RowOf(Output output) {
    for (const OutputRow& row : kRows)
        if (row.output == output) return row;
    return kRows.front();
}

MaterialPass ImagePassOf(const RenderSettings& settings) {
    const OutputRow& row = RowOf(settings.output);
    if (row.pass != MaterialPass::None) return row.pass;
    return settings.draft() ? MaterialPass::Unlit : MaterialPass::Image;
}

TileSpan TileOf(int size, int count, int index) {
    TileSpan span;
    for (int i = 0; i <= index; ++i) {
        span.start += span.length;
        span.length = (size - span.start) / (count - i);
    }
    return span;
}

Matrix TileProjection(const TileRect& tile, int frameWidth, int frameHeight) {
    const auto width = static_cast<float>(frameWidth), height = static_cast<float>(frameHeight);
    const float scaleX = width / static_cast<float>(tile.width);
    const float scaleY = height / static_cast<float>(tile.height);
    // The tile's centre in clip coordinates of the whole frame.
    const float centreX = (2 * static_cast<float>(tile.x) + static_cast<float>(tile.width)) / width - 1;
    const float centreY = (2 * static_cast<float>(tile.y) + static_cast<float>(tile.height)) / height - 1;
    Matrix m;
    m(0, 0) = scaleX;
    m(1, 1) = scaleY;
    m(3, 0) = -centreX * scaleX; // times clip w
    m(3, 1) = -centreY * scaleY;
    return m;
}

} // namespace velorin
