#include "app/project/NearestName.h"

#include <algorithm>
#include <vector>

namespace velorin::app {

namespace {
char Small(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
} // namespace

int EditDistance(std::string_view a, std::string_view b) {
    std::vector<int> before(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) last[j] = static_cast<int>(j);
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = static_cast<int>(i);
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const char x = Small(a[i - 1]), y = Small(b[j - 1]);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (x == y ? 0 : 1)});
            if (i > 1 && j > 1 && x == Small(b[j - 2]) && Small(a[i - 2]) == y)
                row[j] = std::min(row[j], before[j - 2] + 1);
        }
        std::swap(before, last);
        std::swap(last, row);
    }
    return last[b.size()];
}

std::string NearestName(std::string_view name, std::span<const std::string> candidates) {
    const std::string* best = nullptr;
    int bestDistance = 0;
    for (const std::string& candidate : candidates) {
        // The difference of lengths is a lower bound.
        const auto gap = static_cast<int>(std::max(candidate.size(), name.size()) -
                                          std::min(candidate.size(), name.size()));
        if (best && gap >= bestDistance) continue;
        const int distance = EditDistance(name, candidate);
        if (!best || distance < bestDistance) best = &candidate, bestDistance = distance;
    }
    if (!best || 2 * static_cast<std::size_t>(bestDistance) > std::max(best->size(), name.size())) return {};
    return *best;
}

namespace {

std::vector<std::string_view> Words(std::string_view text) {
    std::vector<std::string_view> words;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find_first_of(" /", at), text.size());
        if (end > at) words.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return words;
}

} // namespace

std::string NearestByWords(std::string_view name, std::span<const std::string> candidates) {
    const std::size_t count = Words(name).size();
    const std::string* best = nullptr;
    int bestDistance = 0;
    for (const std::string& candidate : candidates) {
        const auto words = Words(candidate);
        for (std::size_t first = 0; count > 0 && first + count <= words.size(); ++first) {
            const char* const begin = words[first].data();
            const std::string_view& last = words[first + count - 1];
            const std::string_view run(begin, static_cast<std::size_t>(last.data() + last.size() - begin));
            const int distance = EditDistance(name, run);
            if (3 * static_cast<std::size_t>(distance) > std::max(run.size(), name.size())) continue;
            if (!best || distance < bestDistance) best = &candidate, bestDistance = distance;
        }
    }
    return best ? *best : std::string();
}

std::string NearestHint(std::string_view name, std::span<const std::string> candidates) {
    std::string nearest = NearestName(name, candidates);
    if (nearest.empty()) nearest = NearestByWords(name, candidates);
    return nearest.empty() ? std::string() : ", did you mean \"" + nearest + "\"?";
}

} // namespace velorin::app
