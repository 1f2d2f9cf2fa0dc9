// Grey by the distance to the eye.
void main() {
    process_wireframe_fragments();
    get_diffuse_texture_color();
    float depth = (length(base.worldPosition.xyz - eyePosition) - render.outputProperties.depthMin) *
                  render.outputProperties.depthInvRange;
    fragData[0] = vec4(vec3(clamp(depth, 0.0, render.outputProperties.depthClamp)),
                       (1.0 - material.matteShadow) * material.opacity);
}
