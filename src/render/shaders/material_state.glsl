#version 150 core
// Head of every stage of a material program: what changes from draw to draw, the camera and the model.
// World space is x right, y down, z away; view space has z towards the viewer. Row 0 of every target is the top row.

struct RenderState {
    int dynamicReflection; // 0 none, 1 plane, 2 cube
    bool clipPlane;
    bool globalEnvironment;
    bool ambientOcclusion;
    bool rayTracedShadows;
    bool shadowMaps;
    bool blendOpacity;
    bool globalWireframe;
    bool wireframeSupersample;
    bool flipNormals; // the instance's matrix mirrors
    bool pad0;
    bool pad1;
};

layout(std140) uniform ShaderState {
    RenderState renderState;
    vec2 frameBufferSize; // pixels of the frame
    int objectId;
    vec2 modelUvOffset;
    vec2 viewportSize; // fragments that clip coordinates span
    vec4 modelColor;
    mat4 modelMatrix;
    mat4 baseModelMatrix;
    mat4 normalMatrix;
    mat4 dynamicPlaneMatrix;
    mat4 cubeViewMatrix[6];
    vec4 clipPlane;
};

layout(std140) uniform TransformMatrices {
    mat4 viewMatrix;
    mat4 projectionMatrix;
    vec3 eyePosition;
    vec2 viewportScale;
    vec2 viewportOffset;
};

struct DynamicReflection {
    int clipMirror; // 0 off, 1 only above, 2 only below the plane
    bool disableEnvironment;
    vec4 offset;
    vec4 reflectDirection;
};

layout(std140) uniform ModelProperties {
    vec4 modelFlip;
    vec2 uvRepeat;
    vec2 uvOffset;
    float normalInvert;
    float flipNormal;
    DynamicReflection dynamicReflection;
} modelProperties;

// What a vertex hands on, the same in every stage.
#define VERTEX_DATA vec4 worldPosition, viewPosition; vec3 worldNormal; float worldScale; vec4 worldTangent; vec2 texCoords;

// In fragments, from the middle of what clip coordinates span.
vec2 place_in_viewport(vec4 clip) { return 0.5 * viewportSize * clip.xy / clip.w; }

// A vector of no length stays as it is.
vec3 safe_normalize(vec3 v) {
    float squared = dot(v, v);
    return squared > 0.0 ? v * inversesqrt(squared) : v;
}
