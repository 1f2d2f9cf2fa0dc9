// What glows: the picture above a threshold of brightness or of its own light. The second target gets the compressed
// picture for the highlights.
#ifndef VERT_SHADER
uniform sampler2D colorTexture;
uniform sampler2D propertyTexture_Glow; // the material's glow amount, its emissive strength
uniform float thresholdLow;
uniform float thresholdSoftness;
uniform int extractionMode; // 0 luminance, 1 illumination
out vec4 fragData[2];

vec3 compressHighlights(vec3 c) { return log(max(vec3(0.0), c - 0.5) * 4.0 + 1.0) / 4.0 + min(vec3(0.5), c); }

float fade(float value, float threshold) {
    if (value >= threshold) return 1.0;
    return pow(clamp(value / threshold, 0.0, 1.0), 1.0 + 20.0 * (1.0 - thresholdSoftness));
}

void main() {
    vec4 color = texture(colorTexture, texCoords);
    vec2 property = texture(propertyTexture_Glow, texCoords).rg;
    float invAlpha = color.a > 0.0 ? 1.0 / color.a : 0.0;
    color.rgb = compressHighlights(color.rgb * invAlpha) * color.a;
    fragData[1] = color;
    float threshold = pow(thresholdLow, 2.2);
    if (extractionMode == 0) {
        color *= fade(dot(color.rgb, vec3(0.299, 0.587, 0.114)), threshold);
        color.a *= max(color.r, max(color.g, color.b));
    } else {
        color *= fade(property.g, threshold) * property.g;
        color.a *= max(color.r, max(color.g, color.b));
    }
    fragData[0] = color * property.r;
}
#endif
