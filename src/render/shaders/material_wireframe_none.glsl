// In place of the wireframe in programs without one.
float process_wireframe_fragments() { return 0.0; }

vec4 apply_wireframe_rendering(vec4 color, float edge, float incident, float fogOpacity) {
    return vec4(color.rgb * (1.0 - render.outputProperties.wireframeOnly) * modelColor.rgb, color.a);
}
