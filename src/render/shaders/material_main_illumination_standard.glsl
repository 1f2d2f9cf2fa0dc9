void main() {
    process_wireframe_fragments();
    vec4 diffuseColor = get_diffuse_texture_color() * material.diffuseColor;
    vec3 emissive = get_emissive_color(incidence(get_normal(), eye_direction()), diffuseColor.rgb);
    fragData[0] = vec4(emissive * modelColor.rgb, surface_opacity());
}
