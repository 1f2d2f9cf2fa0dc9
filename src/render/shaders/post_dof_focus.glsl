// "Focus Indicator": red where the picture is sharp.
#ifndef VERT_SHADER
void main() {
    vec4 color = textureLod(colorTexture, texCoords, 0.0);
    float distance = focusAmount(viewPositionAt(texCoords));
    float sharp = 1.0 - clamp(distance / max(dofSpacing, 0.000001), 0.0, 1.0);
    fragData[0] = mix(color, vec4(1.0, 0.0, 0.0, 1.0), clamp(pow(sharp, 2.0) * 1.5, 0.0, 1.0));
}
#endif
