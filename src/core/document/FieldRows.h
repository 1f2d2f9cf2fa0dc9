#pragma once

#include "core/document/FieldTable.h"

// Makes rows of field tables from member pointers.
namespace velorin {

template <class T>
inline constexpr bool kIsFloatPair = std::is_same_v<T, Point2> || std::is_same_v<T, std::array<float, 2>>;
template <class T>
inline constexpr bool kIsFloatTriple = std::is_same_v<T, Point3> || std::is_same_v<T, std::array<float, 3>>;

template <class T>
[[nodiscard]] consteval FieldKind KindOf() {
    if constexpr (std::is_same_v<T, std::string>)
        return FieldKind::Text;
    else if constexpr (std::is_same_v<T, bool>)
        return FieldKind::Bool;
    else if constexpr (std::is_same_v<T, std::uint8_t>)
        return FieldKind::Byte;
    else if constexpr (std::is_same_v<T, std::uint32_t>)
        return FieldKind::U32;
    else if constexpr (std::is_same_v<T, std::int32_t>)
        return FieldKind::I32;
    else if constexpr (std::is_same_v<T, float>)
        return FieldKind::F32;
    else if constexpr (kIsFloatPair<T>)
        return FieldKind::F32x2;
    else if constexpr (kIsFloatTriple<T>)
        return FieldKind::F32x3;
    else if constexpr (std::is_same_v<T, std::array<bool, 3>>)
        return FieldKind::Bools3;
    else if constexpr (std::is_same_v<T, Colour>)
        return FieldKind::Colour;
    else {
        static_assert(std::is_enum_v<T> && sizeof(T) == 4);
        return FieldKind::U32;
    }
}

template <class Record, auto Member>
using MemberType = std::remove_reference_t<decltype(std::declval<Record&>().*Member)>;

template <class Record, auto Member>
[[nodiscard]] void* MemberAt(void* record) {
    return &(static_cast<Record*>(record)->*Member);
}

// The row of a member, with the kind of its type.
template <class Record, auto Member>
[[nodiscard]] consteval Field Row(std::uint16_t tag, const char* name, FieldUse use = FieldUse::Always,
                                  std::span<const FieldLabel> labels = {}, FieldReader read = nullptr) {
    return {tag, name, KindOf<MemberType<Record, Member>>(), &MemberAt<Record, Member>, use, labels, read};
}

// The row of a list, which its owner reads and writes.
template <class Record, auto Member>
[[nodiscard]] consteval Field ListRow(std::uint16_t tag, const char* name, FieldKind kind,
                                      FieldUse use = FieldUse::Always) {
    return {tag, name, kind, &MemberAt<Record, Member>, use};
}

// An old form of a field that has a row of its own.
[[nodiscard]] consteval Field OldRow(std::uint16_t tag, FieldReader read) {
    return {tag, "", FieldKind::U32, nullptr, FieldUse::ReadOnly, {}, read};
}

} // namespace velorin
