#pragma once

#include <optional>
#include <string>

namespace velorin {

// A dynamically loaded module, closed when the object dies.
class SharedLibrary {
public:
    // Nothing on failure; `reason` is then the loader's sentence.
    [[nodiscard]] static std::optional<SharedLibrary> Open(const std::string& path, std::string& reason);
    ~SharedLibrary();
    SharedLibrary(SharedLibrary&& other) noexcept;
    SharedLibrary& operator=(SharedLibrary&& other) noexcept;

    // The address of an exported symbol, null when there is none.
    [[nodiscard]] void* Symbol(const char* name) const;
    template <class Function>
    [[nodiscard]] Function* FunctionNamed(const char* name) const {
        return reinterpret_cast<Function*>(Symbol(name));
    }

private:
    explicit SharedLibrary(void* handle) : handle_(handle) {}
    void* handle_ = nullptr;
};

} // namespace velorin
