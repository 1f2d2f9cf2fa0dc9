#include "render/gl/Handles.h"

#include <GL/glew.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <mutex>
#include <new>
#include <vector>

namespace velorin::gl {

namespace {

constexpr std::size_t kKinds = static_cast<std::size_t>(ObjectKind::Count);

struct Dead {
    ObjectKind kind;
    Name name;
};

struct Registry {
    std::mutex mutex; // guards `dead`
    std::vector<Dead> dead;
    std::atomic<std::uint32_t> generation{1};
    std::array<std::atomic<std::uint32_t>, kKinds> live{};
};

Registry& registry() {
    // Never destroyed, for handles with static storage may end after it, and in no memory that a module could
    // leave behind.
    alignas(Registry) static std::byte memory[sizeof(Registry)];
    static Registry* const instance = new (memory) Registry;
    return *instance;
}

std::size_t IndexOf(ObjectKind kind) {
    return static_cast<std::size_t>(kind);
}

void Delete(ObjectKind kind, Name name) {
    switch (kind) {
    case ObjectKind::Buffer:
        glDeleteBuffers(1, &name);
        break;
    case ObjectKind::Texture:
        glDeleteTextures(1, &name);
        break;
    case ObjectKind::Framebuffer:
        glDeleteFramebuffers(1, &name);
        break;
    case ObjectKind::Renderbuffer:
        glDeleteRenderbuffers(1, &name);
        break;
    case ObjectKind::VertexArray:
        glDeleteVertexArrays(1, &name);
        break;
    case ObjectKind::Shader:
        glDeleteShader(name);
        break;
    case ObjectKind::Program:
        glDeleteProgram(name);
        break;
    case ObjectKind::Query:
        glDeleteQueries(1, &name);
        break;
    case ObjectKind::Count:
        break;
    }
}

} // namespace

std::uint32_t ContextGeneration() {
    return registry().generation.load(std::memory_order_relaxed);
}

void BeginContext() {
    Registry& r = registry();
    const std::lock_guard lock(r.mutex);
    r.dead.clear();
    for (auto& count : r.live) count = 0;
    ++r.generation;
}

void FlushDeletedObjects() {
    Registry& r = registry();
    std::vector<Dead> dead;
    {
        const std::lock_guard lock(r.mutex);
        if (r.dead.empty()) return;
        dead.swap(r.dead);
    }
    for (const Dead& object : dead) {
        Delete(object.kind, object.name);
        --r.live[IndexOf(object.kind)];
    }
}

std::uint32_t LiveObjects(ObjectKind kind) {
    return registry().live[IndexOf(kind)];
}

std::uint32_t LiveObjects() {
    std::uint32_t sum = 0;
    for (const auto& count : registry().live) sum += count;
    return sum;
}

namespace detail {

Name Generate(ObjectKind kind) {
    Name name = 0;
    switch (kind) {
    case ObjectKind::Buffer:
        glGenBuffers(1, &name);
        break;
    case ObjectKind::Texture:
        glGenTextures(1, &name);
        break;
    case ObjectKind::Framebuffer:
        glGenFramebuffers(1, &name);
        break;
    case ObjectKind::Renderbuffer:
        glGenRenderbuffers(1, &name);
        break;
    case ObjectKind::VertexArray:
        glGenVertexArrays(1, &name);
        break;
    case ObjectKind::Program:
        name = glCreateProgram();
        break;
    case ObjectKind::Query:
        glGenQueries(1, &name);
        break;
    case ObjectKind::Shader:
    case ObjectKind::Count:
        break; // a shader needs its stage: Shaders.h
    }
    if (name) Adopted(kind);
    return name;
}

void Adopted(ObjectKind kind) {
    ++registry().live[IndexOf(kind)];
}

void Retire(ObjectKind kind, Name name, std::uint32_t generation) {
    Registry& r = registry();
    const std::lock_guard lock(r.mutex);
    if (generation == r.generation) r.dead.push_back({kind, name});
}

} // namespace detail

} // namespace velorin::gl
