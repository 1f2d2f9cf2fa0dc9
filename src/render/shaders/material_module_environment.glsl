vec4 get_reflect_texture_color();
vec3 get_normal_texture();

uniform sampler2D environmentSampler;
uniform sampler2D dynamicReflectSampler;
uniform samplerCube dynamicReflectCubeSampler;

// The scene as the model's mirror shows it at this point, colour premultiplied. `lod` is the mip level that stands for
// the roughness; without `rough` the picture's own filtering chooses.
vec4 get_dynamic_plane_color(bool rough, float lod) {
    if (modelProperties.dynamicReflection.clipMirror != 0) {
        vec3 fromPlane = (base.worldPosition - baseModelMatrix * modelProperties.dynamicReflection.offset).xyz;
        float above = dot(fromPlane, mat3(baseModelMatrix) * modelProperties.dynamicReflection.reflectDirection.xyz);
        if (modelProperties.dynamicReflection.clipMirror == 1 ? above < 0.0 : above > 0.0) return vec4(0.0);
    }
    vec4 p = dynamicPlaneMatrix * base.worldPosition;
    p.xy = 0.5 * p.xy + 0.5 * p.w + get_normal_texture().xy * base.worldScale * 0.25;
    return rough ? textureProjLod(dynamicReflectSampler, p.xyw, lod) : textureProj(dynamicReflectSampler, p.xyw);
}

// The same from the model's cube, which is rendered with y up.
vec4 get_dynamic_cube_color(vec3 direction, bool rough, float lod) {
    vec3 d = vec3(direction.x, -direction.y, direction.z);
    return rough ? textureLod(dynamicReflectCubeSampler, d, lod) : texture(dynamicReflectCubeSampler, d);
}

// What a reflected direction meets of the scene.
vec4 get_dynamic_reflection(vec3 direction, bool rough, float lod) {
    if (renderState.dynamicReflection == 1) return get_dynamic_plane_color(rough, lod);
    if (renderState.dynamicReflection == 2) return get_dynamic_cube_color(direction, rough, lod);
    return vec4(0.0);
}

// A refracted one never meets the mirror.
vec4 get_dynamic_refraction(vec3 direction, bool rough, float lod) {
    return renderState.dynamicReflection == 2 ? get_dynamic_cube_color(direction, rough, lod) : vec4(0.0);
}

bool environment_disabled() {
    return renderState.dynamicReflection != 0 && modelProperties.dynamicReflection.disableEnvironment;
}

// The picture of the environment in a direction of the world. The derivatives are those of the direction, so that the
// seam behind the viewer has none.
vec4 get_environment_texture_color(vec3 worldDirection) {
    Channel channel = environment_channel();
    vec3 direction = worldDirection * mat3(render.environmentMatrix);
    vec2 coordinates = environment_coordinates(direction);
    float height = float(textureSize(environmentSampler, 0).y);
    coordinates.y = (coordinates.y - 0.5) * (1.0 - 1.0 / height) + 0.5; // rows next to the poles do not mix
    float ground = max(dot(direction.xz, direction.xz), 0.000001) * PI2;
    vec3 dx = dFdx(direction), dy = dFdy(direction);
    vec2 gradX = vec2((direction.z * dx.x - direction.x * dx.z) / ground, dFdx(coordinates.y));
    vec2 gradY = vec2((direction.z * dy.x - direction.x * dy.z) / ground, dFdy(coordinates.y));
    vec4 texel = textureGrad(environmentSampler, coordinates * channel.uvRepeat + channel.uvOffset,
                             gradX * channel.uvRepeat, gradY * channel.uvRepeat);
    texel.rgb = grade_environment(texel.rgb, channel);
    return texel;
}

// `color` over or added to the light from below, by the blend mode: 0 over, 1 over and at most all, 2 added.
vec3 blend_reflection(vec3 below, vec3 color, vec3 intensity, int mode) {
    if (mode == 1) intensity = min(intensity, vec3(1.0));
    vec3 rest = mode == 2 ? below : below * max(vec3(0.0), 1.0 - intensity);
    return rest + color * intensity;
}

// The light `below` under what the surface refracts and, above that, reflects. `coeff`: share of reflection and of
// refraction.
vec3 get_reflect_refract_color(float incident, vec3 N, vec3 eye, vec3 specular, vec3 diffuseLight, vec3 below,
                               vec2 coeff, out vec4 dynamicReflection) {
    vec3 incoming = -eye * material.environmentDirection;
    vec3 map = get_reflect_texture_color().rgb;

    if (material.refractAmount * coeff.y != 0.0) {
        vec3 direction = refract(incoming, N, material.refractDistortion);
        vec4 dynamic = get_dynamic_refraction(direction, false, 0.0);
        vec4 behind = environment_disabled() ? vec4(0.0) : get_environment_texture_color(direction);
        vec4 color = (behind * (1.0 - dynamic.a) + dynamic) * material.refractColor;
        vec3 intensity = coeff.y * material.refractAmount * map *
                         mix(vec3(1.0), specular, material.refractSpecularInfluence) * color.a * render.mixer.refract *
                         fresnel(incident, material.refractFresnel, material.refractBias);
        below = blend_reflection(below, color.rgb, intensity, material.refractMode);
    }

    vec3 direction = reflect(incoming, N);
    vec4 dynamic = get_dynamic_reflection(direction, false, 0.0);
    vec4 behind = vec4(0.0);
    if (!environment_disabled() && material.reflectAmount * coeff.x != 0.0)
        behind = get_environment_texture_color(direction);
    vec4 color = (behind * (1.0 - dynamic.a) + dynamic) * material.reflectColor;
    float lit = material.environmentDirection > 0.0
                    ? mix(1.0, clamp(mean_of(diffuseLight), 0.0, 1.0), render.shadow.reflectionInfluence)
                    : 1.0;
    vec3 intensity = coeff.x * material.reflectAmount * map *
                     mix(vec3(1.0), specular, material.reflectSpecularInfluence) * color.a * render.mixer.reflect * lit *
                     fresnel(incident, material.reflectFresnel, material.reflectBias);
    dynamicReflection = dynamic * material.reflectColor * vec4(intensity, mean_of(intensity));
    return blend_reflection(below, color.rgb, intensity, material.reflectMode);
}
