#pragma once

#include "services/ByteReader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <span>
#include <type_traits>
#include <vector>

namespace velorin {

// Fetches the bytes from `at` on; false when they cannot be had.
using ReadRange = std::function<bool(std::uint64_t at, std::span<std::byte> to)>;

// Untrusted bytes in order, from memory or from elsewhere: each size is compared with what remains, in 64
// bits. Large parts go straight to where they are wanted, small ones by way of a window. After a failed read
// nothing more should be read.
class ByteStream {
public:
    explicit ByteStream(Bytes bytes) : size_(bytes.size()), window_(bytes) {}
    ByteStream(std::uint64_t size, ReadRange source) : size_(size), source_(std::move(source)) {}

    [[nodiscard]] std::uint64_t remaining() const { return size_ - position_; }
    // Whether `count` elements of `size` bytes are there: ask before making room for them.
    [[nodiscard]] bool Holds(std::uint64_t count, std::uint64_t size) const {
        return size == 0 || count <= remaining() / size;
    }
    [[nodiscard]] bool Skip(std::uint64_t count) {
        if (count > remaining()) return false;
        position_ += count;
        return true;
    }
    [[nodiscard]] bool Read(std::span<std::byte> to) {
        if (to.size() > remaining()) return false;
        if (to.empty()) return true;
        const std::uint64_t at = position_ - windowAt_; // wraps round for a place before the window
        if (at >= window_.size() || to.size() > window_.size() - at) {
            if (to.size() >= kWindow) {
                position_ += to.size();
                return source_(position_ - to.size(), to);
            }
            if (!MoveWindow()) return false;
        }
        std::memcpy(to.data(), window_.data() + (position_ - windowAt_), to.size());
        position_ += to.size();
        return true;
    }
    template <class T>
    [[nodiscard]] bool Read(T& value) {
        static_assert(std::is_trivially_copyable_v<T>);
        return Read(std::as_writable_bytes(std::span(&value, 1)));
    }

private:
    static constexpr std::size_t kWindow = 0x8000;

    // Never for memory, which is one window.
    bool MoveWindow() {
        buffer_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(kWindow, remaining())));
        windowAt_ = position_;
        window_ = buffer_;
        return source_(position_, buffer_);
    }

    std::uint64_t size_, position_ = 0;
    ReadRange source_;
    std::vector<std::byte> buffer_;
    Bytes window_; // from windowAt_ on
    std::uint64_t windowAt_ = 0;
};

} // namespace velorin
