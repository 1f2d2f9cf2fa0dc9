#pragma once

#include "core/document/ChunkFile.h"
#include "core/document/FieldTable.h"
#include "core/document/Scene.h"

#include "FormatChecks.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace velorin::test {

// Gives every field of the table, but for lists, a value that is not its default and, as far as the field's
// kind allows, differs from those of its neighbours. Labelled fields get a number that has a label.
void Scramble(const FieldTable& table, void* record, std::uint32_t seed);

// Materials, folders and one model of every stored type, each field of each record with a value of its own.
void FillScene(Scene& scene);

// A value of the type that no field has by default, but for a flag, and its bytes.
template <class T>
std::pair<T, Buffer> Sample(const T& byDefault) {
    if constexpr (std::is_same_v<T, bool>)
        return {!byDefault, U8({!byDefault})};
    else if constexpr (std::is_same_v<T, std::uint8_t>)
        return {T{77}, U8({77})};
    else if constexpr (std::is_same_v<T, std::string>)
        return {"a/b c", Zero("a/b c")};
    else if constexpr (std::is_same_v<T, float>)
        return {-2.25f, F32({-2.25f})};
    else if constexpr (std::is_same_v<T, Point2>)
        return {{2, 3}, F32({2, 3})};
    else if constexpr (std::is_same_v<T, Point3>)
        return {{2, 3, 4}, F32({2, 3, 4})};
    else if constexpr (std::is_same_v<T, Colour>)
        return {{1, 2, 3, 4}, U8({1, 2, 3, 4})};
    else if constexpr (std::is_same_v<T, std::array<bool, 3>>)
        return {{false, true, false}, U8({0, 1, 0})};
    else
        return {static_cast<T>(2), U32(2)};
}

// Whether each tag, alone in a document, sets the member beside it. `read` gives the record of a document
// with the chunk that it is given.
template <class Record, class Read>
class FieldsOf {
public:
    explicit FieldsOf(Read reader) : read(reader) {}

    template <class... Pairs>
    void Expect(Pairs... fields) const {
        (ExpectOne(fields.first, fields.second), ...);
    }

private:
    template <class Field>
    void ExpectOne(int tag, Field field) const {
        const auto [value, payload] = Sample(Record().*field);
        EXPECT_EQ(read(Narrow(static_cast<std::uint16_t>(tag), payload)).*field, value) << "tag " << tag;
    }

    Read read;
};
template <class Member>
std::pair<int, Member> Tag(int tag, Member member) {
    return {tag, member};
}
template <class Record, class Read>
FieldsOf<Record, Read> Fields(Read read) {
    return FieldsOf<Record, Read>(read);
}

// The chunks of a document from `first` on as "tag:bytes ".
[[nodiscard]] std::string LayoutOf(Bytes document, const ContainerForm& form, std::uint32_t first = 0);

} // namespace velorin::test
