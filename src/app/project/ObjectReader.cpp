#include "app/project/ObjectReader.h"

#include "app/project/NearestName.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace velorin::app {

namespace {

std::string NumberText(double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.10g", value);
    return text.data();
}

double Clamped(const TextSource& source, const JsonNode& node, const std::string& place, double value,
               NumberRange range) {
    const double inside = std::clamp(value, range.minimum, range.maximum);
    if (inside != value)
        source.Warn(node.begin, place + ": " + NumberText(value) + " lies outside " +
                                    NumberText(range.minimum) + " to " + NumberText(range.maximum) +
                                    ", taken as " + NumberText(inside));
    return inside;
}

bool WrongType(const TextSource& source, const JsonNode& node, const std::string& place,
               const std::string& wanted) {
    source.Error(node.begin, place + ": expected " + wanted + ", found " + JsonKindName(node.kind));
    return false;
}

bool ReadHexColor(const TextSource& source, const JsonNode& node, const std::string& place,
                  Components& value) {
    unsigned rgb = 0;
    const char* digits = node.text.data() + 1;
    const char* end = node.text.data() + node.text.size();
    if (node.text.size() != 7 || node.text[0] != '#') {
        source.Error(node.begin, place + ": expected a colour [r, g, b] or \"#rrggbb\"");
        return false;
    }
    const auto [stop, fault] = std::from_chars(digits, end, rgb, 16);
    if (fault != std::errc{} || stop != end) {
        source.Error(node.begin, place + ": \"" + node.text + "\" is no colour of the form \"#rrggbb\"");
        return false;
    }
    value = {static_cast<double>(rgb >> 16), static_cast<double>((rgb >> 8) & 255),
             static_cast<double>(rgb & 255)};
    return true;
}

const std::vector<std::string> kEaseNames{"linear", "hold", "bezier"};

} // namespace

bool ReadComponents(const TextSource& source, const JsonNode& node, const std::string& place,
                    const ValueForm& form, Components& value) {
    if (form.color && node.kind == JsonKind::String) return ReadHexColor(source, node, place, value);
    const NumberRange range = form.color ? NumberRange{0, 255} : form.range;
    if (form.size == 1) {
        if (node.kind != JsonKind::Number) return WrongType(source, node, place, "a number");
        value[0] = Clamped(source, node, place, node.number, range);
        return true;
    }
    const std::string wanted = form.color ? "a colour [r, g, b] or \"#rrggbb\""
                                          : "a list of " + std::to_string(form.size) + " numbers";
    if (node.kind != JsonKind::Array) return WrongType(source, node, place, wanted);
    if (node.items.size() != static_cast<std::size_t>(form.size)) {
        source.Error(node.begin, place + ": expected " + wanted + ", found " +
                                     std::to_string(node.items.size()) +
                                     (node.items.size() == 1 ? " value" : " values"));
        return false;
    }
    for (std::size_t i = 0; i < node.items.size(); ++i) {
        const JsonNode& item = node.items[i];
        if (item.kind != JsonKind::Number) return WrongType(source, item, place, wanted);
        value[i] = Clamped(source, item, place, item.number, range);
    }
    return true;
}

namespace {

// One entry of "keys".
bool ReadKey(const TextSource& source, const JsonNode& node, const std::string& place, KeyframeClock clock,
             ReadValueFunction readValue, void* context, Keyframe& key) {
    ObjectReader reader(source, node, place, clock);
    const JsonNode* frame = reader.Member("frame", JsonKind::Number);
    const JsonNode* time = reader.Member("time", JsonKind::Number);
    const JsonNode* value = reader.Member("value");
    int ease = 0;
    reader.ReadChoice("ease", ease, kEaseNames);
    reader.Finish();
    if (node.kind != JsonKind::Object) return false;
    if ((frame != nullptr) == (time != nullptr)) {
        source.Error(node.begin, place + ": a keyframe has a \"frame\" or a \"time\"");
        return false;
    }
    if (!value) {
        source.Error(node.begin, place + ": the keyframe has no \"value\"");
        return false;
    }
    key.time = frame ? frame->number / clock.framesPerSecond : time->number;
    key.ease = static_cast<KeyframeEase>(ease);
    return readValue(context, *value, place, key.value);
}

} // namespace

bool ReadAnimated(const TextSource& source, const JsonNode& node, const std::string& place,
                  KeyframeClock clock, ReadValueFunction readValue, void* context, AnimatedValue& value) {
    if (node.kind != JsonKind::Object) {
        Components constant{};
        if (!readValue(context, node, place, constant)) return false;
        value.constant = constant;
        value.keys.clear();
        return true;
    }
    ObjectReader reader(source, node, place, clock);
    const JsonNode* keys = reader.Member("keys", JsonKind::Array);
    reader.Finish();
    if (!keys || keys->items.empty()) {
        if (!keys || keys->kind == JsonKind::Array)
            source.Error(node.begin, place + ": an animated value needs \"keys\" with at least one keyframe");
        return false;
    }
    std::vector<Keyframe> read(keys->items.size());
    bool good = true;
    for (std::size_t i = 0; i < read.size(); ++i)
        good = ReadKey(source, keys->items[i], place + ".keys[" + std::to_string(i) + "]", clock, readValue,
                       context, read[i]) &&
               good;
    if (!good) return false;
    std::stable_sort(read.begin(), read.end(), [](const auto& a, const auto& b) { return a.time < b.time; });
    for (std::size_t i = 1; i < read.size(); ++i)
        if (read[i].time == read[i - 1].time) {
            source.Error(keys->begin, place + ": two keyframes stand at " + NumberText(read[i].time) + " s");
            return false;
        }
    value.constant = read.front().value;
    value.keys = std::move(read);
    return true;
}

bool ReadAnimated(const TextSource& source, const JsonNode& node, const std::string& place,
                  KeyframeClock clock, const ValueForm& form, AnimatedValue& value) {
    struct Context {
        const TextSource& source;
        const ValueForm& form;
    } context{source, form};
    const ReadValueFunction read = [](void* c, const JsonNode& item, const std::string& at,
                                      Components& components) {
        const auto& of = *static_cast<Context*>(c);
        return ReadComponents(of.source, item, at, of.form, components);
    };
    return ReadAnimated(source, node, place, clock, read, &context, value);
}

ObjectReader::ObjectReader(const TextSource& source, const JsonNode& node, std::string place,
                           KeyframeClock clock)
    : source_(source), node_(node), place_(std::move(place)), clock_(clock) {
    if (node.kind != JsonKind::Object) (void)WrongType(source, node, place_, "an object");
}

void ObjectReader::Error(const JsonNode& node, const std::string& reason) const {
    source_.Error(node.begin, place_ + ": " + reason);
}

void ObjectReader::Finish() {
    for (const JsonMember& member : node_.members)
        if (std::find(known_.begin(), known_.end(), member.key) == known_.end())
            source_.Error(member.keyBegin,
                          place_ + ": unknown key \"" + member.key + "\"" + NearestHint(member.key, known_));
}

const JsonNode* ObjectReader::Member(const char* key) {
    known_.emplace_back(key);
    return node_.Find(key);
}

const JsonNode* ObjectReader::Member(const char* key, JsonKind kind) {
    const JsonNode* member = Member(key);
    if (!member || member->kind == kind) return member;
    (void)WrongType(source_, *member, place_ + "." + key, JsonKindName(kind));
    return nullptr;
}

void ObjectReader::Read(const char* key, bool& value) {
    if (const JsonNode* member = Member(key, JsonKind::Bool)) value = member->boolean;
}

void ObjectReader::Read(const char* key, std::string& value) {
    if (const JsonNode* member = Member(key, JsonKind::String)) value = member->text;
}

void ObjectReader::Read(const char* key, double& value, NumberRange range) {
    if (const JsonNode* member = Member(key, JsonKind::Number))
        value = Clamped(source_, *member, place_ + "." + key, member->number, range);
}

void ObjectReader::Read(const char* key, int& value, NumberRange range) {
    const JsonNode* member = Member(key, JsonKind::Number);
    if (!member) return;
    if (member->number != std::floor(member->number)) {
        source_.Error(member->begin,
                      place_ + "." + key + ": expected a whole number, found " + NumberText(member->number));
        return;
    }
    value = static_cast<int>(Clamped(source_, *member, place_ + "." + key, member->number, range));
}

void ObjectReader::Read(const char* key, AnimatedValue& value, int size, NumberRange range) {
    value.size = size;
    if (const JsonNode* member = Member(key))
        (void)ReadAnimated(source_, *member, place_ + "." + key, clock_, ValueForm{size, false, range},
                           value);
}

void ObjectReader::ReadColor(const char* key, AnimatedValue& value) {
    value.size = 3;
    if (const JsonNode* member = Member(key))
        (void)ReadAnimated(source_, *member, place_ + "." + key, clock_, ValueForm{3, true, {}}, value);
}

void ObjectReader::ReadChoice(const char* key, int& index, std::span<const std::string> names) {
    const JsonNode* member = Member(key, JsonKind::String);
    if (!member) return;
    const auto found = std::find(names.begin(), names.end(), member->text);
    if (found != names.end()) {
        index = static_cast<int>(found - names.begin());
        return;
    }
    std::string list;
    for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
    source_.Error(member->begin, place_ + "." + key + ": \"" + member->text + "\" is none of " + list);
}

} // namespace velorin::app
