#include "app/command/Commands.h"

#include <charconv>

namespace velorin::app {

namespace {

// A number of up to nine digits at the start of `text`, which moves behind it.
std::optional<int> TakeNumber(std::string_view& text) {
    int value = 0;
    std::size_t digits = 0;
    while (digits < text.size() && digits < 10 && text[digits] >= '0' && text[digits] <= '9') ++digits;
    if (digits == 0 || digits > 9) return std::nullopt;
    std::from_chars(text.data(), text.data() + digits, value);
    text.remove_prefix(digits);
    return value;
}

bool TakeCharacter(std::string_view& text, char c) {
    if (text.empty() || text.front() != c) return false;
    text.remove_prefix(1);
    return true;
}

} // namespace

std::optional<FrameRange> ParseFrameRange(const std::string& text) {
    std::string_view rest = text;
    FrameRange range;
    const auto first = TakeNumber(rest);
    if (!first) return std::nullopt;
    range.first = range.last = *first;
    if (TakeCharacter(rest, '-')) {
        const auto last = TakeNumber(rest);
        if (!last || *last < *first) return std::nullopt;
        range.last = *last;
        if (TakeCharacter(rest, '/')) {
            const auto step = TakeNumber(rest);
            if (!step || *step == 0) return std::nullopt;
            range.step = *step;
        }
    }
    return rest.empty() ? std::optional(range) : std::nullopt;
}

std::optional<SizeOverride> ParseSize(const std::string& text) {
    constexpr int kLargest = 30000;
    std::string_view rest = text;
    const auto width = TakeNumber(rest);
    if (!width || !TakeCharacter(rest, 'x')) return std::nullopt;
    const auto height = TakeNumber(rest);
    if (!height || !rest.empty() || *width < 1 || *height < 1 || *width > kLargest || *height > kLargest)
        return std::nullopt;
    return SizeOverride{*width, *height};
}

std::optional<std::string> NumberedName(const std::string& name, int frame) {
    constexpr std::size_t kShortest = 4;
    if (name.find("####") == std::string::npos) return std::nullopt;
    // The last run that is long enough.
    std::size_t end = name.rfind("####") + kShortest;
    std::size_t begin = end;
    while (begin > 0 && name[begin - 1] == '#') --begin;
    std::string digits = std::to_string(frame);
    if (digits.size() < end - begin) digits.insert(0, end - begin - digits.size(), '0');
    return name.substr(0, begin) + digits + name.substr(end);
}

} // namespace velorin::app
