#include "render/FullScreenQuad.h"

#include <GL/glew.h>

#include <array>

namespace velorin {

namespace {
// x, y, u, v of the four corners.
constexpr std::array<GLfloat, 16> kCorners{1, 1, 1, 1, 1, -1, 1, 0, -1, 1, 0, 1, -1, -1, 0, 0};
constexpr GLsizei kStride = 4 * sizeof(GLfloat);
} // namespace

FullScreenQuad::FullScreenQuad() : array_(gl::VertexArray::New()), buffer_(gl::Buffer::New()) {
    glBindVertexArray(array_.name());
    glBindBuffer(GL_ARRAY_BUFFER, buffer_.name());
    glBufferData(GL_ARRAY_BUFFER, sizeof kCorners, kCorners.data(), GL_STATIC_DRAW);
    glEnableVertexAttribArray(0);
    glEnableVertexAttribArray(1);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, kStride, nullptr);
    glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, kStride, reinterpret_cast<const void*>(8));
    glBindVertexArray(0);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
}

void FullScreenQuad::Bind() const {
    glBindVertexArray(array_.name());
}

void FullScreenQuad::Draw() const {
    Bind();
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}

} // namespace velorin
