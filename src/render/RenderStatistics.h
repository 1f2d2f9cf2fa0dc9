#pragma once

#include <cstdint>

namespace velorin {

// What the renderer did since it started; a caller compares two copies to see what a frame cost.
struct RenderStatistics {
    std::uint64_t meshUploads = 0;       // vertex and index data sent (one a mesh)
    std::uint64_t textureUploads = 0;    // images of materials and layers sent
    std::uint64_t uniformUploads = 0;    // model and material blocks sent
    std::uint64_t programsCompiled = 0;  // material and fixed programs linked
    std::uint64_t framebufferBuilds = 0; // times the frame buffer table was rebuilt
    std::uint64_t draws = 0;             // draw calls of meshes
    std::uint64_t frames = 0;            // calls of EndRender that delivered a picture
    friend bool operator==(const RenderStatistics&, const RenderStatistics&) = default;
};

} // namespace velorin
