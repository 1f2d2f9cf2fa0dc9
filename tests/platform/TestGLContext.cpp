#include "platform/GLContext.h"

#include <gtest/gtest.h>

// Behind the test framework, since the X headers define everyday words.
#define EGL_NO_X11
#include <EGL/egl.h>
#include <GL/gl.h>
#include <GL/glx.h>
#include <dlfcn.h>

#include <cstdlib>
#include <string>
#include <thread>

namespace velorin {
namespace {

std::string GLString(GLenum name) {
    const auto* text = reinterpret_cast<const char*>(glGetString(name));
    return text ? text : "";
}

std::unique_ptr<GLContext> MakeContext() {
    std::string reason;
    auto context = GLContext::Create(reason);
    EXPECT_TRUE(context) << reason;
    return context;
}

TEST(GLContext, ComesUpWithoutADisplay) {
    const auto context = MakeContext();
    ASSERT_TRUE(context);
    EXPECT_FALSE(context->isCurrent()) << "creating must not make it current";
    ASSERT_TRUE(context->MakeCurrent());
    EXPECT_TRUE(context->isCurrent());
    GLint major = 0, minor = 0, profile = 0, flags = 0;
    glGetIntegerv(0x821B, &major);
    glGetIntegerv(0x821C, &minor);
    glGetIntegerv(0x9126, &profile); // GL_CONTEXT_PROFILE_MASK
    glGetIntegerv(0x821E, &flags);   // GL_CONTEXT_FLAGS
    EXPECT_GE(major * 10 + minor, 33);
    EXPECT_EQ(profile, 1) << "core profile";
    EXPECT_EQ(flags & 1, 1) << "forward compatible";
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    context->Release();
    EXPECT_FALSE(context->isCurrent());
    EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
}

TEST(GLContext, DiesWhileCurrent) {
    auto context = MakeContext();
    ASSERT_TRUE(context && context->MakeCurrent());
    context.reset();
    EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
}

TEST(GLContext, MovesBetweenThreads) {
    const auto context = MakeContext();
    ASSERT_TRUE(context && context->MakeCurrent());
    bool refused = false, taken = false;
    std::thread([&] { refused = !context->MakeCurrent(); }).join();
    EXPECT_TRUE(refused) << "current here, so not there";
    context->Release();
    std::thread([&] {
        taken = context->MakeCurrent() && !GLString(GL_VERSION).empty();
        context->Release();
    }).join();
    EXPECT_TRUE(taken);
    EXPECT_TRUE(context->MakeCurrent());
    context->Release();
}

TEST(CurrentGL, RestoresWhatWasCurrent) {
    const auto host = MakeContext(), ours = MakeContext();
    ASSERT_TRUE(host && ours && host->MakeCurrent());
    eglBindAPI(EGL_OPENGL_ES_API);
    const EGLContext before = eglGetCurrentContext();
    {
        const CurrentGL guard;
        ASSERT_TRUE(ours->MakeCurrent());
        EXPECT_NE(eglGetCurrentContext(), before);
    }
    EXPECT_TRUE(host->isCurrent());
    EXPECT_EQ(eglQueryAPI(), static_cast<EGLenum>(EGL_OPENGL_ES_API));
    eglBindAPI(EGL_OPENGL_API);
    {
        const CurrentGL guard;
        host->Release();
    }
    EXPECT_TRUE(host->isCurrent()) << "restored from nothing too";
    host->Release();
    {
        const CurrentGL guard;
        ASSERT_TRUE(ours->MakeCurrent());
    }
    EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT) << "nothing was current, so nothing is";
}

// A host's context with different surfaces for drawing and reading.
TEST(CurrentGL, RestoresPbufferSurfaces) {
    const auto ours = MakeContext();
    ASSERT_TRUE(ours && ours->MakeCurrent());
    const EGLDisplay display = eglGetCurrentDisplay();
    ours->Release();
    const EGLint want[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    if (!eglChooseConfig(display, want, &config, 1, &count) || count < 1) GTEST_SKIP() << "no pbuffers here";
    const EGLContext context = eglCreateContext(display, config, EGL_NO_CONTEXT, nullptr);
    const EGLint size[] = {EGL_WIDTH, 4, EGL_HEIGHT, 4, EGL_NONE};
    const EGLSurface draw = eglCreatePbufferSurface(display, config, size);
    const EGLSurface read = eglCreatePbufferSurface(display, config, size);
    ASSERT_TRUE(eglMakeCurrent(display, draw, read, context));
    {
        const CurrentGL guard;
        ASSERT_TRUE(ours->MakeCurrent());
        EXPECT_NE(eglGetCurrentSurface(EGL_DRAW), draw);
    }
    EXPECT_EQ(eglGetCurrentContext(), context);
    EXPECT_EQ(eglGetCurrentSurface(EGL_DRAW), draw);
    EXPECT_EQ(eglGetCurrentSurface(EGL_READ), read);
    eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroySurface(display, draw);
    eglDestroySurface(display, read);
    eglDestroyContext(display, context);
}

// A context of the other interface, as a host with windows has it. Needs an X display.
TEST(CurrentGL, GivesAGlxContextBack) {
    void* library = dlopen("libX11.so.6", RTLD_NOW);
    if (!library || !std::getenv("DISPLAY")) GTEST_SKIP() << "no X display";
    const auto openDisplay = reinterpret_cast<decltype(&XOpenDisplay)>(dlsym(library, "XOpenDisplay"));
    Display* display = openDisplay(nullptr);
    if (!display) GTEST_SKIP() << "no X display";
    const int want[] = {GLX_DRAWABLE_TYPE, GLX_PBUFFER_BIT, GLX_RENDER_TYPE, GLX_RGBA_BIT, None};
    int count = 0;
    GLXFBConfig* configs = glXChooseFBConfig(display, 0, want, &count);
    ASSERT_GT(count, 0);
    const GLXContext context = glXCreateNewContext(display, configs[0], GLX_RGBA_TYPE, nullptr, True);
    const int size[] = {GLX_PBUFFER_WIDTH, 4, GLX_PBUFFER_HEIGHT, 4, None};
    const GLXPbuffer draw = glXCreatePbuffer(display, configs[0], size);
    const GLXPbuffer read = glXCreatePbuffer(display, configs[0], size);
    ASSERT_TRUE(glXMakeContextCurrent(display, draw, read, context));
    {
        const CurrentGL guard;
        EXPECT_EQ(glXGetCurrentContext(), nullptr);
        const auto ours = MakeContext();
        ASSERT_TRUE(ours && ours->MakeCurrent());
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    }
    EXPECT_EQ(glXGetCurrentContext(), context);
    EXPECT_EQ(glXGetCurrentDrawable(), draw);
    EXPECT_EQ(glXGetCurrentReadDrawable(), read);
    EXPECT_FALSE(GLString(GL_VERSION).empty());
    glXMakeContextCurrent(display, None, None, nullptr);
    glXDestroyContext(display, context);
}

TEST(GLContext, AFailureSaysWhatToInstall) {
    if (std::getenv("DISPLAY")) GTEST_SKIP() << "EGL keeps the first display that it opens";
    const char* old = std::getenv("EGL_PLATFORM");
    const std::string oldPlatform = old ? old : "";
    // A display that does not exist, with no other choice allowed.
    setenv("EGL_PLATFORM", "x11", 1);
    setenv("DISPLAY", ":947", 1);
    std::string reason;
    EXPECT_FALSE(GLContext::Create(reason));
    EXPECT_NE(reason.find("libegl1"), std::string::npos) << reason;
    EXPECT_NE(reason.find("libgl1-mesa-dri"), std::string::npos) << reason;
    // Free to choose, it goes on without the display.
    unsetenv("EGL_PLATFORM");
    const auto context = GLContext::Create(reason);
    ASSERT_TRUE(context) << reason;
    EXPECT_TRUE(reason.empty());
    EXPECT_STRNE(context->platformName(), "x11");
    unsetenv("DISPLAY");
    if (old) setenv("EGL_PLATFORM", oldPlatform.c_str(), 1);
}

} // namespace
} // namespace velorin
