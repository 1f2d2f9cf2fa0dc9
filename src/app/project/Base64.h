#pragma once

#include <optional>
#include <string>
#include <string_view>

// Bytes in a text: base64 with the standard alphabet and padding (RFC 4648, section 4).
namespace velorin::app {

[[nodiscard]] std::string ToBase64(std::string_view bytes);
// Nothing for a text that is no base64 from its first to its last character.
[[nodiscard]] std::optional<std::string> FromBase64(std::string_view text);

} // namespace velorin::app
