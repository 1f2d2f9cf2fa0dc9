// Occlusion and shadow together.
void main() {
    process_wireframe_fragments();
    vec4 diffuseColor = get_diffuse_texture_color() * material.diffuseColor;
    vec3 N = get_normal(), eye = eye_direction();
    Lighting light = calculate_lighting(N, eye);
    vec3 emissive = get_emissive_color(incidence(N, eye), diffuseColor.rgb);
    vec3 aoColor;
    float ao = get_ambient_occlusion(emissive, light.diffuse, get_fog_opacity(), aoColor);
    fragData[0] = vec4(mix(aoColor, vec3(1.0), ao) * (1.0 - light.totalShadow), surface_opacity());
}
