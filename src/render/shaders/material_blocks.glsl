// Blocks that only the fragment stage reads.

struct Channel {
    float gamma;
    float amount;
    float contrast;
    float saturation;
    float brightness;
    float invert;
    bool unmultiply;
    float pad1;
    vec2 uvRepeat;
    vec2 uvOffset;
    vec2 levelInput; // low, high
    vec2 levelOutput;
};

struct SubSurfaceMaterial {
    bool enabled;
    float intensity;
    float diffusion;
    float absorption;
    float absorptionExponent;
    float penetrationExponent;
    float pad0;
    float pad1;
    vec4 color;
};

struct Normal {
    bool simple;
    bool swapXY;
    vec2 invert;
};

struct WireframeMaterial {
    bool enabled;
    float lineWidth;
    int drawMode;     // 0 over the surface, 1 lines only
    int colorMode;    // 0 colour, 1 from the material
    int transferMode; // 0 mix, 1 screen, 2 add, 3 multiply
    bool hasFogInfluence;
    float fresnel;
    float bias;
    vec4 color;
};

layout(std140) uniform MaterialProperties {
    vec4 diffuseColor;
    vec4 specularColor;
    vec4 emissiveColor;
    vec4 reflectColor;
    vec4 refractColor;
    float diffuseAmount;
    float ambientAmount;
    float specularAmount;
    float emissiveAmount;
    float specularShininess;
    float specularSize;
    float flatShading;
    float environmentMultiplier;
    float opacity;
    float matteShadow;
    float matteReflection;
    float matteUseDiffuseAlpha;
    float twoSided;
    float reflectAmount;
    float refractAmount;
    float refractDistortion;
    float reflectSpecularInfluence;
    float refractSpecularInfluence;
    float reflectFresnel;
    float refractFresnel;
    float reflectBias;
    float refractBias;
    int reflectMode; // 0 normal, 1 normal clamp, 2 add
    int refractMode;
    float emissiveFresnel;
    float emissiveBias;
    float emissiveDiffuse;
    float ambientOcclusionAmount;
    float glowAmount;
    float environmentDirection;
    float alphaThreshold;
    bool receiveShadow;
    bool ignoreIbl;
    bool energyConservation;
    bool pad0;
    bool pad1;
    SubSurfaceMaterial subSurface;
    Normal normal;
    WireframeMaterial wireframe;
    Channel diffuseChannel;
    Channel specularChannel;
    Channel occlusionChannel;
    Channel emissiveChannel;
    Channel normalChannel;
    Channel environmentChannel;
    Channel reflectChannel;
} material;

struct Fog {
    vec4 color;
    float start;
    float invDistance;
    float falloff; // 1 linear, 2 exponential, 3 taper
    float pad0;
};

struct Shadow {
    bool enabled;
    bool rayTraced;
    float penumbraDepth;
    float softSamples;
    float softRadius;
    float jitter;
    float reflectionInfluence;
    float gamma;
    float bias;
    bool smoothSample;
    vec2 invMapSize;
    float softBlurDepthBias;
};

struct SubSurface {
    bool enabled;
    float intensity;
    float samples;
    float diffusion;
    float tintFactor;
    float jitter;
    float absorptionMultiplier;
    float falloffMultiplier;
    float lightBlending;
    float sssBias;
};

struct AmbientOcclusion {
    bool enabled;
    float emissiveInfluence;
    float lightInfluence;
    float fogInfluence;
    int colorMode; // 0 tint, 1 colour
    float contrast;
    float pad0;
    float pad1;
    vec4 color;
};

struct MatteShadow {
    float opacity;
    float lightInfluence;
    vec4 shadowTint;
};

struct Mixer {
    float ambient;
    float diffuse;
    float specular;
    float reflect;
    float refract;
    float emissive;
    float subSurface;
    float shadows;
};

struct OutputProperties {
    float depthMin;
    float depthInvRange;
    float depthClamp;
    mat4 dofViewMatrix;
    mat4 dofProjectionMatrix;
    float dofSpacing;
    float wireframeOnly;
    float specularCompression;
};

layout(std140) uniform RenderProperties {
    Fog fog;
    Shadow shadow;
    SubSurface subSurface;
    AmbientOcclusion ao;
    MatteShadow matteShadow;
    Mixer mixer;
    OutputProperties outputProperties;
    Channel environmentChannel;
    mat4 environmentMatrix;
    vec4 environmentTint;
    float environmentExposure;
    float environmentGamma;
    float gamma;
    float globalWireframeWidth;
    float lineWidthMultiplicator;
} render;

struct Light {
    vec4 position;
    vec4 direction;
    vec4 diffuse;
    float cosCone;
    float feather;
    float falloff;
    int type; // 1 parallel, 2 point, 3 spot
    int shadowId;
    float diffusion;
    float darkness;
    float shadowBias;
    mat4 shadowMatrix;
    mat4 projectionMatrix;
};

layout(std140) uniform Lights {
    int numLights;
    int lightPad0;
    int lightPad1;
    int lightPad2;
    Light lights[8];
    vec4 ambientLights;
};

in VertexData {
    VERTEX_DATA
} base;

out vec4 fragData[3];

const float PI = 3.14159265;
const float PI2 = 6.28318531;
