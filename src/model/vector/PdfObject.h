#pragma once

#include "services/ByteReader.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace velorin {

// What ends the reading of a vector file; the text is for a person.
class PdfError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class PdfKind { Null, Boolean, Number, String, Name, Array, Dictionary, Indirect, Stream };

// Base of the objects of a document. The parser owns all of them until it is destroyed; pointers between them
// are borrowed.
class PdfObject {
public:
    virtual ~PdfObject() = default;
    [[nodiscard]] virtual PdfKind kind() const = 0;
};

class PdfNull final : public PdfObject {
public:
    [[nodiscard]] PdfKind kind() const override { return PdfKind::Null; }
};

class PdfBoolean final : public PdfObject {
public:
    explicit PdfBoolean(bool v) : value(v) {}
    [[nodiscard]] PdfKind kind() const override { return PdfKind::Boolean; }
    bool value;
};

class PdfNumber final : public PdfObject {
public:
    explicit PdfNumber(double v) : value(v) {}
    [[nodiscard]] PdfKind kind() const override { return PdfKind::Number; }
    double value;
};

class PdfString final : public PdfObject {
public:
    explicit PdfString(std::string v) : bytes(std::move(v)) {}
    [[nodiscard]] PdfKind kind() const override { return PdfKind::String; }
    std::string bytes;
};

class PdfName final : public PdfObject {
public:
    explicit PdfName(std::string v) : name(std::move(v)) {}
    [[nodiscard]] PdfKind kind() const override { return PdfKind::Name; }
    std::string name; // without the slash, #xx resolved
};

class PdfArray final : public PdfObject {
public:
    [[nodiscard]] PdfKind kind() const override { return PdfKind::Array; }
    std::vector<const PdfObject*> items;
};

class PdfDictionary final : public PdfObject {
public:
    [[nodiscard]] PdfKind kind() const override { return PdfKind::Dictionary; }
    std::vector<std::pair<std::string, const PdfObject*>> entries;
    // The last entry of the name, null when there is none. References are not followed.
    [[nodiscard]] const PdfObject* raw(std::string_view name) const {
        if (entries.size() > kShort) return indexed(name);
        for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry)
            if (entry->first == name) return entry->second;
        return nullptr;
    }

private:
    static constexpr std::size_t kShort = 32; // entries that are searched one by one
    [[nodiscard]] const PdfObject* indexed(std::string_view name) const {
        if (index_.empty()) // filled once: entries do not change after the dictionary was read
            for (const auto& [key, value] : entries) index_[key] = value;
        const auto found = index_.find(name);
        return found == index_.end() ? nullptr : found->second;
    }
    mutable std::unordered_map<std::string_view, const PdfObject*> index_;
};

// A reference to an object by number.
class PdfIndirect final : public PdfObject {
public:
    PdfIndirect(std::uint32_t n, std::uint32_t g) : number(n), generation(g) {}
    [[nodiscard]] PdfKind kind() const override { return PdfKind::Indirect; }
    std::uint32_t number, generation;
};

class PdfStream final : public PdfObject {
public:
    PdfStream(const PdfDictionary* d, Bytes b) : dictionary(d), bytes(b) {}
    [[nodiscard]] PdfKind kind() const override { return PdfKind::Stream; }
    const PdfDictionary* dictionary;
    Bytes bytes; // as stored, still filtered; part of the file
};

template <class T>
[[nodiscard]] const T* As(const PdfObject* object) {
    return dynamic_cast<const T*>(object);
}

} // namespace velorin
