#include "render/gl/GLError.h"

#include "services/Log.h"

#include <GL/glew.h>

namespace velorin::gl {

unsigned CheckGLError(const char* name, int line) {
    const GLenum code = glGetError();
    if (code != GL_NO_ERROR) Log("GL ERROR (%s:%d) - 0x%X", name, line, code);
    return code;
}

void DrainGLErrors() {
    // A lost context reports errors without end.
    for (int i = 0; i < 1000 && glGetError() != GL_NO_ERROR; ++i) {
    }
}

} // namespace velorin::gl
