// T. Lottes, "FXAA", NVIDIA white paper, 2009, preset 3. All four channels are filtered alike, so that the edge of the
// coverage is smoothed with the edge of the colour.
#ifndef VERT_SHADER
#define FXAA_PRESET 3
#define FXAA_EDGE_THRESHOLD (1.0 / 8.0)
#define FXAA_EDGE_THRESHOLD_MIN (1.0 / 16.0)
#define FXAA_SEARCH_STEPS 16
#define FXAA_SEARCH_THRESHOLD (1.0 / 4.0)
#define FXAA_SUBPIX_CAP (3.0 / 4.0)
#define FXAA_SUBPIX_TRIM (1.0 / 4.0)
#define FXAA_SUBPIX_TRIM_SCALE (1.0 / (1.0 - FXAA_SUBPIX_TRIM))

uniform sampler2D mainTex;
uniform vec2 texelSize;
out vec4 fragData[1];

vec4 tap(vec2 uv, vec2 offset) { return textureLod(mainTex, uv + offset * texelSize, 0.0); }
float luma(vec4 c) { return c.g * (0.587 / 0.299) + c.r; }

void main() {
    vec2 pos = texCoords;
    vec4 n = tap(pos, vec2(0.0, -1.0));
    vec4 w = tap(pos, vec2(-1.0, 0.0));
    vec4 m = tap(pos, vec2(0.0, 0.0));
    vec4 e = tap(pos, vec2(1.0, 0.0));
    vec4 s = tap(pos, vec2(0.0, 1.0));
    float lumaN = luma(n);
    float lumaW = luma(w);
    float lumaM = luma(m);
    float lumaE = luma(e);
    float lumaS = luma(s);
    float rangeMin = min(lumaM, min(min(lumaN, lumaW), min(lumaS, lumaE)));
    float rangeMax = max(lumaM, max(max(lumaN, lumaW), max(lumaS, lumaE)));
    float range = rangeMax - rangeMin;
    if (range < max(FXAA_EDGE_THRESHOLD_MIN, rangeMax * FXAA_EDGE_THRESHOLD)) {
        fragData[0] = m;
        return;
    }

    // How far the pixel differs from its neighbourhood: blend towards the 3 by 3 mean.
    vec4 sum = n + w + m + e + s;
    float lumaL = (lumaN + lumaW + lumaE + lumaS) * 0.25;
    float blendL = max(0.0, abs(lumaL - lumaM) / range - FXAA_SUBPIX_TRIM) * FXAA_SUBPIX_TRIM_SCALE;
    blendL = min(FXAA_SUBPIX_CAP, blendL);
    vec4 nw = tap(pos, vec2(-1.0, -1.0));
    vec4 ne = tap(pos, vec2(1.0, -1.0));
    vec4 sw = tap(pos, vec2(-1.0, 1.0));
    vec4 se = tap(pos, vec2(1.0, 1.0));
    vec4 mean = (sum + nw + ne + sw + se) / 9.0;
    float lumaNW = luma(nw);
    float lumaNE = luma(ne);
    float lumaSW = luma(sw);
    float lumaSE = luma(se);

    // Direction of the edge, and the side of it with the larger step.
    float edgeVert = abs(0.25 * lumaNW - 0.5 * lumaN + 0.25 * lumaNE) +
                     abs(0.50 * lumaW - 1.0 * lumaM + 0.50 * lumaE) +
                     abs(0.25 * lumaSW - 0.5 * lumaS + 0.25 * lumaSE);
    float edgeHorz = abs(0.25 * lumaNW - 0.5 * lumaW + 0.25 * lumaSW) +
                     abs(0.50 * lumaN - 1.0 * lumaM + 0.50 * lumaS) +
                     abs(0.25 * lumaNE - 0.5 * lumaE + 0.25 * lumaSE);
    bool horzSpan = edgeHorz >= edgeVert;
    float lengthSign = horzSpan ? -texelSize.y : -texelSize.x;
    if (!horzSpan) {
        lumaN = lumaW;
        lumaS = lumaE;
    }
    float gradientN = abs(lumaN - lumaM);
    float gradientS = abs(lumaS - lumaM);
    lumaN = (lumaN + lumaM) * 0.5;
    lumaS = (lumaS + lumaM) * 0.5;
    if (gradientN < gradientS) {
        lumaN = lumaS;
        gradientN = gradientS;
        lengthSign *= -1.0;
    }

    // Walk both ways along the edge until it ends.
    vec2 posN = pos + (horzSpan ? vec2(0.0, lengthSign * 0.5) : vec2(lengthSign * 0.5, 0.0));
    vec2 posP = posN;
    vec2 step = horzSpan ? vec2(texelSize.x, 0.0) : vec2(0.0, texelSize.y);
    gradientN *= FXAA_SEARCH_THRESHOLD;
    float lumaEndN = lumaN;
    float lumaEndP = lumaN;
    bool doneN = false;
    bool doneP = false;
    posN -= step;
    posP += step;
    for (int i = 0; i < FXAA_SEARCH_STEPS; ++i) {
        if (!doneN) lumaEndN = luma(textureLod(mainTex, posN, 0.0));
        if (!doneP) lumaEndP = luma(textureLod(mainTex, posP, 0.0));
        doneN = doneN || abs(lumaEndN - lumaN) >= gradientN;
        doneP = doneP || abs(lumaEndP - lumaN) >= gradientN;
        if (doneN && doneP) break;
        if (!doneN) posN -= step;
        if (!doneP) posP += step;
    }
    float dstN = horzSpan ? pos.x - posN.x : pos.y - posN.y;
    float dstP = horzSpan ? posP.x - pos.x : posP.y - pos.y;
    bool directionN = dstN < dstP;
    lumaEndN = directionN ? lumaEndN : lumaEndP;
    // A pixel on the far side of the edge's end keeps its place.
    if (((lumaM - lumaN) < 0.0) == ((lumaEndN - lumaN) < 0.0)) lengthSign = 0.0;
    float spanLength = dstP + dstN;
    dstN = directionN ? dstN : dstP;
    float subPixelOffset = (0.5 + dstN * (-1.0 / spanLength)) * lengthSign;
    vec4 moved = textureLod(
        mainTex, pos + vec2(horzSpan ? 0.0 : subPixelOffset, horzSpan ? subPixelOffset : 0.0), 0.0);
    fragData[0] = mix(moved, mean, blendL);
}
#endif
