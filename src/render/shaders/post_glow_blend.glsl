#ifndef VERT_SHADER
uniform sampler2D colorTexture;
uniform sampler2D glowTexture;
uniform sampler2D glowHighlightTexture;
uniform float intensity;
uniform float gamma;
uniform float chromaticDiffractionIntensity;
uniform float chromaticDiffractionSpread;
uniform float saturation;
uniform vec4 color;
uniform int colorMode; // 0 multiply, 1 tint
uniform float highlightIntensity;
uniform float alphaBoost;
uniform int transferMode; // 0 add, 1 glow only, 2 add behind
out vec4 fragData[1];

const vec3 lumaWeights = vec3(0.299, 0.587, 0.114);

vec4 chromatic(sampler2D source, vec2 step) {
    vec4 plain = texture(source, texCoords);
    vec4 shifted = vec4(plain.r, texture(source, texCoords + step).g, texture(source, texCoords + 2.0 * step).b,
                        plain.a);
    return mix(plain, shifted, chromaticDiffractionIntensity / 100.0);
}

void main() {
    vec4 base = texture(colorTexture, texCoords);
    vec2 toCentre = vec2(0.5) - texCoords;
    float d = pow(length(toCentre) * 0.15, 0.75);
    float spread = (0.1 + chromaticDiffractionSpread) * chromaticDiffractionIntensity / 100.0;
    vec2 direction = length(toCentre) > 0.0 ? normalize(toCentre) : vec2(0.0);
    vec4 glow = chromatic(glowTexture, direction * d * spread);
    vec4 highlight = texture(glowHighlightTexture, texCoords);
    float alpha = max(glow.a * clamp(intensity, 0.0, 1.0), highlight.a * clamp(highlightIntensity, 0.0, 1.0));
    vec3 light = glow.rgb * intensity + highlight.rgb * highlightIntensity;
    float lum = dot(light, lumaWeights);
    vec3 tinted = light * color.rgb;
    light = colorMode == 1 ? mix(tinted, light, clamp(pow(max(lum, 0.0), 2.2), 0.0, 1.0)) : tinted;
    light = pow(pow(max(light, vec3(0.0)), vec3(2.2)), vec3(1.0 / max(gamma, 0.01)));
    light = max(vec3(0.0), mix(vec3(dot(light, lumaWeights)), light, saturation));
    vec4 add = vec4(light * alphaBoost, alpha);
    if (transferMode == 2) add *= clamp(1.0 - base.a, 0.0, 1.0);
    if (transferMode == 1) base = vec4(0.0);
    vec4 result = base;
    result.rgb += add.rgb;
    result.a = min(1.0, mix(base.a + add.a * alphaBoost, base.a + add.a, base.a));
    fragData[0] = result;
}
#endif
