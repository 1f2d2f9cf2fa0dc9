uniform sampler2DArray shadowMapSampler;
uniform sampler2DArray shadowRaySampler;
uniform samplerCube shadowCubemapSampler;

const float kNothing = 9999999.0; // depth read beside the map

// One light's map as the lookups below need it.
struct ShadowLookup {
    int layer;
    bool isPoint;
    vec3 lightVector; // surface to light
    mat4 shadowMatrix;
    mat4 projectionMatrix;
    float bias;
};

float getRand(vec2 co) { return fract(sin(dot(co, vec2(12.9898, 78.233))) * 43758.5453); }

// Tap i of a side by side grid, jittered in its cell, on a disc in world units.
vec2 getQmcPosition(float i, float side, float radius, float jitter) {
    vec2 screen = gl_FragCoord.xy / frameBufferSize;
    vec2 random = vec2(getRand(screen + vec2(i, i * 0.37)), getRand(screen.yx - vec2(i * 0.61, i)));
    vec2 cell = vec2(mod(i, side), floor(i / side)) + 0.5;
    vec2 g = (cell + (0.5 - random) * jitter) / side;
    return sqrt(g.x) * vec2(cos(PI2 * g.y), sin(PI2 * g.y)) * radius;
}

// x, y of the map, compared depth, w of a point of the world.
vec4 map_position(ShadowLookup lookup, vec3 offset) {
    if (lookup.isPoint) {
        vec3 a = abs(lookup.lightVector - offset);
        vec4 c = lookup.projectionMatrix * vec4(0.0, 0.0, -max(a.x, max(a.y, a.z)), 1.0);
        return vec4(0.0, 0.0, (c.z - lookup.bias) / c.w * 0.5 + 0.5 + 0.00001, c.w);
    }
    vec4 s = lookup.shadowMatrix * vec4(base.worldPosition.xyz + offset, base.worldPosition.w);
    return vec4(s.xy / s.w, (s.z - lookup.bias) / s.w + 0.00001, s.w);
}

bool beside_map(vec2 uv) { return any(lessThan(uv, vec2(0.0))) || any(greaterThan(uv, vec2(1.0))); }

// Depth as stored.
float read_depth(ShadowLookup lookup, vec3 offset, vec2 uv) {
    if (lookup.isPoint) return textureLod(shadowCubemapSampler, offset - lookup.lightVector, 0.0).r;
    if (beside_map(uv)) return kNothing;
    return textureLod(shadowMapSampler, vec3(uv, float(lookup.layer)), 0.0).r;
}

// 1 where nothing stands between the light and the depth z, 0 in shadow.
float sample_shadow_map(ShadowLookup lookup, vec3 offset, vec2 uv, float z) {
    if (lookup.isPoint || !render.shadow.smoothSample) return read_depth(lookup, offset, uv) < z ? 0.0 : 1.0;
    if (beside_map(uv)) return 1.0;
    vec2 cell = uv / render.shadow.invMapSize - 0.5;
    vec2 corner = (floor(cell) + 0.5) * render.shadow.invMapSize, share = fract(cell), texel = render.shadow.invMapSize;
    float layer = float(lookup.layer);
    vec4 stored = vec4(textureLod(shadowMapSampler, vec3(corner, layer), 0.0).r,
                       textureLod(shadowMapSampler, vec3(corner + vec2(texel.x, 0.0), layer), 0.0).r,
                       textureLod(shadowMapSampler, vec3(corner + vec2(0.0, texel.y), layer), 0.0).r,
                       textureLod(shadowMapSampler, vec3(corner + texel, layer), 0.0).r);
    vec4 lit = vec4(greaterThanEqual(stored, vec4(z)));
    return mix(mix(lit.x, lit.y, share.x), mix(lit.z, lit.w, share.x), share.y);
}

// World-space radius by which a wide light blurs the shadow at this point.
float penumbra_radius(ShadowLookup lookup, float compZ, float w, vec3 discU, vec3 discV, float side, float diffusion) {
    if (!(diffusion > 0.0)) return 0.0;
    float count = side * side, sum = 0.0;
    for (float i = 0.0; i < count; i += 1.0) {
        vec2 p = getQmcPosition(i, side, 100.0 + 2.0 * sum / max(1.0, i), render.shadow.jitter);
        vec3 offset = discU * p.x + discV * p.y;
        float depth = read_depth(lookup, offset, map_position(lookup, offset).xy);
        sum += diffusion * max(0.0, (compZ - depth) * w) / render.shadow.penumbraDepth;
    }
    return sum / count;
}

float soft_shadow(ShadowLookup lookup, float compZ, float w, float diffusion) {
    // The disc lies on the surface, so that the blur does too.
    vec3 discU = safe_normalize(base.worldTangent.xyz);
    vec3 discV = safe_normalize(cross(base.worldNormal, discU) * base.worldTangent.w);
    float side = max(1.0, floor(render.shadow.softSamples));
    float radius = render.shadow.softRadius + penumbra_radius(lookup, compZ, w, discU, discV, side, diffusion);
    float count = side * side, sum = 0.0;
    for (float i = 0.0; i < count; i += 1.0) {
        vec2 p = getQmcPosition(i, side, radius, render.shadow.jitter);
        vec3 offset = discU * p.x + discV * p.y;
        vec4 at = map_position(lookup, offset);
        float z = at.z - abs(at.z - compZ) * render.shadow.softBlurDepthBias;
        sum += sample_shadow_map(lookup, offset, at.xy, z);
    }
    return sum / count;
}

// The two fronts of a layer are (shadow, mean distance) each: of one surface where they agree, else the nearer one.
float ray_traced_shadow(int layer) {
    vec4 v = texelFetch(shadowRaySampler, ivec3(frame_pixel(), layer), 0);
    vec2 d = abs(v.yw - length(base.viewPosition.xyz));
    if (abs(d.x - d.y) < 5.0) return (v.x + v.z) * 0.5;
    return d.x < d.y || v.w < 0.1 ? v.x : v.z;
}

float darken_shadow(float shadow, float darkness) {
    shadow = darkness > 1.0 ? pow(shadow, darkness) : mix(1.0, shadow, darkness);
    return mix(1.0, pow(max(0.0, shadow), render.shadow.gamma), render.mixer.shadows);
}

// Light that comes through the body, 0 to 1.
float sub_surface_light(ShadowLookup lookup) {
    vec3 discU = safe_normalize(vec3(lookup.shadowMatrix[0].x, lookup.shadowMatrix[1].x, lookup.shadowMatrix[2].x));
    vec3 discV = safe_normalize(vec3(lookup.shadowMatrix[0].y, lookup.shadowMatrix[1].y, lookup.shadowMatrix[2].y));
    float compZ = map_position(lookup, vec3(0.0)).z;
    float side = max(1.0, floor(render.subSurface.samples));
    float count = side * side, sum = 0.0;
    for (float i = 0.0; i < count; i += 1.0) {
        vec2 p = getQmcPosition(i, side, material.subSurface.diffusion * render.subSurface.diffusion,
                                render.subSurface.jitter);
        vec3 offset = discU * p.x + discV * p.y;
        if (!(read_depth(lookup, offset, map_position(lookup, offset).xy) < compZ)) sum += 1.0;
    }
    float through = clamp(sum / count - material.subSurface.absorption * render.subSurface.absorptionMultiplier, 0.0, 1.0);
    return pow(through, material.subSurface.absorptionExponent * render.subSurface.falloffMultiplier) *
           render.mixer.subSurface;
}

// shadow: 1 lit, 0 dark. subSurface: what comes through.
void get_shadow_sss(Light light, vec3 lightVector, out float shadow, out float subSurface) {
    shadow = 1.0;
    subSurface = 0.0;
    if (light.shadowId < 0) return;
    bool shadowsEnabled = render.shadow.enabled && material.receiveShadow;
    if (shadowsEnabled && render.shadow.rayTraced && renderState.rayTracedShadows)
        shadow = darken_shadow(ray_traced_shadow(light.shadowId), light.darkness);
    if (!(base.worldPosition.w > 0.0) || !renderState.shadowMaps) return;

    ShadowLookup lookup = ShadowLookup(light.shadowId, light.type == 2, lightVector, light.shadowMatrix,
                                       light.projectionMatrix, light.shadowBias);
    if (shadowsEnabled && !render.shadow.rayTraced) {
        vec4 at = map_position(lookup, vec3(0.0));
        shadow = darken_shadow(soft_shadow(lookup, at.z, at.w, light.diffusion), light.darkness);
    }
    if (render.subSurface.enabled && material.subSurface.enabled) {
        lookup.bias = render.subSurface.sssBias;
        subSurface = sub_surface_light(lookup);
    }
}
