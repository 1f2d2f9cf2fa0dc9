uniform sampler2D specularSampler;

vec4 get_specular_texture_color() {
    return sample_texture_channel(specularSampler, material.specularChannel, vec4(1.0));
}
