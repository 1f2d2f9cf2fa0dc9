#pragma once

#include "services/NxMath.h"

#include <cstdint>
#include <vector>

// The record that the passes of one time sample read: parameters of the effect as plain values (percent rows
// times 0.01, angles as said, popups counted as said), the camera and the lights. Defaults are those of the
// parameters.

namespace velorin {

struct LayerTexture;
struct TextureChannel;

// What the picture shows. Values are those of the shaders and of stored settings.
enum class Output : int {
    Composite = 1,
    ZDepth,
    Normals,
    AmbientOcclusion,
    Diffuse,
    Specular,
    Refraction,
    Reflection,
    Lighting,
    Illumination,
    Focus,
    Glow,
    WorldPosition,
    Shadows,
    SubSurface,
    Shading,
    BlendMode,
    Wireframe,
    DynamicReflection
};

enum class RenderMode : int { Full = 1, Preview, Draft, Unified };
enum class PolygonMode : int { Normal, Wireframe, Points };
enum class BlendOpacity : int { Normal, Additive, Screen };
enum class FogFalloff : int { Linear = 1, Exponential, Taper };
enum class LightType : int { Ambient, Parallel, Point, Spot };
// 5 is not used.
enum class DofMode : int { Off, Preview, Continuous, Pixel, Filter, FocusIndicator = 6 };
enum class MatteMode : int { Colour = 1, Matte };

// View space is x right, y down, z towards the viewer: what is in front has a negative z. The projection
// keeps y, so row 0 of a GL picture is the top row and outward faces run clockwise.
struct CameraState {
    Matrix view;                         // world to view, row vectors
    Matrix projection;                   // view to clip
    Point3 position;                     // eye, world
    float viewWidth = 0, viewHeight = 0; // image plane in comp pixels
    float imagePlaneDistance = 0;        // comp pixels
    bool orthographic = false;
    float filmSize = 102.0472f;             // points
    float lensRatio = 1;                    // zoom in film units
    float aperture = 0;                     // comp pixels
    float blurLevel = 0;                    // 1 is 100 %; 0 with depth of field off
    float focusDistance = 1;                // comp pixels
    float nearPlane = 10, farPlane = 50000; // comp pixels
};

struct SceneLight {
    LightType type = LightType::Point;
    Point3 position;              // world; none for ambient
    Point3 direction{0, 0, 1};    // world, unit: the way the light travels, for parallel and spot
    Point3 colour{1, 1, 1};       // 0..1 as the host shows it
    float intensity = 1;          // factor on `colour`; may be negative or above 1
    float falloff = 1;            // the light's own share of the global falloff
    float coneAngle = 1.5707964f; // full angle of a spot, radians
    float feather = 0.5f;         // 0..1 of the cone, spot only
    bool castShadows = false;
    float darkness = 1;      // 0..1 and above
    float diffusion = 0;     // width of the penumbra, comp pixels
    Matrix view, projection; // of the shadow map
};

struct EnvironmentSettings {
    const TextureChannel* channel = nullptr;     // the scene's environment; null draws with the neutral one
    const LayerTexture* overrideLayer = nullptr; // replaces the channel's image
    float exposure = 1, gamma = 1;
    Point3 tint{1, 1, 1};
    Matrix rotation;                 // of the three negated angles; direction * rotation
    float lightingInfluence = 0.25f; // how far diffuse light dims reflections
    bool showBackground = false;
};

struct FogSettings {
    bool enabled = false;
    Point3 colour;
    float opacity = 0.5f;
    float start = 0, range = 3000; // distance from the eye, comp pixels
    FogFalloff falloff = FogFalloff::Linear;
};

struct ShadowSettings {
    bool enabled = false, rayTraced = false;
    int mapSize = 1024;
    float samples = 6; // squared taps
    float blurRadius = 1, blurScale = 1, blurBias = 1;
    float depthBias = -0.3f;
    float gamma = 1;
    bool smoothSampling = true, useBackfaces = false;
    float shadowDepth = 80;   // divisor of the penumbra
    float shadowSize = 1024;  // width of a parallel light's volume, comp pixels
    int rayMultisampling = 1; // popup minus 1
    float raySamples = 1;
    int mapLayers = 0, rayLayers = 0, pointLights = 0; // counted from the lights
};

struct SubSurfaceSettings {
    bool enabled = true;
    float samples = 8;
    float intensity = 1, scattering = 1, absorption = 1, falloff = 1;
    float lightBlending = 1;
    float depthBias = -0.3f;
    float lightColourTint = 1;
};

struct AmbientOcclusionSettings {
    bool enabled = false, rayTraced = false;
    float amount = 0; // 0 when off
    float radius = 1;
    float cutOff = 1;
    float gamma = 5, contrast = 0;
    int samples = 8;
    int sampleCount = 0, maskSampleCount = 0; // of multisampled normals
    Point3 colour;
    int colourMode = 0; // 0 tint, 1 colour
    bool fxaa = true;
    float blurSteps = 2, blurBlend = 0.1f;
    float normalThreshold = 1, depthThreshold = 10, darken = 0;
    float spread = 1, maxDistance = 100, rayBias = 0.1f;
    float depthInfluence = 0, falloffExponent = 5, contactEnhancement = 0;
    float lightInfluence = 0, fogInfluence = 1, illuminationInfluence = 1;
};

struct MatteShadowSettings {
    bool enabled = true;
    float opacity = 1, lightInfluence = 0;
    Point3 tint;
};

struct ReflectionSettings {
    bool mirrorEnabled = true, sphericalEnabled = true;
    int mapSize = 128;
    int mirrorQuality = 1; // 1 normal, 2 high
    bool inUse = false;    // a drawn model reflects the scene: targets are made for it
};

// Factors on the components of the shading.
struct MixerSettings {
    float diffuse = 1, specular = 1, ambient = 1, reflect = 1, refract = 1, emissive = 1, shadows = 1,
          subSurface = 1;
};

struct DepthOutputSettings {
    float start = 250, end = 2000; // distance from the eye, comp pixels
    bool clamp = true, preserveAlpha = false;
};

struct DofSettings {
    DofMode mode = DofMode::Off;
    Matrix view, projection; // of the camera moved by the lens radius
    float spacing = 0;       // pixels of the picture
    int samples = 64;
    Point2 downsample{1, 1};
    float depthThreshold = 1500;
    float maxRadius = 50;
};

struct MatteSettings {
    MatteMode mode = MatteMode::Matte;
    Point3 position;                    // world
    float rotationX = 0, rotationY = 0; // degrees
    float feather = 100, expansion = 0, gamma = 1;
    bool doubleSided = false, invert = false, invertFromBack = false, faceCamera = false;
    bool invisibleFromBack = false;
    float backOffset = 0, backFade = 30; // degrees
    bool preserveAlpha = false;
};

struct GlowSettings {
    bool enabled = false;
    int from = 1; // 0 luminance, 1 illumination
    float intensity = 2, threshold = 0.25f, softness = 0.5f;
    float radiusX = 5, radiusY = 5, aspect = 1;
    Point3 tint{1, 1, 1};
    int tintMode = 0; // 0 multiply, 1 tint
    float saturation = 1, gamma = 2.2f, alphaBoost = 1;
    int quality = 1; // 0 low, 1 high
    float chromaticIntensity = 0, chromaticSpread = 25;
    float highlightIntensity = 0, highlightRadius = 5, highlightThreshold = 0.25f, highlightSoftness = 0.5f;
    bool background = false;
};

struct RayTracerSettings {
    int transparency = 2; // 1 sample, 2 opaque, 3 translucent
    int transparencySamples = 4;
};

struct RenderSettings {
    Output output = Output::Composite;
    RenderMode renderMode = RenderMode::Full;
    PolygonMode polygonMode = PolygonMode::Normal;
    BlendOpacity blendOpacity = BlendOpacity::Normal;
    int sampleCount = 8;                // wished; the driver's limit is applied by the renderer
    int supersampling = 1;              // popup value: the grid side is 1 << (value - 1)
    bool enhancedMultisampling = false; // shade every sample
    bool depthSorted = false;           // "Render Order"
    bool subsamplePost = false;
    int fxaa = 0; // iterations; "Edge Smoothing" for the world position
    float gamma = 2.2f, textureGamma = 2.2f;
    float highlightCompression = 0, specularCompression = 1;
    float wireframeWidth = 0.5f; // max(1, value / x downsample) * 0.5
    float pointSize = 1;         // max(1, value / x downsample) << (supersampling - 1)
    bool compressTextures = true;
    bool flipProjection = false;         // the projection is y-flipped: tiles are walked from the other end
    bool sphericalCapture = false;       // a 360 degree image in place of the camera's view
    bool picking = false;                // keep positions and normals for Renderer::PickAt
    Point4 backgroundColour{0, 0, 0, 0}; // alpha above 0 fills behind the picture
    float lightFalloff = 0;              // "Light Falloff"

    CameraState camera;
    std::vector<SceneLight> lights;
    EnvironmentSettings environment;
    FogSettings fog;
    ShadowSettings shadow;
    SubSurfaceSettings subSurface;
    AmbientOcclusionSettings ao;
    MatteShadowSettings matteShadow;
    ReflectionSettings reflection;
    MixerSettings mixer;
    DepthOutputSettings depthOutput;
    DofSettings dof;
    MatteSettings matte;
    GlowSettings glow;
    RayTracerSettings rayTracer;

    [[nodiscard]] bool draft() const { return renderMode == RenderMode::Draft; }
    [[nodiscard]] int gridSide() const { return supersampling < 2 ? 1 : 1 << (supersampling - 1); }
};

} // namespace velorin
