#pragma once

#include "core/document/SceneMaterial.h"
#include "render/UniformBlocks.h"
#include "render/gl/Handles.h"

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>

namespace velorin {

class EnvironmentMap;
class LayerDerivatives;
class SceneModel;
class TextureList;
struct DefaultTextures;
struct DrawList;
struct LayerTexture;
struct RenderSettings;
struct RenderStatistics;

// A block in a buffer of its own, sent again only when its bytes change.
template <class Block>
struct StoredBlock {
    Block block{};
    gl::Buffer buffer;
    bool used = false; // in this frame
};

// A material as the draw loop takes it, for one frame and one instance of the effect.
struct DrawMaterial {
    const SceneMaterial* material = nullptr;
    gl::Name block = 0;                 // MaterialProperties
    std::array<gl::Name, 7> textures{}; // by TextureUnit, Diffuse to Environment
    gl::Name iblCube = 0;               // 0 but for a Physical material
    bool globalEnvironment = true;      // the environment textures are the scene's
};

// Blocks and textures of the materials and models that a frame draws. Identity is the record's address;
// whatever stands there is compared with what the GPU has, so a reused address costs one upload and no more.
class MaterialStore {
public:
    MaterialStore(TextureList& list, EnvironmentMap& environment, LayerDerivatives& derivatives,
                  const DefaultTextures& defaults, RenderStatistics& statistics);

    void BeginFrame(const RenderSettings& settings, const DrawList& list, const std::string& dataFolder);
    // Forgets what this frame did not use.
    void EndFrame();

    // Null stands for the default material. Valid until EndFrame.
    [[nodiscard]] const DrawMaterial& Material(const SceneMaterial* material, std::uint32_t layerSet);
    // The material that shows the environment behind the picture.
    [[nodiscard]] const DrawMaterial& Background();
    // The ModelProperties buffer.
    [[nodiscard]] gl::Name Model(const SceneModel& model);

private:
    struct FrameKey {
        const SceneMaterial* material;
        std::uint32_t layerSet;
        friend bool operator==(const FrameKey&, const FrameKey&) = default;
    };
    struct FrameKeyHash {
        std::size_t operator()(const FrameKey& key) const {
            return std::hash<const void*>{}(key.material) * 31 + key.layerSet;
        }
    };

    [[nodiscard]] const DrawMaterial& Make(const SceneMaterial& material, std::uint32_t layerSet,
                                           MaterialFill fill);
    [[nodiscard]] gl::Name SlotTexture(const SceneMaterial& material, Channel channel, std::uint32_t layerSet,
                                       MaterialFill& fill);
    void FindEnvironment(const SceneMaterial& material, std::uint32_t layerSet, DrawMaterial& result);
    [[nodiscard]] const LayerTexture* LayerOf(const TextureChannel& channel, std::uint32_t layerSet) const;
    [[nodiscard]] std::string PathOf(const SceneMaterial& material, const TextureChannel& channel) const;

    TextureList& list_;
    EnvironmentMap& environment_;
    LayerDerivatives& derivatives_;
    const DefaultTextures& defaults_;
    RenderStatistics& statistics_;

    SceneMaterial defaultMaterial_, background_;
    std::unordered_map<const SceneMaterial*, StoredBlock<MaterialPropertiesBlock>> materials_;
    std::unordered_map<const SceneModel*, StoredBlock<ModelPropertiesBlock>> models_;

    // Of the frame.
    std::deque<DrawMaterial> drawMaterials_; // addresses stay
    std::unordered_map<FrameKey, const DrawMaterial*, FrameKeyHash> byKey_;
    const DrawList* drawList_ = nullptr;
    MaterialFill fill_;
    std::uint32_t slotFlags_ = 0;
    std::string dataFolder_;
};

} // namespace velorin
