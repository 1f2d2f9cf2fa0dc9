#include "core/document/FieldRows.h"
#include "core/document/SceneMaterial.h"

#include <algorithm>

namespace velorin {

namespace {

constexpr FieldLabel kMaterialTypes[] = {{0, "Standard Shader"}, {1, "Physical Shader"}};
constexpr FieldLabel kAoModes[] = {{0, "On"}, {1, "Ignore"}, {2, "Receive RTAO"}};
constexpr FieldLabel kBlendModes[] = {{0, "Normal"}, {1, "Add"}, {2, "Screen"}};
constexpr FieldLabel kReflectionBlends[] = {{0, "Normal"}, {1, "Normal Clamp"}, {2, "Add"}};
constexpr FieldLabel kWireFillModes[] = {{0, "Solid"}, {1, "Lines Only"}};
constexpr FieldLabel kWireColorModes[] = {{0, "Color"}, {1, "From Material"}};
constexpr FieldLabel kWireTransferModes[] = {{0, "Mix"}, {1, "Screen"}, {2, "Add"}, {3, "Multiply"}};

SceneMaterial& Material(void* record) {
    return *static_cast<SceneMaterial*>(record);
}

void ReadForceOpacity(void* record, PayloadReader payload, std::uint32_t) {
    Material(record).forceOpacity = std::min(payload.Take<float>(), 1.0f);
}

void ReadOldMatteShadow(void* record, PayloadReader payload, std::uint32_t) {
    Material(record).matteShadow = payload.Take<std::uint8_t>() != 0;
}

// One flag for the camera and the shadow.
void ReadOldVisibility(void* record, PayloadReader payload, std::uint32_t) {
    SceneMaterial& material = Material(record);
    material.visibleToCamera = payload.Take<std::uint8_t>() != 0;
    if (material.castShadow) material.castShadow = material.visibleToCamera;
}

// Stored as low, high, mid.
void ReadOldInputLevels(void* record, PayloadReader payload, std::uint32_t) {
    std::array<float, 3>& levels = static_cast<TextureChannel*>(record)->inputLevels;
    levels[0] = payload.Take<float>();
    levels[2] = payload.Take<float>();
    levels[1] = payload.Take<float>();
}

template <auto Member>
consteval Field M(std::uint16_t tag, const char* name, std::span<const FieldLabel> labels = {},
                  FieldReader read = nullptr) {
    return Row<SceneMaterial, Member>(tag, name, tag == 0 ? FieldUse::NotStored : FieldUse::Always, labels,
                                      read);
}

using S = SceneMaterial;

// In the order of writing. The displacement channel stands after the seven others.
constexpr auto kMaterialRows = std::to_array<Field>({
    M<&S::name>(501, "name"),
    M<&S::index>(502, "index"),
    M<&S::type>(503, "type", kMaterialTypes),
    M<&S::diffuseColor>(510, "diffuseColor"),
    M<&S::smoothing>(511, "smoothing"),
    M<&S::diffuse>(512, "diffuse"),
    M<&S::specular>(513, "specular"),
    M<&S::specularShininess>(514, "specularShininess"),
    M<&S::ambient>(515, "ambient"),
    M<&S::alphaThreshold>(516, "alphaThreshold"),
    M<&S::specularColor>(517, "specularColor"),
    M<&S::forceOpacity>(518, "forceOpacity", {}, &ReadForceOpacity),
    M<&S::drawBackfaces>(519, "drawBackfaces"),
    M<&S::blendMode>(520, "blendMode", kBlendModes),
    M<&S::twoSidedLighting>(521, "twoSidedLighting"),
    M<&S::specularSharpness>(522, "specularSharpness"),
    M<&S::reflectionIntensity>(530, "reflectionIntensity"),
    M<&S::reflectionFresnel>(531, "reflectionFresnel"),
    M<&S::reflectionFresnelBias>(532, "reflectionFresnelBias"),
    M<&S::reflectionTint>(533, "reflectionTint"),
    M<&S::reflectionBlend>(534, "reflectionBlend", kReflectionBlends),
    M<&S::refractionIntensity>(540, "refractionIntensity"),
    M<&S::refractionFresnel>(541, "refractionFresnel"),
    M<&S::refractionFresnelBias>(542, "refractionFresnelBias"),
    M<&S::refractionIoR>(543, "refractionIoR"),
    M<&S::refractionTint>(544, "refractionTint"),
    M<&S::refractionBlend>(545, "refractionBlend", kReflectionBlends),
    M<&S::illuminationIntensity>(550, "illuminationIntensity"),
    M<&S::illuminationFresnel>(551, "illuminationFresnel"),
    M<&S::illuminationFresnelBias>(552, "illuminationFresnelBias"),
    M<&S::illuminationColor>(553, "illuminationColor"),
    M<&S::useDiffuseColor>(554, "useDiffuseColor"),
    M<&S::swapXY>(560, "swapXY"),
    M<&S::invertX>(561, "invertX"),
    M<&S::invertY>(562, "invertY"),
    M<&S::invertDepth>(563, "invertDepth"),
    M<&S::convertBump>(564, "convertBump"),
    M<&S::aoMode>(571, "aoMode", kAoModes),
    M<&S::castShadow>(572, "castShadow"),
    M<&S::receiveShadow>(573, "receiveShadow"),
    OldRow(574, &ReadOldVisibility),
    M<&S::visibleToCamera>(585, "visibleToCamera"),
    M<&S::visibleToReflections>(584, "visibleToReflections"),
    M<&S::legacyFlag>(575, "legacyFlag"),
    M<&S::aoAmount>(580, "aoAmount"),
    M<&S::glowAmount>(581, "glowAmount"),
    M<&S::matteShadow>(570, "matteShadow"),
    OldRow(582, &ReadOldMatteShadow),
    M<&S::matteReflection>(583, "matteReflection"),
    M<&S::matteAlpha>(586, "matteAlpha"),
    M<&S::invisibleToAOGlow>(587, "invisibleToAOGlow"),
    M<&S::sssIntensity>(590, "sssIntensity"),
    M<&S::scattering>(591, "scattering"),
    M<&S::absorptionFalloff>(592, "absorptionFalloff"),
    M<&S::scatterColor>(593, "scatterColor"),
    M<&S::absorptionRange>(594, "absorptionRange"),
    M<&S::sssEnable>(595, "sssEnable"),
    M<&S::lightPenetration>(596, "lightPenetration"),
    M<&S::displaceA>(600, "displaceA"),
    M<&S::displaceC>(601, "displaceC"),
    M<&S::displaceB>(602, "displaceB"),
    M<&S::displaceD>(603, "displaceD"),
    M<&S::wireEnable>(620, "wireEnable"),
    M<&S::wireWidth>(621, "wireWidth"),
    M<&S::wireColor>(622, "wireColor"),
    M<&S::wireFillMode>(623, "wireFillMode", kWireFillModes),
    M<&S::wireColorMode>(624, "wireColorMode", kWireColorModes),
    M<&S::wireTransferMode>(625, "wireTransferMode", kWireTransferModes),
    M<&S::wireFogInfluence>(626, "wireFogInfluence"),
    M<&S::wireFresnel>(627, "wireFresnel"),
    M<&S::wireFresnelBias>(628, "wireFresnelBias"),
    M<&S::pbrAmbient>(650, "pbrAmbient"),
    M<&S::pbrDiffuse>(651, "pbrDiffuse"),
    M<&S::pbrDiffuseColor>(652, "pbrDiffuseColor"),
    M<&S::pbrReflectivityColor>(653, "pbrReflectivityColor"),
    M<&S::pbrReflectivity>(654, "pbrReflectivity"),
    M<&S::pbrGlossiness>(655, "pbrGlossiness"),
    M<&S::pbrRefraction>(656, "pbrRefraction"),
    M<&S::pbrAffectRefraction>(657, "pbrAffectRefraction"),
    M<&S::pbrRefractionColor>(658, "pbrRefractionColor"),
    M<&S::pbrIoR>(659, "pbrIoR"),
    M<&S::pbrEnvironmentMultiplier>(660, "pbrEnvironmentMultiplier"),
    M<&S::pbrSpecularMultiplier>(661, "pbrSpecularMultiplier"),
    M<&S::energyConservation>(662, "energyConservation"),
    ListRow<S, &S::channels>(700, "channels", FieldKind::Channels),
    M<&S::sortOrder>(0, "sortOrder"),
    M<&S::affectReflection>(0, "affectReflection"),
    M<&S::affectRefraction>(0, "affectRefraction"),
});

template <auto Member>
consteval Field C(std::uint16_t tag, const char* name, FieldUse use = FieldUse::Always) {
    return Row<TextureChannel, Member>(tag, name, use);
}

using T = TextureChannel;

constexpr auto kChannelRows = std::to_array<Field>({
    C<&T::path>(701, "path"),
    C<&T::enabled>(702, "enabled"),
    C<&T::amount>(703, "amount"),
    C<&T::gamma>(704, "gamma"),
    C<&T::customLayer>(705, "customLayer"),
    C<&T::uvOffset>(706, "uvOffset"),
    C<&T::uvRepeat>(706, "uvRepeat"),
    C<&T::contrast>(707, "contrast"),
    C<&T::saturation>(708, "saturation"),
    C<&T::brightness>(709, "brightness", FieldUse::ExceptDisplacement),
    C<&T::invert>(710, "invert", FieldUse::ExceptDisplacement),
    OldRow(712, &ReadOldInputLevels),
    C<&T::inputLevels>(714, "inputLevels"),
    C<&T::outputLevels>(713, "outputLevels"),
});

constexpr auto kMaterialIndex = IndexTags(kMaterialRows);
constexpr auto kChannelIndex = IndexTags(kChannelRows);

} // namespace

constinit const FieldTable kMaterialFields{kMaterialRows, kMaterialIndex.data()};
constinit const FieldTable kChannelFields{kChannelRows, kChannelIndex.data()};

} // namespace velorin
