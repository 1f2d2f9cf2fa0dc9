#include "render/ReadBack.h"

#include "render/FrameBuffers.h"
#include "render/gl/GLError.h"

#include <GL/glew.h>

namespace velorin {

bool ReadResult(const FrameBuffers& buffers, const std::function<bool(const std::uint16_t*)>& use) {
    const FrameBufferKey& key = buffers.key();
    glBindFramebuffer(GL_READ_FRAMEBUFFER, buffers.resultFramebuffer.name());
    glReadBuffer(GL_COLOR_ATTACHMENT0);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, buffers.readbackBuffer.name());
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glPixelStorei(GL_PACK_ROW_LENGTH, 0);
    glPixelStorei(GL_PACK_SKIP_ROWS, 0);
    glPixelStorei(GL_PACK_SKIP_PIXELS, 0);
    // Without a change of format the driver only copies.
    glReadPixels(0, 0, key.width, key.height, GL_RGBA, GL_HALF_FLOAT, nullptr);
    const auto* pixels = static_cast<const std::uint16_t*>(
        glMapBufferRange(GL_PIXEL_PACK_BUFFER, 0, GLsizeiptr{8} * key.width * key.height, GL_MAP_READ_BIT));
    const bool done = pixels && use(pixels);
    if (pixels) glUnmapBuffer(GL_PIXEL_PACK_BUFFER);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    return gl::CheckGLError("Renderer::EndRender", __LINE__) == 0 && done;
}

} // namespace velorin
