// Box filter of supersampling: a pixel of a tile is the mean of its numSamples by numSamples samples.
#ifndef VERT_SHADER
uniform sampler2D sampleTexture[2];
uniform int numSamples;
uniform vec2 tileOrigin; // of the tile whose first sample is texel (0, 0), pixels
uniform float gamma;    // 1 / the settings' gamma
uniform int blendMode;  // 0 plain, 1 additive, 2 screen
out vec4 fragData[2];

// Light that was added without covering anything gets the coverage under which it shows as bright as it is.
vec4 coverageOfLight(vec4 color) {
    float alpha = min(1.0, pow(max(0.0, max(color.r, max(color.g, color.b))), gamma));
    color.a *= alpha;
    if (alpha > 0.0) color.rgb /= alpha;
    return color;
}

void main() {
    vec4 first = vec4(0.0);
    vec4 second = vec4(0.0);
    ivec2 corner = ivec2(gl_FragCoord.xy - tileOrigin) * numSamples;
    ivec2 lastOfSecond = textureSize(sampleTexture[1], 0) - 1;
    for (int y = 0; y < numSamples; ++y) {
        for (int x = 0; x < numSamples; ++x) {
            ivec2 at = corner + ivec2(x, y);
            first += texelFetch(sampleTexture[0], at, 0);
            second += texelFetch(sampleTexture[1], min(at, lastOfSecond), 0);
        }
    }
    float scale = 1.0 / float(numSamples * numSamples);
    first *= scale;
    second *= scale;
    if (blendMode != 0) first = coverageOfLight(first);
    fragData[0] = first;
    fragData[1] = second;
}
#endif
