#pragma once

#include <GL/glew.h>

#include <vector>

namespace velorin::test {

// Everything of the context that somebody else may have set, read back.
[[nodiscard]] std::vector<GLint> StateNow();

// Sets it as somebody with habits of his own would. The names are of a 2D texture and a buffer.
void SetOddState(GLuint texture, GLuint buffer);

} // namespace velorin::test
