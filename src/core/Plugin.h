#pragma once

#include "render/Renderer.h"

#include <memory>
#include <string>

namespace velorin {

// The core object of a process as the host layer holds it. The host layer fills in the fields, makes the
// renderer's context (`renderer->Init()`), then calls Initialize.
class Plugin {
public:
    Plugin() : renderer(std::make_unique<Renderer>()) {}
    virtual ~Plugin() = default;
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    virtual void Initialize() = 0;
    virtual void Shutdown() = 0;

    void* hostWindow = nullptr;         // the host's main window in the system's terms; may be null
    bool renderEngine = false;          // no person looks on: no dialog is opened
    std::string executableFolder;       // of the host, without a closing slash
    std::unique_ptr<Renderer> renderer; // the context and what all instances share in it
};

} // namespace velorin
