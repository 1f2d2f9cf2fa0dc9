// One cube face from an equirectangular picture: texture space over the face to a direction.
#ifndef VERT_SHADER
uniform sampler2D envTexture;
uniform vec3 initialCoord;
uniform vec3 coordIncX;
uniform vec3 coordIncY;
out vec4 fragData[1];
void main() {
    vec3 dir = initialCoord + texCoords.x * coordIncX + texCoords.y * coordIncY;
    float lat = atan(dir.x, dir.z) / 6.28318531 + 0.5;
    float lon = atan(dir.y, sqrt(dir.x * dir.x + dir.z * dir.z)) / 3.1415 + 0.5;
    // Not the derivatives of lat itself, which jumps from 1 to 0 at the seam.
    vec2 gradX = vec2(length(dFdx(dir.xy)) / 6.28318531, dFdx(lon));
    vec2 gradY = vec2(length(dFdy(dir.xy)) / 6.28318531, dFdy(lon));
    fragData[0] = textureGrad(envTexture, vec2(lat, lon), gradX, gradY);
}
#endif
