void main() {
    process_wireframe_fragments();
    vec4 diffuseColor = get_diffuse_texture_color() * material.diffuseColor;
    PhysicalLight light = calculate_pbr(diffuseColor.rgb, get_normal(), eye_direction(), vec4(1.0));
    fragData[0] = vec4(light.dynamicReflection.rgb * modelColor.rgb, surface_opacity());
}
