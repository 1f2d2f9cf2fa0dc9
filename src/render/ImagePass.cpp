#include "render/DrawRecord.h"
#include "render/FixedPrograms.h"
#include "render/FrameBuffers.h"
#include "render/FullScreenQuad.h"
#include "render/RenderSettings.h"
#include "render/Renderer.h"
#include "render/VelorinRendererState.h"
#include "render/gl/GLError.h"
#include "services/Profiler.h"

#include <GL/glew.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace velorin {

namespace {

// Directs drawing to the image with its samples.
void BindImage(const FrameBuffers& buffers, const TileViewport& viewport) {
    glBindFramebuffer(GL_FRAMEBUFFER, buffers.imageFramebuffer.name());
    glDrawBuffer(GL_COLOR_ATTACHMENT0);
    glViewport(viewport.x, viewport.y, viewport.width, viewport.height);
    glEnable(GL_MULTISAMPLE);
    glEnable(GL_DEPTH_TEST);
}

void ColourMask(bool on) {
    const GLboolean write = on ? GL_TRUE : GL_FALSE;
    glColorMask(write, write, write, write);
}

} // namespace

void VelorinRenderer::State::DrawImage(const RenderSettings& settings, const DrawList& list,
                                       const SceneView& view) {
    VELORIN_PROFILE("VelorinRenderer", "ImagePass");
    const FrameBufferKey& key = buffers().key();
    const int side = settings.gridSide();
    for (int row = 0; row < side; ++row) {
        const TileSpan y = TileOf(key.height, side, row);
        for (int column = 0; column < side; ++column) {
            const TileSpan x = TileOf(key.width, side, column);
            if (x.length > 0 && y.length > 0)
                DrawTile(settings, list, view, {x.start, y.start, x.length, y.length});
        }
    }
    gl::CheckGLError("VelorinRenderer::startImagePass", __LINE__);
}

TileViewport VelorinRenderer::State::ViewportOfTile(const RenderSettings& settings, const TileRect& tile,
                                                    int side) const {
    // Cutting a polygon at the viewport's border makes new corners, which a cloud of points must not show.
    const int margin = settings.polygonMode == PolygonMode::Points
                           ? static_cast<int>(std::ceil(settings.pointSize / 2)) + 1
                           : 0;
    const FrameBufferKey& key = buffers().key();
    return ViewportOf(tile, side, key.width, key.height, margin, renderer.driver().maxViewportWidth,
                      renderer.driver().maxViewportHeight);
}

void VelorinRenderer::State::DrawTile(const RenderSettings& settings, const DrawList& list,
                                      const SceneView& view, const TileRect& tile) {
    const OutputRow& output = RowOf(settings.output);
    const TileViewport viewport = ViewportOfTile(settings, tile, settings.gridSide());
    manager.SetPass(ImagePassOf(settings));
    const float scale = 1 / static_cast<float>(settings.gridSide());
    manager.SetCamera(view.view, view.projection * viewport.afterProjection, view.eyeWorld, {scale, scale},
                      {static_cast<float>(tile.x), static_cast<float>(tile.y)});
    manager.state().viewportSize = {static_cast<float>(viewport.width), static_cast<float>(viewport.height)};
    // Shadows are lit as long as no pass fills their textures.
    RenderStateBlock& state = manager.state().renderState;
    state.ambientOcclusion = 1;
    state.rayTracedShadows = 0;
    state.shadowMaps = 0;
    RenderManager::BindTexture(TextureUnit::ShadowMaps, GL_TEXTURE_2D_ARRAY, defaults.litShadowArray.name());
    RenderManager::BindTexture(TextureUnit::RayShadows, GL_TEXTURE_2D_ARRAY,
                               defaults.litRayShadowArray.name());
    RenderManager::BindTexture(TextureUnit::PointShadows, GL_TEXTURE_CUBE_MAP, defaults.litShadowCube.name());
    RenderManager::BindTexture(TextureUnit::AmbientOcclusion, GL_TEXTURE_2D, buffers().aoTexture.name());

    PassFlags flags;
    flags.filterByBlend = true;
    flags.cameraOnly = true;
    flags.additiveStep = flags.screenStep = output.singlePass;
    flags.flipWinding = view.mirrored;
    flags.globalWireframe = settings.polygonMode == PolygonMode::Wireframe;

    BindImage(buffers(), viewport);
    glDisable(GL_BLEND);
    ColourMask(true);
    glDepthMask(GL_TRUE);
    glClearColor(output.clear.x, output.clear.y, output.clear.z, output.clear.w);
    glClearDepth(1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    const bool preview = settings.blendOpacity != BlendOpacity::Normal;
    if (output.singlePass) {
        // What is half transparent stands alone, but premultiplied like everything that is resolved and
        // filtered.
        glEnable(GL_BLEND);
        glBlendFuncSeparate(GL_SRC_ALPHA, GL_ZERO, GL_ONE, GL_ZERO);
    }
    if (!preview) DrawSolid(settings, list, flags);
    glDisable(GL_BLEND);
    if (settings.environment.showBackground && settings.output == Output::Composite)
        DrawBackground(settings, view);
    if (flags.hasTranslucent || preview) DrawTranslucent(settings, list, flags);
    glDisable(GL_MULTISAMPLE);
    StoreImageResult(settings, tile, 0);
    if (output.singlePass || preview) return;
    for (const int step : {1, 2}) {
        if (!(step == 1 ? flags.hasAdditive : flags.hasScreen)) continue;
        BindImage(buffers(), viewport);
        DrawBlendStep(settings, list, flags, step);
        StoreImageResult(settings, tile, step);
    }
}

void VelorinRenderer::State::DrawSolid(const RenderSettings& settings, const DrawList& list,
                                       PassFlags& flags) {
    ColourMask(settings.output != Output::BlendMode);
    drawer.DrawAll(list, groups, flags);
    ColourMask(true);
}

void VelorinRenderer::State::DrawTranslucent(const RenderSettings& settings, const DrawList& list,
                                             PassFlags& flags) {
    flags.translucentPass = true;
    flags.onlyTranslucent = settings.blendOpacity == BlendOpacity::Normal;
    glEnable(GL_BLEND);
    switch (settings.blendOpacity) {
    case BlendOpacity::Normal:
        glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
        break;
    case BlendOpacity::Additive:
        glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
        glDepthMask(GL_FALSE);
        break;
    case BlendOpacity::Screen:
        glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_COLOR, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
        glDepthMask(GL_FALSE);
        break;
    }
    drawer.DrawAll(list, groups, flags);
    glDepthMask(GL_TRUE);
    glDisable(GL_BLEND);
    flags.translucentPass = flags.onlyTranslucent = false;
}

void VelorinRenderer::State::DrawBlendStep(const RenderSettings& settings, const DrawList& list,
                                           PassFlags flags, int step) {
    manager.SetPass(ImagePassOf(settings));
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
    glEnable(GL_BLEND);
    glDepthMask(GL_FALSE);
    flags.additiveStep = step == 1;
    flags.screenStep = step == 2;
    glBlendFuncSeparate(GL_SRC_ALPHA, step == 1 ? GL_ONE : GL_ONE_MINUS_SRC_COLOR, GL_ONE,
                        GL_ONE_MINUS_SRC_ALPHA);
    drawer.DrawAll(list, groups, flags);
    glDepthMask(GL_TRUE);
    glDisable(GL_BLEND);
    glDisable(GL_MULTISAMPLE);
}

void VelorinRenderer::State::StoreImageResult(const RenderSettings& settings, const TileRect& tile,
                                              int blendStep) {
    const int side = settings.gridSide();
    if (side == 1 && blendStep == 0) {
        buffers().ResolveImage(buffers().resultFramebuffer);
        return;
    }
    const gl::Texture& samples = buffers().ResolveTile();
    const BoundPass pass = renderer.programs().Use(PassProgram::Resolve);
    if (!pass) return;
    glBindFramebuffer(GL_FRAMEBUFFER, buffers().resultFramebuffer.name());
    constexpr std::array<GLenum, 2> kColours{GL_COLOR_ATTACHMENT0, GL_COLOR_ATTACHMENT1};
    glDrawBuffers(2, kColours.data());
    glViewport(tile.x, tile.y, tile.width, tile.height);
    RenderManager::BindTexture(TextureUnit::Normal, GL_TEXTURE_2D, buffers().scratchTexture1.name());
    RenderManager::BindTexture(TextureUnit::Diffuse, GL_TEXTURE_2D, samples.name());
    pass.Set("numSamples", side);
    pass.Set("tileOrigin", Point2{static_cast<float>(tile.x), static_cast<float>(tile.y)});
    pass.Set("gamma", 1 / std::max(settings.gamma, 0.01f));
    pass.Set("blendMode", blendStep);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_CULL_FACE);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    if (blendStep != 0) {
        glEnable(GL_BLEND);
        glBlendFuncSeparate(GL_ONE, blendStep == 1 ? GL_ONE : GL_ONE_MINUS_SRC_COLOR, GL_ONE,
                            GL_ONE_MINUS_SRC_ALPHA);
    }
    renderer.quad().Draw();
    glDisable(GL_BLEND);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_CULL_FACE);
    glPolygonMode(GL_FRONT_AND_BACK, settings.polygonMode == PolygonMode::Points ? GL_POINT : GL_FILL);
    drawer.ForgetBindings();
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
}

} // namespace velorin
