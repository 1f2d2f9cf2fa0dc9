// Share of the fog's colour, by the distance to the eye.
float get_fog_opacity() {
    float viewLength = length(base.viewPosition.xyz);
    if (render.fog.falloff < 2.5)
        return pow(clamp((viewLength - render.fog.start) * render.fog.invDistance, 0.0, 1.0) * render.fog.color.a,
                   render.fog.falloff);
    float near = (1.0 - clamp(abs((render.fog.start - viewLength) * render.fog.invDistance), 0.0, 1.0)) *
                 render.fog.color.a;
    return near * near;
}
