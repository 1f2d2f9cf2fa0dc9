// With the scene's own lights in mirrors.
void main() {
    process_wireframe_fragments();
    vec4 diffuseColor = get_diffuse_texture_color() * material.diffuseColor;
    vec3 N = get_normal(), eye = eye_direction();
    vec3 emissive = get_emissive_color(incidence(N, eye), diffuseColor.rgb);
    vec3 reflected = calculate_pbr(diffuseColor.rgb, N, eye, vec4(1.0)).dynamicReflection.rgb;
    fragData[0] = vec4((emissive + reflected) * modelColor.rgb, surface_opacity());
}
