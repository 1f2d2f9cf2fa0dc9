// The picture without light.
void main() {
    float edge = process_wireframe_fragments();
    vec4 color = get_diffuse_texture_color() * material.diffuseColor;
    float incident = incidence(safe_normalize(base.worldNormal), eye_direction());
    fragData[0] = apply_wireframe_rendering(vec4(color.rgb, surface_opacity()), edge, incident, 0.0);
}
