#include "host/FrameRows.h"

#include "host/HostCamera.h"
#include "host/HostLights.h"
#include "host/LightPresets.h"
#include "host/ParamTable.h"
#include "host/ShadowCameras.h"
#include "render/Renderer.h"

#include <algorithm>

namespace velorin {
namespace {

// Short forms over the reader: what a row shows in percent as a factor, and whole numbers rounded.
struct Values {
    const ParamReader& rows;

    [[nodiscard]] bool On(std::uint32_t id) const { return rows.Check(id); }
    [[nodiscard]] int Popup(std::uint32_t id) const { return rows.Popup(id); }
    [[nodiscard]] float Float(std::uint32_t id) const { return rows.Float(id); }
    [[nodiscard]] float Percent(std::uint32_t id) const { return rows.Percent(id); }
    [[nodiscard]] int Whole(std::uint32_t id) const { return RoundedSigned(rows.Float(id)); }
    [[nodiscard]] float Degrees(std::uint32_t id) const { return rows.Angle(id) / kRadiansPerDegree; }
    [[nodiscard]] Point3 Colour(std::uint32_t id) const {
        const Point4 colour = rows.Color(id);
        return {colour.x, colour.y, colour.z};
    }
    [[nodiscard]] Point3 Turns(std::uint32_t x, std::uint32_t y, std::uint32_t z) const {
        return {rows.Turn(x), rows.Turn(y), rows.Turn(z)};
    }
};

// "Show" has two entries that give one output with and without multisampling.
constexpr int kDepthWithoutAA = 3;
Output OutputOf(int show) {
    return static_cast<Output>(std::clamp(show < kDepthWithoutAA ? show : show - 1, 1, 19));
}

// Multisampling popups: the second entry is one sample, each later one twice as many.
int SampleCount(int popup) {
    return popup < 2 ? 0 : 1 << (popup - 2);
}

void ReadOutput(const Values& v, double downsample, RenderSettings& s) {
    const int show = v.Popup(RowId("Output/Show"));
    s.output = OutputOf(show);
    s.renderMode = static_cast<RenderMode>(std::clamp(v.Popup(RowId("Render Mode")), 1, 4));
    s.polygonMode = static_cast<PolygonMode>(std::clamp(v.Popup(RowId("Polygon Mode")) - 1, 0, 2));
    s.sampleCount = SampleCount(v.Popup(RowId("Output/Multisampling")));
    if (show == kDepthWithoutAA || s.output == Output::WorldPosition) s.sampleCount = 0;
    s.supersampling = std::clamp(v.Popup(RowId("Supersampling")), 1, 4);
    s.enhancedMultisampling = v.On(RowId("Enhanced Multisampling"));
    s.depthSorted = v.Popup(RowId("Render Order")) == 2;
    s.subsamplePost = v.On(RowId("Subsample Post Effects"));
    s.fxaa = s.output == Output::WorldPosition ? v.Whole(RowId("Edge Smoothing"))
                                               : v.Whole(RowId("FXAA Smoothing"));
    s.gamma = v.Float(RowId("Sampling & Aliasing/Gamma"));
    s.textureGamma = v.Float(RowId("Texture Gamma"));
    s.highlightCompression = v.Float(RowId("Highlight Compression"));
    s.specularCompression = v.Float(RowId("Specular Compression"));
    s.compressTextures = v.On(RowId("Compress Textures"));
    const auto pixels = [&](std::uint32_t id) {
        return std::max(1.0f, static_cast<float>(v.Float(id) / downsample));
    };
    s.wireframeWidth = pixels(RowId("Wireframe Width")) * 0.5f;
    s.pointSize = pixels(RowId("Point Size")) * static_cast<float>(1 << (s.supersampling - 1));

    s.depthOutput.start = v.Float(RowId("Z Depth Start"));
    s.depthOutput.end = v.Float(RowId("Z Depth End"));
    s.depthOutput.clamp = v.On(RowId("Clamp Output"));
    s.depthOutput.preserveAlpha = v.On(RowId("Z Depth Output/Preserve Alpha"));

    s.mixer = {
        v.Float(RowId("Multi-Pass Mixer/Diffuse")),          v.Float(RowId("Multi-Pass Mixer/Specular")),
        v.Float(RowId("Multi-Pass Mixer/Ambient Lighting")), v.Float(RowId("Multi-Pass Mixer/Reflectivity")),
        v.Float(RowId("Multi-Pass Mixer/Refraction")),       v.Float(RowId("Multi-Pass Mixer/Illumination")),
        v.Float(RowId("Multi-Pass Mixer/Shadows")),          v.Float(RowId("Multi-Pass Mixer/SSS"))};
}

void ReadMatte(const Values& v, MatteSettings& m) {
    m.mode = v.Popup(RowId("World Position Output/Show")) == 1 ? MatteMode::Colour : MatteMode::Matte;
    const Point2 position = v.rows.PointXY(RowId("Position XY Matte"));
    m.position = {position.x, position.y, v.Float(RowId("Position Z Matte"))};
    m.rotationX = v.Degrees(RowId("X Rotation Matte"));
    m.rotationY = v.Degrees(RowId("Y Rotation Matte"));
    m.expansion = v.Float(RowId("Matte Expansion"));
    m.feather = v.Float(RowId("Matte Feather"));
    m.gamma = v.Float(RowId("Matte Gamma"));
    m.doubleSided = v.On(RowId("Feather Both Sides"));
    m.invert = v.On(RowId("Invert Matte"));
    m.invertFromBack = v.On(RowId("Invert from Back"));
    m.faceCamera = v.On(RowId("World Position Output/Face Camera"));
    m.invisibleFromBack = v.On(RowId("Invisible from Back"));
    m.backOffset = v.Float(RowId("Invisibility Offset"));
    m.backFade = v.Float(RowId("Invisibility Fade"));
    m.preserveAlpha = v.On(RowId("World Position Output/Preserve Alpha"));
}

void ReadEnvironment(const Values& v, RenderSettings& s) {
    EnvironmentSettings& e = s.environment;
    e.exposure = v.Float(RowId("Exposure"));
    e.gamma = v.Float(RowId("Physical Environment/Gamma"));
    e.tint = v.Colour(RowId("Physical Environment/Tint"));
    e.lightingInfluence = v.Percent(RowId("Lighting Influence"));
    e.showBackground = s.output == Output::Composite && v.On(RowId("Show in BG"));
    e.rotation = ToMatrix(ReadRotation(v.Turns(
        RowId("X Rotation Environment"), RowId("Y Rotation Environment"), RowId("Z Rotation Environment"))));
}

void ReadShadows(const Values& v, RenderSettings& s) {
    ShadowSettings& d = s.shadow;
    d.enabled = v.On(RowId("Shadows/Enable"));
    d.rayTraced = v.Popup(RowId("Shadow Mode")) == 2;
    d.mapSize = 128 << std::clamp(v.Popup(RowId("Map Size")), 1, 6);
    d.samples = static_cast<float>(v.Whole(RowId("Shadow Samples")));
    d.blurRadius = v.Float(RowId("Blur Radius"));
    d.blurScale = v.Percent(RowId("Blur Scale"));
    d.blurBias = v.Float(RowId("Blur Bias"));
    d.depthBias = v.Float(RowId("Spot Light/Depth Bias"));
    d.gamma = v.Float(RowId("Advanced/Gamma"));
    d.smoothSampling = v.On(RowId("Smooth Sampling"));
    d.useBackfaces = v.On(RowId("Use Backfaces"));
    d.shadowDepth = v.Float(RowId("Shadow Depth"));
    d.shadowSize = v.Float(RowId("Shadow Size"));
    d.raySamples = static_cast<float>(v.Whole(RowId("RT Shadow Samples")));
    d.rayMultisampling = v.Popup(RowId("RT Shadow Multisampling")) - 1;

    SubSurfaceSettings& b = s.subSurface;
    b.enabled = v.On(RowId("Subsurface Scattering/Enable"));
    b.samples = static_cast<float>(v.Whole(RowId("Subsurface Scattering/Samples")));
    b.intensity = v.Percent(RowId("Subsurface Scattering/Intensity"));
    b.scattering = v.Percent(RowId("Scattering"));
    b.absorption = v.Percent(RowId("Absorption"));
    b.falloff = v.Percent(RowId("Subsurface Scattering/Falloff"));
    b.lightBlending = v.Float(RowId("Light Blending"));
    b.depthBias = v.Float(RowId("Subsurface Scattering/Depth Bias"));
    b.lightColourTint = v.Percent(RowId("Light Color Tint"));

    MatteShadowSettings& m = s.matteShadow;
    m.enabled = v.On(RowId("Matte Shadow/Enable"));
    m.opacity = v.Percent(RowId("Shadow Opacity"));
    m.tint = v.Colour(RowId("Shadow Tint"));
    m.lightInfluence = v.Percent(RowId("Affect Lighting"));
}

// Shadow cameras of the lights, and what of them casts into how many maps and ray-traced layers.
void PlaceShadows(RenderSettings& s) {
    ShadowSettings& d = s.shadow;
    const bool maps = (d.enabled && !d.rayTraced) || s.subSurface.enabled;
    for (SceneLight& light : s.lights) {
        if (!light.castShadows || light.type == LightType::Ambient) continue;
        PlaceShadowCamera(light, d.shadowSize);
        if (maps) ++(light.type == LightType::Point ? d.pointLights : d.mapLayers);
        if (d.enabled && d.rayTraced) ++d.rayLayers;
    }
}

void ReadOcclusionOfScreen(const Values& v, double downsample, const DriverInfo& driver, int outputSamples,
                           AmbientOcclusionSettings& a) {
    a.amount = v.Float(RowId("SSAO Intensity"));
    a.radius = v.Float(RowId("SSAO Radius")) * static_cast<float>(downsample);
    a.cutOff = v.Float(RowId("Cut-off"));
    a.gamma = v.Float(RowId("SSAO Gamma"));
    a.contrast = v.Float(RowId("SSAO Contrast"));
    a.samples = 1 << (std::clamp(v.Popup(RowId("SSAO Samples")), 1, 6) + 2);
    a.colour = v.Colour(RowId("SSAO Color"));
    a.colourMode = v.Popup(RowId("SSAO Color Mode")) - 1;
    a.fxaa = v.On(RowId("SSAO FXAA"));
    a.blurSteps = v.Float(RowId("SSAO Blur Intensity")) * 0.5f;
    a.blurBlend = 1 - v.Float(RowId("SSAO Blur Blend"));
    a.normalThreshold = v.Float(RowId("SSAO Normal Threshold"));
    a.depthThreshold = v.Float(RowId("SSAO Z Threshold"));
    a.darken = v.Float(RowId("SSAO Darken Pass"));
    if (!a.enabled || !driver.textureMultisample) return;
    const int limit = driver.maxColourTextureSamples > 0 ? std::min(driver.maxColourTextureSamples, 16) : 16;
    const auto count = [&](std::uint32_t id) {
        return std::min(SampleCount(std::min(v.Popup(id), outputSamples)), limit);
    };
    a.sampleCount = count(RowId("SSAO Multisampling"));
    a.maskSampleCount = count(RowId("SSAO Mask Multisampling"));
}

void ReadOcclusionOfRays(const Values& v, AmbientOcclusionSettings& a) {
    a.amount = v.Float(RowId("RTAO Intensity"));
    a.gamma = v.Float(RowId("RTAO Gamma"));
    a.contrast = v.Float(RowId("RTAO Contrast"));
    a.samples = v.Whole(RowId("RTAO Samples"));
    a.sampleCount = v.Popup(RowId("RTAO Multisampling")) - 1;
    a.colour = v.Colour(RowId("RTAO Color"));
    a.colourMode = v.Popup(RowId("RTAO Color Mode")) - 1;
    a.fxaa = v.On(RowId("RTAO FXAA"));
    a.blurSteps = v.Float(RowId("RTAO Blur Intensity")) * 0.5f;
    a.blurBlend = 1 - v.Float(RowId("RTAO Blur Blend"));
    a.normalThreshold = v.Float(RowId("RTAO Normal Threshold"));
    a.depthThreshold = v.Float(RowId("RTAO Z Threshold"));
    a.spread = v.Float(RowId("RTAO Spread"));
    a.maxDistance = v.Float(RowId("RTAO Max Distance"));
    a.rayBias = v.Float(RowId("RTAO Bias"));
}

void ReadOcclusion(const Values& v, double downsample, const DriverInfo& driver, RenderSettings& s) {
    AmbientOcclusionSettings& a = s.ao;
    a.enabled = v.On(RowId("Enable AO"));
    a.rayTraced = v.Popup(RowId("AO Mode")) == 2;
    if (a.rayTraced) {
        ReadOcclusionOfRays(v, a);
    } else {
        ReadOcclusionOfScreen(v, downsample, driver, v.Popup(RowId("Output/Multisampling")), a);
    }
    if (!a.enabled) a.amount = 0;
    a.depthInfluence = v.Percent(RowId("AO Depth Influence"));
    a.falloffExponent = v.Float(RowId("SSAO Distribution"));
    a.lightInfluence = v.Percent(RowId("AO Light Influence"));
    a.fogInfluence = v.Percent(RowId("AO Fog Influence"));
    a.illuminationInfluence = v.Percent(RowId("AO Illumination Influence"));
}

void ReadFogAndReflection(const Values& v, RenderSettings& s) {
    s.reflection.mirrorEnabled = v.On(RowId("Enable Mirror Surface"));
    s.reflection.sphericalEnabled = v.On(RowId("Enable Spherical"));
    s.reflection.mapSize = 1 << (std::clamp(v.Popup(RowId("Spherical Map Resolution")), 1, 4) + 5);
    s.reflection.mirrorQuality = v.Popup(RowId("Mirror Surface Quality"));

    s.fog.enabled = v.On(RowId("Enable Fog"));
    s.fog.colour = v.Colour(RowId("Fog Color"));
    s.fog.opacity = v.Percent(RowId("Fog Opacity"));
    s.fog.start = v.Float(RowId("Fog Start Distance"));
    s.fog.range = v.Float(RowId("Fog Range"));
    s.fog.falloff = static_cast<FogFalloff>(std::clamp(v.Popup(RowId("Fog Falloff Type")), 1, 3));
}

// Only pictures glow, no single component.
bool MayGlow(Output output) {
    return output == Output::Composite || output == Output::Glow || output == Output::BlendMode ||
           output == Output::Wireframe;
}

void ReadGlow(const Values& v, GlowSettings& g) {
    g.enabled = v.On(RowId("Enable Glow"));
    g.from = v.Popup(RowId("Glow From")) - 1;
    g.intensity = v.Float(RowId("Glow Intensity"));
    g.aspect = v.Float(RowId("Glow Aspect Ratio"));
    g.threshold = v.Float(RowId("Glow Threshold"));
    g.softness = v.Float(RowId("Glow Threshold Softness"));
    g.tint = v.Colour(RowId("Glow Tint"));
    g.tintMode = v.Popup(RowId("Glow Tint Mode")) == 2 ? 1 : 0; // its default is neither of its choices
    g.saturation = v.Float(RowId("Glow Saturation"));
    g.gamma = v.Float(RowId("Glow Gamma"));
    g.quality = v.Popup(RowId("Glow Quality")) - 1;
    g.alphaBoost = v.Float(RowId("Glow Alpha Boost"));
    g.chromaticIntensity = v.Float(RowId("Chromatic Diffraction/Intensity"));
    g.chromaticSpread = v.Float(RowId("Chromatic Diffraction/Spread"));
    const float soften = v.Float(RowId("Chromatic Diffraction/Soften"));
    g.radiusX = g.radiusY = v.Float(RowId("Glow Radius")) + soften * 4 * g.chromaticIntensity * 0.01f;
    g.highlightIntensity = v.Float(RowId("Highlight Intensity"));
    g.highlightRadius = v.Float(RowId("Highlight Radius"));
    g.highlightThreshold = v.Float(RowId("Highlight Threshold"));
    g.highlightSoftness = v.Float(RowId("Highlight Threshold Softness"));
    g.background = v.On(RowId("Background Glow"));
}

void ReadLighting(PluginCall& call, const Values& v, RenderSettings& s) {
    s.lightFalloff = v.Float(RowId("Light Falloff"));
    const bool useComp = v.On(RowId("Use Comp Lights"));
    if (useComp)
        s.lights = ReadCompLights(call, call.in_data->current_time, CompPixelAspect(call),
                                  v.Popup(RowId("Shadow Mode")) == 2);
    const int rig = v.Popup(RowId("Add Lighting"));
    if (rig <= 1 && !(useComp && s.lights.empty())) return;
    const Point3 angles =
        v.Turns(RowId("X Rotation Lighting"), RowId("Y Rotation Lighting"), RowId("Z Rotation Lighting"));
    const Matrix rotation = angles == Point3{} ? Matrix{} : ToMatrix(ReadRotation(angles));
    const std::vector<SceneLight> lights = PlacePreset(
        rig, static_cast<float>(call.in_data->width * LayerPixelAspect(*call.in_data)),
        static_cast<float>(call.in_data->height), v.Percent(RowId("Brightness Multiplier")), rotation);
    s.lights.insert(s.lights.end(), lights.begin(), lights.end());
}

void ReadMotionBlur(PluginCall& call, const Values& v, FrameRecord& frame) {
    constexpr int kCompSettings = 1, kOn = 2;
    const int popup = v.Popup(RowId("Motion Blur/Motion Blur"));
    const CompMotionBlur comp = ReadCompMotionBlur(call);
    frame.shutter = popup == kOn ? v.Float(RowId("Shutter Angle")) * 0.0027777778f : comp.shutter;
    const bool blurs = popup == kOn || (popup == kCompSettings && comp.compEnabled && comp.layerEnabled);
    if (blurs) frame.motionBlurSamples = std::max(1, v.Whole(RowId("Motion Blur Samples")));
}

} // namespace

CompMotionBlur ReadCompMotionBlur(PluginCall& call) {
    CompMotionBlur blur;
    const auto* effects = call.suites.Get<AEGP_PFInterfaceSuite1>();
    const auto* layers = call.suites.Get<AEGP_LayerSuite8>();
    const auto* comps = call.suites.Get<AEGP_CompSuite10>();
    AEGP_LayerH layer = nullptr;
    AEGP_CompH comp = nullptr;
    if (!effects || !layers || !comps ||
        effects->AEGP_GetEffectLayer(call.in_data->effect_ref, &layer) != A_Err_NONE || !layer)
        return blur;
    AEGP_LayerFlags layerFlags = 0;
    if (layers->AEGP_GetLayerFlags(layer, &layerFlags) == A_Err_NONE)
        blur.layerEnabled = (layerFlags & AEGP_LayerFlag_MOTION_BLUR) != 0;
    if (layers->AEGP_GetLayerParentComp(layer, &comp) != A_Err_NONE || !comp) return blur;
    AEGP_CompFlags compFlags = 0;
    if (comps->AEGP_GetCompFlags(comp, &compFlags) == A_Err_NONE)
        blur.compEnabled = (compFlags & AEGP_CompFlag_ENABLE_MOTION_BLUR) != 0;
    A_Ratio angle{180, 1}, phase{0, 1};
    if (comps->AEGP_GetCompShutterAnglePhase(comp, &angle, &phase) == A_Err_NONE && angle.den != 0)
        blur.shutter = static_cast<float>(static_cast<double>(angle.num) / angle.den / 360);
    return blur;
}

FrameRecord ReadFrameRecord(PluginCall& call, const ParamReader& rows, const DriverInfo& driver) {
    const Values v{rows};
    const double downsample = InverseDownsample(call.in_data->downsample_x);
    FrameRecord frame;
    RenderSettings& s = frame.settings;
    ReadMotionBlur(call, v, frame);
    ReadOutput(v, downsample, s);
    ReadMatte(v, s.matte);
    ReadEnvironment(v, s);
    ReadLighting(call, v, s);
    ReadShadows(v, s);
    PlaceShadows(s);
    ReadOcclusion(v, downsample, driver, s);
    ReadFogAndReflection(v, s);
    ReadGlow(v, s.glow);
    s.glow.enabled = s.glow.enabled && MayGlow(s.output);

    frame.dofPopup = v.Popup(RowId("Depth of Field/Depth of Field"));
    frame.dofModePopup = v.Popup(RowId("DOF Mode"));
    frame.dofSampleSet = v.Popup(RowId("DOF Quality"));
    frame.dofRadiusMultiplier = v.Float(RowId("DOF Radius Multiplier"));
    s.dof.samples = v.Whole(RowId("DOF Preview Samples"));
    s.dof.depthThreshold = v.Float(RowId("DOF Depth Threshold"));
    s.dof.maxRadius = v.Float(RowId("DOF Max Radius"));
    s.dof.downsample = {static_cast<float>(downsample),
                        static_cast<float>(InverseDownsample(call.in_data->downsample_y))};
    frame.nearPlane = v.Float(RowId("Camera Near Plane"));
    frame.farPlane = v.Float(RowId("Camera Far Plane"));
    s.rayTracer.transparency = v.Popup(RowId("Transparency"));
    s.rayTracer.transparencySamples = v.Whole(RowId("Transparency Samples"));
    return frame;
}

} // namespace velorin
