// One face of a cube's level: the level above, seen through a GGX lobe with N = V = R.
// B. Karis, "Real Shading in Unreal Engine 4", SIGGRAPH 2013 course notes, "Pre-Filtered Environment Map".
#ifndef VERT_SHADER
uniform samplerCube cubeTexture;
uniform sampler2D samplesTexture; // half-vectors in the frame of N
uniform vec3 initialCoord;
uniform vec3 coordIncX;
uniform vec3 coordIncY;
uniform float sampleLod;
uniform int numSamples;
uniform int roughnessLayer;
out vec4 fragData[1];
void main() {
    vec3 N = normalize(initialCoord + texCoords.x * coordIncX + texCoords.y * coordIncY);
    vec3 up = abs(N.z) >= 0.999 ? vec3(1.0, 0.0, 0.0) : vec3(0.0, 0.0, 1.0);
    vec3 tangentX = normalize(cross(up, N));
    vec3 tangentY = cross(N, tangentX);
    vec4 sum = vec4(0.0);
    float total = 0.0;
    for (int i = 0; i < numSamples; ++i) {
        vec3 s = texelFetch(samplesTexture, ivec2(i, roughnessLayer), 0).xyz;
        // reflect(-N, H) in the frame of N, where dot(N, H) is s.z.
        vec3 l = 2.0 * s.z * s - vec3(0.0, 0.0, 1.0);
        if (l.z <= 0.0) continue;
        sum += textureLod(cubeTexture, tangentX * l.x + tangentY * l.y + N * l.z, sampleLod) * l.z;
        total += l.z;
    }
    fragData[0] = sum / max(total, 1e-6);
}
#endif
