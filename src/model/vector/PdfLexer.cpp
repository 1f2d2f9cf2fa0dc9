#include "model/vector/PdfLexer.h"

#include <charconv>

namespace velorin {

namespace {

constexpr int kDeepestNesting = 64;

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
bool BeginsNumber(char c) {
    return IsDigit(c) || c == '+' || c == '-' || c == '.';
}

// Numbers as real files write them: a sign or two, digits, a point. What follows a second sign or point is
// dropped.
double ToNumber(std::string_view text) {
    std::size_t i = 0;
    bool negative = false;
    for (; i < text.size() && (text[i] == '+' || text[i] == '-'); ++i) negative = negative || text[i] == '-';
    double value = 0, place = 0.1;
    bool digits = false;
    for (; i < text.size() && IsDigit(text[i]); ++i, digits = true) value = value * 10 + (text[i] - '0');
    if (i < text.size() && text[i] == '.')
        for (++i; i < text.size() && IsDigit(text[i]); ++i, digits = true, place /= 10)
            value += place * (text[i] - '0');
    if (!digits && text.size() > 1) throw PdfError("bad conversion");
    return negative ? -value : value;
}

} // namespace

bool IsPdfBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\0';
}
bool IsPdfDelimiter(char c) {
    return std::string_view("()<>[]{}/%").find(c) != std::string_view::npos;
}

void PdfLexer::skipBlanks() {
    while (position_ < text_.size()) {
        if (text_[position_] == '%')
            while (position_ < text_.size() && text_[position_] != '\n' && text_[position_] != '\r')
                ++position_;
        else if (IsPdfBlank(text_[position_]))
            ++position_;
        else
            return;
    }
}

bool PdfLexer::atEnd() {
    skipBlanks();
    return position_ >= text_.size();
}

std::string PdfLexer::word() {
    skipBlanks();
    const std::size_t start = position_;
    while (position_ < text_.size() && !IsPdfBlank(text_[position_]) && !IsPdfDelimiter(text_[position_]))
        ++position_;
    if (position_ == start && position_ < text_.size()) ++position_; // a delimiter that begins nothing here
    return std::string(text_.substr(start, position_ - start));
}

bool PdfLexer::accept(std::string_view expected) {
    skipBlanks();
    if (text_.substr(position_, expected.size()) != expected) return false;
    position_ += expected.size();
    return true;
}

bool PdfLexer::unsignedNumber(std::uint64_t& value) {
    const std::size_t start = position_;
    skipBlanks();
    const char* first = text_.data() + position_;
    const auto [end, error] = std::from_chars(first, text_.data() + text_.size(), value);
    if (error != std::errc() || end == first) {
        position_ = start;
        return false;
    }
    position_ += static_cast<std::size_t>(end - first);
    return true;
}

const PdfObject* PdfLexer::object(std::string& word, bool references) {
    const std::size_t start = position_;
    const PdfObject* result = objectAt(word, references, 0);
    pool_.read(position_ - start);
    return result;
}

const PdfObject* PdfLexer::objectAt(std::string& word, bool references, int depth) {
    if (depth > kDeepestNesting) throw PdfError("The file nests its objects too deeply.");
    word.clear();
    skipBlanks();
    if (position_ >= text_.size()) return nullptr;
    const char c = peek();
    if (c == '/') return pool_.make<PdfName>(name());
    if (c == '(') return literalString();
    if (c == '<') return peek(1) == '<' ? dictionary(references, depth) : hexString();
    if (c == '[') return array(references, depth);
    if (BeginsNumber(c)) return numberOrReference(references);
    word = this->word();
    if (word == "true" || word == "false") {
        const bool value = word == "true";
        word.clear();
        return pool_.make<PdfBoolean>(value);
    }
    if (word == "null") {
        word.clear();
        return pool_.make<PdfNull>();
    }
    return nullptr;
}

const PdfObject* PdfLexer::numberOrReference(bool references) {
    const std::size_t start = position_;
    while (position_ < text_.size() && (BeginsNumber(text_[position_]))) ++position_;
    const double value = ToNumber(text_.substr(start, position_ - start));
    if (!references || value < 0 || value > 4e9 || !IsDigit(text_[start]))
        return pool_.make<PdfNumber>(value);
    const std::size_t behind = position_;
    std::uint64_t generation = 0;
    if (unsignedNumber(generation) && generation <= 65535) {
        skipBlanks();
        const char after = peek(1);
        if (peek() == 'R' && (after == '\0' || IsPdfBlank(after) || IsPdfDelimiter(after))) {
            ++position_;
            return pool_.make<PdfIndirect>(static_cast<std::uint32_t>(value),
                                           static_cast<std::uint32_t>(generation));
        }
    }
    position_ = behind;
    return pool_.make<PdfNumber>(value);
}

std::string PdfLexer::name() {
    std::string result;
    ++position_;
    while (position_ < text_.size() && !IsPdfBlank(text_[position_]) && !IsPdfDelimiter(text_[position_])) {
        const int high = HexDigit(peek(1)), low = HexDigit(peek(2));
        if (text_[position_] == '#' && high >= 0 && low >= 0) {
            result += static_cast<char>(high * 16 + low);
            position_ += 3;
        } else {
            result += text_[position_++];
        }
    }
    return result;
}

const PdfObject* PdfLexer::array(bool references, int depth) {
    ++position_;
    auto* result = pool_.make<PdfArray>();
    std::string word;
    while (!atEnd() && peek() != ']') {
        const PdfObject* item = objectAt(word, references, depth + 1);
        if (item) result->items.push_back(item);
        if (word == "endobj" || word == "endstream") break; // the bracket was never closed
    }
    if (peek() == ']') ++position_;
    return result;
}

const PdfObject* PdfLexer::dictionary(bool references, int depth) {
    position_ += 2;
    auto* result = pool_.make<PdfDictionary>();
    std::string word;
    while (!atEnd() && !accept(">>")) {
        if (peek() != '/') {
            if (!objectAt(word, references, depth + 1) && (word == "endobj" || word == "stream")) break;
            continue;
        }
        std::string key = name();
        skipBlanks();
        if (peek() == '>' && peek(1) == '>') continue; // a key without a value
        if (const PdfObject* value = objectAt(word, references, depth + 1))
            result->entries.emplace_back(std::move(key), value);
    }
    return result;
}

const PdfObject* PdfLexer::literalString() {
    std::string result;
    int open = 1;
    for (++position_; position_ < text_.size(); ++position_) {
        char c = text_[position_];
        if (c == '(') ++open;
        if (c == ')' && --open == 0) {
            ++position_;
            break;
        }
        if (c != '\\') {
            result += c;
            continue;
        }
        c = peek(1);
        ++position_;
        static constexpr std::string_view kNames = "nrtbf", kValues = "\n\r\t\b\f";
        if (const std::size_t k = kNames.find(c); k != std::string_view::npos && c != '\0') {
            result += kValues[k];
        } else if (c >= '0' && c <= '7') {
            int value = c - '0';
            for (int more = 0; more < 2 && peek(1) >= '0' && peek(1) <= '7'; ++more, ++position_)
                value = value * 8 + (peek(1) - '0');
            result += static_cast<char>(value);
        } else if (c == '\r') { // a line that goes on
            if (peek(1) == '\n') ++position_;
        } else if (c != '\n') {
            result += c;
        }
    }
    return pool_.make<PdfString>(std::move(result));
}

const PdfObject* PdfLexer::hexString() {
    std::string result;
    int high = -1;
    for (++position_; position_ < text_.size() && text_[position_] != '>'; ++position_) {
        const int digit = HexDigit(text_[position_]);
        if (digit < 0) continue;
        if (high < 0) {
            high = digit;
        } else {
            result += static_cast<char>(high * 16 + digit);
            high = -1;
        }
    }
    if (position_ < text_.size()) ++position_;
    if (high >= 0) result += static_cast<char>(high * 16);
    return pool_.make<PdfString>(std::move(result));
}

} // namespace velorin
