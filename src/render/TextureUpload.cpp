#include "render/TextureUpload.h"

#include "images/Dds.h"
#include "images/Image.h"
#include "render/Renderer.h"
#include "render/gl/GLError.h"
#include "render/gl/Sampling.h"

#include <GL/glew.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace velorin {

namespace {

// A new texture, bound to the active unit while the object lives; then what was bound there is again.
class BoundTexture {
public:
    BoundTexture() : texture_(gl::Texture::New()) {
        glGetIntegerv(GL_TEXTURE_BINDING_2D, &previous_);
        glGetIntegerv(GL_PIXEL_UNPACK_BUFFER_BINDING, &previousBuffer_);
        glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment_);
        glGetIntegerv(GL_UNPACK_ROW_LENGTH, &rowLength_);
        glBindTexture(GL_TEXTURE_2D, texture_.name());
        glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
        gl::DrainGLErrors();
    }
    ~BoundTexture() {
        glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(previous_));
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, static_cast<GLuint>(previousBuffer_));
        glPixelStorei(GL_UNPACK_ALIGNMENT, alignment_);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, rowLength_);
    }
    BoundTexture(const BoundTexture&) = delete;
    BoundTexture& operator=(const BoundTexture&) = delete;

    // Sets the sampling state and hands the texture out.
    [[nodiscard]] gl::Texture Finish(GLint levels, const DriverInfo& driver) {
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_BASE_LEVEL, 0);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, levels - 1);
        gl::SetSampling(GL_TEXTURE_2D, levels > 1 ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR, GL_LINEAR,
                        GL_REPEAT);
        if (driver.maxAnisotropy > 0)
            glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, driver.maxAnisotropy);
        if (gl::CheckGLError("TextureManager::LoadTexture", __LINE__) != 0) return {};
        return std::move(texture_);
    }

private:
    gl::Texture texture_;
    GLint previous_ = 0, previousBuffer_ = 0, alignment_ = 4, rowLength_ = 0;
};

bool Fits(std::uint32_t width, std::uint32_t height, const DriverInfo& driver) {
    const auto limit = static_cast<std::uint32_t>(std::max(driver.maxTextureSize, 1));
    return width > 0 && height > 0 && width <= limit && height <= limit;
}

// The bytes of all levels, one after the other, in a pixel-unpack buffer that is bound while the object
// lives.
class UnpackBuffer {
public:
    UnpackBuffer(const void* bytes, std::size_t size) : buffer_(gl::Buffer::New()) {
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, buffer_.name());
        glBufferData(GL_PIXEL_UNPACK_BUFFER, static_cast<GLsizeiptr>(size), bytes, GL_STREAM_DRAW);
    }
    ~UnpackBuffer() { glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0); }
    UnpackBuffer(const UnpackBuffer&) = delete;
    UnpackBuffer& operator=(const UnpackBuffer&) = delete;

private:
    gl::Buffer buffer_;
};

void SendLevel(GLint level, GLint format, std::uint32_t width, std::uint32_t height, GLenum type,
               std::size_t offset) {
    glTexImage2D(GL_TEXTURE_2D, level, format, static_cast<GLsizei>(width), static_cast<GLsizei>(height), 0,
                 GL_RGBA, type, reinterpret_cast<const void*>(offset));
}

// All levels down to 1 by 1, each the halved one before.
void SendOwnChain(const std::uint8_t* rgba, std::uint32_t width, std::uint32_t height, GLint format) {
    struct Level {
        std::uint32_t width, height;
        std::size_t offset;
    };
    std::vector<Level> levels;
    std::size_t size = 0;
    for (std::uint32_t w = width, h = height;; w = std::max(w / 2, 1u), h = std::max(h / 2, 1u)) {
        levels.push_back({w, h, size});
        size += std::size_t{w} * h * 4;
        if (w == 1 && h == 1) break;
    }
    std::vector<std::uint8_t> chain(size);
    std::memcpy(chain.data(), rgba, std::size_t{width} * height * 4);
    for (std::size_t i = 1; i < levels.size(); ++i)
        HalveBytes(&chain[levels[i - 1].offset], levels[i - 1].width, levels[i - 1].height,
                   &chain[levels[i].offset]);
    const UnpackBuffer buffer(chain.data(), chain.size());
    for (std::size_t i = 0; i < levels.size(); ++i)
        SendLevel(static_cast<GLint>(i), format, levels[i].width, levels[i].height, GL_UNSIGNED_BYTE,
                  levels[i].offset);
}

GLenum FormatOf(BlockFormat format) {
    switch (format) {
    case BlockFormat::Dxt1:
        return GL_COMPRESSED_RGBA_S3TC_DXT1_EXT;
    case BlockFormat::Dxt3:
        return GL_COMPRESSED_RGBA_S3TC_DXT3_EXT;
    case BlockFormat::Dxt5:
        break;
    }
    return GL_COMPRESSED_RGBA_S3TC_DXT5_EXT;
}

} // namespace

gl::Texture UploadBytes(const std::uint8_t* rgba, std::uint32_t width, std::uint32_t height, bool compress,
                        const DriverInfo& driver) {
    if (!Fits(width, height, driver)) return {};
    BoundTexture bound;
    const bool blocks = compress && GLEW_EXT_texture_compression_s3tc;
    const GLint format = blocks ? GL_COMPRESSED_RGBA_S3TC_DXT5_EXT : GL_RGBA8;
    if (driver.isAti) {
        SendOwnChain(rgba, width, height, format);
    } else {
        const UnpackBuffer buffer(rgba, std::size_t{width} * height * 4);
        SendLevel(0, format, width, height, GL_UNSIGNED_BYTE, 0);
        glGenerateMipmap(GL_TEXTURE_2D);
    }
    return bound.Finish(static_cast<GLint>(MipLevelCount(width, height)), driver);
}

gl::Texture UploadFloats(const float* rgba, std::uint32_t width, std::uint32_t height,
                         const DriverInfo& driver) {
    if (!Fits(width, height, driver)) return {};
    BoundTexture bound;
    const UnpackBuffer buffer(rgba, std::size_t{width} * height * 16);
    SendLevel(0, GL_RGBA16F, width, height, GL_FLOAT, 0);
    glGenerateMipmap(GL_TEXTURE_2D);
    return bound.Finish(static_cast<GLint>(MipLevelCount(width, height)), driver);
}

gl::Texture UploadBlocks(const DdsImage& image, std::size_t firstLevel, const DriverInfo& driver) {
    const DdsImage::Level& largest = image.levels[firstLevel];
    if (!Fits(largest.width, largest.height, driver)) return {};
    BoundTexture bound;
    std::vector<std::uint8_t> rgba;
    for (std::size_t i = firstLevel; i < image.levels.size(); ++i) {
        const DdsImage::Level& level = image.levels[i];
        const auto number = static_cast<GLint>(i - firstLevel);
        const auto width = static_cast<GLsizei>(level.width), height = static_cast<GLsizei>(level.height);
        if (GLEW_EXT_texture_compression_s3tc) {
            glCompressedTexImage2D(GL_TEXTURE_2D, number, FormatOf(image.format), width, height, 0,
                                   static_cast<GLsizei>(level.blocks.size()), level.blocks.data());
            continue;
        }
        rgba.resize(std::size_t{level.width} * level.height * 4);
        DecodeBlocks(image.format, level, rgba.data());
        glTexImage2D(GL_TEXTURE_2D, number, GL_RGBA8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                     rgba.data());
    }
    return bound.Finish(static_cast<GLint>(image.levels.size() - firstLevel), driver);
}

} // namespace velorin
