#pragma once

#include <span>
#include <string>
#include <string_view>

namespace velorin::app {

// Insertions, deletions, substitutions and swaps of neighbours that turn one into the other, capital letters
// of ASCII counting as small ones. F. Damerau, "A technique for computer detection and correction of spelling
// errors", 1964 (restricted: no part is edited twice).
[[nodiscard]] int EditDistance(std::string_view a, std::string_view b);

// The candidate with the least distance to `name`, the first of equals; empty when even that one shares too
// little (more than half of the longer name would have to change).
[[nodiscard]] std::string NearestName(std::string_view name, std::span<const std::string> candidates);

// `, did you mean "X"?` or nothing.
[[nodiscard]] std::string NearestHint(std::string_view name, std::span<const std::string> candidates);

} // namespace velorin::app
