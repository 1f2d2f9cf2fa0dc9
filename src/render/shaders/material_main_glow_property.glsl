// Share of the surface in the glow, and its own light.
void main() {
    process_wireframe_fragments();
    vec4 diffuseColor = get_diffuse_texture_color() * material.diffuseColor;
    vec3 emissive = get_emissive_color(incidence(get_normal(), eye_direction()), diffuseColor.rgb);
    fragData[0] = vec4(material.glowAmount, largest_of(emissive), 0.0, 1.0);
}
