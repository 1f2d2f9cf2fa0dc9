#include "render/RendererFixture.h"

#include <GL/glew.h>

#include <cstdio>

namespace velorin::test {

namespace {

int severeMessages = 0;

void GLAPIENTRY OnMessage(GLenum, GLenum, GLuint, GLenum severity, GLsizei, const GLchar* message,
                          const void*) {
    if (severity != GL_DEBUG_SEVERITY_HIGH) return;
    ++severeMessages;
    std::fprintf(stderr, "GL: %s\n", message);
}

} // namespace

int SevereDriverMessages() {
    return severeMessages;
}

Renderer& SharedRenderer() {
    static Renderer renderer;
    static const bool started = [] {
        if (renderer.Init() != InitError::Done) return false;
        if (GLEW_KHR_debug) {
            glEnable(GL_DEBUG_OUTPUT);
            glEnable(GL_DEBUG_OUTPUT_SYNCHRONOUS);
            glDebugMessageCallback(OnMessage, nullptr);
        }
        return true;
    }();
    (void)started;
    return renderer;
}

void RendererTest::SetUp() {
    ASSERT_TRUE(renderer().SetContext()) << renderer().InitMessage();
    gl::DrainGLErrors();
    messagesBefore_ = severeMessages;
}

void RendererTest::TearDown() {
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    EXPECT_EQ(severeMessages, messagesBefore_);
}

} // namespace velorin::test
