#include "platform/SharedLibrary.h"

#include <dlfcn.h>

#include <utility>

namespace velorin {

std::optional<SharedLibrary> SharedLibrary::Open(const std::string& path, std::string& reason) {
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* text = dlerror();
        reason = text ? text : "the module cannot be loaded";
        return std::nullopt;
    }
    return SharedLibrary(handle);
}

SharedLibrary::~SharedLibrary() {
    if (handle_) dlclose(handle_);
}

SharedLibrary::SharedLibrary(SharedLibrary&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)) {
}

SharedLibrary& SharedLibrary::operator=(SharedLibrary&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
}

void* SharedLibrary::Symbol(const char* name) const {
    return handle_ ? dlsym(handle_, name) : nullptr;
}

} // namespace velorin
