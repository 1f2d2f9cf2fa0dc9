uniform sampler2D diffuseSampler;

// Linear colour and alpha; nothing is drawn below the material's alpha threshold.
vec4 get_diffuse_texture_color() {
    vec4 color = sample_texture_channel(diffuseSampler, material.diffuseChannel, vec4(1.0));
    if (color.a < material.alphaThreshold) discard;
    return color;
}
