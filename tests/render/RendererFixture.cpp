#include "render/RendererFixture.h"

#include <GL/glew.h>

namespace velorin::test {

Renderer& SharedRenderer() {
    static Renderer renderer;
    static const InitError started = renderer.Init();
    (void)started;
    return renderer;
}

void RendererTest::SetUp() {
    ASSERT_TRUE(renderer().SetContext()) << renderer().InitMessage();
    gl::DrainGLErrors();
}

void RendererTest::TearDown() {
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

} // namespace velorin::test
