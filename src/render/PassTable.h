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

// Moves and scales clip coordinates so that the tile fills the whole target; acts after the projection.
[[nodiscard]] Matrix TileProjection(const TileRect& tile, int frameWidth, int frameHeight);

} // namespace velorin
