#pragma once

#include <memory>

namespace velorin::gl {

// Guest manners inside one context: takes every piece of GL state that this room changes and puts it back
// when it dies. Objects deleted meanwhile come back as unbound. Covered: program; vertex array; array, pixel
// pack and unpack and uniform buffers (with the indexed bindings 0 to 5); draw and read frame buffers, render
// buffer; active unit and the textures of units 0 to 17 and of the last unit (2D, cube, 2D array, 2D
// multisample); pixel store; viewport, scissor; blend, depth, cull, front face, polygon mode and offset,
// point size, colour mask and clear values; multisample, sample shading, depth clamp, seamless cube maps,
// rasterizer discard, frame buffer sRGB.
class GLStateScope {
public:
    GLStateScope();
    ~GLStateScope();
    GLStateScope(const GLStateScope&) = delete;
    GLStateScope& operator=(const GLStateScope&) = delete;

private:
    struct Saved;
    std::unique_ptr<Saved> saved_;
};

} // namespace velorin::gl
