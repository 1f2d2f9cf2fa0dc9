#pragma once

#include "core/document/Retained.h"
#include "core/document/SceneMaterial.h"
#include "core/document/SceneModel.h"
#include "core/document/TextureChannel.h"
#include "services/ByteReader.h"

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace velorin {

class AssetContext;

inline constexpr const char* kDefaultEnvironmentPath = "Materials/Environment/Basic_2K/Basic_2K_03.jpg";
inline constexpr const char* kThumbnailEnvironmentPath = "Materials/Material_Thumbnail_Env.jpg";

// A chunk of five bytes makes a record of a thousand: bounds on what a hostile document can make of its
// bytes, far above any scene that was made by hand.
inline constexpr std::size_t kMostDocumentRecords = 100'000;
inline constexpr std::size_t kMostDocumentMeshes = 500'000;
inline constexpr std::size_t kDeepestFolder = 1'000;

// Says of each tag of a document, in order, whether it belongs to a mesh behind the most that one may have.
class MeshLimit {
public:
    [[nodiscard]] bool Passed(std::uint32_t tag) {
        constexpr std::uint32_t kMesh = 400, kLastOfMesh = 416;
        if (tag == kMesh) ++meshes_;
        return meshes_ > kMostDocumentMeshes && tag >= kMesh && tag <= kLastOfMesh;
    }

private:
    std::size_t meshes_ = 0;
};

// Puts models that stand in the order of a document, a folder before its contents, into their folders by
// their depths as stored, sets the true depths and returns the top level. A model that finds no place is left
// out.
[[nodiscard]] std::vector<Ref<SceneModel>> RebuildTree(const std::vector<Ref<SceneModel>>& models);

// Everything that a user sets up: the tree of models, the list of materials and the environment map.
class Scene {
public:
    explicit Scene(AssetContext* assets = nullptr);
    ~Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    AssetContext* context;                     // handed to every model and material that is read
    std::vector<Ref<SceneModel>> models;       // top level, in order
    std::vector<Ref<SceneMaterial>> materials; // a material's position is its identity in the document
    TextureChannel environment;
    TextureChannel thumbnailEnvironment; // of pictures of presets; not stored

    // Drops all models and materials; the environment stays.
    void Clear();
    // Shares the models and materials of `other` and copies its environment.
    void CopyFrom(const Scene& other);
    // A document of its own: copies of all models and materials, bound to each other.
    void DeepCopyFrom(const Scene& other);

    // All models of the tree, a folder before its contents; pointers are borrowed.
    [[nodiscard]] std::vector<SceneModel*> Flatten() const;
    // Moves a model to the top level at `index`, -1 for the end, as SceneModel::Attach does into a folder.
    void AttachTop(SceneModel& model, bool keepWorld, int index = -1);
    // Takes a model out of the tree. The caller gets the reference that the tree held.
    Ref<SceneModel> Detach(SceneModel& model);

    // Writes the flat document of at most `size` bytes into `buffer` and returns its length; with a null
    // buffer only measures.
    std::size_t Write(std::byte* buffer, std::size_t size) const;
    [[nodiscard]] std::vector<std::byte> Flat() const;
    // Whether the flat document is `flat`: what tells that an edit changed nothing.
    [[nodiscard]] bool HasContent(Bytes flat) const;
    // Clears the scene, puts the environment back to its default and rebuilds all from a flat document. A
    // damaged one gives what could be read, with a warning; false when its magic was refused, the scene then
    // being empty.
    bool Read(Bytes flat);
};

// Where the materials of a scene stand in its list, for who asks for many of them: as it was when this was
// made.
class MaterialPlaces {
public:
    explicit MaterialPlaces(const Scene& scene);
    // The first place; -1 when it is not there.
    [[nodiscard]] std::int32_t Of(const SceneMaterial* material) const;

private:
    std::unordered_map<const SceneMaterial*, std::int32_t> places_;
};

} // namespace velorin
