#pragma once

#include "core/FrameParams.h"
#include "core/Plugin.h"
#include "core/Rig.h"
#include "render/DrawRecord.h"
#include "services/NxMath.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace velorin {

class GeometryCache;
class MeshBuffers;
class SceneModel;
struct ModelData;
class VelorinRenderer;
struct RenderSettings;

// The core object: shares the geometry of all scenes, turns a frame's parameters into particles and draw
// records, and has them drawn.
//
// A frame, under the render mutex of the host layer and with the renderer's context current:
//   renderer->SetupRender(settings)
//   for each time sample: for each instance BuildFrame;
//     for each pass: for each instance SetRender; Render(settings, 1 / passes so far)
//   EndRender()
// Everything but Render and EndRender also works without a context: geometry is uploaded when it is first
// drawn.
class Velorin : public Plugin {
public:
    Velorin();
    ~Velorin() override;

    // Clears the state of the run, makes the data folder, takes the user's model cache into use, reads the
    // rig tables and makes the scene renderer over the context that `renderer->Init()` made. A failure leaves
    // glReady() false and, unless `renderEngine`, is shown to the user.
    void Initialize() override;
    // Drops all geometry and the renderer.
    void Shutdown() override;
    // Whether frames can be drawn.
    [[nodiscard]] bool glReady() const { return glReady_; }
    // "<user's application data>/Quenmarworks", without a closing slash; empty before Initialize.
    [[nodiscard]] const std::string& dataDirectory() const { return dataDirectory_; }

    // Fills the particle arrays of the enabled groups, or of one (0 to 4) when `group` is not negative; the
    // arrays of the others become empty. `cameraPosition` is the eye in world space. A group that memory
    // cannot hold is reported as a warning, says how much it would take, and gets no particles; false then.
    bool BuildFrame(FrameParams& params, Point3 cameraPosition, int group = -1);

    // Adds the instance's draw records to the draw list: models are loaded and assigned, the animation engine
    // runs, matrices are made. Geometry of `params.loadedModels` that the frame no longer shows is given
    // back. `frameIndex` is the pass number.
    void SetRender(std::uint32_t frameIndex, FrameParams& params, Point3 cameraPosition);

    // Draws what SetRender has listed since the last call, mixes it into the frame's mean with `weight` (1 /
    // the number of passes so far), and empties the list.
    void Render(const RenderSettings& settings, float weight);
    // Finishes the frame: steps on the mean, pixels into the renderer's output. False when nothing was
    // written.
    bool EndRender();
    // Empties the draw list of a frame that will not be drawn, for instance because the user stopped it.
    void DropFrame();

    // What the next Render draws; pointers in it live until then.
    [[nodiscard]] const DrawList& drawList() const { return drawList_; }

    // Writes what one group (0 to 4), or all of them (negative), shows as an OBJ file with its materials and
    // textures (core/ExportScene.h): particles, records and matrices are made as for a frame. Not between the
    // steps of one. False with one sentence when no file was written.
    [[nodiscard]] bool ExportObj(FrameParams& params, Point3 cameraPosition, int group,
                                 const std::string& path, std::string& error);

    // The step of SetRender that finds the geometry of all models and gives them to the particles.
    void LoadAssignModels(FrameParams& params);
    // The geometry of a model, from the instance's list, from the cache, or loaded now; null for a folder and
    // for what does not load (told once as a warning). Counts as one use by `params.loadedModels`.
    [[nodiscard]] MeshBuffers* FindGeometry(FrameParams& params, const SceneModel& model);
    // The model's source before mesh processing, as an import looks at it; the FindGeometry that follows
    // takes it over. Null when it does not load.
    [[nodiscard]] const ModelData* ReadGeometry(const SceneModel& model);
    // The rig table of a model's file, or the default one.
    [[nodiscard]] const RigTable& RigInfo(const SceneModel& model) const;
    // Adds the tables of a file (ReadRigTables). False when it cannot be read.
    bool LoadRigTables(const std::string& path);

    // The cache by MeshBuffers::id, for instances that were stored with what they held: adds a use and the
    // entry to `held`; false when the cache has no such geometry any more.
    bool HoldModel(std::uint64_t id, std::vector<MeshBuffers*>& held);
    // Gives back the uses of a list and empties it. What nobody uses then stays until the next SetRender or
    // FreeUnusedModels: HoldModel may ask for it again.
    void ReleaseModels(std::vector<MeshBuffers*>& held);
    void FreeUnusedModels();
    // How many meshes the cache holds, and how many it has loaded since the start.
    [[nodiscard]] std::size_t cachedModels() const;
    [[nodiscard]] std::uint64_t modelsLoaded() const;
    [[nodiscard]] const GeometryCache& geometryCache() const;

    // Geometry built since the last call that should outlive the process goes to the disk.
    void FlushBuilds();

    // Driver families with known faults, found at the first Render.
    [[nodiscard]] bool isAti() const { return isAti_; }

private:
    struct State;

    bool glReady_ = false, vendorChecked_ = false, isAti_ = false;
    std::string dataDirectory_;
    RigTables rigTables_;
    DrawList drawList_;
    std::unique_ptr<State> state_;
    std::unique_ptr<VelorinRenderer> velorinRenderer_;
};

} // namespace velorin
