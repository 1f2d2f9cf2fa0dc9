uniform sampler2D reflectSampler;

vec4 get_reflect_texture_color() {
    return sample_texture_channel(reflectSampler, material.reflectChannel, vec4(1.0));
}
