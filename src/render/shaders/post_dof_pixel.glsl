// Gather over a disc, every texel weighted by its own blur.
#ifndef VERT_SHADER
uniform vec2 downsample;

float factorAt(vec2 uv) {
    float z = viewPositionAt(uv).z;
    if (z >= kNearest) return 0.0;
    float scale = length(texelSize) * dofSpacing / max(length(downsample), 0.0001);
    return clamp(focusAmount(vec3(0.0, 0.0, z)) * scale, 0.0, 50.0);
}

void main() {
    float factor = factorAt(texCoords);
    float size = floor(max(1.0, factor));
    float outer = ceil(max(1.0, factor));
    vec4 color = vec4(0.0);
    float total = 0.0;
    for (float y = -outer; y <= outer; y += 1.0) {
        for (float x = -outer; x <= outer; x += 1.0) {
            float reach = length(vec2(x, y));
            if (reach > outer) continue;
            vec2 uv = texCoords + vec2(x, y) * texelSize;
            // Each keeps one pixel's worth of its own: what is sharp gives nothing to its neighbours.
            float weight = max(factorAt(uv), reach > 0.0 ? 0.0 : 1.0);
            // The ring between the whole radii counts by the fraction.
            if (reach > size) weight *= factor - size;
            color += textureLod(colorTexture, uv, 0.0) * weight;
            total += weight;
        }
    }
    fragData[0] = total > 0.0 ? color / total : textureLod(colorTexture, texCoords, 0.0);
}
#endif
