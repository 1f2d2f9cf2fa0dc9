#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

namespace velorin {

// Base of records that several owners share: a count of references that starts at 1. The last Release
// destroys the object. The count may be changed from any thread; the record itself is guarded by its users.
class Retained {
public:
    Retained() = default;
    // A copy is a new object with one owner of its own.
    Retained(const Retained&) {}
    Retained& operator=(const Retained&) { return *this; }
    virtual ~Retained() = default;

    void AddRef() const { references_.fetch_add(1, std::memory_order_relaxed); }
    void Release() const {
        if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
    }
    [[nodiscard]] std::uint32_t references() const { return references_.load(std::memory_order_relaxed); }

private:
    mutable std::atomic<std::uint32_t> references_{1};
};

// Owning pointer to a Retained record: takes a reference when copied and drops it when it dies. Null is
// allowed.
template <class T>
class Ref {
public:
    Ref() = default;
    Ref(std::nullptr_t) {}
    // Takes a reference of its own.
    explicit Ref(T* object) : object_(object) {
        if (object_) object_->AddRef();
    }
    Ref(const Ref& other) : Ref(other.object_) {}
    Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    Ref& operator=(Ref other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~Ref() {
        if (object_) object_->Release();
    }

    // A new object, whose first reference the pointer owns.
    template <class... Arguments>
    [[nodiscard]] static Ref Make(Arguments&&... arguments) {
        return Adopt(new T(std::forward<Arguments>(arguments)...));
    }
    // Takes over a reference that the caller holds.
    [[nodiscard]] static Ref Adopt(T* object) {
        Ref result;
        result.object_ = object;
        return result;
    }

    [[nodiscard]] T* get() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }
    friend bool operator==(const Ref& a, const Ref& b) { return a.object_ == b.object_; }
    friend bool operator==(const Ref& a, const T* b) { return a.object_ == b; }

private:
    T* object_ = nullptr;
};

} // namespace velorin
