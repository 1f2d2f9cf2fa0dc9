#pragma once

#include "app/project/Diagnostics.h"
#include "app/project/Json.h"
#include "app/project/Keyframes.h"

#include <limits>
#include <span>
#include <string>
#include <vector>

namespace velorin::app {

// What a number may be; beyond it the value is clamped, with a warning.
struct NumberRange {
    double minimum = std::numeric_limits<double>::lowest();
    double maximum = std::numeric_limits<double>::max();
};

// How times in keyframes are counted.
struct KeyframeClock {
    double framesPerSecond = 24;
};

// Reads the members of one object into variables: absent keys leave them as they are, wrong types are errors
// at their place, and Finish refuses what nobody asked for. Every name asked for counts as known.
class ObjectReader {
public:
    // `place` names the object in messages ("composition", "lights[0]").
    ObjectReader(const TextSource& source, const JsonNode& node, std::string place, KeyframeClock clock = {});
    // Reports unknown keys with the nearest known one.
    void Finish();

    // The member, or null when it is absent or the object is none.
    [[nodiscard]] const JsonNode* Member(const char* key);
    [[nodiscard]] const JsonNode* Member(const char* key, JsonKind kind);

    void Read(const char* key, bool& value);
    void Read(const char* key, std::string& value);
    void Read(const char* key, int& value, NumberRange range);
    void Read(const char* key, double& value, NumberRange range);
    // A number or vector of `size` components, constant or with keyframes.
    void Read(const char* key, AnimatedValue& value, int size, NumberRange range = {});
    void ReadColor(const char* key, AnimatedValue& value);
    // One of the names; `index` keeps its value when the key is absent or wrong.
    void ReadChoice(const char* key, int& index, std::span<const std::string> names);

    [[nodiscard]] const std::string& place() const { return place_; }
    void Error(const JsonNode& node, const std::string& reason) const;

private:
    const TextSource& source_;
    const JsonNode& node_;
    std::string place_;
    KeyframeClock clock_;
    std::vector<std::string> known_;
};

// The pieces, for values that stand elsewhere. All report errors at the node's place and return false then.
//
// How one component list is read: a plain number or list of `size` numbers; a colour also "#rrggbb".
struct ValueForm {
    int size = 1;
    bool color = false; // three numbers of 0..255, or "#rrggbb"
    NumberRange range;
};
[[nodiscard]] bool ReadComponents(const TextSource& source, const JsonNode& node, const std::string& place,
                                  const ValueForm& form, Components& value);
// The same or {"keys": [{"frame" or "time", "value", "ease"}...]}. `readValue` reads the value of one key.
using ReadValueFunction = bool (*)(void* context, const JsonNode& node, const std::string& place,
                                   Components& value);
[[nodiscard]] bool ReadAnimated(const TextSource& source, const JsonNode& node, const std::string& place,
                                KeyframeClock clock, ReadValueFunction readValue, void* context,
                                AnimatedValue& value);
[[nodiscard]] bool ReadAnimated(const TextSource& source, const JsonNode& node, const std::string& place,
                                KeyframeClock clock, const ValueForm& form, AnimatedValue& value);

} // namespace velorin::app
