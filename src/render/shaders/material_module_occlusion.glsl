uniform sampler2D ambientOcclusionSampler;

// 1 open to 0 closed, and the colour of what is closed.
float get_ambient_occlusion(vec3 emissive, vec3 diffuseLight, float fogOpacity, out vec3 aoColor) {
    aoColor = vec3(1.0);
    if (!render.ao.enabled || !renderState.ambientOcclusion) return 1.0;
    float a = 1.0 - texelFetch(ambientOcclusionSampler, frame_pixel(), 0).r;
    // Towards K. Perlin's smoother step.
    a += (a * a * a * (a * (a * 6.0 - 15.0) + 10.0) - a) * render.ao.contrast;
    a *= 1.0 - clamp(largest_of(emissive), 0.0, 1.0) * (1.0 - render.ao.emissiveInfluence);
    a *= max(0.0, 1.0 - max(0.0, mean_of(diffuseLight) - 0.5) * render.ao.lightInfluence);
    a *= 1.0 - fogOpacity * render.ao.fogInfluence;
    float open = 1.0 - clamp(a * material.ambientOcclusionAmount, 0.0, 1.0);
    vec3 color = render.ao.color.rgb;
    vec3 tint = mix(vec3(0.0), color * 0.5, min(1.0, 2.0 * open));
    tint = mix(tint, color, max(0.0, 2.0 * open - 1.0));
    aoColor = mix(tint, color, float(render.ao.colorMode));
    return open;
}

// A matte surface shows nothing but the shadow, the occlusion and the reflections on it. Colour premultiplied by the
// coverage but not by the surface's opacity.
vec4 apply_matte(float alphaDiffuse, vec4 dynamicReflection, vec3 aoColor, float ambientOcclusion, float shadow,
                 vec3 fragmentColor) {
    float opacity = mix(1.0 - material.matteShadow, alphaDiffuse, material.matteUseDiffuseAlpha);
    vec3 color = mix(aoColor, fragmentColor, ambientOcclusion) * opacity;

    vec3 shadowColor = mix(aoColor, render.matteShadow.shadowTint.rgb * shadow, ambientOcclusion);
    float m = (1.0 - ambientOcclusion + shadow * ambientOcclusion) * material.matteShadow;
    color += shadowColor * m * (1.0 - opacity);
    opacity += m * (1.0 - opacity);

    float reflectionMatte =
        1.0 - material.matteReflection * (1.0 - material.matteUseDiffuseAlpha) * (1.0 - material.matteShadow);
    opacity *= reflectionMatte;
    color *= reflectionMatte;

    float d = material.matteReflection * (1.0 - opacity);
    color = color * (1.0 - d * dynamicReflection.a) + dynamicReflection.rgb * d;
    opacity = mix(opacity, 1.0, material.matteReflection * dynamicReflection.a);
    return vec4(color, opacity * surface_opacity());
}
