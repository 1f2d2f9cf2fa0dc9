#pragma once

#include "render/gl/Handles.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velorin {

class LayerDerivatives;
class TextureList;
class TextureManager;
struct EnvironmentSettings;
struct LayerTexture;

// A neutral studio for scenes whose environment has no picture, so that metal has something to reflect: soft
// light from above on a dim floor, a large soft box behind the viewer's left shoulder, a smaller one to the
// right and a strip behind the scene. Longitude and latitude as in TextureManager, RGBA, display-encoded with
// gamma 2.2.
[[nodiscard]] std::vector<float> StudioPicture(std::uint32_t width, std::uint32_t height);

// The environment of the frame: an equirectangular 2D texture for the Standard shader and, only when a
// Physical material asks, a cube whose levels are rougher from one to the next.
class EnvironmentMap {
public:
    EnvironmentMap(TextureManager& manager, TextureList& list, LayerDerivatives& derivatives);

    // At the start of a frame. `dataFolder` is what a relative path is joined to.
    void SetFrame(const EnvironmentSettings& settings, const std::string& dataFolder);
    [[nodiscard]] gl::Name flat();
    [[nodiscard]] gl::Name cube();

private:
    [[nodiscard]] gl::Name Studio();

    TextureManager& manager_;
    TextureList& list_;
    LayerDerivatives& derivatives_;
    std::string path_;                    // of the frame; empty: no file
    const LayerTexture* layer_ = nullptr; // of the frame
    gl::Texture studio_, studioCube_;
};

} // namespace velorin
