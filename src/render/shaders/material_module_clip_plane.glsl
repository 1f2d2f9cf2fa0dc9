// A mirror's picture holds nothing from behind the mirror.
void clip_plane() {
    if (renderState.clipPlane && !(dot(base.worldPosition.xyz, clipPlane.xyz) + clipPlane.w > 0.0)) discard;
}
