#include "render/gl/GLError.h"

#include "platform/Environment.h"
#include "services/Log.h"

#include <GL/glew.h>

#include <atomic>
#include <cstdlib>

namespace velorin::gl {

namespace {

std::atomic<unsigned> severeMessages{0};
std::atomic<bool> fatal{false};

void GLAPIENTRY OnMessage(GLenum, GLenum, GLuint, GLenum severity, GLsizei, const GLchar* message,
                          const void*) {
    if (severity != GL_DEBUG_SEVERITY_HIGH) return;
    ++severeMessages;
    LogError("GL: %s", message);
    if (fatal) std::abort();
}

} // namespace

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

void WatchDriver() {
    const auto wish = EnvironmentVariable("VELORIN_GL_DEBUG");
    if (!GLEW_KHR_debug || !wish) return;
    fatal = *wish == "fatal";
    glEnable(GL_DEBUG_OUTPUT);
    glEnable(GL_DEBUG_OUTPUT_SYNCHRONOUS);
    glDebugMessageCallback(OnMessage, nullptr);
}

unsigned SevereMessages() {
    return severeMessages;
}

} // namespace velorin::gl
