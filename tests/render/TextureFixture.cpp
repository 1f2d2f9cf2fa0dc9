#include "TextureFixture.h"

#include "render/gl/GLError.h"
#include "services/Warnings.h"

namespace velorin::test {

namespace {

GLContext* SharedContext() {
    static std::string reason;
    static const std::unique_ptr<GLContext> context = [] {
        auto made = GLContext::Create(reason);
        if (made && made->MakeCurrent()) {
            glewExperimental = GL_TRUE;
            glewInit(); // knows no EGL, and says so after it has loaded everything
            gl::BeginContext();
            gl::WatchDriver();
        }
        return made;
    }();
    EXPECT_TRUE(context) << reason;
    return context.get();
}

GLenum BindingTarget(GLenum target) {
    return target == GL_TEXTURE_2D ? GL_TEXTURE_2D : GL_TEXTURE_CUBE_MAP;
}

} // namespace

void TextureTest::SetUp() {
    GLContext* context = SharedContext();
    ASSERT_TRUE(context && context->MakeCurrent());
    while (glGetError() != GL_NO_ERROR) {
    }
    ResetWarnings();
    driver_ = {};
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &driver_.maxTextureSize);
    quad_.emplace();
    manager_ = std::make_unique<TextureManager>(*quad_, driver_, statistics_);
}

void TextureTest::TearDown() {
    manager_.reset();
    quad_.reset();
    gl::FlushDeletedObjects();
    EXPECT_EQ(gl::LiveObjects(), 0u);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

std::vector<float> TextureTest::Read(gl::Name texture, int level, GLenum target) {
    const auto width = static_cast<std::size_t>(LevelValue(texture, level, GL_TEXTURE_WIDTH, target));
    const auto height = static_cast<std::size_t>(LevelValue(texture, level, GL_TEXTURE_HEIGHT, target));
    std::vector<float> pixels(width * height * 4);
    glBindTexture(BindingTarget(target), texture);
    glGetTexImage(target, level, GL_RGBA, GL_FLOAT, pixels.data());
    glBindTexture(BindingTarget(target), 0);
    return pixels;
}

int TextureTest::LevelValue(gl::Name texture, int level, GLenum what, GLenum target) {
    GLint value = 0;
    glBindTexture(BindingTarget(target), texture);
    glGetTexLevelParameteriv(target, level, what, &value);
    glBindTexture(BindingTarget(target), 0);
    return value;
}

int TextureTest::Parameter(gl::Name texture, GLenum what, GLenum target) {
    GLint value = 0;
    glBindTexture(target, texture);
    glGetTexParameteriv(target, what, &value);
    glBindTexture(target, 0);
    return value;
}

} // namespace velorin::test
