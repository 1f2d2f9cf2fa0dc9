// Host pixels (alpha, red, green, blue; straight, gamma-encoded) to premultiplied linear light.
#ifndef VERT_SHADER
uniform sampler2D data;
uniform float gamma;
out vec4 fragData[1];
void main() {
    vec4 color = max(texture(data, texCoords).gbar, vec4(0.0));
    color.rgb = pow(color.rgb, vec3(gamma)) * color.a;
    fragData[0] = color;
}
#endif
