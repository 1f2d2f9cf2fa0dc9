#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>
#include <type_traits>
#include <utility>

namespace velorin::obj {

// A growing list of plain records. Unlike std::vector it grows by realloc, which moves pages instead of
// copying them when the list is long, and never touches memory that holds no element.
template <class T>
class GrowArray {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

public:
    GrowArray() = default;
    ~GrowArray() { std::free(data_); }
    GrowArray(GrowArray&& other) noexcept
        : data_(std::exchange(other.data_, nullptr)),
          size_(std::exchange(other.size_, 0)),
          capacity_(std::exchange(other.capacity_, 0)) {}
    GrowArray& operator=(GrowArray&& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
        return *this;
    }

    void push_back(const T& value) {
        if (size_ == capacity_) Grow();
        data_[size_++] = value;
    }
    void Clear() { *this = GrowArray(); }

    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] bool empty() const { return size_ == 0; }
    [[nodiscard]] T* data() { return data_; }
    [[nodiscard]] const T* data() const { return data_; }
    [[nodiscard]] T& operator[](std::size_t i) { return data_[i]; }
    [[nodiscard]] const T& operator[](std::size_t i) const { return data_[i]; }
    [[nodiscard]] const T* begin() const { return data_; }
    [[nodiscard]] const T* end() const { return data_ + size_; }

private:
    [[gnu::noinline]] void Grow() {
        const std::size_t capacity = capacity_ ? 2 * capacity_ : 1024;
        void* data = std::realloc(static_cast<void*>(data_), capacity * sizeof(T));
        if (!data) throw std::bad_alloc();
        data_ = static_cast<T*>(data);
        capacity_ = capacity;
    }

    T* data_ = nullptr;
    std::size_t size_ = 0, capacity_ = 0;
};

} // namespace velorin::obj
