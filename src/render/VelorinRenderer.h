#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace velorin {

class MeshBuffers;
class Renderer;
class SceneModel;
struct DrawList;
struct RenderSettings;

// One drawn mesh range of the property pass, in drawing order; Renderer::PickAt gives an index into the list.
struct PickEntry {
    const SceneModel* model = nullptr; // borrowed from the draw list, valid until the next Render
    std::uint32_t mesh = 0;            // of the model's geometry
    std::uint32_t objectIndex = 0;     // of the instance record
    std::uint32_t drawRecord = 0;      // index into DrawList::records
};

// Turns the settings of one time sample and its draw list into one picture in the renderer's result buffer.
// One a scene; the renderer outlives it. All calls but the destructor need the renderer's context current.
class VelorinRenderer {
public:
    explicit VelorinRenderer(Renderer& renderer);
    ~VelorinRenderer();
    VelorinRenderer(const VelorinRenderer&) = delete;
    VelorinRenderer& operator=(const VelorinRenderer&) = delete;

    // Programs, default textures and uniform buffers. `dataFolder` is the root for paths like
    // "Materials/Environment/..."; empty leaves relative paths to the services' search order. False when the
    // renderer is not ready.
    [[nodiscard]] bool Initialize(const std::string& dataFolder = {});
    [[nodiscard]] bool IsReady() const;

    // The whole frame of one time sample. Geometry that has not been uploaded is uploaded first. Faults are
    // logged and do not stop the frame. The draw list's pointers are read during the call only.
    void Render(const RenderSettings& settings, const DrawList& list, bool isLastSample);
    // Forgets what was kept for the list of the frame. What the GPU holds for materials and models stays
    // until they are unused for a frame.
    void EndRender();

    // Of the last Render that ran the property pass.
    [[nodiscard]] std::span<const PickEntry> pickList() const;

private:
    struct State;
    Renderer& renderer_;
    std::unique_ptr<State> state_;
};

} // namespace velorin
