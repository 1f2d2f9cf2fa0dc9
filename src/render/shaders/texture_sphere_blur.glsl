// One direction of a blur on the sphere, over an equirectangular picture. Both passes turn the picture by half its
// width, so that together they leave it in place.
#ifndef VERT_SHADER
uniform sampler2D sphereTexture;
uniform float blurRadius;   // texels
uniform vec2 blurDirection; // (1, 0) or (0, 1)
out vec4 fragData[1];
void main() {
    ivec2 size = textureSize(sphereTexture, 0);
    ivec2 here = ivec2(gl_FragCoord.xy);
    bool horizontal = blurDirection.x > 0.5;
    float blurSize = min(float(size.y) / 2.0 - 1.0, blurRadius);
    if (horizontal) {
        // Rows near the poles are stretched.
        float v = (float(here.y) + 0.5) / float(size.y);
        blurSize = clamp(blurSize / cos((v + 0.01) / 1.02 * 3.1415 - 1.5708), 1.0, float(size.x));
    }
    blurSize = max(blurSize, 1.0);
    // Of an odd width the second pass takes the larger half.
    here.x += horizontal ? size.x / 2 : size.x - size.x / 2;
    vec4 sum = vec4(0.0);
    float total = 0.0;
    int reach = int(blurSize);
    for (int i = -reach; i <= reach; ++i) {
        ivec2 at = here + (horizontal ? ivec2(i, 0) : ivec2(0, i));
        // Past a pole lies the other side of the sphere.
        if (at.y < 0) {
            at.y = -at.y;
            at.x += size.x / 2;
        } else if (at.y >= size.y) {
            at.y = (size.y - 1) - (at.y - size.y);
            at.x += size.x / 2;
        }
        at.y = clamp(at.y, 0, size.y - 1);
        float weight = cos(float(i) * 1.5757 / blurSize);
        sum += texelFetch(sphereTexture, ivec2(((at.x % size.x) + size.x) % size.x, at.y), 0) * weight;
        total += weight;
    }
    fragData[0] = sum / total;
}
#endif
