#include "app/project/Json.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <set>

namespace velorin::app {

TextPlace PlaceOf(std::string_view text, std::size_t offset) {
    TextPlace place;
    offset = std::min(offset, text.size());
    std::size_t lineStart = 0;
    for (std::size_t i = 0; i < offset; ++i)
        if (text[i] == '\n') ++place.line, lineStart = i + 1;
    // Continuation bytes of UTF-8 are no characters of their own.
    place.column = 1 + static_cast<int>(std::count_if(text.begin() + static_cast<std::ptrdiff_t>(lineStart),
                                                      text.begin() + static_cast<std::ptrdiff_t>(offset),
                                                      [](char c) { return (c & 0xC0) != 0x80; }));
    return place;
}

const char* JsonKindName(JsonKind kind) {
    switch (kind) {
    case JsonKind::Null:
        return "null";
    case JsonKind::Bool:
        return "true or false";
    case JsonKind::Number:
        return "a number";
    case JsonKind::String:
        return "a text";
    case JsonKind::Array:
        return "a list";
    case JsonKind::Object:
        return "an object";
    }
    return "";
}

const JsonNode* JsonNode::Find(std::string_view key) const {
    for (const JsonMember& member : members)
        if (member.key == key) return &member.value;
    return nullptr;
}

const JsonNode& JsonDocument::At(std::string_view pointer) const {
    const JsonNode* node = &root;
    while (!pointer.empty() && pointer.front() == '/') {
        pointer.remove_prefix(1);
        std::string step(pointer.substr(0, pointer.find('/')));
        pointer.remove_prefix(step.size());
        for (std::size_t at = 0; (at = step.find('~', at)) != std::string::npos; ++at)
            step.replace(at, 2, step.compare(at, 2, "~1") == 0 ? "/" : "~");
        const JsonNode* next = nullptr;
        if (node->kind == JsonKind::Object) {
            next = node->Find(step);
        } else if (node->kind == JsonKind::Array) {
            std::size_t index = 0;
            const auto [stop, fault] = std::from_chars(step.data(), step.data() + step.size(), index);
            if (fault == std::errc{} && stop == step.data() + step.size() && index < node->items.size())
                next = &node->items[index];
        }
        if (!next) break;
        node = next;
    }
    return *node;
}

namespace {

constexpr std::size_t kDeepest = 256;

// Counts the bytes that the parser has taken.
struct CountingIterator {
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    const char* at = nullptr;
    const char** seen = nullptr;

    reference operator*() const { return *at; }
    CountingIterator& operator++() {
        *seen = ++at;
        return *this;
    }
    friend bool operator==(const CountingIterator& a, const CountingIterator& b) { return a.at == b.at; }
    friend bool operator!=(const CountingIterator& a, const CountingIterator& b) { return a.at != b.at; }
};

// Builds the tree. Where a token ends follows from how far the parser has read; where it starts, from its
// kind.
class TreeBuilder : public nlohmann::json_sax<nlohmann::json> {
public:
    TreeBuilder(std::string_view source, JsonNode& root)
        : source_(source), root_(root), seen_(source.data()) {}

    [[nodiscard]] const char** seen() { return &seen_; }
    [[nodiscard]] const JsonError& error() const { return error_; }

    bool null() override { return Literal(JsonKind::Null, 4) != nullptr; }
    bool boolean(bool value) override {
        JsonNode* node = Literal(JsonKind::Bool, value ? 4 : 5);
        node->boolean = value;
        return true;
    }
    bool number_integer(number_integer_t value) override { return Number(static_cast<double>(value)); }
    bool number_unsigned(number_unsigned_t value) override { return Number(static_cast<double>(value)); }
    bool number_float(number_float_t value, const string_t&) override { return Number(value); }
    bool string(string_t& value) override {
        JsonNode* node = Add(JsonKind::String, StringStart(Offset()), Offset());
        node->text = std::move(value);
        return true;
    }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return Open(JsonKind::Object); }
    bool start_array(std::size_t) override { return Open(JsonKind::Array); }
    bool end_object() override { return Close(); }
    bool end_array() override { return Close(); }
    bool key(string_t& value) override {
        const std::size_t begin = StringStart(Offset());
        if (!keys_.back().insert(value).second)
            return Refuse(begin, "the key \"" + value + "\" stands twice in one object");
        open_.back()->members.push_back({std::move(value), begin, {}});
        return true;
    }
    bool parse_error(std::size_t position, const std::string&,
                     const nlohmann::json::exception& fault) override {
        std::string reason = fault.what();
        if (const auto at = reason.find("syntax error"); at != std::string::npos)
            reason.erase(0, at);
        else if (const auto colon = reason.find(": "); colon != std::string::npos)
            reason.erase(0, colon + 2);
        return Refuse(position > 0 ? position - 1 : 0, reason);
    }

private:
    [[nodiscard]] std::size_t Offset() const { return static_cast<std::size_t>(seen_ - source_.data()); }
    bool Refuse(std::size_t offset, const std::string& reason) {
        error_ = {PlaceOf(source_, offset), reason};
        return false;
    }
    JsonNode* Add(JsonKind kind, std::size_t begin, std::size_t end) {
        JsonNode* node = &root_;
        if (!open_.empty()) {
            JsonNode* parent = open_.back();
            node = parent->kind == JsonKind::Array ? &parent->items.emplace_back()
                                                   : &parent->members.back().value;
        }
        node->kind = kind, node->begin = begin, node->end = end;
        return node;
    }
    JsonNode* Literal(JsonKind kind, std::size_t length) { return Add(kind, Offset() - length, Offset()); }
    bool Number(double value) {
        // The parser stops one byte behind a number, unless the text ends there.
        const auto part = [&](std::size_t i) {
            const char c = source_[i];
            return (c >= '0' && c <= '9') || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E';
        };
        std::size_t end = Offset();
        while (end > 0 && !part(end - 1)) --end;
        std::size_t begin = end;
        while (begin > 0 && part(begin - 1)) --begin;
        Add(JsonKind::Number, begin, end)->number = value;
        return true;
    }
    // Of the string whose closing quote is the byte before `end`: back to the quote that is not escaped.
    [[nodiscard]] std::size_t StringStart(std::size_t end) const {
        std::size_t at = end - 1;
        while (at > 0) {
            --at;
            if (source_[at] != '"') continue;
            std::size_t slashes = 0;
            while (slashes < at && source_[at - 1 - slashes] == '\\') ++slashes;
            if (slashes % 2 == 0) break;
        }
        return at;
    }
    bool Open(JsonKind kind) {
        if (open_.size() >= kDeepest) return Refuse(Offset() - 1, "the text is nested too deeply");
        // Siblings are only added behind the last one, so the addresses of what is open stay valid.
        open_.push_back(Add(kind, Offset() - 1, Offset()));
        keys_.emplace_back();
        return true;
    }
    bool Close() {
        open_.back()->end = Offset();
        open_.pop_back();
        keys_.pop_back();
        return true;
    }

    std::string_view source_;
    JsonNode& root_;
    const char* seen_;
    std::vector<JsonNode*> open_;
    std::vector<std::set<std::string>> keys_;
    JsonError error_;
};

} // namespace

std::optional<JsonDocument> ParseJson(std::string source, JsonError& error) {
    JsonDocument document;
    document.source = std::move(source);
    TreeBuilder builder(document.source, document.root);
    const char* begin = document.source.data();
    const CountingIterator first{begin, builder.seen()}, last{begin + document.source.size(), builder.seen()};
    if (!nlohmann::json::sax_parse(first, last, &builder)) {
        error = builder.error();
        return std::nullopt;
    }
    return document;
}

} // namespace velorin::app
