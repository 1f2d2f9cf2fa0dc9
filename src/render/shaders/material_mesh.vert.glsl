in vec3 inPosition;
in vec2 inTexCoord;
in vec3 inNormal;
in vec4 inTangent;

out VertexData {
    VERTEX_DATA
} vertex;

void main() {
    vec3 flip = modelProperties.modelFlip.xyz;
    vec3 normal = inNormal * flip * modelProperties.normalInvert * (renderState.flipNormals ? -1.0 : 1.0);
    vertex.worldPosition = modelMatrix * vec4(inPosition * flip, 1.0);
    vertex.viewPosition = viewMatrix * vertex.worldPosition;
    vertex.worldNormal = safe_normalize(mat3(normalMatrix) * normal);
    vertex.worldScale = length(mat3(modelMatrix) * inNormal);
    vertex.worldTangent = vec4(safe_normalize(mat3(modelMatrix) * (inTangent.xyz * flip)), inTangent.w);
    vertex.texCoords = inTexCoord * modelProperties.uvRepeat + modelProperties.uvOffset;
    gl_Position = projectionMatrix * vertex.viewPosition;
}
