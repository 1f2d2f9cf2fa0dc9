// The picture, Physical shading.
void main() {
    clip_plane();
    float edge = process_wireframe_fragments();
    vec4 diffuseColor = get_diffuse_texture_color() * material.diffuseColor;
    vec3 N = get_normal(), eye = eye_direction();
    float incident = incidence(N, eye);

    PhysicalLight light = calculate_pbr(diffuseColor.rgb, N, eye, vec4(1.0));
    vec3 emissive = get_emissive_color(incident, diffuseColor.rgb);
    finish_image(emissive + light.color, emissive, light.diffuseLight, light.dynamicReflection, light.totalShadow,
                 diffuseColor.a, incident, edge);
}
