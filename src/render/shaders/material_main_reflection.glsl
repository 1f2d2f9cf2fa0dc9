// Reflection or refraction of the Standard shading, without what it covers.
uniform vec2 reflectionRefractionCoeff;

void main() {
    process_wireframe_fragments();
    get_diffuse_texture_color();
    vec3 N = get_normal(), eye = eye_direction();
    Lighting light = calculate_lighting(N, eye);
    vec4 dynamicReflection;
    vec3 color = get_reflect_refract_color(incidence(N, eye), N, eye, get_specular_texture_color().rgb,
                                           light.ambient + light.diffuse, vec3(0.0), reflectionRefractionCoeff,
                                           dynamicReflection);
    fragData[0] = vec4(color * modelColor.rgb, surface_opacity());
}
