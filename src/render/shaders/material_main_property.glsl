// Normal (world) with the reciprocal of the depth, and the object's number with the position (view).
void main() {
    process_wireframe_fragments();
    get_diffuse_texture_color();
    fragData[0] = vec4(get_normal(), -1.0 / base.viewPosition.z);
    fragData[1] = vec4(float(objectId), base.viewPosition.xyz);
}
