// The view-space position of what the pixel shows, (0, 0, 0) where nothing is.
#ifndef VERT_SHADER
uniform sampler2D propertyTexture; // object id, view position
out vec4 fragData[1];
void main() { fragData[0] = vec4(texture(propertyTexture, texCoords).gba, 1.0); }
#endif
