#include "render/PostEffects.h"

#include "render/FixedPrograms.h"
#include "render/FrameBuffers.h"
#include "render/FullScreenQuad.h"
#include "render/RenderSettings.h"
#include "render/gl/GLError.h"

#include <GL/glew.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace velorin {

namespace {

void BindUnit(int unit, const gl::Texture& texture) {
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
    glBindTexture(GL_TEXTURE_2D, texture.name());
}

// Directs drawing to one colour of a frame-sized target.
void BindTarget(const gl::Framebuffer& framebuffer, int colour, const FrameBufferKey& key) {
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer.name());
    glDrawBuffer(GL_COLOR_ATTACHMENT0 + static_cast<GLenum>(colour));
    glViewport(0, 0, key.width, key.height);
}

void PlainState() {
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_CULL_FACE);
    glDisable(GL_BLEND);
    glDisable(GL_SCISSOR_TEST);
    glDisable(GL_MULTISAMPLE);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
}

Point4 LinearBackground(const RenderSettings& settings) {
    const Point4 c = settings.backgroundColour;
    const auto linear = [&](float v) { return std::pow(std::max(v, 0.0f), settings.gamma); };
    return {linear(c.x), linear(c.y), linear(c.z), c.w};
}

bool HasScreenDof(DofMode mode) {
    return mode == DofMode::Preview || mode == DofMode::Continuous || mode == DofMode::Pixel ||
           mode == DofMode::FocusIndicator;
}

PassProgram DofProgram(DofMode mode) {
    switch (mode) {
    case DofMode::Preview:
        return PassProgram::DofPreview;
    case DofMode::Continuous:
        return PassProgram::DofContinuous;
    case DofMode::Pixel:
        return PassProgram::DofPixel;
    default:
        return PassProgram::DofFocus;
    }
}

} // namespace

bool IsDataOutput(const RenderSettings& settings) {
    return settings.output == Output::ZDepth || settings.output == Output::Normals ||
           settings.output == Output::Focus || settings.output == Output::WorldPosition;
}

MattePlane ComputeMattePlane(const MatteSettings& matte, const CameraState& camera) {
    MattePlane plane;
    plane.position = matte.position;
    const Matrix turn = ToMatrix(
        QuaternionFromEuler(-matte.rotationX * kRadiansPerDegree, -matte.rotationY * kRadiansPerDegree, 0));
    plane.direction = TransformDirection({0, 0, 1}, turn);
    if (matte.faceCamera) {
        // The camera looks along minus z of its view space; the plane stays at its distance along that axis.
        const Matrix inverseView = Inverse(camera.view);
        plane.direction = Normalized(TransformDirection({0, 0, -1}, inverseView));
        const Point3 eye = inverseView.translation();
        plane.position = eye + plane.direction * Dot(matte.position - eye, plane.direction);
    }
    if (!matte.invisibleFromBack && !matte.invertFromBack) return plane;

    const Point3 cameraToPlane = Normalized(plane.position - camera.position);
    if (matte.invertFromBack && Dot(cameraToPlane, plane.direction) < 0) plane.direction = -plane.direction;
    const float cosine = std::clamp(Dot(cameraToPlane, plane.direction) + matte.backOffset / 90, -1.0f, 1.0f);
    const float fade = matte.backFade * kRadiansPerDegree + 0.001f;
    plane.clipValue = 1 - std::clamp(std::acos(cosine) / fade, 0.0f, 1.0f);
    if (matte.invisibleFromBack) plane.clipValue = 1 - plane.clipValue;
    return plane;
}

Point2 PostEffects::TexelSize() const {
    return {1 / static_cast<float>(buffers_.key().width), 1 / static_cast<float>(buffers_.key().height)};
}

void PostEffects::BlendToFinal(const RenderSettings& settings, float weight) const {
    if (settings.output == Output::Glow && !settings.glow.enabled) return;
    PlainState();
    SampleToScratch(settings);
    Fxaa(settings.fxaa);
    if (HasScreenDof(settings.dof.mode) && settings.output != Output::Focus) ScreenDof(settings);
    MixIntoFinal(weight);
    gl::CheckGLError("Renderer::BlendToFinal", __LINE__);
}

void PostEffects::SampleToScratch(const RenderSettings& settings) const {
    BindTarget(buffers_.scratchFramebuffer, 0, buffers_.key());
    BindUnit(0, buffers_.resultColourTexture);
    if (settings.output == Output::WorldPosition) {
        WorldPosition(settings);
        return;
    }
    if (const BoundPass pass = programs_.Use(PassProgram::ColorCopy)) quad_.Draw();
}

void PostEffects::WorldPosition(const RenderSettings& settings) const {
    BindUnit(1, buffers_.idPositionTexture);
    const BoundPass pass = programs_.Use(PassProgram::WorldPosition);
    if (!pass) return;
    const MattePlane plane = ComputeMattePlane(settings.matte, settings.camera);
    pass.Set("inverseView", Inverse(settings.camera.view));
    pass.Set("mode", static_cast<int>(settings.matte.mode));
    pass.Set("doubleSided", settings.matte.doubleSided);
    pass.Set("invert", settings.matte.invert);
    pass.Set("clipVal", plane.clipValue);
    pass.Set("position", plane.position);
    pass.Set("direction", plane.direction);
    pass.Set("feather", settings.matte.feather);
    pass.Set("thickness", settings.matte.expansion);
    pass.Set("gamma", settings.matte.gamma);
    quad_.Draw();
}

void PostEffects::Fxaa(int iterations) const {
    for (int i = 0; i < iterations; ++i) {
        const BoundPass pass = programs_.Use(PassProgram::Fxaa);
        if (!pass) return;
        BindTarget(buffers_.resultFramebuffer, 0, buffers_.key());
        BindUnit(0, buffers_.scratchTexture0);
        pass.Set("texelSize", TexelSize());
        quad_.Draw();
        buffers_.Copy(buffers_.resultFramebuffer, buffers_.scratchFramebuffer);
    }
}

void PostEffects::ScreenDof(const RenderSettings& settings) const {
    const BoundPass pass = programs_.Use(DofProgram(settings.dof.mode));
    if (!pass) return;
    BindTarget(buffers_.resultFramebuffer, 0, buffers_.key());
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
    BindUnit(1, buffers_.idPositionTexture);
    BindUnit(0, buffers_.scratchTexture0);
    pass.Set("texelSize", TexelSize());
    pass.Set("projectionMatrix", settings.camera.projection);
    pass.Set("invViewMatrix", Inverse(settings.camera.view));
    pass.Set("dofProjectionMatrix", settings.dof.projection);
    pass.Set("dofViewMatrix", settings.dof.view);
    pass.Set("dofSpacing", settings.dof.spacing);
    pass.Set("downsample", settings.dof.downsample);
    pass.Set("samples", settings.dof.samples);
    pass.Set("depthThreshold", settings.dof.depthThreshold);
    quad_.Draw();
    buffers_.Copy(buffers_.resultFramebuffer, buffers_.scratchFramebuffer);
}

void PostEffects::MixIntoFinal(float weight) const {
    const BoundPass pass = programs_.Use(PassProgram::CopyColorProperty);
    if (!pass) return;
    BindTarget(buffers_.finalFramebuffer, 0, buffers_.key());
    constexpr std::array<GLenum, 2> kTargets{GL_COLOR_ATTACHMENT0, GL_COLOR_ATTACHMENT1};
    glDrawBuffers(2, kTargets.data());
    BindUnit(0, buffers_.scratchTexture0);
    BindUnit(1, buffers_.glowPropertyTexture);
    glEnable(GL_BLEND);
    glBlendFunc(GL_CONSTANT_COLOR, GL_ONE_MINUS_CONSTANT_COLOR);
    glBlendColor(weight, weight, weight, weight);
    quad_.Draw();
    glDisable(GL_BLEND);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
}

bool PostEffects::FinalOutput(const RenderSettings& settings, bool argb) const {
    const BoundPass pass = programs_.Use(PassProgram::FinalOutput);
    if (!pass) return false;
    PlainState();
    BindTarget(buffers_.resultFramebuffer, 0, buffers_.key());
    BindUnit(0, buffers_.finalColourTexture);
    pass.Set("bgColor", LinearBackground(settings));
    pass.Set("invertOrder", argb);
    pass.Set("invertChannels", false);
    pass.Set("invertY", 0);
    pass.Set("gammaCorrect", !IsDataOutput(settings));
    pass.Set("gamma", 1 / std::max(settings.gamma, 0.01f));
    pass.Set("highlightCompression", settings.highlightCompression);
    quad_.Draw();
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    return gl::CheckGLError("Renderer::EndRender", __LINE__) == 0;
}

} // namespace velorin
