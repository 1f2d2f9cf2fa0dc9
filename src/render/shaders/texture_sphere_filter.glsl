// One level of a 2D texture: the level above, blurred in texture space by the lobe's samples. The third component of
// a sample is its weight.
#ifndef VERT_SHADER
uniform sampler2D sphereTexture;
uniform sampler2D samplesTexture;
uniform float sampleLod;
uniform int numSamples;
uniform int roughnessLayer;
uniform float aspectRatio; // height over width
out vec4 fragData[1];
void main() {
    vec4 sum = vec4(0.0);
    float total = 0.0;
    for (int i = 0; i < numSamples; ++i) {
        vec3 s = texelFetch(samplesTexture, ivec2(i, roughnessLayer), 0).xyz;
        vec4 c = textureLod(sphereTexture, texCoords + s.xy * vec2(aspectRatio, 1.0), sampleLod);
        // Compressed, so that a bright sun does not outshine the blur.
        sum += (min(vec4(1.0), c) + max(vec4(0.0), log2(max(c, vec4(1e-6))))) * s.z;
        total += s.z;
    }
    fragData[0] = sum / max(total, 1e-6);
}
#endif
