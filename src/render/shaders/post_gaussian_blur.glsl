// One direction of a separable Gaussian, weights built incrementally: K. Turkowski, "Incremental Computation of the
// Gaussian", GPU Gems 3, chapter 40, 2007.
#ifndef VERT_SHADER
uniform sampler2D colorTexture;
uniform vec2 texelSize;
uniform vec2 blurDirection;
uniform int samples;        // half-width in texels
uniform int sampleIterator; // step in texels: 1 high quality, 2 low
out vec4 fragData[1];
void main() {
    vec4 original = texture(colorTexture, texCoords);
    float quotient = float(samples) / float(sampleIterator);
    float sigma = quotient / 3.0;
    float keepOriginal = quotient < 1.0 ? 1.0 : max(0.0, 1.0 - sigma);
    sigma = max(1.0, sigma);
    vec3 incGauss;
    incGauss.x = 1.0 / (sqrt(6.28318531) * sigma);
    incGauss.y = exp(-0.5 / (sigma * sigma));
    incGauss.z = incGauss.y * incGauss.y;
    vec4 sum = original * incGauss.x;
    float weight = incGauss.x;
    incGauss.xy *= incGauss.yz;
    for (int i = sampleIterator; i <= samples; i += sampleIterator) {
        vec2 offset = blurDirection * texelSize * float(i);
        sum += texture(colorTexture, texCoords - offset) * incGauss.x;
        sum += texture(colorTexture, texCoords + offset) * incGauss.x;
        weight += 2.0 * incGauss.x;
        incGauss.xy *= incGauss.yz;
    }
    sum /= weight;
    vec4 color = mix(sum, original, keepOriginal);
    fragData[0] = color.a > 0.0 ? color : vec4(0.0);
}
#endif
