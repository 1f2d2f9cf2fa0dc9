#include "render/PickingData.h"

#include "render/FrameBuffers.h"
#include "render/RenderSettings.h"
#include "render/Renderer.h"
#include "render/gl/GLError.h"

#include <GL/glew.h>

#include <cstring>

namespace velorin {

namespace {

// One colour of the property pass through the read-back buffer.
void ReadColour(const FrameBuffers& buffers, GLenum colour, std::vector<float>& pixels) {
    const FrameBufferKey& key = buffers.key();
    pixels.resize(std::size_t{4} * static_cast<std::size_t>(key.width) *
                  static_cast<std::size_t>(key.height));
    const auto bytes = static_cast<GLsizeiptr>(pixels.size() * sizeof(float));
    glBindFramebuffer(GL_READ_FRAMEBUFFER, buffers.propertyFramebuffer.name());
    glReadBuffer(colour);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, buffers.readbackBuffer.name());
    glReadPixels(0, 0, key.width, key.height, GL_RGBA, GL_FLOAT, nullptr);
    if (const void* mapped = glMapBufferRange(GL_PIXEL_PACK_BUFFER, 0, bytes, GL_MAP_READ_BIT)) {
        std::memcpy(pixels.data(), mapped, static_cast<std::size_t>(bytes));
        glUnmapBuffer(GL_PIXEL_PACK_BUFFER);
    } else {
        pixels.assign(pixels.size(), 0);
    }
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
}

} // namespace

void PickingData::Read(FrameBuffers& buffers, const CameraState& camera) {
    width_ = buffers.key().width;
    height_ = buffers.key().height;
    inverseView_ = Inverse(camera.view);
    ReadColour(buffers, GL_COLOR_ATTACHMENT1, positions_);
    ReadColour(buffers, GL_COLOR_ATTACHMENT0, normals_);
    gl::CheckGLError("Renderer::handlePickingData", __LINE__);
}

bool PickingData::PickAt(int x, int y, PickResult& result) const {
    if (x < 0 || y < 0 || x >= width_ || y >= height_) return false;
    const std::size_t at =
        4 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x));
    const Point3 view{positions_[at + 1], positions_[at + 2], positions_[at + 3]};
    if (view.z >= 0) return false;
    const Point3 world = TransformPoint(view, inverseView_);
    const Point3 normal{normals_[at], normals_[at + 1], normals_[at + 2]};
    result.objectId = static_cast<std::uint32_t>(positions_[at] + 0.5f);
    result.worldX = world.x, result.worldY = world.y, result.worldZ = world.z;
    result.normalX = normal.x, result.normalY = normal.y, result.normalZ = normal.z;
    return Length(normal) > 0;
}

} // namespace velorin
