// What the wireframe needs of each triangle, in fragments from the middle of the viewport: two lines on which edges lie,
// of which the third one joins the starts where both are seen. An edge that leads behind the eye has no image there, but
// its line has one. Distances are not interpolated: where a border cuts a triangle, drivers differ in how they do that.
// After S. Gateau, "Solid wireframe", 2007.
layout(triangles) in;
layout(triangle_strip, max_vertices = 3) out;

in VertexData {
    VERTEX_DATA
} corner[];

out VertexData {
    VERTEX_DATA
} vertex;

out WireframeData {
    flat vec4 lineA; // a point and the direction of a line
    flat vec4 lineB;
    flat int wireframeCase; // bit 2, 1, 0: corner 0, 1, 2 is behind the eye
} wire;

// By case: the corners that lines A and B start at, and those that they lead to.
const int infoA[7] = int[7](0, 0, 0, 0, 1, 1, 2);
const int infoB[7] = int[7](1, 1, 2, 0, 2, 1, 2);
const int infoAd[7] = int[7](2, 2, 1, 1, 0, 0, 0);
const int infoBd[7] = int[7](2, 2, 1, 2, 0, 2, 1);

// No corner lies in the eye's own plane, where it would have no image.
const float kBehind = -0.00001;

// The line from a visible corner towards another one. Where that has no image, the line is continued to the other side.
vec4 image_of_line(int from, int to) {
    vec4 fromClip = gl_in[from].gl_Position, toClip = gl_in[to].gl_Position;
    bool behind = corner[to].viewPosition.z > kBehind;
    vec2 start = place_in_viewport(fromClip);
    vec2 along = place_in_viewport(behind ? 2.0 * fromClip - toClip : toClip) - start;
    float size = length(along);
    return vec4(start, size > 0.0 ? along / size : vec2(1.0, 0.0));
}

void main() {
    int wireframeCase = (corner[0].viewPosition.z > kBehind ? 4 : 0) + (corner[1].viewPosition.z > kBehind ? 2 : 0) +
                        (corner[2].viewPosition.z > kBehind ? 1 : 0);
    if (wireframeCase == 7) return;
    vec4 lineA = image_of_line(infoA[wireframeCase], infoAd[wireframeCase]);
    vec4 lineB = image_of_line(infoB[wireframeCase], infoBd[wireframeCase]);
    for (int i = 0; i < 3; ++i) {
        vertex.worldPosition = corner[i].worldPosition;
        vertex.viewPosition = corner[i].viewPosition;
        vertex.worldNormal = corner[i].worldNormal;
        vertex.worldScale = corner[i].worldScale;
        vertex.worldTangent = corner[i].worldTangent;
        vertex.texCoords = corner[i].texCoords;
        wire.lineA = lineA;
        wire.lineB = lineB;
        wire.wireframeCase = wireframeCase;
        gl_Position = gl_in[i].gl_Position;
        EmitVertex();
    }
    EndPrimitive();
}
