vec4 get_specular_texture_color();
vec4 get_reflect_texture_color();
vec3 get_occlusion_texture_color();
vec4 get_dynamic_reflection(vec3 direction, bool rough, float lod);
vec4 get_dynamic_refraction(vec3 direction, bool rough, float lod);
bool environment_disabled();

uniform samplerCube iblSampler; // level n holds the environment as a surface of roughness n / 6 sees it

// What the Physical shading gives, linear light.
struct PhysicalLight {
    vec3 color;
    vec3 diffuseLight; // direct and ambient, without the surface's colour
    float totalShadow;
    vec4 dynamicReflection; // premultiplied
};

vec3 get_ibl_texture_color(vec3 worldDirection, float lod) {
    if (modelProperties.dynamicReflection.disableEnvironment || material.ignoreIbl) return vec3(0.0);
    Channel channel = environment_channel();
    vec3 direction = worldDirection * mat3(render.environmentMatrix);
    if (channel.uvRepeat != vec2(1.0) || channel.uvOffset != vec2(0.0)) {
        vec2 coordinates = environment_coordinates(direction) * channel.uvRepeat + channel.uvOffset;
        coordinates.y = mod(coordinates.y, 1.0);
        direction = environment_direction(coordinates);
    }
    return grade_environment(textureLod(iblSampler, direction, lod).rgb, channel);
}

// The environment with what the scene itself shows in front of it.
vec3 get_pbr_color(vec3 direction, float lod, vec4 dynamic) {
    return get_ibl_texture_color(direction, lod) * (1.0 - dynamic.a) + dynamic.rgb;
}
vec4 get_dynamic_pbr_color(vec3 direction, float lod) { return get_dynamic_reflection(direction, true, lod); }

// `pbrCoeff`: shares of diffuse light, refraction, reflection and specular light.
PhysicalLight calculate_pbr(vec3 diffuseColor, vec3 N, vec3 eye, vec4 pbrCoeff) {
    vec3 reflectTexture = min(vec3(1.0), get_reflect_texture_color().rgb);
    vec3 metallic = min(vec3(1.0), reflectTexture * material.reflectAmount * render.mixer.reflect);
    float originalRoughness = 1.0 - clamp(get_specular_texture_color().x * material.specularShininess, 0.0, 1.0);

    // Seen along the surface everything is smoother; a mirror keeps its own roughness.
    float e = max(0.0, 1.0 - abs(dot(N, eye)));
    float specLightRoughness = mix(pow(e, 8.0), 1.0, originalRoughness);
    float roughness = renderState.dynamicReflection == 1 ? originalRoughness : mix(pow(e, 64.0), 1.0, originalRoughness);
    vec3 roughnessFresnel = mix(vec3(1.0 - roughness * 0.6), vec3(1.0), metallic);
    vec3 metallicAmount = metallic * material.reflectColor.rgb * 0.99 + 0.01;
    metallicAmount = mix(pow(e, 5.0) * roughnessFresnel, vec3(1.0), metallicAmount);

    Lighting light =
        finish_lights(calculate_lights(N, eye, specLightRoughness, material.specularShininess, 1.0));
    vec3 specular = light.specular * pbrCoeff.w;
    vec3 diffuse = light.diffuse + light.ambient;

    vec3 incoming = -eye * material.environmentDirection;
    vec3 reflectDirection = reflect(incoming, N);
    float lod = roughness * 6.0;
    vec4 dynamic = get_dynamic_pbr_color(reflectDirection, lod);
    specular += get_pbr_color(reflectDirection, lod, dynamic) * pbrCoeff.z;
    float reflectionInfluence = mix(1.0, clamp(mean_of(diffuse), 0.0, 1.0), render.shadow.reflectionInfluence);

    PhysicalLight result;
    result.diffuseLight = diffuse;
    result.totalShadow = light.totalShadow;
    diffuse += get_ibl_texture_color(N, 6.0) * material.environmentMultiplier * reflectionInfluence;
    diffuse *= diffuseColor * get_occlusion_texture_color();

    vec3 refraction = vec3(0.0);
    vec3 refractAmount = min(vec3(1.0), render.mixer.refract * material.refractAmount *
                                            mix(vec3(1.0), reflectTexture, material.refractSpecularInfluence));
    if (material.refractAmount > 0.0) {
        float m = sqrt(clamp(length(reflectTexture), 0.0, 1.0));
        vec3 refractDirection = refract(incoming, N, material.refractDistortion * m);
        refraction = get_pbr_color(refractDirection, lod, get_dynamic_refraction(refractDirection, true, lod)) *
                     material.refractColor.rgb * reflectionInfluence;
    }
    specular *= reflectionInfluence;
    result.dynamicReflection = vec4(dynamic.rgb * reflectionInfluence, dynamic.a) *
                               vec4(metallicAmount, mean_of(metallicAmount));

    vec3 energy = material.energyConservation ? metallicAmount : vec3(mean_of(metallicAmount));
    result.color = mix(diffuse * pbrCoeff.x, refraction * pbrCoeff.y, refractAmount) * (1.0 - energy) +
                   specular * metallicAmount;
    return result;
}
