#pragma once

#include "render/gl/Handles.h"

#include <cstdint>

namespace velorin {

// The pixels of one host layer on the GPU, kept by its owner from frame to frame and refilled by
// Renderer::UploadTexture. It may die on any thread: its GL object then waits for the context.
struct LayerTexture {
    gl::Texture texture; // straight RGBA as the host shows it, with mips; empty when there are no pixels
    std::uint32_t width = 0, height = 0, bytesPerChannel = 0;
    // Another with each upload, and of no two layers the same: what is derived from the pixels is known by
    // it, since the driver gives the name of a deleted texture to the next.
    std::uint64_t revision = 0;

    [[nodiscard]] bool empty() const { return !texture; }
};

} // namespace velorin
