uniform sampler2D occlusionSampler;

vec3 get_occlusion_texture_color() {
    return sample_texture_channel(occlusionSampler, material.occlusionChannel, vec4(1.0)).rgb;
}
