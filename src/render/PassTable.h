#pragma once

#include "render/RenderSettings.h"
#include "render/ShaderAssembly.h"

namespace velorin {

// What an output asks of the image pass.
struct OutputRow {
    Output output;
    MaterialPass pass; // None: the main pass, Image or in a draft Unlit
    bool singlePass;   // transparency is drawn as if solid, in one step
    Point4 clear;      // colour of empty pixels
};

[[nodiscard]] const OutputRow& RowOf(Output output);
[[nodiscard]] MaterialPass ImagePassOf(const RenderSettings& settings);

// A part of the frame in pixels; row 0 is the top.
struct TileRect {
    int x = 0, y = 0, width = 0, height = 0;
    friend bool operator==(const TileRect&, const TileRect&) = default;
};

// Tile `index` of `count` along a side of `size` pixels: the tiles differ by at most one pixel and leave no
// gap.
struct TileSpan {
    int start = 0, length = 0;
};
[[nodiscard]] TileSpan TileOf(int size, int count, int index);

// Where a tile is drawn: a GL viewport in samples of the image buffer, whose first sample is the tile's. It
// reaches over the tile as far as the frame does, so that nothing is cut at the borders between tiles: a
// polygon has its corners and lines where the whole frame has them.
struct TileViewport {
    int x = 0, y = 0, width = 0, height = 0;
    Matrix afterProjection; // from clip coordinates of the frame to those of the viewport
};
// `side`: samples in a pixel of the frame, along one axis. `margin`: samples around the frame that are drawn
// too. A frame that is larger than `maxWidth` by `maxHeight` samples is cut around the tile.
[[nodiscard]] TileViewport ViewportOf(const TileRect& tile, int side, int frameWidth, int frameHeight,
                                      int margin, int maxWidth, int maxHeight);

} // namespace velorin
