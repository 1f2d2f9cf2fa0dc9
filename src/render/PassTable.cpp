#include "render/PassTable.h"

#include <algorithm>
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

namespace {

// One axis of a viewport: its span, and clip coordinate of the frame * scale + shift = of the viewport.
struct ViewportSpan {
    int start = 0, length = 0;
    float scale = 1, shift = 0;
};

ViewportSpan SpanOf(int tileStart, int tileLength, int side, int frame, int margin, int limit) {
    const int samples = frame * side, origin = tileStart * side;
    ViewportSpan span{-origin - margin, samples + 2 * margin};
    if (span.length > limit) {
        const int last = span.start + span.length - limit;
        span.start = std::clamp((tileLength * side - limit) / 2, span.start, last);
        span.length = limit;
    }
    const auto length = static_cast<float>(span.length);
    span.scale = static_cast<float>(samples) / length;
    span.shift = static_cast<float>(samples - 2 * (origin + span.start) - span.length) / length;
    return span;
}

} // namespace

TileViewport ViewportOf(const TileRect& tile, int side, int frameWidth, int frameHeight, int margin,
                        int maxWidth, int maxHeight) {
    const ViewportSpan x = SpanOf(tile.x, tile.width, side, frameWidth, margin, maxWidth);
    const ViewportSpan y = SpanOf(tile.y, tile.height, side, frameHeight, margin, maxHeight);
    TileViewport result{x.start, y.start, x.length, y.length, {}};
    Matrix& m = result.afterProjection;
    m(0, 0) = x.scale;
    m(1, 1) = y.scale;
    m(3, 0) = x.shift; // times clip w
    m(3, 1) = y.shift;
    return result;
}

} // namespace velorin
