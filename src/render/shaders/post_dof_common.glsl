// Shared by the depth of field passes. The blur of a point is the distance between its images through the plain camera
// and through the one moved by the lens radius, in texels. So is `dofSpacing`.
#ifndef VERT_SHADER
uniform sampler2D colorTexture;
uniform sampler2D propertyTexture; // object id, view position
uniform vec2 texelSize;
uniform mat4 projectionMatrix;
uniform mat4 invViewMatrix;
uniform mat4 dofProjectionMatrix;
uniform mat4 dofViewMatrix;
uniform float dofSpacing;
out vec4 fragData[1];

vec2 imagePoint(vec4 clip) { return clip.xy / (clip.w != 0.0 ? clip.w : 1.0); }

float focusAmount(vec3 viewPosition) {
    vec4 moved = dofProjectionMatrix * (dofViewMatrix * (invViewMatrix * vec4(viewPosition, 1.0)));
    vec4 plain = projectionMatrix * vec4(viewPosition, 1.0);
    return length((imagePoint(moved) - imagePoint(plain)) * 0.5 / texelSize);
}

// Of the nearest texel: between a surface and nothing there is no place in the middle.
vec3 viewPositionAt(vec2 uv) {
    ivec2 last = textureSize(propertyTexture, 0) - 1;
    return texelFetch(propertyTexture, clamp(ivec2(floor(uv / texelSize)), ivec2(0), last), 0).gba;
}

// What is nearer than this is nothing: the cleared buffer.
const float kNearest = -0.1;

float hash(vec2 co) { return (fract(sin(dot(co, vec2(12.9898, 78.233))) * 43758.5453) - 0.5) * 2.0; }

// Point i of n on a jittered spiral in the unit disc.
vec2 spiral(int i, int n) {
    float share = float(i) / float(n);
    float a = 3.141 * 2.0 * share;
    float r = hash(vec2(sin(a), cos(a)) * share);
    return vec2(sin(r + a), cos(r + a)) * share;
}
#endif
