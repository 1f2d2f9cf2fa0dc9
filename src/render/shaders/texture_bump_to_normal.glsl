// Heights (mean of red, green and blue) to a tangent-space normal by the Sobel operator; x along u, y along v.
#ifndef VERT_SHADER
uniform sampler2D bumpTexture;
uniform vec2 pixelSize;
out vec4 fragData[1];
float height(float x, float y) {
    return dot(texture(bumpTexture, texCoords + vec2(x, y) * pixelSize).rgb, vec3(1.0 / 3.0));
}
void main() {
    // Row 0 is the top one.
    float tl = height(-1.0, -1.0), t = height(0.0, -1.0), tr = height(1.0, -1.0);
    float l = height(-1.0, 0.0), r = height(1.0, 0.0);
    float bl = height(-1.0, 1.0), b = height(0.0, 1.0), br = height(1.0, 1.0);
    vec3 n = vec3(-((tr + 2.0 * r + br) - (tl + 2.0 * l + bl)), -((bl + 2.0 * b + br) - (tl + 2.0 * t + tr)), 0.5);
    fragData[0] = vec4((normalize(n) + 1.0) * 0.5, 1.0);
}
#endif
