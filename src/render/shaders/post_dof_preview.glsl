// "Preview Blur": one circle of confusion for the neighbourhood, then a gather over it.
#ifndef VERT_SHADER
uniform int samples;
uniform float depthThreshold;
#ifdef FIXED_TAPS
const int tapCount = FIXED_TAPS;
vec2 tapAt(int i) { return fixedTaps[i] * 2.0 - 1.0; }
const float radiusDivisor = 2.0;
#else
#define tapCount samples
vec2 tapAt(int i) { return spiral(i, samples); }
const float radiusDivisor = 4.0;
#endif

void main() {
    vec4 plain = textureLod(colorTexture, texCoords, 0.0);
    float mainZ = viewPositionAt(texCoords).z;
    float sum = 0.0;
    float covered = 0.0;
    for (int i = 0; i < tapCount; ++i) {
        vec3 position = viewPositionAt(texCoords + tapAt(i) * dofSpacing / radiusDivisor * texelSize);
        if (position.z >= kNearest) continue;
        sum += focusAmount(position);
        covered += 1.0;
    }
    float confusion = covered > 0.0 ? sum / covered : 0.0;
    if (confusion <= 0.0) {
        fragData[0] = plain;
        return;
    }
    vec4 color = vec4(0.0);
    float total = 0.0;
    for (int i = 0; i < tapCount; ++i) {
        vec2 uv = texCoords + tapAt(i) * confusion / radiusDivisor * texelSize;
        float z = viewPositionAt(uv).z;
        bool behind = z >= kNearest || z <= mainZ;
        float weight = behind ? 1.0 : 1.0 - clamp((-mainZ + z) / max(depthThreshold, 0.0001), 0.0, 1.0);
        color += textureLod(colorTexture, uv, 0.0) * weight;
        total += weight;
    }
    fragData[0] = total > 0.0 ? color / total : plain;
}
#endif
