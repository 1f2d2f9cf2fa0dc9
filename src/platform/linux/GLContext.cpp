#include "platform/GLContext.h"

#include "platform/Environment.h"

#define EGL_NO_X11
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace velorin {
namespace {

// EGL is loaded at run time, so that a machine without it gets a sentence and not the loader's message.
struct Egl {
    void* library = nullptr;
    PFNEGLGETPROCADDRESSPROC getProcAddress = nullptr;
    PFNEGLINITIALIZEPROC initialize = nullptr;
    PFNEGLQUERYSTRINGPROC queryString = nullptr;
    PFNEGLBINDAPIPROC bindApi = nullptr;
    PFNEGLQUERYAPIPROC queryApi = nullptr;
    PFNEGLCHOOSECONFIGPROC chooseConfig = nullptr;
    PFNEGLCREATECONTEXTPROC createContext = nullptr;
    PFNEGLDESTROYCONTEXTPROC destroyContext = nullptr;
    PFNEGLCREATEPBUFFERSURFACEPROC createPbufferSurface = nullptr;
    PFNEGLDESTROYSURFACEPROC destroySurface = nullptr;
    PFNEGLMAKECURRENTPROC makeCurrent = nullptr;
    PFNEGLGETCURRENTCONTEXTPROC currentContext = nullptr;
    PFNEGLGETCURRENTDISPLAYPROC currentDisplay = nullptr;
    PFNEGLGETCURRENTSURFACEPROC currentSurface = nullptr;
    PFNEGLGETERRORPROC getError = nullptr;
    PFNEGLGETPLATFORMDISPLAYEXTPROC getPlatformDisplay = nullptr; // by extension, may be null
    PFNEGLQUERYDEVICESEXTPROC queryDevices = nullptr;             // by extension, may be null
};

template <class Function>
bool Find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
}

Egl LoadEgl() {
    Egl egl;
    void* library = dlopen("libEGL.so.1", RTLD_NOW | RTLD_LOCAL);
    if (!library) return egl;
    const bool complete =
        Find(library, "eglGetProcAddress", egl.getProcAddress) &&
        Find(library, "eglInitialize", egl.initialize) && Find(library, "eglQueryString", egl.queryString) &&
        Find(library, "eglBindAPI", egl.bindApi) && Find(library, "eglQueryAPI", egl.queryApi) &&
        Find(library, "eglChooseConfig", egl.chooseConfig) &&
        Find(library, "eglCreateContext", egl.createContext) &&
        Find(library, "eglDestroyContext", egl.destroyContext) &&
        Find(library, "eglCreatePbufferSurface", egl.createPbufferSurface) &&
        Find(library, "eglDestroySurface", egl.destroySurface) &&
        Find(library, "eglMakeCurrent", egl.makeCurrent) &&
        Find(library, "eglGetCurrentContext", egl.currentContext) &&
        Find(library, "eglGetCurrentDisplay", egl.currentDisplay) &&
        Find(library, "eglGetCurrentSurface", egl.currentSurface) &&
        Find(library, "eglGetError", egl.getError);
    if (!complete) return {};
    egl.library = library;
    egl.getPlatformDisplay =
        reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(egl.getProcAddress("eglGetPlatformDisplayEXT"));
    egl.queryDevices = reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(egl.getProcAddress("eglQueryDevicesEXT"));
    return egl;
}

// Stays loaded: drivers do not survive being unloaded.
const Egl& GetEgl() {
    static const Egl egl = LoadEgl();
    return egl;
}

std::string_view ErrorName(EGLint code) {
    switch (code) {
    case EGL_SUCCESS:
        return "no reason given";
    case EGL_NOT_INITIALIZED:
        return "not initialised";
    case EGL_BAD_ACCESS:
        return "bad access";
    case EGL_BAD_ALLOC:
        return "out of resources";
    case EGL_BAD_ATTRIBUTE:
        return "bad attribute";
    case EGL_BAD_CONFIG:
        return "bad configuration";
    case EGL_BAD_DISPLAY:
        return "no such display";
    case EGL_BAD_MATCH:
        return "OpenGL 3.3 core not supported";
    case EGL_BAD_PARAMETER:
        return "bad parameter";
    default:
        return "unknown error";
    }
}

bool HasWord(const char* list, std::string_view word) {
    std::string_view rest = list ? list : "";
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(' '), rest.size());
        if (rest.substr(0, end) == word) return true;
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return false;
}

class EglContext final : public GLContext {
public:
    EglContext(EGLDisplay display, EGLContext context, EGLSurface surface, const char* platform)
        : display_(display), context_(context), surface_(surface), platform_(platform) {}

    // The display itself is shared with whoever else in the process uses it, and is left initialised.
    ~EglContext() override {
        Release();
        const Egl& egl = GetEgl();
        if (surface_ != EGL_NO_SURFACE) egl.destroySurface(display_, surface_);
        egl.destroyContext(display_, context_);
    }

    bool MakeCurrent() override {
        const Egl& egl = GetEgl();
        return egl.bindApi(EGL_OPENGL_API) && egl.makeCurrent(display_, surface_, surface_, context_);
    }
    void Release() override {
        if (isCurrent()) GetEgl().makeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    }
    bool isCurrent() const override { return GetEgl().currentContext() == context_; }
    const char* platformName() const override { return platform_; }

    // Whether the context draws on the CPU.
    bool IsSoftware() {
        const CurrentGL guard;
        if (!MakeCurrent()) return true;
        using GetString = const unsigned char*(unsigned name);
        const auto getString = reinterpret_cast<GetString*>(GetEgl().getProcAddress("glGetString"));
        const unsigned rendererName = 0x1F01; // GL_RENDERER
        const auto* text = getString ? reinterpret_cast<const char*>(getString(rendererName)) : nullptr;
        const std::string_view renderer = text ? text : "";
        return renderer.find("llvmpipe") != renderer.npos || renderer.find("softpipe") != renderer.npos ||
               renderer.find("swrast") != renderer.npos;
    }

private:
    EGLDisplay display_;
    EGLContext context_;
    EGLSurface surface_;
    const char* platform_;
};

// A context on one display; null with a few words in `reason`.
std::unique_ptr<EglContext> CreateOn(EGLDisplay display, const char* platform, std::string& reason) {
    const Egl& egl = GetEgl();
    EGLint major = 0, minor = 0;
    if (display == EGL_NO_DISPLAY || !egl.initialize(display, &major, &minor) ||
        !egl.bindApi(EGL_OPENGL_API)) {
        reason = ErrorName(egl.getError());
        return nullptr;
    }
    const char* extensions = egl.queryString(display, EGL_EXTENSIONS);
    const bool surfaceless = HasWord(extensions, "EGL_KHR_surfaceless_context");
    const std::array<EGLint, 11> configAttributes{EGL_RENDERABLE_TYPE,
                                                  EGL_OPENGL_BIT,
                                                  EGL_RED_SIZE,
                                                  8,
                                                  EGL_GREEN_SIZE,
                                                  8,
                                                  EGL_BLUE_SIZE,
                                                  8,
                                                  EGL_SURFACE_TYPE,
                                                  surfaceless ? 0 : EGL_PBUFFER_BIT,
                                                  EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    if (!egl.chooseConfig(display, configAttributes.data(), &config, 1, &count) || count < 1) {
        reason = "no usable configuration";
        return nullptr;
    }
    const EGLint debug = EnvironmentVariable("VELORIN_GL_DEBUG") ? EGL_CONTEXT_OPENGL_DEBUG_BIT_KHR : 0;
    const std::array<EGLint, 9> contextAttributes{EGL_CONTEXT_MAJOR_VERSION_KHR,
                                                  3,
                                                  EGL_CONTEXT_MINOR_VERSION_KHR,
                                                  3,
                                                  EGL_CONTEXT_OPENGL_PROFILE_MASK_KHR,
                                                  EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT_KHR,
                                                  EGL_CONTEXT_FLAGS_KHR,
                                                  EGL_CONTEXT_OPENGL_FORWARD_COMPATIBLE_BIT_KHR | debug,
                                                  EGL_NONE};
    const EGLContext context = egl.createContext(display, config, EGL_NO_CONTEXT, contextAttributes.data());
    if (context == EGL_NO_CONTEXT) {
        reason = ErrorName(egl.getError());
        return nullptr;
    }
    EGLSurface surface = EGL_NO_SURFACE;
    if (!surfaceless) {
        const std::array<EGLint, 5> size{EGL_WIDTH, 10, EGL_HEIGHT, 10, EGL_NONE};
        surface = egl.createPbufferSurface(display, config, size.data());
    }
    auto result = std::make_unique<EglContext>(display, context, surface, platform);
    const CurrentGL guard;
    if (result->MakeCurrent()) return result;
    reason = ErrorName(egl.getError());
    return nullptr;
}

std::unique_ptr<EglContext> CreateOnPlatform(EGLenum platform, const char* name, const char* extension,
                                             std::string& reason) {
    const Egl& egl = GetEgl();
    if (!egl.getPlatformDisplay || !HasWord(egl.queryString(EGL_NO_DISPLAY, EGL_EXTENSIONS), extension)) {
        reason = "not supported by this EGL";
        return nullptr;
    }
    return CreateOn(egl.getPlatformDisplay(platform, EGL_DEFAULT_DISPLAY, nullptr), name, reason);
}

// On the first device that works; with `hardwareOnly` those that draw on the CPU are passed over.
std::unique_ptr<EglContext> CreateOnDevice(bool hardwareOnly, std::string& reason) {
    const Egl& egl = GetEgl();
    reason = "no device found";
    if (!egl.getPlatformDisplay || !egl.queryDevices) return nullptr;
    std::array<EGLDeviceEXT, 32> devices{};
    EGLint count = 0;
    if (!egl.queryDevices(static_cast<EGLint>(devices.size()), devices.data(), &count)) return nullptr;
    for (EGLint i = 0; i < count; ++i) {
        const EGLDisplay display =
            egl.getPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, devices[static_cast<std::size_t>(i)], nullptr);
        auto context = CreateOn(display, "device", reason);
        if (context && !(hardwareOnly && context->IsSoftware())) return context;
    }
    return nullptr;
}

// GLX, when the process has loaded it: the host's context may be one of its. Never loaded by us.
struct Glx {
    void* (*currentContext)() = nullptr;
    void* (*currentDisplay)() = nullptr;
    unsigned long (*currentDrawable)() = nullptr;
    unsigned long (*currentReadDrawable)() = nullptr;
    int (*makeContextCurrent)(void* display, unsigned long draw, unsigned long read, void* context) = nullptr;
};

Glx FindGlx() {
    Glx glx;
    for (const char* name : {"libGLX.so.0", "libGL.so.1"}) {
        void* library = dlopen(name, RTLD_NOW | RTLD_NOLOAD);
        if (library && Find(library, "glXGetCurrentContext", glx.currentContext) &&
            Find(library, "glXGetCurrentDisplay", glx.currentDisplay) &&
            Find(library, "glXGetCurrentDrawable", glx.currentDrawable) &&
            Find(library, "glXGetCurrentReadDrawable", glx.currentReadDrawable) &&
            Find(library, "glXMakeContextCurrent", glx.makeContextCurrent))
            return glx;
    }
    return {};
}

} // namespace

std::unique_ptr<GLContext> GLContext::Create(std::string& reason) {
    reason.clear();
    if (!GetEgl().library) {
        reason = "OpenGL is not available: the library libEGL.so.1 cannot be loaded. Install the packages "
                 "libegl1 and "
                 "libgl1-mesa-dri, or the driver of the graphics card.";
        return nullptr;
    }
    const std::string wanted = EnvironmentVariable("EGL_PLATFORM").value_or("");
    const bool chosen = wanted == "x11" || wanted == "surfaceless" || wanted == "device";
    std::string attempts, why;
    const auto failed = [&](const char* name) {
        attempts += (attempts.empty() ? "" : "; ") + std::string(name) + ": " + why;
    };
    if (chosen ? wanted == "x11" : EnvironmentVariable("DISPLAY").has_value()) {
        if (auto context = CreateOnPlatform(EGL_PLATFORM_X11_EXT, "x11", "EGL_EXT_platform_x11", why))
            return context;
        failed("X display");
    }
    if (!chosen || wanted == "surfaceless") {
        auto context = CreateOnPlatform(EGL_PLATFORM_SURFACELESS_MESA, "surfaceless",
                                        "EGL_MESA_platform_surfaceless", why);
        // Beside a driver that knows no surfaceless displays another one may answer that draws on the CPU.
        if (context && !chosen && !EnvironmentVariable("LIBGL_ALWAYS_SOFTWARE") && context->IsSoftware()) {
            std::string ignored;
            if (auto better = CreateOnDevice(true, ignored)) return better;
        }
        if (context) return context;
        failed("surfaceless");
    }
    if (!chosen || wanted == "device") {
        if (auto context = CreateOnDevice(false, why)) return context;
        failed("device");
    }
    reason = "No OpenGL 3.3 core context can be made (" + attempts +
             "). Install the packages libegl1 and libgl1-mesa-dri, or the driver of the graphics card.";
    return nullptr;
}

struct CurrentGL::State {
    EGLenum api = EGL_NONE;
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLContext context = EGL_NO_CONTEXT;
    EGLSurface draw = EGL_NO_SURFACE;
    EGLSurface read = EGL_NO_SURFACE;

    Glx glx;
    void* glxContext = nullptr;
    void* glxDisplay = nullptr;
    unsigned long glxDraw = 0;
    unsigned long glxRead = 0;
};

CurrentGL::CurrentGL() : state_(std::make_unique<State>()) {
    State& s = *state_;
    const Egl& egl = GetEgl();
    if (egl.library) {
        s.api = egl.queryApi();
        s.context = egl.currentContext();
        s.display = egl.currentDisplay();
        s.draw = egl.currentSurface(EGL_DRAW);
        s.read = egl.currentSurface(EGL_READ);
    }
    s.glx = FindGlx();
    if (!s.glx.currentContext || !(s.glxContext = s.glx.currentContext())) return;
    s.glxDisplay = s.glx.currentDisplay();
    s.glxDraw = s.glx.currentDrawable();
    s.glxRead = s.glx.currentReadDrawable();
    s.glx.makeContextCurrent(s.glxDisplay, 0, 0, nullptr);
}

CurrentGL::~CurrentGL() {
    const State& s = *state_;
    const Egl& egl = GetEgl();
    if (egl.library) {
        const bool same = egl.currentContext() == s.context && egl.currentSurface(EGL_DRAW) == s.draw &&
                          egl.currentSurface(EGL_READ) == s.read;
        if (!same && s.context != EGL_NO_CONTEXT)
            egl.makeCurrent(s.display, s.draw, s.read, s.context);
        else if (!same)
            egl.makeCurrent(egl.currentDisplay(), EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        if (s.api != EGL_NONE && egl.queryApi() != s.api) egl.bindApi(s.api);
    }
    if (s.glxContext) s.glx.makeContextCurrent(s.glxDisplay, s.glxDraw, s.glxRead, s.glxContext);
}

} // namespace velorin
