void main() {
    process_wireframe_fragments();
    get_diffuse_texture_color();
    Lighting light = calculate_lighting(get_normal(), eye_direction());
    fragData[0] = vec4(vec3(1.0 - light.totalShadow), 1.0);
}
