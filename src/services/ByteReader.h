#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <type_traits>

namespace velorin {

static_assert(std::endian::native == std::endian::little,
              "stored numbers are little-endian and copied as they are");

using Bytes = std::span<const std::byte>;

// The one way into untrusted bytes: a cursor that compares each size with what remains, in 64 bits, and never
// reads past the end. A failed read leaves the cursor where it was.
class ByteReader {
public:
    explicit ByteReader(Bytes bytes) : bytes_(bytes) {}

    [[nodiscard]] std::uint64_t position() const { return position_; }
    [[nodiscard]] std::uint64_t remaining() const { return bytes_.size() - position_; }
    [[nodiscard]] bool atEnd() const { return remaining() == 0; }

    // False when `position` lies behind the end.
    [[nodiscard]] bool Seek(std::uint64_t position) {
        if (position > bytes_.size()) return false;
        position_ = position;
        return true;
    }
    [[nodiscard]] bool Skip(std::uint64_t count) {
        if (count > remaining()) return false;
        position_ += count;
        return true;
    }
    [[nodiscard]] std::optional<Bytes> Take(std::uint64_t count) {
        if (count > remaining()) return std::nullopt;
        const Bytes part =
            bytes_.subspan(static_cast<std::size_t>(position_), static_cast<std::size_t>(count));
        position_ += count;
        return part;
    }
    // A little-endian number or a plain record of such numbers.
    template <class T>
    [[nodiscard]] std::optional<T> Read() {
        static_assert(std::is_trivially_copyable_v<T>);
        const auto part = Take(sizeof(T));
        if (!part) return std::nullopt;
        T value;
        std::memcpy(&value, part->data(), sizeof(T));
        return value;
    }
    // Whether `count` elements of `size` bytes are there: ask before reserving memory for them.
    [[nodiscard]] bool Holds(std::uint64_t count, std::uint64_t size) const {
        return size == 0 || count <= remaining() / size;
    }

private:
    Bytes bytes_;
    std::uint64_t position_ = 0;
};

[[nodiscard]] inline Bytes AsBytes(const std::string& text) {
    return std::as_bytes(std::span(text.data(), text.size()));
}

} // namespace velorin
