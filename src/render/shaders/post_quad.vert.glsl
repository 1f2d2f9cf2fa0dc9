#version 150 core
in vec2 inPosition;
in vec2 inTexCoord;
out vec2 texCoords;
void main() {
    texCoords = inTexCoord;
    gl_Position = vec4(inPosition, 0.0, 1.0);
}
