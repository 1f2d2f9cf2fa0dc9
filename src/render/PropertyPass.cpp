#include "render/DrawRecord.h"
#include "render/FrameBuffers.h"
#include "render/RenderSettings.h"
#include "render/VelorinRendererState.h"
#include "render/gl/GLError.h"
#include "services/Profiler.h"

#include <GL/glew.h>

#include <array>

namespace velorin {

namespace {

// Binds colours of the property buffer and clears them and the depth.
void BindProperties(const FrameBuffers& buffers, const TileViewport& viewport,
                    std::span<const GLenum> colours) {
    glBindFramebuffer(GL_FRAMEBUFFER, buffers.propertyFramebuffer.name());
    glDrawBuffers(static_cast<GLsizei>(colours.size()), colours.data());
    glViewport(viewport.x, viewport.y, viewport.width, viewport.height);
    glClearColor(0, 0, 0, 0);
    glClearDepth(1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

PassFlags PropertyFlags(const RenderSettings& settings) {
    PassFlags flags;
    flags.translucentPass = true; // transparency is ignored: every surface has its place
    flags.propertyPass = true;
    flags.cameraOnly = true;
    flags.ignoreUnseen = !settings.picking;
    flags.globalWireframe = settings.polygonMode == PolygonMode::Wireframe;
    flags.flipWinding = settings.flipProjection;
    return flags;
}

} // namespace

bool VelorinRenderer::State::NeedsProperties(const RenderSettings& settings) {
    return (settings.ao.enabled && settings.ao.amount > 0) || settings.glow.enabled ||
           settings.dof.mode != DofMode::Off || settings.output == Output::WorldPosition || settings.picking;
}

void VelorinRenderer::State::DrawProperties(const RenderSettings& settings, const DrawList& list) {
    VELORIN_PROFILE("VelorinRenderer", "PropertyPass");
    const FrameBufferKey& key = buffers().key();
    const TileViewport viewport = ViewportOfTile(settings, {0, 0, key.width, key.height}, 1);
    manager.SetCamera(settings.camera.view, settings.camera.projection * viewport.afterProjection,
                      settings.camera.position);
    manager.state().viewportSize = {static_cast<float>(viewport.width), static_cast<float>(viewport.height)};
    // Lines and points have their size in pixels of the frame here, not in samples.
    manager.state().renderState.wireframeSupersample = 0;
    glPointSize(settings.pointSize / static_cast<float>(settings.gridSide()));
    manager.SetPass(MaterialPass::Property);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glDisable(GL_BLEND);
    glDisable(GL_MULTISAMPLE);

    PassFlags flags = PropertyFlags(settings);
    constexpr std::array<GLenum, 2> kGeometry{GL_COLOR_ATTACHMENT0, GL_COLOR_ATTACHMENT1};
    BindProperties(buffers(), viewport, kGeometry);
    drawer.DrawAll(list, groups, flags);

    if (settings.glow.enabled) {
        // The programs write colour 0, which this list of draw buffers turns to the third attachment.
        constexpr std::array<GLenum, 1> kGlow{GL_COLOR_ATTACHMENT2};
        BindProperties(buffers(), viewport, kGlow);
        manager.SetPass(MaterialPass::GlowProperty);
        glEnable(GL_BLEND);
        glBlendFuncSeparate(GL_CONSTANT_COLOR, GL_ONE_MINUS_CONSTANT_COLOR, GL_ONE, GL_ZERO);
        glBlendColor(1, 1, 1, 1);
        const auto picks = drawer.pickList().size();
        drawer.DrawAll(list, groups, flags);
        drawer.CutPickList(picks);
        glDisable(GL_BLEND);
    }
    if (settings.ao.sampleCount > 0 || settings.ao.maskSampleCount > 0)
        DrawMultisampledNormals(settings, list);
    manager.state().renderState.wireframeSupersample = 1;
    glPointSize(settings.pointSize);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    gl::CheckGLError("VelorinRenderer::startAAPropertyPass", __LINE__);
}

void VelorinRenderer::State::DrawMultisampledNormals(const RenderSettings& settings, const DrawList& list) {
    if (!buffers().propertyMultisampleFramebuffer) return;
    manager.SetPass(MaterialPass::Property);
    glBindFramebuffer(GL_FRAMEBUFFER, buffers().propertyMultisampleFramebuffer.name());
    glDrawBuffer(GL_COLOR_ATTACHMENT0);
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glEnable(GL_MULTISAMPLE);
    PassFlags flags = PropertyFlags(settings);
    const auto picks = drawer.pickList().size();
    drawer.DrawAll(list, groups, flags);
    drawer.CutPickList(picks);
    glDisable(GL_MULTISAMPLE);
}

// The term of a frame without occlusion: white everywhere.
void VelorinRenderer::State::ClearAmbientOcclusion() {
    glBindFramebuffer(GL_FRAMEBUFFER, buffers().aoFramebuffer.name());
    glDrawBuffer(GL_COLOR_ATTACHMENT0);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glClearColor(1, 1, 1, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
}

} // namespace velorin
