#pragma once

#include "model/ModelData.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

// Which of many things lie at one position. Positions count as one when x, y and z are equal as numbers.
namespace velorin {

// The bits of a number, those of 0 for -0.
[[nodiscard]] inline std::uint32_t CanonicalBits(float value) {
    return value == 0 ? 0 : std::bit_cast<std::uint32_t>(value);
}

// Mixes 64 bits. S. Vigna's variant 13 of the finaliser of MurmurHash3 (SplitMix64, 2015).
[[nodiscard]] constexpr std::uint64_t MixBits(std::uint64_t h) {
    h = (h ^ (h >> 30)) * 0xbf58476d1ce4e5b9u;
    h = (h ^ (h >> 27)) * 0x94d049bb133111ebu;
    return h ^ (h >> 31);
}
[[nodiscard]] inline std::uint64_t HashPosition(Point3 p) {
    const std::uint64_t xy = std::uint64_t{CanonicalBits(p.x)} << 32 | CanonicalBits(p.y);
    return MixBits(xy * 0x9e3779b97f4a7c15u + CanonicalBits(p.z));
}

// An open hash table of `count` numbers at most; what they stand for is the caller's. Linear in time and
// memory.
class IndexTable {
public:
    static constexpr std::uint32_t kNone = 0xffffffffu;

    explicit IndexTable(std::size_t count)
        : entries_(std::bit_ceil(count + count / 2 + 1), Entry{kNone, 0}) {}

    // The number that was added under this hash and for which `isSame(number)` holds; else adds `index` and
    // returns it.
    template <class IsSame>
    std::uint32_t FindOrAdd(std::uint64_t hash, std::uint32_t index, IsSame&& isSame) {
        const auto tag = static_cast<std::uint32_t>(hash >> 32);
        for (std::size_t slot = hash & (entries_.size() - 1);; slot = (slot + 1) & (entries_.size() - 1)) {
            Entry& entry = entries_[slot];
            if (entry.index == kNone) {
                entry = {index, tag};
                return index;
            }
            if (entry.tag == tag && isSame(entry.index)) return entry.index;
        }
    }

private:
    struct Entry {
        std::uint32_t index, tag;
    };
    std::vector<Entry> entries_;
};

struct Places {
    std::vector<std::uint32_t> place; // one a thing: numbers from 0 in the order of first appearance
    std::uint32_t count = 0;
};

// `position(i)` for i from 0 to count - 1. A position with a part that is not a number is a place of its own.
template <class Position>
[[nodiscard]] Places FindPlaces(std::size_t count, Position&& position) {
    Places places;
    places.place.resize(count);
    IndexTable table(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        const Point3 p = position(i);
        const bool isNumber = !std::isnan(p.x) && !std::isnan(p.y) && !std::isnan(p.z);
        const std::uint32_t first =
            isNumber ? table.FindOrAdd(HashPosition(p), i,
                                       [&](std::uint32_t other) { return position(other) == p; })
                     : i;
        places.place[i] = first == i ? places.count++ : places.place[first];
    }
    return places;
}

// The corners of triangles by their place: corner c is corner c % 3 of triangle c / 3.
struct CornersByPlace {
    std::vector<std::uint32_t> place;   // one a corner
    std::vector<std::uint32_t> first;   // one a place, and one behind the last: into `corners`
    std::vector<std::uint32_t> corners; // ascending within a place
};
[[nodiscard]] CornersByPlace SortCorners(std::span<const ModelVertex> vertices,
                                         std::span<const Triangle> triangles);

} // namespace velorin
