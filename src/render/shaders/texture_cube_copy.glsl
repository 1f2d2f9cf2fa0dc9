// One face of a cube's level: a plain copy of another level.
#ifndef VERT_SHADER
uniform samplerCube cubeTexture;
uniform vec3 initialCoord;
uniform vec3 coordIncX;
uniform vec3 coordIncY;
uniform float sampleLod;
out vec4 fragData[1];
void main() {
    fragData[0] = textureLod(cubeTexture, initialCoord + texCoords.x * coordIncX + texCoords.y * coordIncY, sampleLod);
}
#endif
