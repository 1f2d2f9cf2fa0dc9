#include "render/Renderer.h"

#include "platform/GLContext.h"
#include "render/FixedPrograms.h"
#include "render/FrameBuffers.h"
#include "render/FullScreenQuad.h"
#include "render/PickingData.h"
#include "render/PixelConversion.h"
#include "render/PostEffects.h"
#include "render/ReadBack.h"
#include "render/RenderSettings.h"
#include "render/RendererPrefs.h"
#include "render/TextDrawer.h"
#include "render/TextureManager.h"
#include "render/gl/GLError.h"
#include "render/gl/GLStateScope.h"
#include "services/Log.h"
#include "services/Profiler.h"

#include <GL/glew.h>

#include <algorithm>
#include <array>

namespace velorin {

namespace {

constexpr int kOldestVersion = 0x200;
constexpr int kTextHeight = 14; // pixels

// 4 in GLEW's numbering: without GLX. It is reported after everything else was loaded, so under EGL it means
// success.
constexpr GLenum kNoGlxDisplay = 4;

std::string GlString(GLenum name) {
    const GLubyte* text = glGetString(name);
    return text ? reinterpret_cast<const char*>(text) : "";
}

int VersionCode(const std::string& version) {
    if (version.size() <= 2) return 0;
    return (version[0] - '0') * 256 + (version[2] - '0');
}

int GetInt(GLenum name) {
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}

const char* Explain(InitError error) {
    switch (error) {
    case InitError::Done:
        return "";
    case InitError::NoWindow:
        return "The hidden window for OpenGL could not be made.";
    case InitError::NoDevice:
        return "There is no device to draw on.";
    case InitError::OldVersion:
        return "The graphics driver offers less than OpenGL 2.0; update it.";
    case InitError::LoaderFailed:
        return "The functions of OpenGL could not be loaded; reinstall the graphics driver.";
    case InitError::NoContext:
        return "No OpenGL 3.3 core context could be made; install or update the graphics driver.";
    case InitError::LimitsFault:
        return "The graphics driver failed when it was asked for its limits.";
    case InitError::ProgramsFault:
        return "The graphics driver failed while it built the programs.";
    case InitError::SeamlessFault:
        return "The graphics driver failed to turn on seamless cube maps.";
    case InitError::NotInitialised:
        return "The renderer has not been started.";
    }
    return "";
}

} // namespace

// Made by Init in this order and gone after Shutdown; members die last to first.
struct Renderer::Context {
    std::unique_ptr<GLContext> gl;
    std::unique_ptr<FixedPrograms> programs;
    std::unique_ptr<FullScreenQuad> quad;
    std::unique_ptr<TextureManager> textures;
    std::unique_ptr<TextDrawer> text;
    FrameBuffers frameBuffers;
};

struct Renderer::Frame {
    RenderSettings settings; // of the last time sample; its pointers are not used here
    PickingData picking;
};

Renderer::Renderer() : context_(std::make_unique<Context>()), frame_(std::make_unique<Frame>()) {
}

Renderer::~Renderer() {
    Shutdown();
}

TextureManager& Renderer::textures() {
    return *context_->textures;
}
FrameBuffers& Renderer::frameBuffers() {
    return context_->frameBuffers;
}
FixedPrograms& Renderer::programs() {
    return *context_->programs;
}
FullScreenQuad& Renderer::quad() {
    return *context_->quad;
}
TextDrawer& Renderer::text() {
    return *context_->text;
}

InitError Renderer::Init() {
    Shutdown();
    initError_ = InitGL();
    if (ready()) {
        ReadVideoMemory();
        context_->textures->SetTextureDetail(LoadRendererPrefs().renderPrefValue);
    }
    LogReport();
    return initError_;
}

std::string Renderer::InitMessage() const {
    if (initError_ == InitError::NoContext && !contextReason_.empty()) return contextReason_;
    return Explain(initError_);
}

InitError Renderer::InitGL() {
    contextReason_.clear();
    context_->gl = GLContext::Create(contextReason_);
    if (!context_->gl || !context_->gl->MakeCurrent()) return InitError::NoContext;
    gl::BeginContext();
    glewExperimental = GL_TRUE;
    const GLenum loaded = glewInit();
    if (loaded != GLEW_OK && loaded != kNoGlxDisplay) return InitError::LoaderFailed;
    gl::WatchDriver();
    gl::DrainGLErrors();
    if (const InitError error = ReadLimits(); error != InitError::Done) return error;

    context_->programs = std::make_unique<FixedPrograms>(statistics_);
    if (gl::CheckGLError("Renderer::InitGL", __LINE__) != 0) return InitError::ProgramsFault;
    context_->quad = std::make_unique<FullScreenQuad>();
    glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    if (gl::CheckGLError("Renderer::InitGL", __LINE__) != 0) return InitError::SeamlessFault;
    context_->textures = std::make_unique<TextureManager>(*context_->quad, driver_, statistics_);
    context_->text = std::make_unique<TextDrawer>("Arial", kTextHeight);
    return InitError::Done;
}

InitError Renderer::ReadLimits() {
    driver_ = {};
    driver_.vendor = GlString(GL_VENDOR);
    driver_.make = GlString(GL_RENDERER);
    driver_.version = GlString(GL_VERSION);
    driver_.versionCode = VersionCode(driver_.version);
    driver_.isAti = driver_.vendor.find("ATI ") != std::string::npos;
    if (driver_.versionCode < kOldestVersion) return InitError::OldVersion;
    driver_.maxTextureSize = GetInt(GL_MAX_TEXTURE_SIZE);
    std::array<GLint, 2> viewport{};
    glGetIntegerv(GL_MAX_VIEWPORT_DIMS, viewport.data());
    driver_.maxViewportWidth = viewport[0];
    driver_.maxViewportHeight = viewport[1];
    driver_.maxSamples = GetInt(GL_MAX_SAMPLES);
    driver_.textureMultisample = GLEW_ARB_texture_multisample || GLEW_VERSION_3_2;
    driver_.sampleShading = GLEW_ARB_sample_shading;
    if (driver_.textureMultisample) {
        driver_.maxColourTextureSamples = GetInt(GL_MAX_COLOR_TEXTURE_SAMPLES);
        if (driver_.maxColourTextureSamples == 0) driver_.maxColourTextureSamples = 16;
    }
    // The software rasteriser blurs even magnified textures when it is asked for anisotropy.
    const bool software = driver_.make.find("llvmpipe") != std::string::npos;
    if (GLEW_EXT_texture_filter_anisotropic && !software)
        glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, &driver_.maxAnisotropy);
    return gl::CheckGLError("Renderer::InitGL", __LINE__) == 0 ? InitError::Done : InitError::LimitsFault;
}

void Renderer::ReadVideoMemory() {
    constexpr int kUnknown = -1024;
    std::array<GLint, 4> free{0, kUnknown, 0, 0}; // kilobytes
    gl::DrainGLErrors();
    if (GLEW_NVX_gpu_memory_info) {
        glGetIntegerv(GL_GPU_MEMORY_INFO_DEDICATED_VIDMEM_NVX, &free[0]);
        glGetIntegerv(GL_GPU_MEMORY_INFO_CURRENT_AVAILABLE_VIDMEM_NVX, &free[1]);
    } else if (GLEW_ATI_meminfo) {
        glGetIntegerv(GL_TEXTURE_FREE_MEMORY_ATI, free.data());
    }
    if (glGetError() != GL_NO_ERROR) free[1] = kUnknown;
    driver_.videoMemoryTotalMB = free[0] / 1024;
    driver_.videoMemoryFreeMB = free[1] / 1024;
    gl::DrainGLErrors();
}

void Renderer::LogReport() const {
    Log("OpenGL Renderer");
    Log(" Vendor:      %s", driver_.vendor.c_str());
    Log(" Make:        %s", driver_.make.c_str());
    Log(" Version:     %d", driver_.versionCode);
    Log(" Error Code:  %d", static_cast<int>(initError_));
    Log("OpenCL Renderer");
    Log(" Error:\t%s", "no ray tracer");
}

void Renderer::Shutdown() {
    const bool existed = context_->gl != nullptr;
    if (existed) {
        Log("Shutting down OpenGL...");
        const bool current = context_->gl->MakeCurrent();
        if (current && ready()) {
            glUseProgram(0);
            glBindFramebuffer(GL_FRAMEBUFFER, 0);
            glBindVertexArray(0);
            glBindBuffer(GL_ARRAY_BUFFER, 0);
        }
        context_->text.reset();
        context_->textures.reset();
        context_->frameBuffers.Destroy();
        context_->quad.reset();
        context_->programs.reset();
        if (current && ready()) gl::FlushDeletedObjects();
        context_->gl->Release();
        context_->gl.reset();
    }
    *frame_ = Frame();
    driver_ = {};
    initError_ = InitError::NotInitialised;
}

bool Renderer::SetContext() {
    if (!context_->gl || !context_->gl->MakeCurrent()) return false;
    if (!ready()) return false;
    gl::CheckGLError("Renderer::SetContext", __LINE__);
    gl::FlushDeletedObjects();
    return true;
}

void Renderer::SetOutput(const OutputTarget& target) {
    output_ = target;
    SetFrameSize(target.width, target.height);
}

void Renderer::SetFrameSize(int width, int height) {
    width_ = width;
    height_ = height;
}

void Renderer::SetFrameSettings(const RenderSettings& settings) {
    frame_->settings = settings;
}

SetupResult Renderer::SetupRender(const RenderSettings& settings) {
    VELORIN_PROFILE("Renderer", "SetupRender");
    const gl::GLStateScope state;
    SetFrameSettings(settings);
    const FrameBufferKey key = KeyOf(settings, width_, height_, driver_, false);
    if (!context_->frameBuffers.Create(key, driver_, statistics_)) {
        SetFrameSize(1, 1);
        return SetupResult::SizeNotPossible;
    }
    return context_->frameBuffers.Clear() ? SetupResult::Done : SetupResult::FrameBufferFault;
}

void Renderer::BlendToFinal(float weight) {
    if (!context_->frameBuffers.exists()) return;
    VELORIN_PROFILE("Renderer", "BlendToFinal");
    {
        const gl::GLStateScope state;
        const PostEffects post(*context_->programs, *context_->quad, context_->frameBuffers);
        post.BlendToFinal(frame_->settings, weight);
        KeepPickingData();
    }
    gl::FlushDeletedObjects();
}

void Renderer::KeepPickingData() {
    if (frame_->settings.picking)
        frame_->picking.Read(context_->frameBuffers, frame_->settings.camera);
    else
        frame_->picking = PickingData();
}

bool Renderer::PickAt(int x, int y, PickResult& result) const {
    return frame_->picking.PickAt(x, y, result);
}

bool Renderer::ReadBack(bool argb, const std::function<bool(const std::uint16_t*)>& use) {
    FrameBuffers& buffers = context_->frameBuffers;
    if (!buffers.exists()) return false;
    const gl::GLStateScope state;
    const PostEffects post(*context_->programs, *context_->quad, buffers);
    if (!post.FinalOutput(frame_->settings, argb)) return false;

    VELORIN_PROFILE("Renderer", "FrameDownload");
    return ReadResult(buffers, use);
}

bool Renderer::EndRender() {
    const bool written = ReadBack(true, [this](const std::uint16_t* argb) {
        VELORIN_PROFILE("Renderer", "AddToBuffer");
        const FrameBufferKey& key = context_->frameBuffers.key();
        return WritePicture(argb, key.width, key.height, output_);
    });
    gl::FlushDeletedObjects();
    if (written) ++statistics_.frames;
    return written;
}

bool Renderer::ReadFrame(float* rgba) {
    return ReadBack(false, [&](const std::uint16_t* pixels) {
        const FrameBufferKey& key = context_->frameBuffers.key();
        ConvertHalves32(pixels, rgba,
                        std::size_t{4} * static_cast<std::size_t>(key.width) *
                            static_cast<std::size_t>(key.height));
        return true;
    });
}

} // namespace velorin
