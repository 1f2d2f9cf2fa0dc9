// World position as a picture, or a soft matte in front of a plane.
#ifndef VERT_SHADER
uniform sampler2D colorTexture;    // its alpha is the coverage
uniform sampler2D propertyTexture; // object id, view position
uniform mat4 inverseView;
uniform int mode; // 2: matte
uniform bool doubleSided;
uniform bool invert;
uniform float clipVal;
uniform vec3 position;
uniform vec3 direction;
uniform float feather;
uniform float thickness;
uniform float gamma;
out vec4 fragData[1];
void main() {
    float alpha = texture(colorTexture, texCoords).a;
    vec3 world = (inverseView * vec4(texture(propertyTexture, texCoords).gba, 1.0)).xyz;
    vec3 color = world;
    if (mode == 2) {
        float d = dot(world - position, direction);
        if (doubleSided) d = abs(d);
        float matte = clamp(1.0 - (d - thickness) / (feather + 0.001), 0.0, 1.0);
        if (invert) matte = 1.0 - matte;
        color = vec3(pow(matte * clipVal, gamma));
    }
    fragData[0] = vec4(color, 1.0) * alpha;
}
#endif
