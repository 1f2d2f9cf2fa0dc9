// "Continuous Blur": the mean position of the neighbourhood sets one radius, all taps weigh the same.
#ifndef VERT_SHADER
uniform int samples;
#ifdef FIXED_TAPS
const int tapCount = FIXED_TAPS;
vec2 tapAt(int i) { return fixedTaps[i] * 2.0 - 1.0; }
#else
#define tapCount samples
vec2 tapAt(int i) { return spiral(i, samples); }
#endif

void main() {
    vec3 mean = vec3(0.0);
    float covered = 0.0;
    for (int i = 0; i < tapCount; ++i) {
        vec3 position = viewPositionAt(texCoords + tapAt(i) * dofSpacing * texelSize);
        if (position.z >= kNearest) continue;
        mean += position;
        covered += 1.0;
    }
    if (covered == 0.0) {
        fragData[0] = textureLod(colorTexture, texCoords, 0.0);
        return;
    }
    float radius = focusAmount(mean / covered) / 3.0;
    vec4 color = vec4(0.0);
    for (int i = 0; i < tapCount; ++i)
        color += textureLod(colorTexture, texCoords + tapAt(i) * radius * texelSize, 0.0);
    fragData[0] = color / float(tapCount);
}
#endif
