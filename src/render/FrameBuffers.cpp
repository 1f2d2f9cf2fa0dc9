#include "render/FrameBuffers.h"

#include "render/RenderSettings.h"
#include "render/RenderStatistics.h"
#include "render/Renderer.h"
#include "render/gl/GLError.h"
#include "render/gl/Sampling.h"

#include <GL/glew.h>

#include <algorithm>
#include <array>
#include <bit>

namespace velorin {

namespace {

constexpr const char* kCreateName = "Renderer::CreateFrameBuffer";

gl::Texture MakeTarget(GLenum internalFormat, int width, int height) {
    gl::Texture texture = gl::Texture::New();
    glBindTexture(GL_TEXTURE_2D, texture.name());
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(internalFormat), width, height, 0, GL_RGBA, GL_FLOAT,
                 nullptr);
    gl::SetSampling(GL_TEXTURE_2D, GL_LINEAR, GL_LINEAR, GL_CLAMP_TO_EDGE);
    glBindTexture(GL_TEXTURE_2D, 0);
    return texture;
}

gl::Renderbuffer MakeRenderbuffer(GLenum format, int samples, int width, int height) {
    gl::Renderbuffer buffer = gl::Renderbuffer::New();
    glBindRenderbuffer(GL_RENDERBUFFER, buffer.name());
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, format, width, height);
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
    return buffer;
}

gl::Texture MakeLayers(GLenum internalFormat, GLenum format, GLint filter, int width, int height,
                       int layers) {
    gl::Texture texture = gl::Texture::New();
    glBindTexture(GL_TEXTURE_2D_ARRAY, texture.name());
    glTexImage3D(GL_TEXTURE_2D_ARRAY, 0, static_cast<GLint>(internalFormat), width, height, layers, 0, format,
                 GL_FLOAT, nullptr);
    gl::SetSampling(GL_TEXTURE_2D_ARRAY, filter, filter, GL_CLAMP_TO_EDGE);
    glBindTexture(GL_TEXTURE_2D_ARRAY, 0);
    return texture;
}

gl::Framebuffer BindNew() {
    gl::Framebuffer framebuffer = gl::Framebuffer::New();
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer.name());
    return framebuffer;
}

void AttachTexture(int colour, const gl::Texture& texture) {
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0 + static_cast<GLenum>(colour), GL_TEXTURE_2D,
                           texture.name(), 0);
}

void AttachRenderbuffer(GLenum attachment, const gl::Renderbuffer& buffer) {
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, attachment, GL_RENDERBUFFER, buffer.name());
}

// Of the bound frame buffer; unbinds it.
bool CheckComplete(int line) {
    const bool complete = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    const bool good = gl::CheckGLError(kCreateName, line) == 0;
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    return complete && good;
}

constexpr std::array<GLenum, 3> kColours{GL_COLOR_ATTACHMENT0, GL_COLOR_ATTACHMENT1, GL_COLOR_ATTACHMENT2};

// `check`: whether a fault ends the clearing.
bool ClearOne(const gl::Framebuffer& framebuffer, int colours, GLbitfield what, float alpha, bool check) {
    if (!framebuffer) return true;
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer.name());
    glDrawBuffers(colours, kColours.data());
    glClearColor(0, 0, 0, alpha);
    glClear(what);
    if (!check) return true;
    return gl::CheckGLError("Renderer::SetupRender", __LINE__) == 0 &&
           glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

// Copies colour 0 of `source` to colour `attachment` of `target`, resolving samples.
void CopyColour(const gl::Framebuffer& source, const gl::Framebuffer& target, unsigned attachment, int width,
                int height) {
    glBindFramebuffer(GL_READ_FRAMEBUFFER, source.name());
    glReadBuffer(GL_COLOR_ATTACHMENT0);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, target.name());
    glDrawBuffer(GL_COLOR_ATTACHMENT0 + attachment);
    glBlitFramebuffer(0, 0, width, height, 0, 0, width, height, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
}

} // namespace

int ClampSamples(int wished, int limit) {
    const int samples = std::min(wished, limit);
    return samples <= 0 ? 0 : static_cast<int>(std::bit_floor(static_cast<unsigned>(samples)));
}

FrameBufferKey KeyOf(const RenderSettings& settings, int width, int height, const DriverInfo& driver,
                     bool rayTracer) {
    FrameBufferKey key;
    key.width = width;
    key.height = height;
    const int side = settings.gridSide();
    key.imageWidth = (width + side - 1) / side * side;
    key.imageHeight = (height + side - 1) / side * side;
    key.sampleCount = ClampSamples(settings.sampleCount, driver.maxSamples);
    key.rayTracedShadows = settings.shadow.rayTraced && settings.shadow.rayLayers > 0 && rayTracer;
    key.rayShadowLayers = key.rayTracedShadows ? settings.shadow.rayLayers : 0;
    key.shadowMapSize = settings.shadow.mapSize;
    key.shadowMapLayers = settings.shadow.mapLayers;
    key.pointLights = settings.shadow.pointLights;
    if (settings.ao.enabled && !settings.ao.rayTraced && driver.textureMultisample)
        key.aoSampleCount = ClampSamples(std::max(settings.ao.sampleCount, settings.ao.maskSampleCount),
                                         driver.maxColourTextureSamples);
    key.reflections = settings.reflection.inUse;
    key.reflectionMapSize = key.reflections ? settings.reflection.mapSize : 0;
    key.picking = settings.picking;
    return key;
}

bool FrameBuffers::Create(const FrameBufferKey& key, const DriverInfo& driver, RenderStatistics& statistics) {
    if (exists() && key == key_) return true;
    if (key.width < 1 || key.height < 1 || key.width > driver.maxTextureSize ||
        key.height > driver.maxTextureSize)
        return false;
    Destroy();
    gl::FlushDeletedObjects(); // so that old and new targets do not stand side by side
    gl::DrainGLErrors();
    key_ = key;
    if (Build(statistics)) return true;
    Destroy();
    return false;
}

void FrameBuffers::Destroy() {
    *this = FrameBuffers();
}

bool FrameBuffers::Build(RenderStatistics& statistics) {
    ++statistics.framebufferBuilds;
    if (!BuildImage() || !BuildProperties() || !BuildPictures() || !BuildShadows() || !BuildReflections())
        return false;
    readbackBuffer = gl::Buffer::New();
    glBindBuffer(GL_PIXEL_PACK_BUFFER, readbackBuffer.name());
    glBufferData(GL_PIXEL_PACK_BUFFER, static_cast<GLsizeiptr>(key_.width) * key_.height * 16, nullptr,
                 GL_STREAM_READ);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    return gl::CheckGLError(kCreateName, __LINE__) == 0;
}

bool FrameBuffers::BuildImage() {
    imageDepth = MakeRenderbuffer(GL_DEPTH_COMPONENT24, key_.sampleCount, key_.imageWidth, key_.imageHeight);
    imageColour = MakeRenderbuffer(GL_RGBA16F, key_.sampleCount, key_.imageWidth, key_.imageHeight);
    imageFramebuffer = BindNew();
    AttachRenderbuffer(GL_DEPTH_ATTACHMENT, imageDepth);
    AttachRenderbuffer(GL_COLOR_ATTACHMENT0, imageColour);
    return CheckComplete(__LINE__);
}

bool FrameBuffers::BuildProperties() {
    propertyDepth = MakeRenderbuffer(GL_DEPTH_COMPONENT24, 0, key_.width, key_.height);
    normalDepthTexture = MakeTarget(GL_RGBA16F, key_.width, key_.height);
    // Half floats count objects to 2048 and place a point to a unit in 2000: too coarse for picking.
    idPositionTexture = MakeTarget(key_.picking ? GL_RGBA32F : GL_RGBA16F, key_.width, key_.height);
    glowPropertyTexture = MakeTarget(GL_RG16F, key_.width, key_.height);
    propertyFramebuffer = BindNew();
    AttachRenderbuffer(GL_DEPTH_ATTACHMENT, propertyDepth);
    AttachTexture(0, normalDepthTexture);
    AttachTexture(1, idPositionTexture);
    AttachTexture(2, glowPropertyTexture);
    if (!CheckComplete(__LINE__)) return false;
    if (key_.aoSampleCount <= 0) return true;

    propertyMultisampleTexture = gl::Texture::New();
    glBindTexture(GL_TEXTURE_2D_MULTISAMPLE, propertyMultisampleTexture.name());
    glTexImage2DMultisample(GL_TEXTURE_2D_MULTISAMPLE, key_.aoSampleCount, GL_RGBA16F, key_.width,
                            key_.height, GL_TRUE);
    glBindTexture(GL_TEXTURE_2D_MULTISAMPLE, 0);
    propertyMultisampleFramebuffer = BindNew();
    // Attachments must agree in their samples: where the image has another count, the normals get a depth of
    // their own.
    if (key_.sampleCount == key_.aoSampleCount) {
        AttachRenderbuffer(GL_DEPTH_ATTACHMENT, imageDepth);
    } else {
        propertyMultisampleDepth =
            MakeRenderbuffer(GL_DEPTH_COMPONENT24, key_.aoSampleCount, key_.width, key_.height);
        AttachRenderbuffer(GL_DEPTH_ATTACHMENT, propertyMultisampleDepth);
    }
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D_MULTISAMPLE,
                           propertyMultisampleTexture.name(), 0);
    return CheckComplete(__LINE__);
}

bool FrameBuffers::BuildPictures() {
    const auto target = [this](GLenum format) { return MakeTarget(format, key_.width, key_.height); };
    resultColourTexture = target(GL_RGBA16F);
    resultSecondTexture = target(GL_RGBA16F);
    resultFramebuffer = BindNew();
    AttachTexture(0, resultColourTexture);
    AttachTexture(1, resultSecondTexture);
    if (!CheckComplete(__LINE__)) return false;

    aoTexture = target(GL_R16F);
    aoFramebuffer = BindNew();
    AttachTexture(0, aoTexture);
    if (!CheckComplete(__LINE__)) return false;

    finalColourTexture = target(GL_RGBA16F);
    finalPropertyTexture = target(GL_RG16F);
    finalAoTexture = target(GL_R16F);
    finalFramebuffer = BindNew();
    AttachTexture(0, finalColourTexture);
    AttachTexture(1, finalPropertyTexture);
    AttachTexture(2, finalAoTexture);
    if (!CheckComplete(__LINE__)) return false;

    scratchTexture0 = target(GL_RGBA16F);
    scratchTexture1 = target(GL_RGBA16F);
    scratchFramebuffer = BindNew();
    AttachTexture(0, scratchTexture0);
    AttachTexture(1, scratchTexture1);
    if (!CheckComplete(__LINE__)) return false;

    if (key_.imageWidth == key_.width && key_.imageHeight == key_.height) return true;
    tileTexture = MakeTarget(GL_RGBA16F, key_.imageWidth, key_.imageHeight);
    tileFramebuffer = BindNew();
    AttachTexture(0, tileTexture);
    return CheckComplete(__LINE__);
}

bool FrameBuffers::BuildShadows() {
    if (key_.rayShadowLayers > 0)
        rayShadowArray =
            MakeLayers(GL_RGBA16F, GL_RGBA, GL_LINEAR, key_.width, key_.height, key_.rayShadowLayers);
    if (key_.shadowMapLayers <= 0) return gl::CheckGLError(kCreateName, __LINE__) == 0;
    shadowMapArray = MakeLayers(GL_DEPTH_COMPONENT24, GL_DEPTH_COMPONENT, GL_NEAREST, key_.shadowMapSize,
                                key_.shadowMapSize, key_.shadowMapLayers);
    shadowFramebuffer = BindNew();
    glDrawBuffer(GL_NONE);
    glReadBuffer(GL_NONE);
    glFramebufferTextureLayer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, shadowMapArray.name(), 0, 0);
    return CheckComplete(__LINE__);
}

bool FrameBuffers::BuildReflections() {
    if (!key_.reflections) return true;
    const int width = std::max(key_.width, key_.reflectionMapSize);
    const int height = std::max(key_.height, key_.reflectionMapSize);
    reflectionColour = MakeRenderbuffer(GL_RGBA16F, key_.sampleCount, width, height);
    reflectionFramebuffer = BindNew();
    // The image's depth serves as long as it is as large.
    if (width == key_.imageWidth && height == key_.imageHeight) {
        AttachRenderbuffer(GL_DEPTH_ATTACHMENT, imageDepth);
    } else {
        reflectionDepth = MakeRenderbuffer(GL_DEPTH_COMPONENT24, key_.sampleCount, width, height);
        AttachRenderbuffer(GL_DEPTH_ATTACHMENT, reflectionDepth);
    }
    AttachRenderbuffer(GL_COLOR_ATTACHMENT0, reflectionColour);
    return CheckComplete(__LINE__);
}

bool FrameBuffers::Clear() const {
    glViewport(0, 0, key_.width, key_.height);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glDepthMask(GL_TRUE);
    glDisable(GL_SCISSOR_TEST);
    glClearDepth(1);
    constexpr GLbitfield kBoth = GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT;
    const bool good = ClearOne(imageFramebuffer, 1, kBoth, 0, false) &&
                      ClearOne(aoFramebuffer, 1, GL_COLOR_BUFFER_BIT, 1, false) &&
                      ClearOne(scratchFramebuffer, 2, kBoth, 0, false) &&
                      ClearOne(finalFramebuffer, 3, kBoth, 0, true) &&
                      ClearOne(resultFramebuffer, 2, GL_COLOR_BUFFER_BIT, 0, true) &&
                      ClearOne(propertyFramebuffer, 3, GL_COLOR_BUFFER_BIT, 0, true) &&
                      ClearOne(propertyMultisampleFramebuffer, 1, GL_COLOR_BUFFER_BIT, 0, true);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    return good;
}

void FrameBuffers::ResolveImage(const gl::Framebuffer& target) const {
    Copy(imageFramebuffer, target);
}

const gl::Texture& FrameBuffers::ResolveTile() const {
    CopyColour(imageFramebuffer, tileFramebuffer ? tileFramebuffer : scratchFramebuffer, 0, key_.imageWidth,
               key_.imageHeight);
    return tileFramebuffer ? tileTexture : scratchTexture0;
}

void FrameBuffers::Copy(const gl::Framebuffer& source, const gl::Framebuffer& target,
                        unsigned attachment) const {
    CopyColour(source, target, attachment, key_.width, key_.height);
}

} // namespace velorin
