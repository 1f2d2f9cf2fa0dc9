// What the wireframe needs of each triangle, in pixels from the middle of the viewport: the distances to its edges, or,
// when corners lie behind the eye and have no image, the lines on which the visible parts of its edges lie.
// S. Gateau, "Solid wireframe", 2007.
layout(triangles) in;
layout(triangle_strip, max_vertices = 3) out;

in VertexData {
    VERTEX_DATA
} corner[];

out VertexData {
    VERTEX_DATA
} vertex;

out WireframeData {
    noperspective vec3 edgeA; // case 0: distances to the three edges
    flat vec4 lineA;          // other cases: a point and the direction of a line
    flat vec4 lineB;
    flat int wireframeCase;   // bit 2, 1, 0: corner 0, 1, 2 is behind the eye
} wire;

// By case: the corners that lines A and B start at, and those that they lead to.
const int infoA[7] = int[7](0, 0, 0, 0, 1, 1, 2);
const int infoB[7] = int[7](1, 1, 2, 0, 2, 1, 2);
const int infoAd[7] = int[7](2, 2, 1, 1, 0, 0, 0);
const int infoBd[7] = int[7](2, 2, 1, 2, 0, 2, 1);

// No corner lies in the eye's own plane, where it would have no image.
const float kBehind = -0.00001;
const float kLeastArea = 0.00001; // square pixels, doubled

// The line from a visible corner towards one that may have no image: continued to the other side, it has one.
vec4 image_of_line(vec4 fromClip, vec4 toClip) {
    vec2 start = place_in_viewport(fromClip);
    vec2 along = place_in_viewport(2.0 * fromClip - toClip) - start;
    float size = length(along);
    return vec4(start, size > 0.0 ? along / size : vec2(1.0, 0.0));
}

void emit_corner(int i, vec3 distances, vec4 lineA, vec4 lineB, int wireframeCase) {
    vertex.worldPosition = corner[i].worldPosition;
    vertex.viewPosition = corner[i].viewPosition;
    vertex.worldNormal = corner[i].worldNormal;
    vertex.worldScale = corner[i].worldScale;
    vertex.worldTangent = corner[i].worldTangent;
    vertex.texCoords = corner[i].texCoords;
    wire.edgeA = distances;
    wire.lineA = lineA;
    wire.lineB = lineB;
    wire.wireframeCase = wireframeCase;
    gl_Position = gl_in[i].gl_Position;
    EmitVertex();
}

void main() {
    int wireframeCase = (corner[0].viewPosition.z > kBehind ? 4 : 0) + (corner[1].viewPosition.z > kBehind ? 2 : 0) +
                        (corner[2].viewPosition.z > kBehind ? 1 : 0);
    if (wireframeCase == 7) return;
    vec3 heights = vec3(0.0);
    vec4 lineA = vec4(0.0), lineB = vec4(0.0);
    if (wireframeCase == 0) {
        vec2 p0 = place_in_viewport(gl_in[0].gl_Position), p1 = place_in_viewport(gl_in[1].gl_Position), p2 = place_in_viewport(gl_in[2].gl_Position);
        vec2 e0 = p2 - p1, e1 = p2 - p0, e2 = p1 - p0;
        float area = max(kLeastArea, abs(e1.x * e2.y - e1.y * e2.x));
        heights = area / max(vec3(length(e0), length(e1), length(e2)), vec3(kLeastArea));
    } else {
        lineA = image_of_line(gl_in[infoA[wireframeCase]].gl_Position, gl_in[infoAd[wireframeCase]].gl_Position);
        lineB = image_of_line(gl_in[infoB[wireframeCase]].gl_Position, gl_in[infoBd[wireframeCase]].gl_Position);
    }
    emit_corner(0, vec3(heights.x, 0.0, 0.0), lineA, lineB, wireframeCase);
    emit_corner(1, vec3(0.0, heights.y, 0.0), lineA, lineB, wireframeCase);
    emit_corner(2, vec3(0.0, 0.0, heights.z), lineA, lineB, wireframeCase);
    EndPrimitive();
}
