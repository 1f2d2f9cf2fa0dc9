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
[[nodiscard]] inline std::uint32_t HashPosition(Point3 p) {
    const std::uint64_t xy = std::uint64_t{CanonicalBits(p.x)} << 32 | CanonicalBits(p.y);
    return static_cast<std::uint32_t>(MixBits(xy * 0x9e3779b97f4a7c15u + CanonicalBits(p.z)));
}

// An open hash table of numbers; what they stand for is the caller's. It grows with what is in it, so that a
// mesh whose vertices lie on few places keeps it in the processor's caches. Linear in time and memory.
class IndexTable {
public:
    static constexpr std::uint32_t kNone = 0xffffffffu;

    IndexTable() : entries_(1024, Entry{kNone, 0}) {}

    // The number that was added under this hash and for which `isSame(number)` holds; else adds `index` and
    // returns it.
    template <class IsSame>
    std::uint32_t FindOrAdd(std::uint32_t hash, std::uint32_t index, IsSame&& isSame) {
        std::size_t slot = hash & (entries_.size() - 1);
        for (; entries_[slot].index != kNone; slot = (slot + 1) & (entries_.size() - 1))
            if (entries_[slot].hash == hash && isSame(entries_[slot].index)) return entries_[slot].index;
        entries_[slot] = {index, hash};
        if (++count_ > entries_.size() / 2) Grow();
        return index;
    }

private:
    struct Entry {
        std::uint32_t index, hash;
    };
    void Grow() {
        std::vector<Entry> old(2 * entries_.size(), Entry{kNone, 0});
        old.swap(entries_);
        for (const Entry& entry : old) {
            if (entry.index == kNone) continue;
            std::size_t slot = entry.hash & (entries_.size() - 1);
            while (entries_[slot].index != kNone) slot = (slot + 1) & (entries_.size() - 1);
            entries_[slot] = entry;
        }
    }

    std::vector<Entry> entries_;
    std::size_t count_ = 0;
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
    IndexTable table;
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
