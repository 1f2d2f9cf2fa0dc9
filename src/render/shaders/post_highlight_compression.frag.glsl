#version 150 core
uniform sampler2D imgSampler;
uniform float amount;
in vec2 texCoords;
out vec4 fragData[1];
void main() {
    vec4 color = texture(imgSampler, texCoords);
    vec3 compressed = log(max(vec3(0.0), color.rgb - 0.5) * 4.0 + 1.0) / 4.0 + min(vec3(0.5), color.rgb);
    fragData[0] = vec4(mix(color.rgb, compressed, amount), color.a);
}
