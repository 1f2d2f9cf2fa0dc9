void get_shadow_sss(Light light, vec3 lightVector, out float shadow, out float subSurface);

// Sums over the lights, linear light.
struct Lighting {
    vec3 ambient;
    vec3 diffuse;    // subsurface light in it
    vec3 specular;
    vec3 subSurface;
    float totalShadow;
};

// Rec. 709 luminance.
const vec3 lumaCoefficient = vec3(0.2126, 0.7152, 0.0722);

// Share of a spot's light inside its cone, soft towards the border.
float spot_side(Light light, vec3 L) {
    float spotEffect = dot(light.direction.xyz, -L);
    if (spotEffect < light.cosCone) return 0.0;
    float f = 1.0;
    if (light.feather > 0.0) {
        float halfAngle = max(acos(light.cosCone), 0.00001);
        f = clamp(max(0.0, (halfAngle - acos(min(1.0, spotEffect))) / halfAngle) / light.feather, 0.0, 1.0);
    }
    float side = smoothstep(0.0, 1.0, f);
    return side * side;
}

// Microfacet lobe: D of Trowbridge and Reitz (1975), visibility after Schlick (1994).
float microfacet_lobe(vec3 N, vec3 eye, vec3 L, float ndotl, float roughness) {
    vec3 halfVector = safe_normalize(L + eye);
    float ndoth = max(0.0, dot(N, halfVector));
    float ndotv = max(0.0, dot(N, eye));
    float a = roughness * 0.875 + 0.125;
    a = a * a * a;
    float a2 = a * a;
    float denominator = ndoth * ndoth * (a2 - 1.0) + 1.0;
    float D = a2 / (PI * denominator * denominator);
    float k = a / 2.0;
    float Gv = 1.0 / (ndotv * (1.0 - k) + k);
    float Gl = 1.0 / (ndotl * (1.0 - k) + k);
    float value = D * Gv * Gl / 4.0 * ndotv;
    float compression = render.outputProperties.specularCompression * min(1.0, max(0.0, value - 1.0) * 100.0);
    return mix(value, log2(value + 1.0), compression);
}

// A roughness below 0 selects the Standard lobe, which `shininess` and `size` shape.
Lighting calculate_lights(vec3 N, vec3 eye, float roughness, float shininess, float size) {
    Lighting sum = Lighting(vec3(0.0), vec3(0.0), vec3(0.0), vec3(0.0), 0.0);
    bool scatters = render.subSurface.enabled && material.subSurface.enabled;
    float exponent = scatters ? material.subSurface.penetrationExponent : 1.0;
    for (int i = 0; i < min(numLights, 8); ++i) {
        vec3 toLight = lights[i].position.xyz - base.worldPosition.xyz;
        float d = length(toLight);
        float luminosity = 1.0 / (1.0 + d * lights[i].falloff + d * d * lights[i].falloff * 0.2);
        vec3 L = lights[i].type == 1 ? lights[i].direction.xyz : safe_normalize(toLight);
        vec3 color = lights[i].diffuse.rgb;
        float shadow, subSurface;
        get_shadow_sss(lights[i], toLight, shadow, subSurface);

        float ndotl = max(0.0, dot(L, N));
        float diffuseCoeff = pow(ndotl, exponent) * shadow * luminosity;
        float scatterCoeff = pow(clamp(dot(L, N) - render.subSurface.lightBlending, 0.0, 1.0), exponent) * shadow *
                             luminosity;
        float side = 1.0;
        if (lights[i].type == 3) {
            side = spot_side(lights[i], L);
            diffuseCoeff *= side;
            subSurface *= side;
            shadow = mix(1.0, shadow, side); // beside the cone there is no light to be in the shadow of
        }

        float lightValue = mix(1.0, luminosity * mean_of(color),
                               mix(1.0, render.matteShadow.lightInfluence, material.matteShadow));
        float shade = min(1.0, lightValue * (1.0 - shadow));
        sum.totalShadow += mix(shade, shade * render.matteShadow.opacity, material.matteShadow);

        sum.diffuse += diffuseCoeff * color * render.mixer.diffuse * material.diffuseAmount;
        if (scatters) {
            vec3 scatter = material.subSurface.color.rgb;
            vec3 tint = mix(scatter, color * scatter, dot(scatter, lumaCoefficient) * render.subSurface.tintFactor);
            sum.subSurface += tint * clamp(subSurface - scatterCoeff, 0.0, 1.0) * material.subSurface.intensity *
                              render.subSurface.intensity * dot(color, lumaCoefficient);
        }
        if (roughness < 0.0) {
            float lobe = pow(clamp(dot(reflect(-L, N), eye) * size, 0.0, 1.0), max(0.001, shininess * 640.0));
            sum.specular += lobe * color * luminosity * side * min(1.0, ndotl * 10.0) * shadow;
        } else {
            sum.specular += microfacet_lobe(N, eye, L, ndotl, roughness) * color * diffuseCoeff;
        }
    }
    sum.diffuse += sum.subSurface;
    return sum;
}

// Ambient light, and the shadow as a share of all lights.
Lighting finish_lights(Lighting sum) {
    sum.ambient = ambientLights.rgb * render.mixer.ambient * material.ambientAmount;
    sum.specular *= render.mixer.specular * material.specularAmount;
    if (numLights > 0)
        sum.totalShadow = clamp(sum.totalShadow / float(min(numLights, 8)) -
                                    mix(mean_of(sum.ambient), 0.0, material.matteShadow), 0.0, 1.0);
    else
        sum.totalShadow = 0.0;
    return sum;
}

// Lights of the Standard shading.
Lighting calculate_lighting(vec3 N, vec3 eye) {
    return finish_lights(calculate_lights(N, eye, -1.0, material.specularShininess, material.specularSize));
}
