#pragma once

#include "model/vector/PdfObject.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <string_view>

namespace velorin {

// Where objects live: addresses stay until the pool is cleared or ends.
class PdfPool {
public:
    template <class T, class... Arguments>
    T* make(Arguments&&... arguments) {
        auto object = std::make_unique<T>(std::forward<Arguments>(arguments)...);
        T* raw = object.get();
        objects_.push_back(std::move(object));
        if (objects_.size() > kMostObjects) throw PdfError("The file holds too many objects.");
        return raw;
    }

    void clear() { objects_.clear(); }

    // Objects may overlap each other and be read many times, which no sound file asks for: what is read
    // counts against what was allowed for, and PdfError ends it. Without an allowance all may be read.
    void allow(std::size_t characters) {
        counts_ = true;
        allowed_ += characters;
    }
    void read(std::size_t characters) {
        if (counts_ && characters > allowed_) throw PdfError("The objects of the file overlap each other.");
        if (counts_) allowed_ -= characters;
    }

private:
    static constexpr std::size_t kMostObjects = 4'000'000;
    std::deque<std::unique_ptr<PdfObject>> objects_;
    std::size_t allowed_ = 0;
    bool counts_ = false;
};

// Tokens and objects out of the text of a file or of a content stream.
class PdfLexer {
public:
    PdfLexer(std::string_view text, std::size_t position, PdfPool& pool)
        : text_(text), position_(std::min(position, text.size())), pool_(pool) {}

    [[nodiscard]] std::size_t position() const { return position_; }
    void seek(std::size_t position) { position_ = std::min(position, text_.size()); }
    [[nodiscard]] bool atEnd();

    // The next object; null at the end or at a word that begins no object, which `word` then receives (an
    // operator of a content stream, "endobj", "stream"). With `references` "1 0 R" is one object. Throws
    // PdfError for nesting that is too deep.
    const PdfObject* object(std::string& word, bool references);

    void skipBlanks(); // white space and comments
    [[nodiscard]] std::string word();
    // The number at the cursor when there is one, as an unsigned integer; the cursor stays where it was
    // otherwise.
    [[nodiscard]] bool unsignedNumber(std::uint64_t& value);
    [[nodiscard]] bool accept(std::string_view expected);

private:
    const PdfObject* objectAt(std::string& word, bool references, int depth);
    const PdfObject* numberOrReference(bool references);
    const PdfObject* array(bool references, int depth);
    const PdfObject* dictionary(bool references, int depth);
    const PdfObject* literalString();
    const PdfObject* hexString();
    [[nodiscard]] std::string name();
    [[nodiscard]] char peek(std::size_t ahead = 0) const {
        return position_ + ahead < text_.size() ? text_[position_ + ahead] : '\0';
    }

    std::string_view text_;
    std::size_t position_;
    PdfPool& pool_;
};

[[nodiscard]] bool IsPdfBlank(char c);
[[nodiscard]] bool IsPdfDelimiter(char c);

} // namespace velorin
