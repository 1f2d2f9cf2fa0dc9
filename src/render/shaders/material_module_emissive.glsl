uniform sampler2D emissiveSampler;

vec4 get_emissive_texture_color() {
    return sample_texture_channel(emissiveSampler, material.emissiveChannel, vec4(1.0));
}

vec3 get_emissive_color(float incident, vec3 diffuse) {
    float share = material.emissiveAmount * fresnel(incident, material.emissiveFresnel, material.emissiveBias);
    return get_emissive_texture_color().rgb * material.emissiveColor.rgb * share * render.mixer.emissive *
           (diffuse * material.emissiveDiffuse + 1.0 - material.emissiveDiffuse);
}
