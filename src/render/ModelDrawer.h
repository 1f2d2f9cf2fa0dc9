#pragma once

#include "render/DrawGroups.h"
#include "render/VelorinRenderer.h"
#include "render/gl/Handles.h"
#include "services/NxMath.h"

#include <cstdint>
#include <span>
#include <vector>

namespace velorin {

class MaterialStore;
class RenderManager;
class SceneMaterial;
struct DefaultTextures;
struct DrawMaterial;
struct DrawRecord;
struct GroupRange;
struct InstanceRecord;
struct MaterialSettings;
struct RenderStatistics;

// What a walk over the draw list draws and holds back, and what it met.
struct PassFlags {
    bool filterByBlend = false;   // what needs blending waits for its own step
    bool translucentPass = false; // that step
    bool onlyTranslucent = false; // in that step: what the opaque step has drawn is left out
    bool shadowPass = false, propertyPass = false, mirrorPass = false;
    bool cameraOnly = false; // honour "Visible to Camera"
    bool additiveStep = false, screenStep = false;
    bool flipWinding = false;  // front faces are counter-clockwise
    bool ignoreUnseen = false; // leave out what is "Invisible to AO/Glow"
    bool globalWireframe = false;
    // Met on the way.
    bool hasTranslucent = false, hasAdditive = false, hasScreen = false;
};

// Whether a range of these materials is left out of the walk as a whole; notes in `flags` what it waits for.
// `second` is the material of the finish layer or null.
[[nodiscard]] bool HoldsBack(const MaterialSettings& first, const MaterialSettings* second, PassFlags& flags);

// Whether an instance of the effective opacity is left out; notes what it waits for.
[[nodiscard]] bool HoldsBackInstance(float opacity, bool layered, PassFlags& flags);

// The one loop that gives models to GL: one call for each instance of each material range of each mesh.
class ModelDrawer {
public:
    ModelDrawer(RenderManager& manager, MaterialStore& materials, const DefaultTextures& defaults,
                RenderStatistics& statistics);

    // At the start of a frame and whenever other code has bound textures or programs.
    void ForgetBindings();
    // All groups in order. `flags` collects what was held back. With flags.propertyPass the pick list grows.
    void DrawAll(const DrawList& list, const DrawGroups& groups, PassFlags& flags);
    // One mesh with one material and nothing else: the background. Its faces are culled as the caller has
    // set.
    void DrawPlain(const MeshBuffers& mesh, const Matrix& modelMatrix, const SceneModel& model,
                   const DrawMaterial& material);

    [[nodiscard]] const std::vector<PickEntry>& pickList() const { return pickList_; }
    void ClearPickList() { pickList_.clear(); }
    // Drops what a further walk over the same list has added.
    void CutPickList(std::size_t count) { pickList_.resize(count); }

private:
    struct Walk; // what the loops of one group share
    void DrawGroupOf(const DrawList& list, const DrawGroups& groups, const DrawGroup& group,
                     PassFlags& flags);
    void DrawRange(Walk& walk, std::uint32_t mesh, const GroupRange& range);
    void DrawInstance(Walk& walk, std::uint32_t mesh, const GroupRange& range, const InstanceRecord& instance,
                      std::uint32_t record);
    void DrawLayer(const GroupRange& range, const DrawMaterial& material, gl::Name model, float opacity,
                   const InstanceRecord& instance);
    void BindMaterial(const DrawMaterial& material);
    void BindGeometry(const MeshBuffers& mesh);
    void BindModel(gl::Name model);
    void SetCull(bool on);

    RenderManager& manager_;
    MaterialStore& materials_;
    const DefaultTextures& defaults_;
    RenderStatistics& statistics_;
    gl::VertexArray vertexArray_;
    std::vector<PickEntry> pickList_;

    const DrawMaterial* boundMaterial_ = nullptr;
    const MeshBuffers* boundGeometry_ = nullptr;
    gl::Name boundModel_ = 0;
    bool cullOn_ = true, cullFront_ = false;
};

} // namespace velorin
