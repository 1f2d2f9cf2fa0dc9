#pragma once

#include "render/gl/Handles.h"

#include <cstdint>
#include <vector>

namespace velorin {

class TextureManager;
struct LayerTexture;

// Cubes and normal maps made from the pixels of host layers; made again when a layer has new pixels, and
// dropped when no frame asks for them any more.
class LayerDerivatives {
public:
    explicit LayerDerivatives(TextureManager& manager) : manager_(manager) {}

    [[nodiscard]] gl::Name Cube(const LayerTexture& layer) { return Get(layer, Kind::Cube); }
    [[nodiscard]] gl::Name Normals(const LayerTexture& layer) { return Get(layer, Kind::Normals); }
    void EndFrame();

private:
    enum class Kind : std::uint8_t { Cube, Normals };
    struct Entry {
        std::uint64_t revision = 0; // of the layer's pixels
        Kind kind = Kind::Cube;
        bool used = false;
        gl::Texture texture;
    };
    [[nodiscard]] gl::Name Get(const LayerTexture& layer, Kind kind);

    TextureManager& manager_;
    std::vector<Entry> entries_;
};

} // namespace velorin
