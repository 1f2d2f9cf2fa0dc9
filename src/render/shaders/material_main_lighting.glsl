// Light that falls on the surface, without its colours.
void main() {
    process_wireframe_fragments();
    get_diffuse_texture_color();
    Lighting light = calculate_lighting(get_normal(), eye_direction());
    fragData[0] = vec4((light.ambient + light.diffuse + light.specular) * modelColor.rgb, surface_opacity());
}
