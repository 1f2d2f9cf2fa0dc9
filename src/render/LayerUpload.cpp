#include "render/LayerTexture.h"
#include "render/Renderer.h"
#include "render/gl/GLError.h"
#include "render/gl/GLStateScope.h"
#include "render/gl/Sampling.h"
#include "services/Profiler.h"

#include <GL/glew.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

namespace velorin {

namespace {

struct LayerFormat {
    GLenum internalFormat, type;
};

bool FormatOf(std::uint32_t bytesPerChannel, LayerFormat& format) {
    switch (bytesPerChannel) {
    case 1:
        format = {GL_RGBA8, GL_UNSIGNED_BYTE};
        return true;
    case 2:
        format = {GL_RGBA16, GL_UNSIGNED_SHORT};
        return true;
    case 4:
        format = {GL_RGBA16F, GL_FLOAT};
        return true;
    default:
        return false;
    }
}

// Rows one behind the other, for a distance between rows that is no whole number of pixels.
std::vector<std::byte> Packed(const ImageHeader& image) {
    const std::size_t rowSize = std::size_t{4} * image.bytesPerChannel * image.width;
    std::vector<std::byte> pixels(rowSize * image.height);
    for (std::uint32_t y = 0; y < image.height; ++y)
        std::memcpy(pixels.data() + rowSize * y,
                    static_cast<const std::byte*>(image.data) + std::ptrdiff_t{image.rowBytes} * y, rowSize);
    return pixels;
}

// The host's 16-bit white is 32768; the driver's is 65535.
std::vector<std::uint16_t> FullRange(const ImageHeader& image) {
    const std::size_t channels = std::size_t{4} * image.width;
    std::vector<std::uint16_t> pixels(channels * image.height);
    for (std::uint32_t y = 0; y < image.height; ++y) {
        const auto* row = reinterpret_cast<const std::uint16_t*>(static_cast<const std::byte*>(image.data) +
                                                                 std::ptrdiff_t{image.rowBytes} * y);
        std::uint16_t* target = pixels.data() + channels * y;
        for (std::size_t i = 0; i < channels; ++i)
            target[i] =
                static_cast<std::uint16_t>((std::min<std::uint32_t>(row[i], 32768) * 65535u + 16384u) >> 15);
    }
    return pixels;
}

void SetSampling(float anisotropy) {
    gl::SetSampling(GL_TEXTURE_2D, GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, GL_REPEAT);
    if (anisotropy > 0) glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, anisotropy);
    // Stored as the host has them (alpha, red, green, blue); the sampler puts them in order.
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_R, GL_GREEN);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_G, GL_BLUE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_B, GL_ALPHA);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_A, GL_RED);
}

} // namespace

bool Renderer::UploadTexture(const ImageHeader& image, LayerTexture& layer) {
    VELORIN_PROFILE("Renderer", "UploadTexture");
    if (image.empty()) {
        layer.texture.Reset();
        layer.width = layer.height = layer.bytesPerChannel = 0;
        layer.revision = ++layerRevisions_;
        return true;
    }
    LayerFormat format{};
    const std::int64_t pixelBytes = std::int64_t{4} * image.bytesPerChannel;
    const auto limit = static_cast<std::uint32_t>(driver_.maxTextureSize);
    const bool possible = FormatOf(image.bytesPerChannel, format) && image.width <= limit &&
                          image.height <= limit && image.rowBytes >= pixelBytes * image.width;
    if (!possible) {
        (void)UploadTexture(ImageHeader{}, layer);
        return false;
    }

    const gl::GLStateScope state;
    gl::DrainGLErrors();
    const bool fits = layer.texture && layer.width == image.width && layer.height == image.height &&
                      layer.bytesPerChannel == image.bytesPerChannel;
    if (!fits) layer.texture = gl::Texture::New();
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, layer.texture.name());
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glPixelStorei(GL_UNPACK_SKIP_ROWS, 0);
    glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0);
    const auto width = static_cast<GLsizei>(image.width), height = static_cast<GLsizei>(image.height);
    if (!fits) {
        glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(format.internalFormat), width, height, 0, GL_RGBA,
                     format.type, nullptr);
        SetSampling(driver_.maxAnisotropy);
    }
    std::vector<std::uint16_t> converted;
    std::vector<std::byte> packed;
    const void* pixels = image.data;
    auto rowLength = static_cast<GLint>(image.rowBytes / pixelBytes);
    if (image.bytesPerChannel == 2) {
        converted = FullRange(image);
        pixels = converted.data();
        rowLength = width;
    } else if (image.rowBytes % pixelBytes != 0) {
        packed = Packed(image);
        pixels = packed.data();
        rowLength = width;
    }
    glPixelStorei(GL_UNPACK_ROW_LENGTH, rowLength);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, GL_RGBA, format.type, pixels);
    glGenerateMipmap(GL_TEXTURE_2D);
    layer.width = image.width;
    layer.height = image.height;
    layer.bytesPerChannel = image.bytesPerChannel;
    layer.revision = ++layerRevisions_;
    ++statistics_.textureUploads;
    if (gl::CheckGLError("Renderer::UploadTexture", __LINE__) == 0) return true;
    (void)UploadTexture(ImageHeader{}, layer);
    return false;
}

} // namespace velorin
