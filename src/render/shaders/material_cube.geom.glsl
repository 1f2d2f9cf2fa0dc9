// Every triangle into all six faces of a layered cube target.
layout(triangles) in;
layout(triangle_strip, max_vertices = 18) out;

in VertexData {
    VERTEX_DATA
} corner[];

out VertexData {
    VERTEX_DATA
} vertex;

void main() {
    for (int face = 0; face < 6; ++face) {
        for (int i = 0; i < 3; ++i) {
            vertex.worldPosition = corner[i].worldPosition;
            vertex.viewPosition = cubeViewMatrix[face] * corner[i].worldPosition;
            vertex.worldNormal = corner[i].worldNormal;
            vertex.worldScale = corner[i].worldScale;
            vertex.worldTangent = corner[i].worldTangent;
            vertex.texCoords = corner[i].texCoords;
            gl_Layer = face;
            gl_Position = projectionMatrix * vertex.viewPosition;
            EmitVertex();
        }
        EndPrimitive();
    }
}
