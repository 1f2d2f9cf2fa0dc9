#pragma once

#include "services/NxMath.h"

#include <array>
#include <cstddef>
#include <cstdint>

// The six uniform blocks of the material programs as they lie in GL buffers (std140), and the pure functions
// that fill them from scene and frame. Positions and directions are in world space (x right, y down, z away),
// angles are gone, colours are linear: a stored byte c is (c / 255) ^ gamma, its alpha c / 255.
//
// Matrices are uploaded as they lie: row vectors here are column vectors there.

namespace velorin {

struct MaterialSettings;
class SceneModel;
struct RenderSettings;
struct TextureChannel;

inline constexpr std::size_t kMaxLights = 8;

enum class UniformBlock : std::uint32_t {
    TransformMatrices,
    Lights,
    RenderProperties,
    ShaderState,
    ModelProperties,
    MaterialProperties
};
inline constexpr std::size_t kUniformBlocks = 6;

struct UniformBlockInfo {
    const char* name; // in the shaders; the binding is the position in the table
    std::size_t size; // bytes
};
inline constexpr std::array<UniformBlockInfo, kUniformBlocks> kUniformBlockTable{{
    {"TransformMatrices", 160},
    {"Lights", 1696},
    {"RenderProperties", 592},
    {"ShaderState", 752},
    {"ModelProperties", 96},
    {"MaterialProperties", 784},
}};

// A bool of a block.
using BlockBool = std::int32_t;

// Per pass and tile.
struct TransformBlock {
    Matrix viewMatrix;       // world to view
    Matrix projectionMatrix; // view to clip, scaled and moved to the tile
    Point3 eyePosition;      // world
    float pad0 = 0;
    Point2 viewportScale{1, 1}; // frame pixel = fragment * scale + offset
    Point2 viewportOffset;
};

struct LightBlock {
    Point4 position;            // world
    Point4 direction;           // parallel: from the surface to the light; spot: the way the light travels
    Point4 diffuse;             // linear, intensity in it
    float cosCone = 0.7853982f; // of half the cone's angle
    float feather = 1;
    float falloff = 0;
    std::int32_t type = 0;      // LightType: 1 parallel, 2 point, 3 spot
    std::int32_t shadowId = -1; // layer of the shadow textures; -1: no shadow
    float diffusion = 0;        // penumbra, world units
    float darkness = 1;
    float shadowBias = 0;
    Matrix shadowMatrix;     // world to 0..1 of the shadow map
    Matrix projectionMatrix; // of the shadow map
};

// Per time sample.
struct LightsBlock {
    std::int32_t numLights = 0;
    std::array<std::int32_t, 3> pad{};
    std::array<LightBlock, kMaxLights> lights{};
    Point4 ambientLights; // sum of the ambient lights; w counts them
};

struct ChannelBlock {
    float gamma = 1, amount = 0, contrast = 0, saturation = 1, brightness = 1, invert = 0;
    BlockBool unmultiply = 0;
    float pad1 = 0;
    Point2 uvRepeat{1, 1}, uvOffset{0, 0};
    Point2 levelInput{0, 1}, levelOutput{0, 1}; // low, high
};

struct FogBlock {
    Point4 color; // alpha: opacity, 0 without fog
    float start = 0, invDistance = 1, falloff = 1, pad0 = 0;
};

struct ShadowBlock {
    BlockBool enabled = 0, rayTraced = 0;
    float penumbraDepth = 1, softSamples = 1, softRadius = 0, jitter = 1, reflectionInfluence = 0, gamma = 1,
          bias = 0;
    BlockBool smoothSample = 0;
    Point2 invMapSize{1, 1};
    float softBlurDepthBias = 0;
    std::array<float, 3> pad{};
};

struct SubSurfaceBlock {
    BlockBool enabled = 0;
    float intensity = 1, samples = 1, diffusion = 1, tintFactor = 1, jitter = 1, absorptionMultiplier = 1,
          falloffMultiplier = 1, lightBlending = 1, sssBias = 0;
    std::array<float, 2> pad{};
};

struct OcclusionBlock {
    BlockBool enabled = 0;
    float emissiveInfluence = 1, lightInfluence = 0, fogInfluence = 1;
    std::int32_t colorMode = 0;
    float contrast = 0, pad0 = 0, pad1 = 0;
    Point4 color;
};

struct MatteShadowBlock {
    float opacity = 1, lightInfluence = 0, pad0 = 0, pad1 = 0;
    Point4 shadowTint;
};

struct MixerBlock {
    float ambient = 1, diffuse = 1, specular = 1, reflect = 1, refract = 1, emissive = 1, subSurface = 1,
          shadows = 1;
};

struct OutputBlock {
    float depthMin = 0, depthInvRange = 1, depthClamp = 1, pad0 = 0;
    Matrix dofViewMatrix, dofProjectionMatrix;
    float dofSpacing = 0, wireframeOnly = 0, specularCompression = 0, pad1 = 0;
};

// Per time sample.
struct RenderPropertiesBlock {
    FogBlock fog;
    ShadowBlock shadow;
    SubSurfaceBlock subSurface;
    OcclusionBlock ao;
    MatteShadowBlock matteShadow;
    MixerBlock mixer;
    OutputBlock outputProperties;
    ChannelBlock environmentChannel;
    Matrix environmentMatrix; // transposed: the shaders multiply directions from the left
    Point4 environmentTint;
    float environmentExposure = 1, environmentGamma = 1;
    float gamma = 1 / 2.2f;            // 1 / that of the settings
    float globalWireframeWidth = 0.5f; // in units of lineWidthMultiplicator pixels
    float lineWidthMultiplicator = 2;  // pixels of the (supersampled) picture
    std::array<float, 3> pad{};
};

struct RenderStateBlock {
    std::int32_t dynamicReflection = 0; // of the drawn model: 0 none, 1 plane, 2 cube
    BlockBool clipPlane = 0, globalEnvironment = 1, ambientOcclusion = 0, rayTracedShadows = 0,
              shadowMaps = 0, blendOpacity = 0, globalWireframe = 0, wireframeSupersample = 1;
    BlockBool flipNormals = 0; // the instance's matrix mirrors, so that its culled face is swapped
    BlockBool pad0 = 0, pad1 = 0;
};

// Per draw.
struct ShaderStateBlock {
    RenderStateBlock renderState;
    Point2 frameBufferSize{1, 1}; // pixels of the frame
    std::int32_t objectId = 0;
    float pad0 = 0;
    Point2 modelUvOffset;
    Point2 viewportSize{1, 1};     // fragments that clip coordinates span
    Point4 modelColor{1, 1, 1, 1}; // tint and opacity of the instance
    Matrix modelMatrix, baseModelMatrix;
    Matrix normalMatrix;       // inverse transpose of modelMatrix
    Matrix dynamicPlaneMatrix; // world to clip of the mirrored camera
    std::array<Matrix, 6> cubeViewMatrix{};
    Point4 clipPlane; // normal, -distance: what is not above is not drawn
};

struct DynamicReflectionBlock {
    std::int32_t clipMirror = 0; // 0 off, 1 only above, 2 only below the plane
    BlockBool disableEnvironment = 0;
    float pad0 = 0, pad1 = 0;
    Point4 offset;           // model space
    Point4 reflectDirection; // model space, unit
};

// Per model.
struct ModelPropertiesBlock {
    Point4 modelFlip{1, 1, 1, 1};
    Point2 uvRepeat{1, 1}, uvOffset;
    float normalInvert = 1, flipNormal = 1, pad0 = 0, pad1 = 0;
    DynamicReflectionBlock dynamicReflection;
};

struct SubSurfaceMaterialBlock {
    BlockBool enabled = 0;
    float intensity = 1, diffusion = 1, absorption = 0, absorptionExponent = 2, penetrationExponent = 1,
          pad0 = 0, pad1 = 0;
    Point4 color{1, 1, 1, 1};
};

struct NormalBlock {
    BlockBool simple = 1; // rgb holds x, y, z; otherwise x stands in alpha and y in green
    BlockBool swapXY = 0;
    Point2 invert{1, 1};
};

struct WireframeBlock {
    BlockBool enabled = 0;
    float lineWidth = 0;
    std::int32_t drawMode = 0, colorMode = 0, transferMode = 0;
    BlockBool hasFogInfluence = 1;
    float fresnel = 0, bias = 0;
    Point4 color;
};

// Per material.
struct MaterialPropertiesBlock {
    Point4 diffuseColor{1, 1, 1, 1}, specularColor{1, 1, 1, 1}, emissiveColor{1, 1, 1, 1},
        reflectColor{1, 1, 1, 1}, refractColor{1, 1, 1, 1};
    float diffuseAmount = 1, ambientAmount = 1, specularAmount = 1, emissiveAmount = 0;
    float specularShininess = 0.05f, specularSize = 1, flatShading = 0, environmentMultiplier = 1;
    float opacity = 1, matteShadow = 0, matteReflection = 0, matteUseDiffuseAlpha = 0, twoSided = 1;
    float reflectAmount = 0, refractAmount = 0, refractDistortion = 1, reflectSpecularInfluence = 1,
          refractSpecularInfluence = 1, reflectFresnel = 0, refractFresnel = 0, reflectBias = 0,
          refractBias = 0;
    std::int32_t reflectMode = 1, refractMode = 1;
    float emissiveFresnel = 0, emissiveBias = 0, emissiveDiffuse = 0;
    float ambientOcclusionAmount = 1, glowAmount = 1, environmentDirection = 1, alphaThreshold = 0;
    BlockBool receiveShadow = 1, ignoreIbl = 0, energyConservation = 0, pad0 = 0, pad1 = 0;
    SubSurfaceMaterialBlock subSurface;
    NormalBlock normal;
    WireframeBlock wireframe;
    ChannelBlock diffuseChannel, specularChannel, occlusionChannel, emissiveChannel, normalChannel,
        environmentChannel, reflectChannel;
};

// Whether the channel has a picture to show: it is on and names a file or a layer. Without one the channel's
// neutral value is used, whatever texture is bound.
[[nodiscard]] bool HasImage(const TextureChannel& channel);

// One slot. `textureGamma` is that of the settings, `blended` whether the material is added or screened.
[[nodiscard]] ChannelBlock FillChannel(const TextureChannel& channel, float textureGamma, bool blended,
                                       bool hasImage);

// What a material's block depends on besides the material; a change of any of it refills the block.
struct MaterialFill {
    float gamma = 2.2f, textureGamma = 2.2f;
    bool matteShadows = true;       // the frame's matte shadow switch
    bool twoChannelNormals = false; // the normal texture is a compressed one with x in alpha, y in green
    float environmentDirection = 1; // -1: the surface shows the environment that lies behind it (background)
    bool ignoreIbl = false;
    friend bool operator==(const MaterialFill&, const MaterialFill&) = default;
};
[[nodiscard]] MaterialPropertiesBlock FillMaterial(const MaterialSettings& material,
                                                   const MaterialFill& frame);

// A model without a reflection mode of its own takes the mirror clip of the nearest folder that has one.
[[nodiscard]] ModelPropertiesBlock FillModel(const SceneModel& model);

[[nodiscard]] RenderPropertiesBlock FillRenderProperties(const RenderSettings& settings);

// The first eight lights that are not ambient.
[[nodiscard]] LightsBlock FillLights(const RenderSettings& settings);

// Layers of the shadow textures, by position in RenderSettings::lights; -1 for a light without one.
// Ray-traced shadows have a layer for each casting light. Maps have one for each casting light but point
// lights, whose number only says that they cast.
struct ShadowLayers {
    std::array<std::int32_t, kMaxLights> light{}; // by position in LightsBlock::lights
    std::int32_t count = 0;                       // layers to make
};
[[nodiscard]] ShadowLayers AssignShadowLayers(const RenderSettings& settings);

[[nodiscard]] TransformBlock FillTransform(const Matrix& view, const Matrix& projection, Point3 eyeWorld,
                                           Point2 viewportScale, Point2 viewportOffset);

// World to 0..1 in x, y and depth of a light's map.
[[nodiscard]] Matrix ShadowMatrix(const Matrix& lightView, const Matrix& lightProjection);

// c ^ gamma for c above 0, else 0.
[[nodiscard]] float LinearFromDisplay(float c, float gamma);

static_assert(sizeof(TransformBlock) == 160 && offsetof(TransformBlock, eyePosition) == 128 &&
              offsetof(TransformBlock, viewportScale) == 144);
static_assert(sizeof(LightBlock) == 208 && offsetof(LightBlock, cosCone) == 48 &&
              offsetof(LightBlock, shadowId) == 64 && offsetof(LightBlock, shadowMatrix) == 80);
static_assert(sizeof(LightsBlock) == 1696 && offsetof(LightsBlock, lights) == 16 &&
              offsetof(LightsBlock, ambientLights) == 1680);
static_assert(sizeof(ChannelBlock) == 64 && offsetof(ChannelBlock, uvRepeat) == 32);
static_assert(sizeof(FogBlock) == 32 && sizeof(ShadowBlock) == 64 && sizeof(SubSurfaceBlock) == 48 &&
              sizeof(OcclusionBlock) == 48 && sizeof(MatteShadowBlock) == 32 && sizeof(MixerBlock) == 32 &&
              sizeof(OutputBlock) == 160);
static_assert(offsetof(ShadowBlock, invMapSize) == 40 && offsetof(OutputBlock, dofViewMatrix) == 16);
static_assert(sizeof(RenderPropertiesBlock) == 592 && offsetof(RenderPropertiesBlock, shadow) == 32 &&
              offsetof(RenderPropertiesBlock, subSurface) == 96 &&
              offsetof(RenderPropertiesBlock, ao) == 144 &&
              offsetof(RenderPropertiesBlock, matteShadow) == 192 &&
              offsetof(RenderPropertiesBlock, mixer) == 224 &&
              offsetof(RenderPropertiesBlock, outputProperties) == 256 &&
              offsetof(RenderPropertiesBlock, environmentChannel) == 416 &&
              offsetof(RenderPropertiesBlock, environmentTint) == 544);
static_assert(sizeof(RenderStateBlock) == 48);
static_assert(sizeof(ShaderStateBlock) == 752 && offsetof(ShaderStateBlock, objectId) == 56 &&
              offsetof(ShaderStateBlock, modelUvOffset) == 64 &&
              offsetof(ShaderStateBlock, viewportSize) == 72 &&
              offsetof(ShaderStateBlock, modelColor) == 80 && offsetof(ShaderStateBlock, modelMatrix) == 96 &&
              offsetof(ShaderStateBlock, cubeViewMatrix) == 352 &&
              offsetof(ShaderStateBlock, clipPlane) == 736);
static_assert(sizeof(ModelPropertiesBlock) == 96 && offsetof(ModelPropertiesBlock, dynamicReflection) == 48);
static_assert(sizeof(SubSurfaceMaterialBlock) == 48 && sizeof(NormalBlock) == 16 &&
              sizeof(WireframeBlock) == 48);
static_assert(sizeof(MaterialPropertiesBlock) == 784 && offsetof(MaterialPropertiesBlock, opacity) == 112 &&
              offsetof(MaterialPropertiesBlock, reflectMode) == 168 &&
              offsetof(MaterialPropertiesBlock, receiveShadow) == 204 &&
              offsetof(MaterialPropertiesBlock, subSurface) == 224 &&
              offsetof(MaterialPropertiesBlock, diffuseChannel) == 336);

} // namespace velorin
