#pragma once

#include "core/document/Colour.h"
#include "core/document/Retained.h"
#include "core/document/TextureChannel.h"
#include "services/ByteReader.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velorin {

class AssetContext;
class ChunkFile;
class MaterialPlaces;

enum class MaterialType : std::uint32_t { Standard = 0, Physical = 1 };
enum class AoMode : std::uint32_t { On = 0, Ignore = 1, ReceiveRayTraced = 2 };
enum class MaterialBlend : std::uint32_t { Normal = 0, Add = 1, Screen = 2 };
enum class ReflectionBlend : std::uint32_t { Normal = 0, NormalClamp = 1, Add = 2 };
enum class WireFillMode : std::uint32_t { Solid = 0, LinesOnly = 1 };
enum class WireColorMode : std::uint32_t { Color = 0, FromMaterial = 1 };
enum class WireTransferMode : std::uint32_t { Mix = 0, Screen = 1, Add = 2, Multiply = 3 };

// Width and height of the picture in a preset.
inline constexpr std::uint32_t kThumbnailWidth = 105;
inline constexpr std::uint32_t kThumbnailHeight = 63;
inline constexpr std::uint32_t kThumbnailTag = 800; // of material and bevel presets

// The settings of a surface as plain values: what is copied, compared and reset. Ranges are those of the
// controls; the record holds whatever was stored.
struct MaterialSettings {
    MaterialType type = MaterialType::Physical;
    std::int32_t index = -1; // position in the scene's list when last written

    // Standard shader.
    Colour diffuseColor;
    Colour specularColor;
    float sortOrder = 1;            // not stored
    float alphaThreshold = 0;       // 0 to 1
    float smoothing = 1;            // 0 to 1
    float forceOpacity = 1;         // 0 to 1
    float diffuse = 1;              // 0 to 100
    float specular = 1;             // 0 to 100
    float specularShininess = 0.5f; // 0.05 to 100
    float specularSharpness = 0;    // 0 to 10
    float ambient = 1;              // 0 to 100
    bool affectReflection = true;   // not stored: true again after a reload
    bool affectRefraction = true;   // not stored: true again after a reload
    bool drawBackfaces = false;
    bool twoSidedLighting = true;
    bool legacyFlag = false; // stored, without a control
    bool invisibleToAOGlow = false;
    AoMode aoMode = AoMode::On;
    bool visibleToCamera = true;
    bool visibleToReflections = true;
    MaterialBlend blendMode = MaterialBlend::Normal;
    float aoAmount = 1;   // 0 to 5
    float glowAmount = 1; // 0 to 10

    ReflectionBlend reflectionBlend = ReflectionBlend::NormalClamp;
    Colour reflectionTint;
    float reflectionIntensity = 0;      // 0 to 20
    float reflectionFresnel = 0;        // -1 to 1
    float reflectionFresnelBias = 0.5f; // 0 to 5

    ReflectionBlend refractionBlend = ReflectionBlend::NormalClamp;
    Colour refractionTint;
    float refractionIntensity = 0;
    float refractionIoR = 1.5f; // 1 to 10
    float refractionFresnel = 0;
    float refractionFresnelBias = 0.5f;

    Colour illuminationColor;
    float illuminationIntensity = 0;
    float illuminationFresnel = 0;
    float illuminationFresnelBias = 0.5f;
    bool useDiffuseColor = false;

    bool sssEnable = false;
    Colour scatterColor;
    float sssIntensity = 1;      // 0 to 10
    float scattering = 1;        // 0 to 10
    float absorptionFalloff = 2; // 1 to 20
    float absorptionRange = 0;   // 0 to 1
    float lightPenetration = 1;  // 0.001 to 20

    bool matteShadow = false;
    bool matteReflection = false;
    bool matteAlpha = false;
    bool castShadow = true;
    bool receiveShadow = true;

    // Stored, without a control.
    std::uint32_t displaceA = 0, displaceB = 0, displaceC = 0, displaceD = 0;
    TextureChannel displacement{Channel::Displacement};

    bool wireEnable = false;
    float wireWidth = 1;          // 0 to 100
    Colour wireColor{1, 1, 1, 1}; // nearly black, and so kept
    WireFillMode wireFillMode = WireFillMode::Solid;
    WireColorMode wireColorMode = WireColorMode::Color;
    WireTransferMode wireTransferMode = WireTransferMode::Mix;
    bool wireFogInfluence = true;
    float wireFresnel = 0;
    float wireFresnelBias = 0.5f;

    // How the image of the Normal channel is read.
    bool swapXY = false;
    bool invertDepth = false;
    bool invertX = false;
    bool invertY = false;
    bool convertBump = false;

    // Physical shader.
    Colour pbrDiffuseColor;
    Colour pbrReflectivityColor;
    Colour pbrRefractionColor;
    float pbrDiffuse = 1;               // 0 to 100
    float pbrAmbient = 1;               // 0 to 100
    float pbrReflectivity = 0;          // 0 to 1
    float pbrRefraction = 0;            // 0 to 1
    float pbrGlossiness = 1;            // 0 to 1
    float pbrIoR = 1.5f;                // 1 to 10
    float pbrEnvironmentMultiplier = 1; // 0 to 100
    float pbrSpecularMultiplier = 1;    // 0 to 100
    bool pbrAffectRefraction = false;
    bool energyConservation = false;

    std::array<TextureChannel, kMaterialChannels> channels{
        TextureChannel(Channel::Diffuse),   TextureChannel(Channel::Specular),
        TextureChannel(Channel::Occlusion), TextureChannel(Channel::Illumination),
        TextureChannel(Channel::Normal),    TextureChannel(Channel::Environment),
        TextureChannel(Channel::Reflection)};

    friend bool operator==(const MaterialSettings&, const MaterialSettings&) = default;
};

// The shading record of a surface, shared by the models that use it.
class SceneMaterial : public Retained, public MaterialSettings {
public:
    explicit SceneMaterial(AssetContext* assets = nullptr) : context(assets) {}
    // All settings, the same context; the copy's textures are still to be loaded.
    SceneMaterial(const SceneMaterial& other);
    SceneMaterial& operator=(const SceneMaterial&) = delete;
    ~SceneMaterial() override;

    std::string name = "Default";
    std::vector<std::uint8_t> thumbnail; // RGBA pixels that a preset came with

    AssetContext* context;
    bool needsTextures = true;   // set when a channel's path changed; cleared by who loads the textures
    std::uint32_t previewId = 0; // thumbnail job, given back to the context at the end
    std::uint32_t currentChannel = kNoChannel; // read cursor: the channel that the tags 701 to 714 go to
    static constexpr std::uint32_t kNoChannel = 0xffffffff;

    [[nodiscard]] TextureChannel& channel(Channel number) {
        return number == Channel::Displacement ? displacement : channels[static_cast<std::size_t>(number)];
    }
    [[nodiscard]] const TextureChannel& channel(Channel number) const {
        return number == Channel::Displacement ? displacement : channels[static_cast<std::size_t>(number)];
    }

    // All settings back to their defaults; the name too unless `keepName`.
    void Reset(bool keepName);

    // What a stream of chunks starts from: Standard, with the blend modes at Normal. The chunks supply the
    // rest.
    void StartReading();
    // One tag, the payload padded with zeros when it is short. Tags outside 501 to 714 are ignored.
    void ReadChunk(std::uint32_t tag, Bytes payload);
    // All tags in their order. Tag 501 only `withName`; tag 502 holds the place, or -1 when there is none or
    // `places` is null.
    void WriteChunks(ChunkFile& file, const MaterialPlaces* places, bool withName) const;

    // A preset file (".qmt"), written beside its place and renamed over it. `pixels` may be empty; otherwise
    // RGBA rows of at most 65,535 bytes together. False when the file cannot be written; `error` then says
    // why.
    [[nodiscard]] bool WritePreset(const std::string& path, Bytes pixels, std::string* error = nullptr) const;
    // False, with the material as it was, when the file is missing or its magic is refused.
    [[nodiscard]] bool ReadPreset(const std::string& path);
    [[nodiscard]] bool ReadPresetBytes(Bytes bytes);

private:
    [[nodiscard]] bool ReadPreset(ChunkFile& file);
};

} // namespace velorin
