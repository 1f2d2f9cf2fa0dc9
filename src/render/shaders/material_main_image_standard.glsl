// The picture, Standard shading.
void main() {
    clip_plane();
    float edge = process_wireframe_fragments();
    vec4 diffuseColor = get_diffuse_texture_color() * material.diffuseColor;
    vec3 specularTexture = get_specular_texture_color().rgb, occlusion = get_occlusion_texture_color();
    vec3 N = get_normal(), eye = eye_direction();
    float incident = incidence(N, eye);

    Lighting light = calculate_lighting(N, eye);
    vec3 diffuse = (light.ambient + light.diffuse) * diffuseColor.rgb * occlusion;
    vec3 specular = light.specular * material.specularColor.rgb * specularTexture * occlusion;
    vec3 emissive = get_emissive_color(incident, diffuseColor.rgb);
    vec4 dynamicReflection;
    vec3 color = emissive + specular +
                 get_reflect_refract_color(incident, N, eye, specularTexture, light.ambient + light.diffuse, diffuse,
                                           vec2(1.0), dynamicReflection);
    finish_image(color, emissive, light.diffuse, dynamicReflection, light.totalShadow, diffuseColor.a, incident, edge);
}
