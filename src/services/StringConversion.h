#pragma once

#include <string>
#include <string_view>

// Between UTF-8, which the program uses everywhere, and the wide forms of interfaces. A malformed sequence
// becomes U+FFFD, one for each maximal well-formed start of a character (Unicode 15, section 3.9, table 3-8);
// no input fails.
namespace velorin {

[[nodiscard]] std::u16string Utf8ToUtf16(std::string_view text);
[[nodiscard]] std::string Utf16ToUtf8(std::u16string_view text);

// `wchar_t` is 32 bits wide on Linux and 16 on Windows.
[[nodiscard]] std::wstring Utf8ToWide(std::string_view text);
[[nodiscard]] std::string WideToUtf8(std::wstring_view text);

// Capital letters of ASCII become small ones; all else stays.
[[nodiscard]] std::string SmallLetters(std::string_view text);
// Of a file's name, in small letters with its dot; empty for a name without one.
[[nodiscard]] std::string SmallExtension(std::string_view path);

} // namespace velorin
