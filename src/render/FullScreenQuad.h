#pragma once

#include "render/gl/Handles.h"

namespace velorin {

// The quad of all full-screen passes: clip coordinates in attribute 0 and texture coordinates 0..1 in
// attribute 1, both with their origin at row 0 of the target; a triangle strip, clockwise as everything else
// here.
class FullScreenQuad {
public:
    FullScreenQuad();
    void Bind() const; // the vertex array
    void Draw() const; // Bind, then the strip with the current program
    [[nodiscard]] gl::Name vertexArray() const { return array_.name(); }

private:
    gl::VertexArray array_;
    gl::Buffer buffer_;
};

} // namespace velorin
