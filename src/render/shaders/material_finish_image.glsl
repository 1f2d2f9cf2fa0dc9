// The last steps of the picture, for both kinds of shading.
void finish_image(vec3 color, vec3 emissive, vec3 diffuseLight, vec4 dynamicReflection, float shadow, float alpha,
                  float incident, float edge) {
    float fogOpacity = get_fog_opacity();
    color = mix(color, render.fog.color.rgb, fogOpacity);
    vec3 aoColor;
    float ao = get_ambient_occlusion(emissive, diffuseLight, fogOpacity, aoColor);
    vec4 result = apply_matte(alpha, dynamicReflection, aoColor, ao, shadow, color);
    result = apply_wireframe_rendering(result, edge, incident, fogOpacity);
    if (renderState.blendOpacity) {
        // A preview of light that is added covers as much as it shines; colour times coverage stays.
        float light = min(1.0, largest_of(result.rgb));
        result.a *= light;
        if (light > 0.0) result.rgb /= light;
    }
    fragData[0] = result;
}
