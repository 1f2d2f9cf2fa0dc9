#include "render/MaterialStore.h"

#include "core/document/AssetContext.h"
#include "core/document/SceneModel.h"
#include "core/document/TextureChannel.h"
#include "model/ModelLoader.h"
#include "render/DefaultTextures.h"
#include "render/DrawRecord.h"
#include "render/EnvironmentMap.h"
#include "render/LayerDerivatives.h"
#include "render/LayerTexture.h"
#include "render/RenderManager.h"
#include "render/RenderSettings.h"
#include "render/RenderStatistics.h"
#include "render/TextureManager.h"

#include <cstring>

namespace velorin {

namespace {

struct Slot {
    Channel channel;
    TextureUnit unit;
};
constexpr std::array kSlots{
    Slot{Channel::Diffuse, TextureUnit::Diffuse},       Slot{Channel::Normal, TextureUnit::Normal},
    Slot{Channel::Specular, TextureUnit::Specular},     Slot{Channel::Occlusion, TextureUnit::Occlusion},
    Slot{Channel::Illumination, TextureUnit::Emissive}, Slot{Channel::Reflection, TextureUnit::Reflect}};

std::size_t IndexOf(TextureUnit unit) {
    return static_cast<std::size_t>(unit);
}

// Sends the block when there is none yet or its bytes differ.
template <class Block, class Upload>
gl::Name Refresh(StoredBlock<Block>& stored, const Block& block, RenderStatistics& statistics,
                 Upload upload) {
    stored.used = true;
    if (!stored.buffer || std::memcmp(&stored.block, &block, sizeof block) != 0) {
        stored.block = block;
        upload(stored.buffer, block);
        ++statistics.uniformUploads;
    }
    return stored.buffer.name();
}

template <class Map>
void DropUnused(Map& map) {
    std::erase_if(map, [](const auto& entry) { return !entry.second.used; });
    for (auto& entry : map) entry.second.used = false;
}

// Nothing but a mirror for what lies behind it, so that all grading of the environment applies.
void MakeBackground(SceneMaterial& material) {
    material.type = MaterialType::Standard;
    material.diffuse = 0;
    material.ambient = 0;
    material.specular = 0;
    material.reflectionBlend = ReflectionBlend::Normal;
    material.reflectionIntensity = 1;
    material.affectReflection = false;
    material.receiveShadow = false;
    material.aoMode = AoMode::Ignore;
    material.drawBackfaces = true;
}

} // namespace

MaterialStore::MaterialStore(TextureList& list, EnvironmentMap& environment, LayerDerivatives& derivatives,
                             const DefaultTextures& defaults, RenderStatistics& statistics)
    : list_(list),
      environment_(environment),
      derivatives_(derivatives),
      defaults_(defaults),
      statistics_(statistics) {
    MakeBackground(background_);
}

void MaterialStore::BeginFrame(const RenderSettings& settings, const DrawList& list,
                               const std::string& dataFolder) {
    drawList_ = &list;
    dataFolder_ = dataFolder;
    fill_ = {};
    fill_.gamma = settings.gamma;
    fill_.textureGamma = settings.textureGamma;
    fill_.matteShadows = settings.matteShadow.enabled;
    slotFlags_ = settings.compressTextures ? kTexturePlain | kTextureCompress : kTexturePlain;
}

void MaterialStore::EndFrame() {
    byKey_.clear();
    drawMaterials_.clear();
    drawList_ = nullptr;
    DropUnused(materials_);
    DropUnused(models_);
}

const DrawMaterial& MaterialStore::Material(const SceneMaterial* material, std::uint32_t layerSet) {
    if (!material) material = &defaultMaterial_;
    const auto found = byKey_.find({material, layerSet});
    return found != byKey_.end() ? *found->second : Make(*material, layerSet, fill_);
}

const DrawMaterial& MaterialStore::Background() {
    const auto found = byKey_.find({&background_, 0});
    if (found != byKey_.end()) return *found->second;
    MaterialFill fill = fill_;
    fill.environmentDirection = -1;
    return Make(background_, 0, fill);
}

const DrawMaterial& MaterialStore::Make(const SceneMaterial& material, std::uint32_t layerSet,
                                        MaterialFill fill) {
    DrawMaterial result;
    result.material = &material;
    for (const Slot& slot : kSlots)
        result.textures[IndexOf(slot.unit)] = SlotTexture(material, slot.channel, layerSet, fill);
    FindEnvironment(material, layerSet, result);
    result.block = Refresh(materials_[&material], FillMaterial(material, fill), statistics_,
                           [](gl::Buffer& buffer, const MaterialPropertiesBlock& block) {
                               RenderManager::UploadMaterial(buffer, block);
                           });
    const DrawMaterial& stored = drawMaterials_.emplace_back(result);
    byKey_.emplace(FrameKey{&material, layerSet}, &stored);
    return stored;
}

// The material's own environment, or the scene's.
void MaterialStore::FindEnvironment(const SceneMaterial& material, std::uint32_t layerSet,
                                    DrawMaterial& result) {
    const TextureChannel& own = material.channel(Channel::Environment);
    const LayerTexture* layer = HasImage(own) ? LayerOf(own, layerSet) : nullptr;
    const bool physical = material.type == MaterialType::Physical;
    const TextureEntry* flat = nullptr;
    if (layer) {
        result.textures[IndexOf(TextureUnit::Environment)] = layer->texture.name();
        if (physical) result.iblCube = derivatives_.Cube(*layer);
    } else if (HasImage(own) && own.customLayer < 0 &&
               (flat = list_.Find(PathOf(material, own), kTexturePlain, own.amount, true))) {
        result.textures[IndexOf(TextureUnit::Environment)] = flat->texture.name();
        const TextureEntry* cube =
            physical ? list_.Find(PathOf(material, own), kTexturePlain | kTextureCube, own.amount, true)
                     : nullptr;
        if (cube) result.iblCube = cube->texture.name();
    }
    result.globalEnvironment = result.textures[IndexOf(TextureUnit::Environment)] == 0;
    if (result.globalEnvironment) {
        result.textures[IndexOf(TextureUnit::Environment)] = environment_.flat();
        if (physical) result.iblCube = environment_.cube();
    }
}

gl::Name MaterialStore::SlotTexture(const SceneMaterial& material, Channel channel, std::uint32_t layerSet,
                                    MaterialFill& fill) {
    const TextureChannel& slot = material.channel(channel);
    const bool normal = channel == Channel::Normal;
    if (HasImage(slot)) {
        if (const LayerTexture* layer = LayerOf(slot, layerSet))
            return normal && material.convertBump ? derivatives_.Normals(*layer) : layer->texture.name();
        std::uint32_t flags = slotFlags_;
        if (normal) flags |= kTextureNormalSlot;
        if (normal && material.convertBump) flags |= kTextureBump;
        const TextureEntry* entry =
            slot.customLayer < 0 ? list_.Find(PathOf(material, slot), flags, slot.amount) : nullptr;
        if (entry) {
            if (normal) fill.twoChannelNormals = entry->twoChannelNormals;
            return entry->texture.name();
        }
    }
    if (normal) return defaults_.flatNormal.name();
    const bool dark = channel == Channel::Illumination && material.illuminationIntensity > 0;
    return dark ? defaults_.black.name() : defaults_.white.name();
}

const LayerTexture* MaterialStore::LayerOf(const TextureChannel& channel, std::uint32_t layerSet) const {
    if (channel.customLayer < 0 || channel.customLayer >= static_cast<std::int32_t>(kCustomLayers))
        return nullptr;
    const std::size_t index =
        std::size_t{layerSet} * kCustomLayers + static_cast<std::size_t>(channel.customLayer);
    if (index >= drawList_->layers.size()) return nullptr;
    const LayerTexture* layer = drawList_->layers[index];
    return layer && !layer->empty() ? layer : nullptr;
}

std::string MaterialStore::PathOf(const SceneMaterial& material, const TextureChannel& channel) const {
    if (channel.path.empty()) return {};
    const bool own = material.context && !material.context->dataFolder.empty();
    return ResolveModelPath(channel.path, own ? material.context->dataFolder : dataFolder_);
}

gl::Name MaterialStore::Model(const SceneModel& model) {
    return Refresh(models_[&model], FillModel(model), statistics_,
                   [](gl::Buffer& buffer, const ModelPropertiesBlock& block) {
                       RenderManager::UploadModel(buffer, block);
                   });
}

} // namespace velorin
