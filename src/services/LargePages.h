#pragma once

#include "platform/LargePages.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <new>
#include <type_traits>
#include <vector>

namespace velorin {

// What a row of a LargeArray is made from when whoever adds it fills it next: its memory stays as it is.
struct Unwritten {};

// Whole large pages for at least `size` bytes, not cleared; at their end they are handed back with the same
// `size`. What was handed back last is kept, up to kMostKeptPages bytes in all, as the system clears fresh
// pages, which takes as long as it takes to fill them. Kept pages are still the system's to take when it
// needs memory. From any thread. Acquiring throws std::bad_alloc.
inline constexpr std::size_t kMostKeptPages = 64u << 20;
[[nodiscard]] void* AcquireLargePages(std::size_t size);
void ReleaseLargePages(void* memory, std::size_t size) noexcept;

// Memory for arrays that may be large. From some megabytes on they get whole large pages: the system hands
// memory out page by page, which for small pages costs more than to fill them.
template <class T>
class LargePageAllocator {
public:
    using value_type = T;

    LargePageAllocator() = default;
    template <class U>
    LargePageAllocator(const LargePageAllocator<U>&) noexcept {}

    [[nodiscard]] T* allocate(std::size_t count) {
        if (count > SIZE_MAX / 2 / sizeof(T)) throw std::bad_array_new_length();
        return static_cast<T*>(IsLarge(count) ? AcquireLargePages(count * sizeof(T))
                                              : ::operator new(count * sizeof(T)));
    }
    void deallocate(T* memory, std::size_t count) noexcept {
        if (IsLarge(count))
            ReleaseLargePages(memory, count * sizeof(T));
        else
            ::operator delete(memory);
    }
    template <class U>
    void construct(U*, Unwritten) noexcept {
        static_assert(std::is_trivially_copyable_v<U> && std::is_trivially_destructible_v<U>);
    }

    friend bool operator==(LargePageAllocator, LargePageAllocator) { return true; }

private:
    // Half of an array's last page lies idle on average; up to here small pages are made sooner.
    static constexpr std::size_t kWorthIt = kLargePageSize;
    static constexpr bool IsLarge(std::size_t count) { return count * sizeof(T) >= kWorthIt; }
};

template <class T>
using LargeArray = std::vector<T, LargePageAllocator<T>>;

// Yields a number of Unwritten.
class UnwrittenIterator {
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Unwritten;
    using difference_type = std::ptrdiff_t;
    using pointer = const Unwritten*;
    using reference = Unwritten;

    explicit UnwrittenIterator(std::size_t at) : at_(at) {}
    Unwritten operator*() const { return {}; }
    UnwrittenIterator& operator++() { return ++at_, *this; }
    UnwrittenIterator operator++(int) { return UnwrittenIterator(at_++); }
    bool operator==(const UnwrittenIterator&) const = default;

private:
    std::size_t at_;
};

// Makes `values` an array of `count` rows that are about to be written, all of them.
template <class T>
void ResizeUnwritten(LargeArray<T>& values, std::size_t count) {
    values = LargeArray<T>(UnwrittenIterator(0), UnwrittenIterator(count));
}

} // namespace velorin
