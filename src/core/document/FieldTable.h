#pragma once

#include "core/document/Colour.h"
#include "core/document/Primitives.h"
#include "services/ByteReader.h"
#include "services/NxMath.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>

// The stored fields of a record as data. One table a record drives writing, reading, JSON and the tests.
namespace velorin {

class ChunkFile;

// How a field lies in memory and in its payload. Where the two differ, the payload stands behind the slash.
enum class FieldKind : std::uint8_t {
    Text,   // std::string / zero-terminated
    Bool,   // bool / u8
    Bool32, // bool / u32
    Byte,   // u8
    U32,    // std::uint32_t or an enumeration
    I32,    // std::int32_t
    F32,    // float
    F32x2,  // Point2 or two floats
    F32x3,  // Point3 or three floats
    Bools3, // three bools / 3 u8
    Colour, // Colour / 4 u8
    // Lists and records with code of their own. `tag` is the first of theirs.
    Groups,
    MeshVisible,
    Bindings,
    Meshes,
    Parts,
    Bevels,
    StoredPaths,
    Channels,
};
[[nodiscard]] constexpr bool IsList(FieldKind kind) {
    return kind >= FieldKind::Groups;
}

// When a field is written.
enum class FieldUse : std::uint8_t {
    Always,
    Extrusion,          // model types Extrusion and PathExtrusion
    PathExtrusion,      // model type PathExtrusion
    PrimitiveType,      // model type Primitive
    PrimitiveBlock,     // model type Primitive with the kind in `block`
    ExceptDisplacement, // of a texture channel, but for Displacement
    ReadOnly,           // old form
    NotStored,          // JSON only
};

// A choice as it is shown, and the number that is stored.
struct FieldLabel {
    std::uint32_t value;
    const char* text;
};

// Takes values from a payload; what lies behind its end reads as zeros.
class PayloadReader {
public:
    explicit PayloadReader(Bytes payload) : rest_(payload) {}
    template <class T>
    [[nodiscard]] T Take() {
        static_assert(std::is_trivially_copyable_v<T> && !std::is_same_v<T, bool>);
        std::array<std::byte, sizeof(T)> bytes{};
        const std::size_t present = std::min(sizeof(T), rest_.size());
        std::copy_n(rest_.begin(), present, bytes.begin());
        rest_ = rest_.subspan(present);
        return std::bit_cast<T>(bytes);
    }
    [[nodiscard]] std::size_t length() const { return rest_.size(); }
    // The bytes up to the first zero.
    [[nodiscard]] std::string Text() const {
        const auto end = std::find(rest_.begin(), rest_.end(), std::byte{0});
        return {reinterpret_cast<const char*>(rest_.data()), static_cast<std::size_t>(end - rest_.begin())};
    }

private:
    Bytes rest_;
};

// Reads a tag whose meaning depends on the document's version or on other fields.
using FieldReader = void (*)(void* record, PayloadReader payload, std::uint32_t version);

// One row. Rows that stand one behind the other with the same tag share its payload, in their order.
struct Field {
    std::uint16_t tag = 0; // 0 for NotStored
    const char* name = ""; // of the member, and the key in JSON; empty for an old form without one
    FieldKind kind = FieldKind::U32;
    void* (*at)(void* record) = nullptr; // null for an old form
    FieldUse use = FieldUse::Always;
    std::span<const FieldLabel> labels{};
    FieldReader read = nullptr; // in place of the kind's own reading
    PrimitiveKind block = PrimitiveKind::None;
    bool printNumber = false; // JSON gives the number although there are labels
};

inline constexpr std::size_t kTagLimit = 720;

// A table with the first row of each tag.
struct FieldTable {
    std::span<const Field> rows;
    const std::uint8_t* rowOfTag; // kTagLimit entries, row + 1 or 0

    [[nodiscard]] const Field* Find(std::uint32_t tag) const {
        return tag < kTagLimit && rowOfTag[tag] != 0 ? &rows[rowOfTag[tag] - 1u] : nullptr;
    }
};

template <std::size_t N>
[[nodiscard]] consteval std::array<std::uint8_t, kTagLimit> IndexTags(const std::array<Field, N>& rows) {
    static_assert(N < 255);
    std::array<std::uint8_t, kTagLimit> index{};
    for (std::size_t i = 0; i < N; ++i)
        if (rows[i].tag != 0 && index[rows[i].tag] == 0)
            index[rows[i].tag] = static_cast<std::uint8_t>(i + 1);
    return index;
}

// SceneModel without its bevels, meshes and path points; BevelSettings; SceneMesh; PathPoint; SceneMaterial
// without its channels; TextureChannel with the tags 701 to 714.
extern const FieldTable kModelFields;
extern const FieldTable kBevelFields;
extern const FieldTable kMeshFields;
extern const FieldTable kPathPointFields;
extern const FieldTable kMaterialFields;
extern const FieldTable kChannelFields;

// The environment's tags 50 to 63 stand for a channel's tags 701 to 714.
inline constexpr std::uint32_t kEnvironmentTags = 50;
inline constexpr std::uint32_t kChannelTags = 701;
inline constexpr std::uint32_t kEnvironmentTagCount = 14;

// Reads the payload of the tag that starts at `first`, with all rows that share it.
void ReadFields(const FieldTable& table, const Field& first, void* record, Bytes payload,
                std::uint32_t version);

// Writes the rows that start at `*first` and share its tag as one chunk of the tag `first->tag + tagOffset`,
// and returns the row behind them.
const Field* WriteFields(ChunkFile& file, const FieldTable& table, const Field* first, const void* record,
                         std::int32_t tagOffset = 0);

// Writes every row of a record that has no lists, but for those whose use is ReadOnly, NotStored or `except`.
void WriteRecord(ChunkFile& file, const FieldTable& table, const void* record,
                 FieldUse except = FieldUse::ReadOnly, std::int32_t tagOffset = 0);

[[nodiscard]] inline const void* FieldAt(const Field& field, const void* record) {
    return field.at(const_cast<void*>(record)); // `at` only computes an address
}

} // namespace velorin
