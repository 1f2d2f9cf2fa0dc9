// From linear premultiplied light to what the host gets: straight colour, or the picture over a background.
#ifdef VERT_SHADER
uniform int invertY;
in vec2 inVertex;
in vec2 inTexCoord;
out vec2 texCoords;
void main() {
    texCoords = vec2(inTexCoord.x, invertY != 0 ? 1.0 - inTexCoord.y : inTexCoord.y);
    gl_Position = vec4(inVertex, 0.0, 1.0);
}
#else
uniform sampler2D blendTexture;
uniform vec4 bgColor; // linear; alpha above 0 fills behind the picture
uniform bool gammaCorrect;
uniform float gamma; // 1 / the settings' gamma
uniform float highlightCompression;
uniform bool invertOrder;    // write alpha, red, green, blue
uniform bool invertChannels; // exchange red and blue
in vec2 texCoords;
out vec4 fragData[1];

vec3 compressHighlights(vec3 c) { return log(max(vec3(0.0), c - 0.5) * 4.0 + 1.0) / 4.0 + min(vec3(0.5), c); }

void main() {
    vec4 color = textureLod(blendTexture, texCoords, 0.0);
    float alpha = min(1.0, color.a);
    vec3 straight = alpha > 0.0 ? color.rgb / alpha : color.rgb;
    if (bgColor.a > 0.0) {
        straight = straight * alpha + bgColor.rgb * (1.0 - alpha);
        alpha = 1.0;
    }
    straight = mix(straight, compressHighlights(straight), highlightCompression);
    if (gammaCorrect) straight = pow(max(straight, vec3(0.0)), vec3(gamma));
    if (invertChannels) straight = straight.bgr;
    fragData[0] = invertOrder ? vec4(alpha, straight) : vec4(straight, alpha);
}
#endif
