// Only depth counts; holes in the surface let light through.
void main() {
    process_wireframe_fragments();
    get_diffuse_texture_color();
    fragData[0] = vec4(0.0);
}
