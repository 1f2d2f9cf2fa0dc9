#include "render/VelorinRenderer.h"

#include "render/DrawRecord.h"
#include "render/FrameBuffers.h"
#include "render/RenderSettings.h"
#include "render/Renderer.h"
#include "render/Surroundings.h"
#include "render/VelorinRendererState.h"
#include "render/gl/GLError.h"
#include "render/gl/GLStateScope.h"
#include "services/Profiler.h"

#include <GL/glew.h>

#include <utility>

namespace velorin {

VelorinRenderer::VelorinRenderer(Renderer& renderer) : renderer_(renderer) {
}

VelorinRenderer::~VelorinRenderer() = default;

bool VelorinRenderer::Initialize(const std::string& dataFolder) {
    state_.reset();
    if (!renderer_.SetContext()) return false;
    const gl::GLStateScope glState;
    state_ = std::make_unique<State>(renderer_, dataFolder);
    return gl::CheckGLError("VelorinRenderer::Init", __LINE__) == 0;
}

bool VelorinRenderer::IsReady() const {
    return state_ && renderer_.ready();
}

void VelorinRenderer::Render(const RenderSettings& settings, const DrawList& list, bool isLastSample) {
    (void)isLastSample; // every sample of a frame is drawn alike
    if (!IsReady() || !renderer_.frameBuffers().exists()) return;
    const gl::GLStateScope glState;
    gl::DrainGLErrors();
    state_->Render(settings, list);
    gl::CheckGLError("VelorinRenderer::Render", __LINE__);
    gl::DrainGLErrors();
}

void VelorinRenderer::EndRender() {
    if (!state_) return;
    state_->groups.Clear();
    gl::FlushDeletedObjects();
}

std::span<const PickEntry> VelorinRenderer::pickList() const {
    return state_ ? std::span<const PickEntry>(state_->drawer.pickList()) : std::span<const PickEntry>();
}

VelorinRenderer::State::State(Renderer& owner, std::string folder)
    : renderer(owner),
      dataFolder(std::move(folder)),
      textures(owner.textures()),
      derivatives(owner.textures()),
      environment(owner.textures(), textures, derivatives),
      materials(textures, environment, derivatives, defaults, owner.count()),
      manager(owner.count()),
      drawer(manager, materials, defaults, owner.count()),
      backgroundSphere(MakeSphere()),
      backgroundModel(ModelType::Default) {
    defaults.Create();
}

FrameBuffers& VelorinRenderer::State::buffers() const {
    return renderer.frameBuffers();
}

void VelorinRenderer::State::Render(const RenderSettings& settings, const DrawList& list) {
    BeginFrame(settings, list);
    if (!settings.draft()) PreparePasses(settings, list);

    if (settings.sphericalCapture)
        DrawEquirectangular(settings, list);
    else
        DrawImage(settings, list,
                  {settings.camera.view, settings.camera.projection, settings.camera.position,
                   settings.flipProjection});
    EndFrame();
}

void VelorinRenderer::State::BeginFrame(const RenderSettings& settings, const DrawList& list) {
    renderer.SetFrameSettings(settings);
    manager.BindBuffers();
    manager.SetFrame(settings);
    ShaderStateBlock& state = manager.state();
    state.renderState = {};
    state.renderState.wireframeSupersample = 1;
    state.renderState.blendOpacity = settings.blendOpacity != BlendOpacity::Normal;
    const FrameBufferKey& key = buffers().key();
    state.frameBufferSize = {static_cast<float>(key.width), static_cast<float>(key.height)};

    glEnable(GL_CULL_FACE);
    glCullFace(GL_BACK);
    glFrontFace(GL_CW);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LESS);
    glDepthMask(GL_TRUE);
    glDisable(GL_BLEND);
    glDisable(GL_SCISSOR_TEST);
    glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    if (renderer.driver().sampleShading) {
        if (settings.enhancedMultisampling) {
            glEnable(GL_SAMPLE_SHADING_ARB);
            glMinSampleShadingARB(1);
        } else {
            glDisable(GL_SAMPLE_SHADING_ARB);
        }
    }
    textures.MarkUnused();
    environment.SetFrame(settings.environment, dataFolder);
    materials.BeginFrame(settings, list, dataFolder);
    groups.Build(list, settings.depthSorted);
    UploadGeometry();
    glPolygonMode(GL_FRONT_AND_BACK, settings.polygonMode == PolygonMode::Points ? GL_POINT : GL_FILL);
    glPointSize(settings.pointSize);
}

void VelorinRenderer::State::UploadGeometry() {
    for (const DrawGroup& group : groups.groups()) {
        if (group.geometry->uploaded()) continue;
        VELORIN_PROFILE("VelorinRenderer", "UploadGeometry");
        (void)group.geometry->Upload(renderer.count());
    }
}

void VelorinRenderer::State::PreparePasses(const RenderSettings& settings, const DrawList& list) {
    drawer.ClearPickList();
    if (NeedsProperties(settings)) DrawProperties(settings, list);
    ClearAmbientOcclusion();
}

void VelorinRenderer::State::EndFrame() {
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    gl::DrainGLErrors();
    drawer.ForgetBindings();
    textures.ReleaseUnused();
    materials.EndFrame();
    derivatives.EndFrame();
}

} // namespace velorin
