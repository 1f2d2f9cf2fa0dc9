#pragma once

#include "services/NxMath.h"

#include <cstdint>
#include <vector>

namespace velorin {

class MeshBuffers;
class SceneModel;
struct LayerTexture;
struct DeformParameters;

inline constexpr std::uint32_t kNoDeform = 0xffffffffu;
inline constexpr std::uint32_t kCustomLayers = 10; // layers of one instance of the effect

// One mesh of one drawn model of one particle.
struct InstanceRecord {
    Matrix modelMatrix;        // model space (cube of half-edge 1) to world, row vectors
    Matrix baseModelMatrix;    // the same without the mesh's own transform: what reflections are anchored to
    Point4 colour{1, 1, 1, 1}; // tint of the group, multiplied into the surface; `modelColor` of the shaders
    Point2 uvOffset;           // added to the texture coordinates of every channel
    float opacity = 1;         // exactly 0 is not drawn
    float layerMix = 0;        // 0 the start model's material alone, 1 the finish model's
    std::uint32_t objectIndex = 0;    // of the particle, over all groups; what picking reports
    std::uint32_t deform = kNoDeform; // index into DrawList::deforms
    bool visible = true;              // false: in the list for its place only, never drawn
    bool flip = false; // the matrix mirrors (negative determinant beyond the model's own flips)
};

// One model of one particle. Pointers are borrowed from the scene and the mesh cache until the list is
// cleared.
struct DrawRecord {
    const SceneModel* model = nullptr;
    const MeshBuffers* geometry = nullptr;
    const SceneModel* finishModel = nullptr; // second material layer; null outside an animated blend
    const MeshBuffers* finishGeometry = nullptr;
    std::uint32_t particleIndex = 0; // in its group
    std::uint32_t group = 0;         // 0 to 4
    std::uint32_t layerSet = 0;      // the instance's first entry in DrawList::layers is 10 * layerSet
    std::uint32_t firstInstance = 0; // into DrawList::instances
    std::uint32_t instanceCount = 0; // one a mesh of `geometry`, in their order
    float frame = 0;                 // of the model's baked animation
    float distance = 0;              // squared, camera to particle, world units
};

// A folder that reflects (ReflectMode MirrorSurface or Spherical) at one particle: where its target is
// anchored.
struct ReflectionAnchor {
    const SceneModel* folder = nullptr; // borrowed as above
    Matrix modelMatrix;                 // the folder's space to world
    std::uint32_t particleIndex = 0, group = 0;
};

// Everything one time sample draws. Clear keeps the memory, so that a later frame of the same size allocates
// nothing.
struct DrawList {
    std::vector<DrawRecord> records;
    std::vector<InstanceRecord> instances;
    std::vector<const DeformParameters*> deforms; // borrowed; what InstanceRecord::deform counts
    std::vector<const LayerTexture*> layers;      // kCustomLayers for each instance of the effect; null: none
    std::vector<ReflectionAnchor> reflections;

    void Clear() {
        records.clear();
        instances.clear();
        deforms.clear();
        layers.clear();
        reflections.clear();
    }
};

} // namespace velorin
