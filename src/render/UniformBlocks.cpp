#include "render/UniformBlocks.h"

#include "core/document/SceneMaterial.h"
#include "core/document/SceneModel.h"
#include "core/document/TextureChannel.h"
#include "render/RenderSettings.h"

#include <algorithm>
#include <cmath>

namespace velorin {

namespace {

// The effect keeps the penumbra's and the taps' own scatter at full size.
constexpr float kJitter = 1;
// The reciprocal of a fog range that is next to none.
constexpr float kLeastFogRange = 0.1f;
constexpr float kInvDistanceWithoutRange = 10;
// Depths behind the end when the output is not clamped.
constexpr float kDepthUnclamped = 100000;
// Neutral values of a light that is no spot.
constexpr float kConeOfOthers = 0.7853982f;
constexpr float kFeatherOfOthers = 1;
constexpr float kFalloffScale = 0.000005f;
// A parallel light's map has a depth scale of its own.
constexpr float kParallelBiasBackfaces = -0.00001f;
constexpr float kParallelBias = 0.0005f;
constexpr float kWireWidthOffset = 0.9f;
constexpr float kDisplayGamma = 0.45454544f; // of 2.2, reciprocal

Point4 Linear(Colour c, float gamma) {
    return {LinearFromDisplay(static_cast<float>(c.r) / 255, gamma),
            LinearFromDisplay(static_cast<float>(c.g) / 255, gamma),
            LinearFromDisplay(static_cast<float>(c.b) / 255, gamma), static_cast<float>(c.a) / 255};
}

Point4 Linear(Point3 c, float gamma, float alpha) {
    return {LinearFromDisplay(c.x, gamma), LinearFromDisplay(c.y, gamma), LinearFromDisplay(c.z, gamma),
            alpha};
}

float Flag(bool value) {
    return value ? 1.0f : 0.0f;
}

// Exponent of a fresnel term from the control.
float FresnelBias(float bias, float fresnel) {
    return bias * (fresnel < 0 ? 20.0f : 5.0f);
}

// Controls of contrast and saturation grow steeper in their last quarter.
float Steepened(float value) {
    return value >= 0.75f ? value + (value - 0.75f) * 10 : value;
}

ChannelBlock EnvironmentChannel(const EnvironmentSettings& environment, float textureGamma) {
    const TextureChannel plain(Channel::Environment);
    const TextureChannel& channel = environment.channel ? *environment.channel : plain;
    const bool hasImage = environment.overrideLayer || (environment.channel && HasImage(channel));
    return FillChannel(channel, textureGamma, false, hasImage);
}

void FillPhysical(const MaterialSettings& m, float gamma, MaterialPropertiesBlock& block) {
    block.diffuseColor = Linear(m.pbrDiffuseColor, gamma);
    block.reflectColor = Linear(m.pbrReflectivityColor, gamma);
    block.refractColor = Linear(m.pbrRefractionColor, gamma);
    block.diffuseAmount = m.pbrDiffuse;
    block.ambientAmount = m.pbrAmbient;
    block.specularShininess = m.pbrGlossiness;
    block.reflectAmount = m.pbrReflectivity;
    block.refractAmount = m.pbrRefraction;
    block.refractDistortion = m.pbrIoR != 0 ? 1 / m.pbrIoR : 1;
    block.environmentMultiplier = m.pbrEnvironmentMultiplier;
    block.specularAmount = m.pbrSpecularMultiplier;
    block.refractSpecularInfluence = Flag(m.pbrAffectRefraction);
    block.energyConservation = m.energyConservation;
}

void FillReflection(const MaterialSettings& m, float gamma, MaterialPropertiesBlock& block) {
    block.reflectColor = Linear(m.reflectionTint, gamma);
    block.refractColor = Linear(m.refractionTint, gamma);
    block.reflectAmount = m.reflectionIntensity;
    block.refractAmount = m.refractionIntensity;
    block.refractDistortion = m.refractionIoR != 0 ? 1 / m.refractionIoR : 1;
    block.reflectSpecularInfluence = Flag(m.affectReflection);
    block.refractSpecularInfluence = Flag(m.affectRefraction);
    block.reflectFresnel = m.reflectionFresnel;
    block.refractFresnel = m.refractionFresnel;
    block.reflectBias = FresnelBias(m.reflectionFresnelBias, m.reflectionFresnel);
    block.refractBias = FresnelBias(m.refractionFresnelBias, m.refractionFresnel);
    block.reflectMode = static_cast<std::int32_t>(m.reflectionBlend);
    block.refractMode = static_cast<std::int32_t>(m.refractionBlend);
}

SubSurfaceMaterialBlock FillSubSurface(const MaterialSettings& m, float gamma) {
    return {.enabled = m.sssEnable,
            .intensity = m.sssIntensity,
            .diffusion = m.scattering,
            .absorption = m.absorptionRange,
            .absorptionExponent = m.absorptionFalloff,
            .penetrationExponent = m.lightPenetration,
            .color = Linear(m.scatterColor, gamma)};
}

// Turning the depth of a bump inside out turns its slopes around.
NormalBlock FillNormal(const MaterialSettings& m, bool twoChannel) {
    const float depth = m.invertDepth ? -1.0f : 1.0f;
    return {.simple = !twoChannel,
            .swapXY = m.swapXY,
            .invert = {m.invertX ? -depth : depth, m.invertY ? -depth : depth}};
}

WireframeBlock FillWireframe(const MaterialSettings& m, float gamma) {
    return {.enabled = m.wireEnable,
            .lineWidth = m.wireWidth - kWireWidthOffset,
            .drawMode = static_cast<std::int32_t>(m.wireFillMode),
            .colorMode = static_cast<std::int32_t>(m.wireColorMode),
            .transferMode = static_cast<std::int32_t>(m.wireTransferMode),
            .hasFogInfluence = m.wireFogInfluence,
            .fresnel = m.wireFresnel,
            .bias = FresnelBias(m.wireFresnelBias, m.wireFresnel),
            .color = Linear(m.wireColor, gamma)};
}

void FillChannels(const MaterialSettings& m, float textureGamma, MaterialPropertiesBlock& block) {
    const bool blended = m.blendMode != MaterialBlend::Normal;
    const auto fill = [&](Channel number) {
        const TextureChannel& channel = m.channels[static_cast<std::size_t>(number)];
        return FillChannel(channel, textureGamma, blended, HasImage(channel));
    };
    block.diffuseChannel = fill(Channel::Diffuse);
    block.specularChannel = fill(Channel::Specular);
    block.occlusionChannel = fill(Channel::Occlusion);
    block.emissiveChannel = fill(Channel::Illumination);
    block.normalChannel = fill(Channel::Normal);
    block.environmentChannel = fill(Channel::Environment);
    block.reflectChannel = fill(Channel::Reflection);
}

FogBlock FillFog(const RenderSettings& s) {
    return {.color = Linear(s.fog.colour, s.gamma, s.fog.enabled ? s.fog.opacity : 0),
            .start = s.fog.start,
            .invDistance =
                std::abs(s.fog.range) < kLeastFogRange ? kInvDistanceWithoutRange : 1 / s.fog.range,
            .falloff = static_cast<float>(s.fog.falloff)};
}

ShadowBlock FillShadow(const RenderSettings& s) {
    const ShadowSettings& shadow = s.shadow;
    const float texel = 1 / static_cast<float>(std::max(1, shadow.mapSize));
    return {.enabled = shadow.enabled,
            .rayTraced = shadow.rayTraced,
            .penumbraDepth = shadow.shadowDepth != 0 ? shadow.shadowDepth : 1,
            .softSamples = shadow.samples,
            .softRadius = shadow.blurRadius * shadow.blurScale,
            .jitter = kJitter,
            .reflectionInfluence = s.environment.lightingInfluence,
            .gamma = shadow.gamma,
            .bias = shadow.depthBias,
            .smoothSample = shadow.smoothSampling,
            .invMapSize = {texel, texel},
            .softBlurDepthBias = shadow.blurBias};
}

LightBlock FillLight(const SceneLight& light, const RenderSettings& s) {
    const bool spot = light.type == LightType::Spot, parallel = light.type == LightType::Parallel;
    const Point3 direction = parallel ? -light.direction : light.direction;
    LightBlock block;
    block.position = {light.position.x, light.position.y, light.position.z, 1};
    block.direction = {direction.x, direction.y, direction.z, 0};
    block.diffuse = Linear(light.colour, s.gamma, 1);
    block.diffuse.x *= light.intensity, block.diffuse.y *= light.intensity,
        block.diffuse.z *= light.intensity;
    block.cosCone = spot ? std::cos(light.coneAngle / 2) : kConeOfOthers;
    block.feather = spot ? light.feather : kFeatherOfOthers;
    block.falloff = s.lightFalloff * s.lightFalloff * kFalloffScale * light.falloff;
    block.type = static_cast<std::int32_t>(light.type);
    block.diffusion = light.diffusion * s.shadow.blurScale;
    block.darkness = light.darkness;
    block.shadowBias = !parallel               ? s.shadow.depthBias
                       : s.shadow.useBackfaces ? kParallelBiasBackfaces
                                               : kParallelBias;
    block.shadowMatrix = ShadowMatrix(light.view, light.projection);
    block.projectionMatrix = light.projection;
    return block;
}

} // namespace

float LinearFromDisplay(float c, float gamma) {
    return c > 0 ? std::pow(c, gamma) : 0;
}

bool HasImage(const TextureChannel& channel) {
    return channel.enabled && (!channel.path.empty() || channel.customLayer >= 0);
}

ChannelBlock FillChannel(const TextureChannel& channel, float textureGamma, bool blended, bool hasImage) {
    ChannelBlock block;
    const float contrast = Steepened(channel.contrast), saturation = Steepened(channel.saturation);
    const bool display = channel.channel == Channel::Diffuse || channel.channel == Channel::Illumination ||
                         channel.channel == Channel::Environment;
    block.gamma = channel.gamma * (display ? textureGamma * kDisplayGamma : 1);
    if (channel.channel != Channel::Normal) {
        const float middle = channel.inputLevels[1];
        block.gamma *= std::min(1.0f, middle * 2) + std::max(0.0f, (middle - 0.5f) * 10);
    }
    block.amount = hasImage ? channel.amount : 0;
    block.contrast = contrast > 0 ? std::exp2(2 * contrast) : contrast;
    block.saturation = saturation > 0 ? std::exp2(2 * saturation) : saturation + 1;
    block.brightness = 2 * std::max(0.0f, channel.brightness) + 1 + std::min(0.0f, channel.brightness);
    block.invert = Flag(channel.invert);
    block.unmultiply = blended;
    block.uvRepeat = channel.uvRepeat;
    block.uvOffset = channel.uvOffset;
    block.levelInput = {channel.inputLevels[0], channel.inputLevels[2]};
    block.levelOutput = {channel.outputLevels[0], channel.outputLevels[1]};
    return block;
}

MaterialPropertiesBlock FillMaterial(const MaterialSettings& m, const MaterialFill& frame) {
    MaterialPropertiesBlock block;
    const float gamma = frame.gamma;
    block.diffuseColor = Linear(m.diffuseColor, gamma);
    block.specularColor = Linear(m.specularColor, gamma);
    block.emissiveColor = Linear(m.illuminationColor, gamma);
    block.diffuseAmount = m.diffuse;
    block.ambientAmount = m.ambient;
    block.specularAmount = m.specular;
    block.emissiveAmount = m.illuminationIntensity;
    block.specularShininess = m.specularShininess * 0.1f;
    block.specularSize = m.specularSharpness * 0.1f * 50 + 1;
    block.flatShading = 1 - m.smoothing;
    block.opacity = m.forceOpacity;
    block.matteShadow = Flag(m.matteShadow && frame.matteShadows);
    block.matteReflection = Flag(m.matteReflection && frame.matteShadows);
    block.matteUseDiffuseAlpha = Flag(m.matteAlpha && frame.matteShadows);
    block.twoSided = Flag(m.twoSidedLighting);
    FillReflection(m, gamma, block);
    block.emissiveFresnel = m.illuminationFresnel;
    block.emissiveBias = FresnelBias(m.illuminationFresnelBias, m.illuminationFresnel);
    block.emissiveDiffuse = Flag(m.useDiffuseColor);
    block.ambientOcclusionAmount = m.aoMode == AoMode::Ignore ? 0 : m.aoAmount;
    block.glowAmount = m.glowAmount;
    block.environmentDirection = frame.environmentDirection;
    block.alphaThreshold = m.alphaThreshold;
    block.receiveShadow = m.receiveShadow;
    block.ignoreIbl = frame.ignoreIbl;
    block.subSurface = FillSubSurface(m, gamma);
    block.normal = FillNormal(m, frame.twoChannelNormals);
    block.wireframe = FillWireframe(m, gamma);
    FillChannels(m, frame.textureGamma, block);
    if (m.type == MaterialType::Physical) FillPhysical(m, gamma, block);
    return block;
}

ModelPropertiesBlock FillModel(const SceneModel& model) {
    ModelPropertiesBlock block;
    const auto sign = [](bool negative) { return negative ? -1.0f : 1.0f; };
    block.modelFlip = {sign(model.flip[0]), sign(model.flip[1]), sign(model.flip[2]), 1};
    block.uvRepeat = model.uvRepeat;
    block.uvOffset = model.uvOffset;
    block.normalInvert = sign(model.invertNormals);
    block.flipNormal = block.modelFlip.x * block.modelFlip.y * block.modelFlip.z;

    const SceneModel* source = &model;
    while (source->reflectMode == ReflectMode::Default && source->parent) source = source->parent;
    const bool ownImage =
        source->reflectMode == ReflectMode::MirrorSurface || source->reflectMode == ReflectMode::Spherical;
    DynamicReflectionBlock& reflection = block.dynamicReflection;
    reflection.clipMirror = ownImage ? static_cast<std::int32_t>(source->mirrorClip) : 0;
    reflection.disableEnvironment = model.disableEnvironment;
    reflection.offset = {model.reflectOffset.x, -model.reflectOffset.y, model.reflectOffset.z, 1};
    const Quaternion turn = QuaternionFromEuler(model.reflectRotation.x * kRadiansPerDegree,
                                                model.reflectRotation.y * kRadiansPerDegree, 0);
    const Point3 up = TransformDirection({0, 1, 0}, ToMatrix(turn));
    reflection.reflectDirection = {up.x, up.y, up.z, 0};
    return block;
}

RenderPropertiesBlock FillRenderProperties(const RenderSettings& s) {
    RenderPropertiesBlock block;
    block.fog = FillFog(s);
    block.shadow = FillShadow(s);
    block.subSurface = {.enabled = s.subSurface.enabled,
                        .intensity = s.subSurface.intensity,
                        .samples = s.subSurface.samples,
                        .diffusion = s.subSurface.scattering,
                        .tintFactor = s.subSurface.lightColourTint,
                        .jitter = kJitter,
                        .absorptionMultiplier = s.subSurface.absorption,
                        .falloffMultiplier = s.subSurface.falloff,
                        .lightBlending = s.subSurface.lightBlending,
                        .sssBias = s.subSurface.depthBias};
    block.ao = {.enabled = s.ao.enabled,
                .emissiveInfluence = s.ao.illuminationInfluence,
                .lightInfluence = s.ao.lightInfluence,
                .fogInfluence = s.fog.enabled ? s.ao.fogInfluence : 0,
                .colorMode = s.ao.colourMode,
                .contrast = s.ao.contrast,
                .color = Linear(s.ao.colour, s.gamma, 1)};
    block.matteShadow = {.opacity = s.matteShadow.opacity,
                         .lightInfluence = s.matteShadow.lightInfluence,
                         .shadowTint = Linear(s.matteShadow.tint, s.gamma, 1)};
    block.mixer = {.ambient = s.mixer.ambient,
                   .diffuse = s.mixer.diffuse,
                   .specular = s.mixer.specular,
                   .reflect = s.mixer.reflect,
                   .refract = s.mixer.refract,
                   .emissive = s.mixer.emissive,
                   .subSurface = s.mixer.subSurface,
                   .shadows = s.mixer.shadows};
    const float depthRange = s.depthOutput.end - s.depthOutput.start;
    block.outputProperties = {.depthMin = s.depthOutput.start,
                              .depthInvRange = depthRange != 0 ? 1 / depthRange : kDepthUnclamped,
                              .depthClamp = s.depthOutput.clamp ? 1 : kDepthUnclamped,
                              .dofViewMatrix = s.dof.view,
                              .dofProjectionMatrix = s.dof.projection,
                              .dofSpacing = s.dof.spacing,
                              .wireframeOnly = Flag(s.output == Output::Wireframe),
                              .specularCompression = s.specularCompression};
    block.environmentChannel = EnvironmentChannel(s.environment, s.textureGamma);
    block.environmentMatrix = Transposed(s.environment.rotation);
    block.environmentTint = Linear(s.environment.tint, s.gamma, 1);
    block.environmentExposure = s.environment.exposure;
    block.environmentGamma = s.environment.gamma;
    block.gamma = s.gamma != 0 ? 1 / s.gamma : 1;
    block.globalWireframeWidth = s.wireframeWidth;
    block.lineWidthMultiplicator = 2 * static_cast<float>(s.gridSide());
    return block;
}

ShadowLayers AssignShadowLayers(const RenderSettings& settings) {
    ShadowLayers layers;
    layers.light.fill(-1);
    std::size_t slot = 0;
    for (const SceneLight& light : settings.lights) {
        if (light.type == LightType::Ambient) continue;
        if (slot == kMaxLights) break;
        if (light.castShadows) {
            layers.light[slot] = layers.count;
            // A point light has no layer among the maps.
            if (settings.shadow.rayTraced || light.type != LightType::Point) ++layers.count;
        }
        ++slot;
    }
    return layers;
}

LightsBlock FillLights(const RenderSettings& settings) {
    LightsBlock block;
    const ShadowLayers layers = AssignShadowLayers(settings);
    for (const SceneLight& light : settings.lights) {
        if (light.type == LightType::Ambient) {
            const Point4 colour = Linear(light.colour, settings.gamma, 1);
            block.ambientLights.x += colour.x * light.intensity;
            block.ambientLights.y += colour.y * light.intensity;
            block.ambientLights.z += colour.z * light.intensity;
            block.ambientLights.w += 1;
        } else if (static_cast<std::size_t>(block.numLights) < kMaxLights) {
            const auto slot = static_cast<std::size_t>(block.numLights++);
            block.lights[slot] = FillLight(light, settings);
            block.lights[slot].shadowId = layers.light[slot];
        }
    }
    return block;
}

TransformBlock FillTransform(const Matrix& view, const Matrix& projection, Point3 eyeWorld,
                             Point2 viewportScale, Point2 viewportOffset) {
    return {.viewMatrix = view,
            .projectionMatrix = projection,
            .eyePosition = eyeWorld,
            .viewportScale = viewportScale,
            .viewportOffset = viewportOffset};
}

Matrix ShadowMatrix(const Matrix& lightView, const Matrix& lightProjection) {
    return lightView * lightProjection * Matrix::Scale({0.5f, 0.5f, 0.5f}) *
           Matrix::Translation({0.5f, 0.5f, 0.5f});
}

} // namespace velorin
