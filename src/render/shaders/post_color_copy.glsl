#ifndef VERT_SHADER
uniform sampler2D colorTexture;
out vec4 fragData[1];
void main() { fragData[0] = texture(colorTexture, texCoords); }
#endif
