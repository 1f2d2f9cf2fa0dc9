#pragma once

#include "services/ByteReader.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// What tests of stored formats share: bytes put together by hand, and input cut at every length.
namespace velorin::test {

using Buffer = std::vector<std::byte>;

inline Buffer Text(std::string_view text) {
    const auto* const bytes = reinterpret_cast<const std::byte*>(text.data());
    return {bytes, bytes + text.size()};
}

// A text with its terminating zero.
inline Buffer Zero(std::string_view text) {
    Buffer bytes = Text(text);
    bytes.push_back(std::byte{0});
    return bytes;
}

inline Buffer U8(std::initializer_list<int> values) {
    Buffer bytes;
    for (const int value : values) bytes.push_back(static_cast<std::byte>(value));
    return bytes;
}

template <class Number>
Buffer Little(Number value) {
    Buffer bytes(sizeof value);
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}
inline Buffer U16(std::uint16_t value) {
    return Little(value);
}
inline Buffer U32(std::uint32_t value) {
    return Little(value);
}
inline Buffer U64(std::uint64_t value) {
    return Little(value);
}
inline Buffer F32(std::initializer_list<float> values) {
    Buffer bytes;
    for (const float value : values) {
        const Buffer one = Little(value);
        bytes.insert(bytes.end(), one.begin(), one.end());
    }
    return bytes;
}

inline Buffer& operator+=(Buffer& a, const Buffer& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
inline Buffer operator+(Buffer a, const Buffer& b) {
    return a += b;
}

// One chunk in the form with 16-bit and in that with 32-bit headers.
inline Buffer Narrow(std::uint16_t tag, const Buffer& payload) {
    return U16(tag) + U16(static_cast<std::uint16_t>(payload.size())) + payload;
}
inline Buffer Wide(std::uint32_t tag, const Buffer& payload) {
    return U32(tag) + U32(static_cast<std::uint32_t>(payload.size())) + payload;
}

// Calls `check` with every proper beginning of `whole`, each in an allocation of exactly its size, so that a
// sanitizer sees a read past its end.
template <class Check>
void ForEachTruncation(Bytes whole, Check check) {
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const auto copy = std::make_unique<std::byte[]>(size);
        if (size != 0) std::memcpy(copy.get(), whole.data(), size);
        check(Bytes(copy.get(), size));
    }
}

} // namespace velorin::test
