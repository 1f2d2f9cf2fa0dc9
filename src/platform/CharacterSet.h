#pragma once

#include <string_view>

namespace velorin {

// Reads text of a character set of the system, by its name ("GBK", "CP932").
class CharacterSet {
public:
    explicit CharacterSet(const char* name);
    ~CharacterSet();
    CharacterSet(const CharacterSet&) = delete;
    CharacterSet& operator=(const CharacterSet&) = delete;

    // The character that the bytes are; 0 when they are not exactly one, or the system has no such set.
    [[nodiscard]] char32_t character(std::string_view bytes) const;

private:
    void* conversion_ = nullptr;
};

} // namespace velorin
