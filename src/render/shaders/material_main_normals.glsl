void main() {
    process_wireframe_fragments();
    get_diffuse_texture_color();
    fragData[0] = vec4(get_normal() * 0.5 + 0.5, (1.0 - material.matteShadow) * material.opacity);
}
