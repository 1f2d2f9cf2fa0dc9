// Lines along the edges of the triangles.
in WireframeData {
    flat vec4 lineA;
    flat vec4 lineB;
    flat int wireframeCase;
} wire;

float line_unit() { return renderState.wireframeSupersample ? render.lineWidthMultiplicator : 2.0; }

float across(vec2 a, vec2 b) { return a.x * b.y - a.y * b.x; }

// Pixels to the nearest edge of the triangle. A fragment whose middle lies outside a triangle that is seen whole, as those
// on its edges do with several samples, is on its line: the distance is less than zero.
float edge_distance() {
    vec2 position = place_in_viewport(projectionMatrix * base.viewPosition);
    vec2 fromA = position - wire.lineA.xy, fromB = position - wire.lineB.xy;
    vec2 joint = wire.lineB.xy - wire.lineA.xy;
    vec3 distances = vec3(across(wire.lineA.zw, fromA), across(wire.lineB.zw, fromB),
                          across(safe_normalize(vec3(joint, 0.0)).xy, fromA));
    if (wire.wireframeCase == 0) {
        vec3 inside = vec3(across(wire.lineA.zw, joint), across(wire.lineB.zw, -joint), across(joint, wire.lineA.zw));
        distances *= sign(inside);
    } else {
        distances = abs(distances);
    }
    float nearest = min(distances.x, distances.y);
    // At least two corners are in front: the edge between them is seen whole.
    if (wire.wireframeCase == 0 || wire.wireframeCase == 1 || wire.wireframeCase == 2 || wire.wireframeCase == 4)
        nearest = min(nearest, distances.z);
    return nearest;
}

// Leaves nothing but the lines where only lines are wanted. Returns the distance to the nearest edge, in pixels.
float process_wireframe_fragments() {
    float edge = edge_distance();
    if (renderState.globalWireframe && edge > render.globalWireframeWidth * line_unit()) discard;
    if (material.wireframe.enabled && material.wireframe.drawMode == 1 &&
        edge > material.wireframe.lineWidth * line_unit())
        discard;
    return edge;
}

// The finished colour of the surface with the material's lines on it.
vec4 apply_wireframe_rendering(vec4 color, float edge, float incident, float fogOpacity) {
    vec3 surface = color.rgb * (1.0 - render.outputProperties.wireframeOnly);
    if (!material.wireframe.enabled) return vec4(surface * modelColor.rgb, color.a);
    vec3 line = material.wireframe.colorMode == 1 ? color.rgb : material.wireframe.color.rgb;
    if (material.wireframe.transferMode == 1)
        line = 1.0 - (1.0 - color.rgb) * (1.0 - line);
    else if (material.wireframe.transferMode == 2)
        line = color.rgb + line;
    else if (material.wireframe.transferMode == 3)
        line = color.rgb * line;
    if (material.wireframe.hasFogInfluence) line = mix(line, color.rgb, fogOpacity);
    line = mix(color.rgb, line, fresnel(incident, material.wireframe.fresnel, material.wireframe.bias));
    float beside = clamp(edge - material.wireframe.lineWidth * line_unit(), 0.0, 1.0);
    return vec4(mix(line, surface, beside) * modelColor.rgb, color.a);
}
