#include "core/document/FieldTable.h"

#include "core/document/ChunkFile.h"

#include <string_view>

namespace velorin {

namespace {

void ReadValue(const Field& field, void* record, PayloadReader& payload) {
    void* const at = field.at(record);
    const auto bools = [&](std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) static_cast<bool*>(at)[i] = payload.Take<std::uint8_t>() != 0;
    };
    const auto floats = [&](std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            const float value = payload.Take<float>();
            std::memcpy(static_cast<std::byte*>(at) + i * sizeof value, &value, sizeof value);
        }
    };
    switch (field.kind) {
    case FieldKind::Text:
        *static_cast<std::string*>(at) = payload.Text();
        break;
    case FieldKind::Bool:
        bools(1);
        break;
    case FieldKind::Bools3:
        bools(3);
        break;
    case FieldKind::Bool32:
        *static_cast<bool*>(at) = payload.Take<std::uint32_t>() != 0;
        break;
    case FieldKind::Byte:
        *static_cast<std::uint8_t*>(at) = payload.Take<std::uint8_t>();
        break;
    case FieldKind::U32:
    case FieldKind::I32: {
        const auto value = payload.Take<std::uint32_t>();
        std::memcpy(at, &value, sizeof value); // an enumeration's number
        break;
    }
    case FieldKind::F32:
        floats(1);
        break;
    case FieldKind::F32x2:
        floats(2);
        break;
    case FieldKind::F32x3:
        floats(3);
        break;
    case FieldKind::Colour:
        *static_cast<Colour*>(at) = payload.Take<Colour>();
        break;
    default:
        break; // lists are read by their owners
    }
}

// Appends a value of fixed size to `bytes` and returns its length.
std::size_t PutValue(const Field& field, const void* record, std::byte* bytes) {
    const void* const at = FieldAt(field, record);
    const auto raw = [&](std::size_t size) {
        std::memcpy(bytes, at, size);
        return size;
    };
    const auto bools = [&](std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) bytes[i] = std::byte{static_cast<const bool*>(at)[i]};
        return count;
    };
    switch (field.kind) {
    case FieldKind::Bool:
        return bools(1);
    case FieldKind::Bools3:
        return bools(3);
    case FieldKind::Bool32: {
        const std::uint32_t value = *static_cast<const bool*>(at);
        std::memcpy(bytes, &value, sizeof value);
        return sizeof value;
    }
    case FieldKind::Byte:
        return raw(1);
    case FieldKind::U32:
    case FieldKind::I32:
    case FieldKind::F32:
    case FieldKind::Colour:
        return raw(4);
    case FieldKind::F32x2:
        return raw(8);
    case FieldKind::F32x3:
        return raw(12);
    default:
        return 0;
    }
}

// A text must fit the length field of a narrow chunk with its zero, or it would spoil what follows it. Cut
// between characters.
std::string_view FitText(std::string_view text) {
    constexpr std::size_t kLongest = 65'534;
    if (text.size() <= kLongest) return text;
    std::size_t end = kLongest;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0u) == 0x80u) --end;
    return text.substr(0, end);
}

} // namespace

void ReadFields(const FieldTable& table, const Field& first, void* record, Bytes payload,
                std::uint32_t version) {
    PayloadReader reader(payload);
    const Field* const end = table.rows.data() + table.rows.size();
    for (const Field* field = &first; field != end && field->tag == first.tag; ++field) {
        if (field->read)
            field->read(record, reader, version);
        else if (field->at)
            ReadValue(*field, record, reader);
    }
}

const Field* WriteFields(ChunkFile& file, const FieldTable& table, const Field* first, const void* record,
                         std::int32_t tagOffset) {
    const auto tag = static_cast<std::uint32_t>(first->tag + tagOffset);
    const Field* const end = table.rows.data() + table.rows.size();
    if (first->kind == FieldKind::Text) {
        const std::string_view text = *static_cast<const std::string*>(FieldAt(*first, record));
        file.WriteString(tag, file.form().narrow ? FitText(text) : text);
        return first + 1;
    }
    std::array<std::byte, 32> bytes;
    std::size_t length = 0;
    const Field* field = first;
    for (; field != end && field->tag == first->tag; ++field)
        length += PutValue(*field, record, &bytes[length]);
    file.WriteChunk(tag, bytes.data(), length);
    return field;
}

void WriteRecord(ChunkFile& file, const FieldTable& table, const void* record, FieldUse except,
                 std::int32_t tagOffset) {
    const Field* const end = table.rows.data() + table.rows.size();
    for (const Field* field = table.rows.data(); field != end;) {
        const bool skip = field->use == FieldUse::ReadOnly || field->use == FieldUse::NotStored ||
                          field->use == except || IsList(field->kind);
        field = skip ? field + 1 : WriteFields(file, table, field, record, tagOffset);
    }
}

} // namespace velorin
