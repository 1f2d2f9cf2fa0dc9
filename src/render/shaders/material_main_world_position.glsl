void main() {
    process_wireframe_fragments();
    get_diffuse_texture_color();
    fragData[0] = vec4(base.worldPosition.xyz, 1.0);
}
