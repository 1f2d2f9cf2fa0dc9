void main() {
    process_wireframe_fragments();
    get_diffuse_texture_color();
    Lighting light = calculate_lighting(get_normal(), eye_direction());
    vec3 color = light.specular * material.specularColor.rgb * get_specular_texture_color().rgb;
    fragData[0] = vec4(mix(color, vec3(0.0), get_fog_opacity()) * modelColor.rgb, surface_opacity());
}
