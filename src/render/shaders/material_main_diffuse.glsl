void main() {
    process_wireframe_fragments();
    vec4 diffuseColor = get_diffuse_texture_color() * material.diffuseColor;
    Lighting light = calculate_lighting(get_normal(), eye_direction());
    vec3 color = mix((light.ambient + light.diffuse) * diffuseColor.rgb, render.fog.color.rgb, get_fog_opacity());
    fragData[0] = vec4(mix(color, vec3(0.0), material.matteShadow) * modelColor.rgb, surface_opacity());
}
