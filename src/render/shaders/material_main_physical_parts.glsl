// Shares of the Physical shading. The fog's own colour comes with the diffuse light, so that the parts add up.
uniform vec4 pbrCoeff;

void main() {
    process_wireframe_fragments();
    vec4 diffuseColor = get_diffuse_texture_color() * material.diffuseColor;
    vec3 N = get_normal(), eye = eye_direction();
    PhysicalLight light = calculate_pbr(diffuseColor.rgb, N, eye, pbrCoeff);
    vec3 color = mix(light.color, render.fog.color.rgb * pbrCoeff.x, get_fog_opacity());
    vec4 result = apply_matte(diffuseColor.a, light.dynamicReflection, vec3(0.0), 1.0, light.totalShadow, color);
    fragData[0] = vec4(result.rgb * modelColor.rgb, result.a);
}
