#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velorin::app {

// Where something stands in a text: both count from 1, columns in characters.
struct TextPlace {
    int line = 1;
    int column = 1;
    friend bool operator==(const TextPlace&, const TextPlace&) = default;
};
[[nodiscard]] TextPlace PlaceOf(std::string_view text, std::size_t offset);

enum class JsonKind { Null, Bool, Number, String, Array, Object };
[[nodiscard]] const char* JsonKindName(JsonKind kind); // "a number", "a list"...

struct JsonMember;

// One value of a JSON text with the bytes it stands on, so that a fault found later can still be shown at its
// place.
struct JsonNode {
    JsonKind kind = JsonKind::Null;
    std::size_t begin = 0, end = 0; // bytes of the source
    bool boolean = false;
    double number = 0;
    std::string text;
    std::vector<JsonNode> items;     // of an Array
    std::vector<JsonMember> members; // of an Object, in the order of the text; keys differ

    // Null when there is none.
    [[nodiscard]] const JsonNode* Find(std::string_view key) const;
};

struct JsonMember {
    std::string key;
    std::size_t keyBegin = 0; // byte of the opening quote
    JsonNode value;
};

struct JsonDocument {
    std::string source;
    JsonNode root;

    // What a JSON pointer ("/models/0/name") leads to, or the deepest value on the way that exists.
    [[nodiscard]] const JsonNode& At(std::string_view pointer) const;
};

struct JsonError {
    TextPlace place;
    std::string reason; // without the place
};

// Reads a whole text. Refuses what JSON does not allow, two equal keys in one object, and more than 256
// levels.
[[nodiscard]] std::optional<JsonDocument> ParseJson(std::string source, JsonError& error);

} // namespace velorin::app
