#pragma once

#include "platform/GLContext.h"
#include "render/FullScreenQuad.h"
#include "render/RenderStatistics.h"
#include "render/Renderer.h"
#include "render/TextureManager.h"

#include <GL/glew.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velorin::test {

// A texture manager in a context of its own, without a renderer.
class TextureTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    [[nodiscard]] TextureManager& manager() { return *manager_; }
    // Released when it goes.
    struct Release {
        TextureManager* manager;
        void operator()(TextureEntry* entry) const { manager->ReleaseTexture(entry); }
    };
    using Held = std::unique_ptr<TextureEntry, Release>;
    [[nodiscard]] Held Get(const std::string& path, std::uint32_t flags) {
        return Held(manager().GetTexture(path, flags), Release{&manager()});
    }

    // Four floats a texel, row 0 first; `target` is GL_TEXTURE_2D or a face of a cube.
    [[nodiscard]] static std::vector<float> Read(gl::Name texture, int level = 0,
                                                 GLenum target = GL_TEXTURE_2D);
    [[nodiscard]] static int LevelValue(gl::Name texture, int level, GLenum what,
                                        GLenum target = GL_TEXTURE_2D);
    [[nodiscard]] static int Parameter(gl::Name texture, GLenum what, GLenum target = GL_TEXTURE_2D);
    // A texture of `colour(u, v)` at the texels' centres.
    template <class Colour>
    [[nodiscard]] gl::Texture Paint(std::uint32_t width, std::uint32_t height, Colour colour) {
        std::vector<float> pixels;
        for (std::uint32_t y = 0; y < height; ++y)
            for (std::uint32_t x = 0; x < width; ++x) {
                const std::array<float, 4> c =
                    colour((static_cast<float>(x) + 0.5f) / static_cast<float>(width),
                           (static_cast<float>(y) + 0.5f) / static_cast<float>(height));
                pixels.insert(pixels.end(), c.begin(), c.end());
            }
        return manager().LoadFloatTexture(pixels.data(), width, height);
    }

    DriverInfo driver_;
    RenderStatistics statistics_;

private:
    std::optional<FullScreenQuad> quad_;
    std::unique_ptr<TextureManager> manager_;
};

} // namespace velorin::test
