#pragma once

#include "platform/GLContext.h"
#include "render/Renderer.h"

namespace velorin {

// The core's GL context on this thread, for one stretch of work; the host's own is back when this dies, so
// that what the host draws inside a callback meets its own context.
class CoreContext {
public:
    explicit CoreContext(Renderer& renderer) : current_(renderer.SetContext()) {}
    [[nodiscard]] bool current() const { return current_; }

private:
    CurrentGL host_; // first member: remembers before the core's context comes
    bool current_;
};

} // namespace velorin
