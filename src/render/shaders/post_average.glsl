// Mean of 3 by 3 texels.
#ifndef VERT_SHADER
uniform sampler2D colorTexture;
uniform vec2 texelSize;
out vec4 fragData[1];
void main() {
    vec4 sum = vec4(0.0);
    for (int y = -1; y <= 1; ++y)
        for (int x = -1; x <= 1; ++x) sum += texture(colorTexture, texCoords + vec2(float(x), float(y)) * texelSize);
    fragData[0] = sum / 9.0;
}
#endif
