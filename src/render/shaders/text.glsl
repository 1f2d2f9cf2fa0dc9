// Characters of a font's atlas, whose three channels are the coverage of the thirds of a pixel.
#ifdef VERT_SHADER
uniform mat4 projMatrix;
in vec4 coord; // position in pixels, place in the atlas
out vec2 texCoords;
void main() {
    texCoords = coord.zw;
    gl_Position = projMatrix * vec4(coord.xy, 0.0, 1.0);
}
#else
uniform sampler2D fontSampler;
uniform vec4 color; // straight
in vec2 texCoords;
out vec4 fragData;
void main() {
    vec3 coverage = textureLod(fontSampler, texCoords, 0.0).rgb;
    // One alpha for the three; the colour carries what is special to each, so that their product is right.
    float alpha = min(1.0, dot(coverage, vec3(0.5)));
    fragData = vec4(alpha > 0.0 ? color.rgb * coverage / alpha : vec3(0.0), alpha * color.a);
}
#endif
