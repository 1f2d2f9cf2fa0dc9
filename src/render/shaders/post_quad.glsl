// Head of every full-screen program: the vertex stage, and what the fragment stage gets from it.
#ifdef VERT_SHADER
in vec2 inVertex;
in vec2 inTexCoord;
out vec2 texCoords;
void main() {
    texCoords = inTexCoord;
    gl_Position = vec4(inVertex, 0.0, 1.0);
}
#else
in vec2 texCoords;
#endif
