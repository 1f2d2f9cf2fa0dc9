// A cube of the surroundings as one picture: u is the longitude, v the latitude, up at row 0.
#ifndef VERT_SHADER
uniform samplerCube sceneSampler;
out vec4 fragData[1];
void main() {
    float longitude = (texCoords.x - 0.5) * 6.28318531;
    float latitude = -(texCoords.y - 0.5) * 3.14159265;
    vec3 direction =
        vec3(cos(latitude) * cos(longitude), sin(latitude), cos(latitude) * sin(longitude));
    fragData[0] = textureLod(sceneSampler, direction, 0.0);
}
#endif
