#pragma once

#include <cstdint>
#include <utility>

// Owning handles of GL objects. No GL header is included here, so that other rooms may hold a handle.
//
// A dying handle never calls GL itself: its name goes to a process-wide queue that the owner of the context
// empties (FlushDeletedObjects), so a handle may die on any thread and while the host's own context is
// current. Names carry the generation of the context that made them; names of a context that is gone are
// forgotten.

namespace velorin::gl {

using Name = std::uint32_t;

enum class ObjectKind : std::uint8_t {
    Buffer,
    Texture,
    Framebuffer,
    Renderbuffer,
    VertexArray,
    Shader,
    Program,
    Query,
    Count
};

template <ObjectKind Kind>
class Handle;

using Buffer = Handle<ObjectKind::Buffer>;
using Texture = Handle<ObjectKind::Texture>;
using Framebuffer = Handle<ObjectKind::Framebuffer>;
using Renderbuffer = Handle<ObjectKind::Renderbuffer>;
using VertexArray = Handle<ObjectKind::VertexArray>;
using Shader = Handle<ObjectKind::Shader>;
using Program = Handle<ObjectKind::Program>;
using Query = Handle<ObjectKind::Query>;

// Serial number of the context whose names are valid; grows with each BeginContext.
[[nodiscard]] std::uint32_t ContextGeneration();

// A new context became the owner of all names made from here on. Names still queued are dropped: they died
// with the context that made them.
void BeginContext();

// Deletes what died since the last call. Call with the context current.
void FlushDeletedObjects();

// Objects made by New and not yet deleted in the current context, queued ones included; for leak checks.
[[nodiscard]] std::uint32_t LiveObjects(ObjectKind kind);
[[nodiscard]] std::uint32_t LiveObjects();

namespace detail {
[[nodiscard]] Name Generate(ObjectKind kind);
void Adopted(ObjectKind kind);
void Retire(ObjectKind kind, Name name, std::uint32_t generation);
} // namespace detail

template <ObjectKind Kind>
class Handle {
public:
    Handle() = default;
    // A new object (glGen...); shaders and programs come from Shaders.h.
    [[nodiscard]] static Handle New() { return Handle(detail::Generate(Kind)); }
    // Takes over a name that other code made in the current context.
    [[nodiscard]] static Handle Adopt(Name name) {
        if (name) detail::Adopted(Kind);
        return Handle(name);
    }
    Handle(Handle&& other) noexcept : name_(std::exchange(other.name_, 0)), generation_(other.generation_) {}
    Handle& operator=(Handle&& other) noexcept {
        if (this != &other) {
            Reset();
            name_ = std::exchange(other.name_, 0);
            generation_ = other.generation_;
        }
        return *this;
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() { Reset(); }

    void Reset() {
        if (name_) detail::Retire(Kind, std::exchange(name_, 0), generation_);
    }
    // 0 when empty or when the context that made the object is gone.
    [[nodiscard]] Name name() const { return name_ && generation_ == ContextGeneration() ? name_ : 0; }
    explicit operator bool() const { return name() != 0; }

private:
    explicit Handle(Name name) : name_(name), generation_(ContextGeneration()) {}

    Name name_ = 0;
    std::uint32_t generation_ = 0;
};

} // namespace velorin::gl
