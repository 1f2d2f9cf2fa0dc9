#pragma once

#include <memory>
#include <string>

namespace velorin {

// An OpenGL 3.3 core, forward-compatible context that draws off-screen only. It belongs to no thread:
// MakeCurrent takes it to the calling one, where it must not be current on another at the same time.
//
// On Linux it is made through EGL: on the X display when one is there, else without any surface, else on the
// first device that works. The environment variable EGL_PLATFORM, when set, chooses among them (x11,
// surfaceless, device).
class GLContext {
public:
    // Null on failure; `reason` is then one sentence for the user that says what is missing and what to
    // install.
    [[nodiscard]] static std::unique_ptr<GLContext> Create(std::string& reason);
    virtual ~GLContext() = default;
    GLContext(const GLContext&) = delete;
    GLContext& operator=(const GLContext&) = delete;

    // Makes this context current on the calling thread. False when the driver refuses (it is current
    // elsewhere, or another window system's context is; see CurrentGL).
    [[nodiscard]] virtual bool MakeCurrent() = 0;
    // Leaves the calling thread without a context when this one is current there.
    virtual void Release() = 0;
    [[nodiscard]] virtual bool isCurrent() const = 0;
    // "x11", "surfaceless" or "device".
    [[nodiscard]] virtual const char* platformName() const = 0;

protected:
    GLContext() = default;
};

// Guest manners: remembers which context and surfaces were current on this thread when it was made, and makes
// them current again when it dies, on the same thread. A context of the other window-system interface (GLX)
// is made non-current at once, since drivers refuse a second one beside it.
class CurrentGL {
public:
    CurrentGL();
    ~CurrentGL();
    CurrentGL(const CurrentGL&) = delete;
    CurrentGL& operator=(const CurrentGL&) = delete;

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace velorin
