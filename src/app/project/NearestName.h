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

// The candidate a run of whose words is nearest to `name`, which has as many words: for a name that was typed
// in part
// ("Partcle" for "1. Particle Count"). Empty when no run is near (more than a third of it would have to
// change).
[[nodiscard]] std::string NearestByWords(std::string_view name, std::span<const std::string> candidates);

// `, did you mean "X"?` or nothing.
[[nodiscard]] std::string NearestHint(std::string_view name, std::span<const std::string> candidates);

} // namespace velorin::app
