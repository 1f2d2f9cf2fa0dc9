#pragma once

#include "render/GlyphAtlas.h"
#include "render/gl/Handles.h"
#include "services/NxMath.h"

#include <optional>
#include <string>
#include <string_view>

namespace velorin {

// Draws lines of text over a picture: names and figures of the preview. The atlas of the font is made on the
// first use, so that a process that only renders needs no font. Without one nothing is drawn. All calls need
// the context of the renderer.
class TextDrawer {
public:
    // `pattern` as in BuildGlyphAtlas.
    TextDrawer(std::string pattern, int pixelHeight);

    // Another font from the next call on; the same one costs nothing.
    void SetFont(const std::string& pattern, int pixelHeight);
    // Of one line of UTF-8, in pixels.
    [[nodiscard]] int Width(std::string_view text);
    [[nodiscard]] int LineHeight();

    // Blends the text over the bound frame buffer, within its viewport. `baseline` is the pen of the first
    // character, y down, in the units that `projection` takes to clip coordinates, one a pixel; a line feed
    // goes back to its x, one line lower. The colour is straight. Leaves the GL state as it was.
    void Draw(std::string_view text, Point2 baseline, Point4 colour, const Matrix& projection);

    // The projection for a viewport of that many pixels whose target has the picture's top row first.
    [[nodiscard]] static Matrix PixelProjection(int width, int height);

private:
    [[nodiscard]] bool Load();
    [[nodiscard]] bool MakeObjects();

    std::string pattern_;
    int pixelHeight_ = 0;
    bool tried_ = false;
    std::optional<GlyphAtlas> atlas_;
    gl::Texture texture_;
    gl::Program program_;
    gl::VertexArray array_;
    gl::Buffer vertices_;
};

} // namespace velorin
