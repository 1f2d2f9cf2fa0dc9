#pragma once

#include "core/document/SceneModel.h"
#include "render/DefaultTextures.h"
#include "render/DrawGroups.h"
#include "render/EnvironmentMap.h"
#include "render/LayerDerivatives.h"
#include "render/MaterialStore.h"
#include "render/MeshBuffers.h"
#include "render/ModelDrawer.h"
#include "render/PassTable.h"
#include "render/RenderManager.h"
#include "render/TextureManager.h"
#include "render/VelorinRenderer.h"

#include <string>

namespace velorin {

class FrameBuffers;
class Renderer;

// One look at the scene: what the image pass draws through.
struct SceneView {
    Matrix view, projection; // row vectors
    Point3 eyeWorld;
    bool mirrored = false; // the view mirrors: front faces run the other way
};

// The parts of VelorinRenderer and the passes of one frame; the methods are spread over one file a pass
// family.
struct VelorinRenderer::State {
    State(Renderer& renderer, std::string dataFolder);

    // VelorinRenderer.cpp
    void Render(const RenderSettings& settings, const DrawList& list);
    void BeginFrame(const RenderSettings& settings, const DrawList& list);
    void PreparePasses(const RenderSettings& settings, const DrawList& list);
    void EndFrame();
    void UploadGeometry();

    // PropertyPass.cpp
    [[nodiscard]] static bool NeedsProperties(const RenderSettings& settings);
    void DrawProperties(const RenderSettings& settings, const DrawList& list);
    void DrawMultisampledNormals(const RenderSettings& settings, const DrawList& list);
    void ClearAmbientOcclusion();

    // ImagePass.cpp
    // The whole frame from one view into resultFramebuffer, in tiles when supersampled.
    void DrawImage(const RenderSettings& settings, const DrawList& list, const SceneView& view);
    [[nodiscard]] TileViewport ViewportOfTile(const RenderSettings& settings, const TileRect& tile,
                                              int side) const;
    void DrawTile(const RenderSettings& settings, const DrawList& list, const SceneView& view,
                  const TileRect& tile);
    void DrawSolid(const RenderSettings& settings, const DrawList& list, PassFlags& flags);
    void DrawTranslucent(const RenderSettings& settings, const DrawList& list, PassFlags& flags);
    // 1 additive, 2 screen.
    void DrawBlendStep(const RenderSettings& settings, const DrawList& list, PassFlags flags, int step);
    void StoreImageResult(const RenderSettings& settings, const TileRect& tile, int blendStep);

    // Surroundings.cpp
    void DrawBackground(const RenderSettings& settings, const SceneView& view);
    void DrawEquirectangular(const RenderSettings& settings, const DrawList& list);

    [[nodiscard]] FrameBuffers& buffers() const;

    Renderer& renderer;
    std::string dataFolder;
    TextureList textures;
    DefaultTextures defaults;
    LayerDerivatives derivatives;
    EnvironmentMap environment;
    MaterialStore materials;
    RenderManager manager;
    ModelDrawer drawer;
    DrawGroups groups;
    MeshBuffers backgroundSphere;
    SceneModel backgroundModel;
};

} // namespace velorin
