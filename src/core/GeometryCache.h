#pragma once

#include "core/FrameParams.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace velorin {

class MeshBuffers;
class SceneModel;
struct ModelData;

// The meshes that all scenes of the process share, by what they are made from: the file with its time of last
// change, the import settings, the settings of generated kinds, and the outlines of an extrusion. Each has a
// count of uses; one that nobody uses any more is freed at the next FreeUnused, so that an instance that is
// stored and set up again at once finds its own. One thread at a time; needs no GL context.
class GeometryCache {
public:
    GeometryCache();
    ~GeometryCache();

    // The mesh of a model, found or loaded; `path` takes the place of the model's (a file of a sequence).
    // Null for a folder and for what has no geometry; what failed is not tried again until its file changes.
    // Does not count. `layers` has the outlines of extrusions.
    [[nodiscard]] MeshBuffers* Find(const SceneModel& model, const std::string& path,
                                    const PathLayers& layers);
    // Names what Find would give, for other caches.
    [[nodiscard]] std::string Key(const SceneModel& model, const std::string& path,
                                  const PathLayers& layers) const;

    // What a model's source holds before it is processed. Of a file it is kept until the next Find of the
    // model takes it or FreeUnused, so that it is read once. Null when there is no geometry.
    [[nodiscard]] const ModelData* Read(const SceneModel& model);

    void AddUse(const MeshBuffers* mesh);
    void DropUse(const MeshBuffers* mesh);
    // Null when there is none.
    [[nodiscard]] MeshBuffers* FindId(std::uint64_t id) const;
    // Frees meshes without a use, and sources that were read.
    void FreeUnused();

    struct Uses {
        std::string path; // of its file; empty for generated kinds
        std::uint32_t count = 0;
    };
    [[nodiscard]] std::vector<Uses> uses() const; // an entry a mesh, in no order

    [[nodiscard]] std::size_t size() const;
    [[nodiscard]] std::uint64_t loaded() const { return loaded_; }
    void Clear();

private:
    struct State;
    std::unique_ptr<State> state_;
    std::uint64_t loaded_ = 0;
};

[[nodiscard]] GeometryFacts FactsOf(const MeshBuffers& mesh);

} // namespace velorin
