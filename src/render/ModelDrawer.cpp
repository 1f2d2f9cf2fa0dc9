#include "render/ModelDrawer.h"

#include "core/document/SceneMaterial.h"
#include "core/document/SceneModel.h"
#include "render/DefaultTextures.h"
#include "render/DrawRecord.h"
#include "render/MaterialStore.h"
#include "render/MeshBuffers.h"
#include "render/RenderManager.h"
#include "render/RenderStatistics.h"

#include <GL/glew.h>

#include <algorithm>

namespace velorin {

namespace {

constexpr GLsizei kVertexStride = 48;

const void* BufferOffset(std::size_t bytes) {
    return reinterpret_cast<const void*>(bytes);
}

// The material that a model binds to a slot of its geometry; null: the default one.
const SceneMaterial* BoundMaterial(const SceneModel& model, std::uint32_t slot) {
    return slot < model.bindings.size() ? model.bindings[slot].material : nullptr;
}

bool FlipsWinding(const SceneModel& model) {
    return model.flip[0] != (model.flip[1] != model.flip[2]);
}

} // namespace

bool HoldsBack(const MaterialSettings& first, const MaterialSettings* second, PassFlags& flags) {
    const auto both = [&](auto test) { return test(first) || (second && test(*second)); };
    if (flags.shadowPass && both([](const MaterialSettings& m) { return !m.castShadow; })) return true;
    if (flags.mirrorPass && both([](const MaterialSettings& m) { return !m.visibleToReflections; }))
        return true;
    if (flags.cameraOnly && !flags.shadowPass && !flags.mirrorPass &&
        both([](const MaterialSettings& m) { return !m.visibleToCamera; }))
        return true;
    if (flags.ignoreUnseen && both([](const MaterialSettings& m) { return m.invisibleToAOGlow; }))
        return true;
    if (first.forceOpacity == 0 && (!second || second->forceOpacity == 0)) return true;

    const auto blend = std::max(first.blendMode, second ? second->blendMode : MaterialBlend::Normal);
    if (flags.filterByBlend && blend == MaterialBlend::Add && !flags.additiveStep) {
        flags.hasAdditive = true;
        return true;
    }
    if (flags.filterByBlend && blend == MaterialBlend::Screen && !flags.screenStep) {
        flags.hasScreen = true;
        return true;
    }
    if (flags.additiveStep && flags.hasAdditive && blend != MaterialBlend::Add) return true;
    if (flags.screenStep && flags.hasScreen && blend != MaterialBlend::Screen) return true;
    if (second && !flags.translucentPass && !flags.additiveStep && !flags.screenStep) {
        flags.hasTranslucent = true;
        return true;
    }
    return false;
}

bool HoldsBackInstance(float opacity, bool layered, PassFlags& flags) {
    if (!flags.filterByBlend) return false;
    if (flags.onlyTranslucent) return opacity >= 1 && !layered;
    if (opacity >= 1 || flags.translucentPass || flags.additiveStep || flags.screenStep) return false;
    flags.hasTranslucent = true;
    return true;
}

// What the loops over one group share.
struct ModelDrawer::Walk {
    const DrawList& list;
    const DrawGroup& group;
    std::span<const std::uint32_t> records;
    PassFlags& flags;
    gl::Name model = 0, finishModel = 0; // ModelProperties
    const DrawMaterial* first = nullptr;
    const DrawMaterial* second = nullptr;
    bool flipped = false; // by the model's own flags
};

ModelDrawer::ModelDrawer(RenderManager& manager, MaterialStore& materials, const DefaultTextures& defaults,
                         RenderStatistics& statistics)
    : manager_(manager),
      materials_(materials),
      defaults_(defaults),
      statistics_(statistics),
      vertexArray_(gl::VertexArray::New()) {
    glBindVertexArray(vertexArray_.name());
    for (GLuint attribute = 0; attribute < 4; ++attribute) glEnableVertexAttribArray(attribute);
    glBindVertexArray(0);
}

void ModelDrawer::ForgetBindings() {
    boundMaterial_ = nullptr;
    boundGeometry_ = nullptr;
    boundModel_ = 0;
}

void ModelDrawer::DrawAll(const DrawList& list, const DrawGroups& groups, PassFlags& flags) {
    ForgetBindings();
    glFrontFace(flags.flipWinding ? GL_CCW : GL_CW);
    glEnable(GL_CULL_FACE);
    glCullFace(GL_BACK);
    cullOn_ = true;
    cullFront_ = false;
    glBindVertexArray(vertexArray_.name());
    manager_.state().renderState.globalWireframe = flags.globalWireframe;
    for (const DrawGroup& group : groups.groups())
        if (!group.geometry->empty() && group.geometry->uploaded()) DrawGroupOf(list, groups, group, flags);
    SetCull(true);
    glCullFace(GL_BACK);
    glDisable(GL_POLYGON_OFFSET_FILL);
    glBindVertexArray(0);
}

void ModelDrawer::DrawGroupOf(const DrawList& list, const DrawGroups& groups, const DrawGroup& group,
                              PassFlags& flags) {
    Walk walk{list, group, groups.recordsOf(group), flags};
    walk.model = materials_.Model(*group.model);
    walk.finishModel = group.finishModel ? materials_.Model(*group.finishModel) : 0;
    walk.flipped = FlipsWinding(*group.model);
    BindGeometry(*group.geometry);
    const auto& meshes = group.geometry->meshes();
    for (std::uint32_t mesh = 0; mesh < meshes.size(); ++mesh)
        for (const GroupRange& range : meshes[mesh].groups)
            if (range.indexCount > 0) DrawRange(walk, mesh, range);
}

void ModelDrawer::DrawRange(Walk& walk, std::uint32_t mesh, const GroupRange& range) {
    walk.first =
        &materials_.Material(BoundMaterial(*walk.group.model, range.materialIndex), walk.group.layerSet);
    walk.second = walk.group.finishModel
                      ? &materials_.Material(BoundMaterial(*walk.group.finishModel, range.materialIndex),
                                             walk.group.layerSet)
                      : nullptr;
    const SceneMaterial& material = *walk.first->material;
    if (HoldsBack(material, walk.second ? walk.second->material : nullptr, walk.flags)) return;
    SetCull(!material.drawBackfaces);
    for (const std::uint32_t record : walk.records) {
        const DrawRecord& draw = walk.list.records[record];
        if (mesh >= draw.instanceCount) continue;
        const std::size_t at = std::size_t{draw.firstInstance} + mesh;
        if (at < walk.list.instances.size()) DrawInstance(walk, mesh, range, walk.list.instances[at], record);
    }
}

void ModelDrawer::DrawInstance(Walk& walk, std::uint32_t mesh, const GroupRange& range,
                               const InstanceRecord& instance, std::uint32_t record) {
    if (!instance.visible || instance.opacity == 0) return;
    const float opacity = walk.first->material->forceOpacity * instance.opacity *
                          (walk.second ? walk.second->material->forceOpacity : 1);
    if (HoldsBackInstance(opacity, walk.second != nullptr, walk.flags)) return;

    const bool cullFront = walk.flipped != instance.flip;
    if (cullFront != cullFront_) {
        glCullFace(cullFront ? GL_FRONT : GL_BACK);
        cullFront_ = cullFront;
    }
    manager_.SetModelMatrices(instance.modelMatrix, instance.baseModelMatrix);
    ShaderStateBlock& state = manager_.state();
    state.renderState.flipNormals = instance.flip;
    state.modelUvOffset = instance.uvOffset;
    if (walk.flags.propertyPass) {
        state.objectId = static_cast<std::int32_t>(pickList_.size());
        pickList_.push_back({walk.group.model, mesh, instance.objectIndex, record});
    }
    if (!walk.second) {
        DrawLayer(range, *walk.first, walk.model, instance.opacity, instance);
        return;
    }
    // Two layers lie on each other; the second one is nearer by one step of depth.
    const float mix = instance.layerMix;
    const bool property = walk.flags.propertyPass;
    glPolygonOffset(0, 1);
    glEnable(GL_POLYGON_OFFSET_FILL);
    DrawLayer(range, *walk.first, walk.model, instance.opacity * (property ? 1 : 1 - mix), instance);
    glDisable(GL_POLYGON_OFFSET_FILL);
    if (property) glBlendColor(mix, mix, mix, mix);
    DrawLayer(range, *walk.second, walk.finishModel, instance.opacity * (property ? 1 : mix), instance);
    if (property) glBlendColor(1, 1, 1, 1);
}

void ModelDrawer::DrawLayer(const GroupRange& range, const DrawMaterial& material, gl::Name model,
                            float opacity, const InstanceRecord& instance) {
    BindModel(model);
    BindMaterial(material);
    ShaderStateBlock& state = manager_.state();
    const Point4 colour = instance.colour;
    state.modelColor = {colour.x, colour.y, colour.z, colour.w * opacity};
    if (!manager_.ApplyShaderState()) return;
    glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(range.indexCount * 3), GL_UNSIGNED_INT,
                   BufferOffset(std::size_t{range.firstIndex} * 12));
    ++statistics_.draws;
}

void ModelDrawer::BindMaterial(const DrawMaterial& material) {
    if (boundMaterial_ == &material) return;
    boundMaterial_ = &material;
    const MaterialPass pass = manager_.pass();
    const bool shadowOnly = pass == MaterialPass::ShadowMap || pass == MaterialPass::PointShadow;
    const bool properties = pass == MaterialPass::Property || pass == MaterialPass::GlowProperty;
    const std::size_t count = shadowOnly ? 2 : properties ? 6 : 7;
    for (std::size_t unit = 0; unit < count; ++unit)
        RenderManager::BindTexture(static_cast<TextureUnit>(unit), GL_TEXTURE_2D, material.textures[unit]);
    if (!shadowOnly && !properties) {
        RenderManager::BindTexture(TextureUnit::ReflectionPlane, GL_TEXTURE_2D, defaults_.black.name());
        RenderManager::BindTexture(TextureUnit::ReflectionCube, GL_TEXTURE_CUBE_MAP,
                                   defaults_.blackCube.name());
        RenderManager::BindTexture(TextureUnit::Ibl, GL_TEXTURE_CUBE_MAP,
                                   material.iblCube ? material.iblCube : defaults_.blackCube.name());
    }
    glBindBufferBase(GL_UNIFORM_BUFFER, static_cast<GLuint>(UniformBlock::MaterialProperties),
                     material.block);
    const bool physical = material.material->type == MaterialType::Physical;
    manager_.SetMaterialKind(physical, material.material->wireEnable);
    manager_.state().renderState.globalEnvironment = material.globalEnvironment;
    manager_.state().renderState.dynamicReflection = 0;
}

void ModelDrawer::BindModel(gl::Name model) {
    if (boundModel_ == model) return;
    boundModel_ = model;
    glBindBufferBase(GL_UNIFORM_BUFFER, static_cast<GLuint>(UniformBlock::ModelProperties), model);
}

void ModelDrawer::BindGeometry(const MeshBuffers& mesh) {
    if (boundGeometry_ == &mesh) return;
    boundGeometry_ = &mesh;
    glBindBuffer(GL_ARRAY_BUFFER, mesh.vertexBuffer());
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, kVertexStride, BufferOffset(0));
    glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, kVertexStride, BufferOffset(12));
    glVertexAttribPointer(2, 3, GL_FLOAT, GL_FALSE, kVertexStride, BufferOffset(20));
    glVertexAttribPointer(3, 4, GL_FLOAT, GL_FALSE, kVertexStride, BufferOffset(32));
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, mesh.indexBuffer());
}

void ModelDrawer::SetCull(bool on) {
    if (on == cullOn_) return;
    cullOn_ = on;
    if (on)
        glEnable(GL_CULL_FACE);
    else
        glDisable(GL_CULL_FACE);
}

void ModelDrawer::DrawPlain(const MeshBuffers& mesh, const Matrix& modelMatrix, const SceneModel& model,
                            const DrawMaterial& material) {
    ForgetBindings();
    const gl::Name modelBlock = materials_.Model(model);
    glBindVertexArray(vertexArray_.name());
    BindGeometry(mesh);
    manager_.SetModelMatrices(modelMatrix, modelMatrix);
    manager_.state().renderState.flipNormals = 0;
    manager_.state().renderState.globalWireframe = 0;
    manager_.state().modelUvOffset = {};
    const InstanceRecord instance;
    for (const MeshRange& range : mesh.meshes())
        for (const GroupRange& part : range.groups) DrawLayer(part, material, modelBlock, 1, instance);
    glBindVertexArray(0);
}

} // namespace velorin
