// White in focus: by how far the lens moves the point's image.
vec2 image_point(vec4 clip) { return clip.xy / (clip.w != 0.0 ? clip.w : 1.0); }

void main() {
    process_wireframe_fragments();
    get_diffuse_texture_color();
    // In pixels of the frame, whatever tile is drawn.
    vec2 plain = gl_FragCoord.xy * viewportScale + viewportOffset;
    vec2 moved = image_point(render.outputProperties.dofProjectionMatrix *
                             (render.outputProperties.dofViewMatrix * base.worldPosition));
    float spacing = max(render.outputProperties.dofSpacing, 0.000001);
    float pixels = length((moved + 1.0) * 0.5 * frameBufferSize - plain);
    fragData[0] = vec4(vec3(1.0 - clamp(pixels / spacing, 0.0, 1.0)), 1.0);
}
