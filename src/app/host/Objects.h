#pragma once

#include <cstddef>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

namespace velorin::app {

// What the plug-in gets from a suite and must give back before its command ends.
enum class ObjectKind {
    Effect,
    Stream,
    Mask,
    TextOutlines,
    RenderOptions,
    FrameReceipt,
    World,
    Memory,
    Drawing,
    Image
};
[[nodiscard]] const char* ObjectKindName(ObjectKind kind); // "effect reference"

struct HostObject {
    explicit HostObject(ObjectKind kind_) : kind(kind_) {}
    virtual ~HostObject() = default;
    HostObject(const HostObject&) = delete;
    HostObject& operator=(const HostObject&) = delete;

    void* self = this; // a handle is the address of this member
    ObjectKind kind;
    std::size_t owner = 0; // number of the command's run that it was made in
};

// Owns the objects that are out, and knows which handles are good.
class ObjectStore {
public:
    // The handle of a new object. T has a static member kKind.
    template <class T, class Handle, class... Arguments>
    Handle Make(std::size_t owner, Arguments&&... arguments) {
        auto object = std::make_unique<T>(std::forward<Arguments>(arguments)...);
        object->owner = owner;
        void* key = &object->self;
        objects_.emplace(key, std::move(object));
        return reinterpret_cast<Handle>(key);
    }
    // Null when the handle is none of ours, of another kind, or given back already.
    template <class T, class Handle>
    [[nodiscard]] T* Find(Handle handle) const {
        const auto found = objects_.find(reinterpret_cast<void*>(handle));
        if (found == objects_.end() || found->second->kind != T::kKind) return nullptr;
        return static_cast<T*>(found->second.get());
    }
    // False for a handle that Find would not know.
    template <class T, class Handle>
    [[nodiscard]] bool Dispose(Handle handle) {
        if (!Find<T>(handle)) return false;
        objects_.erase(reinterpret_cast<void*>(handle));
        return true;
    }
    // Takes away what `owner` left, and tells of which kinds and how many. `kept` stays.
    [[nodiscard]] std::vector<std::pair<ObjectKind, int>> Sweep(std::size_t owner, ObjectKind kept);
    [[nodiscard]] int Count(ObjectKind kind) const;

private:
    std::unordered_map<void*, std::unique_ptr<HostObject>> objects_;
};

} // namespace velorin::app
