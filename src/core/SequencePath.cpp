#include "core/SequencePath.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <limits>

namespace velorin {
namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

} // namespace

SequenceName ParseSequenceName(const std::string& path) {
    SequenceName name;
    const std::size_t slash = path.find_last_of("/\\");
    const std::size_t dot = path.rfind('.');
    const bool hasExtension = dot != std::string::npos && (slash == std::string::npos || dot > slash);
    const std::size_t stemEnd = hasExtension ? dot : path.size();
    std::size_t numberStart = stemEnd;
    while (numberStart > 0 && IsDigit(path[numberStart - 1])) --numberStart;
    const char* digits = path.data() + numberStart;
    const auto read = std::from_chars(digits, path.data() + stemEnd, name.firstNumber);
    // A number beyond 64 bits is part of the name.
    name.valid = numberStart < stemEnd && read.ec == std::errc();
    if (!name.valid) {
        name.prefix = path;
        name.firstNumber = 0;
        return name;
    }
    name.prefix = path.substr(0, numberStart);
    name.suffix = path.substr(stemEnd);
    name.width = stemEnd - numberStart;
    return name;
}

std::string SequenceFramePath(const std::string& path, std::uint32_t frame) {
    const SequenceName name = ParseSequenceName(path);
    if (!name.valid) return path;
    std::string number = std::to_string(name.firstNumber + frame);
    number.insert(0, name.width - std::min(name.width, number.size()), '0');
    return name.prefix + number + name.suffix;
}

std::uint32_t CountSequence(const std::string& path) {
    if (!ParseSequenceName(path).valid) return 1;
    std::uint32_t count = 1;
    std::error_code ignored;
    while (count < std::numeric_limits<std::uint32_t>::max()) {
        const std::string next = SequenceFramePath(path, count);
        if (!std::filesystem::is_regular_file(std::u8string(next.begin(), next.end()), ignored)) break;
        ++count;
    }
    return count;
}

} // namespace velorin
