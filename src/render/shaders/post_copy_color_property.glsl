// Two pictures at once; with blending by a constant, the running mean of the time samples.
#ifndef VERT_SHADER
uniform sampler2D colorTexture;
uniform sampler2D propertyTexture;
out vec4 fragData[2];
void main() {
    fragData[0] = texture(colorTexture, texCoords);
    fragData[1] = texture(propertyTexture, texCoords);
}
#endif
