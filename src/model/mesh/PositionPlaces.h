#pragma once

#include "model/ModelData.h"
#include "services/LargePages.h"

#include <algorithm>
#include <array>
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
    // Fetches what FindOrAdd will look at: many at a time come from memory while one by one each is waited
    // for.
    void Prefetch(std::uint32_t hash) const {
        __builtin_prefetch(entries_.data() + (hash & (entries_.size() - 1)));
    }
    static constexpr std::size_t kTogether = 48; // hashes that are prefetched before the first is looked up

private:
    struct Entry {
        std::uint32_t index, hash;
    };
    void Grow() {
        LargeArray<Entry> old(2 * entries_.size(), Entry{kNone, 0});
        old.swap(entries_);
        for (const Entry& entry : old) {
            if (entry.index == kNone) continue;
            std::size_t slot = entry.hash & (entries_.size() - 1);
            while (entries_[slot].index != kNone) slot = (slot + 1) & (entries_.size() - 1);
            entries_[slot] = entry;
        }
    }

    LargeArray<Entry> entries_;
    std::size_t count_ = 0;
};

struct Places {
    LargeArray<std::uint32_t> place; // one a thing: numbers from 0 in the order of first appearance
    LargeArray<Point3> positions;    // one a place

    [[nodiscard]] std::uint32_t count() const { return static_cast<std::uint32_t>(positions.size()); }
};

// `position(i)` for i from 0 to count - 1. A position with a part that is not a number is a place of its own.
template <class Position>
[[nodiscard]] Places FindPlaces(std::size_t count, Position&& position) {
    Places places;
    places.place.resize(count);
    IndexTable table;
    std::array<std::uint32_t, IndexTable::kTogether> hashes;
    std::array<Point3, IndexTable::kTogether> points;
    for (std::size_t begin = 0; begin < count; begin += hashes.size()) {
        const std::size_t size = std::min(hashes.size(), count - begin);
        for (std::size_t i = 0; i < size; ++i) {
            points[i] = position(static_cast<std::uint32_t>(begin + i));
            hashes[i] = HashPosition(points[i]);
            table.Prefetch(hashes[i]);
        }
        for (std::size_t i = 0; i < size; ++i) {
            const Point3 p = points[i];
            const std::uint32_t fresh = places.count();
            const bool isNumber = !std::isnan(p.x) && !std::isnan(p.y) && !std::isnan(p.z);
            const std::uint32_t place =
                isNumber ? table.FindOrAdd(hashes[i], fresh,
                                           [&](std::uint32_t other) { return places.positions[other] == p; })
                         : fresh;
            if (place == fresh) places.positions.push_back(p);
            places.place[begin + i] = place;
        }
    }
    return places;
}

// Whether every corner has a vertex of its own, in ascending order: what readers and UnshareVertices give.
[[nodiscard]] inline bool IsUnshared(std::span<const Triangle> triangles) {
    std::int64_t last = -1;
    for (const Triangle& t : triangles) {
        if (t[0] <= last || t[1] <= t[0] || t[2] <= t[1]) return false;
        last = t[2];
    }
    return true;
}

// The corners of triangles by their place: corner c is corner c % 3 of triangle c / 3.
struct CornersByPlace {
    LargeArray<std::uint32_t> place;   // one a corner
    LargeArray<std::uint32_t> first;   // one a place, and one behind the last: into `corners`
    LargeArray<std::uint32_t> corners; // ascending within a place
    LargeArray<Point3> positions;      // one a place
};
[[nodiscard]] CornersByPlace SortCorners(std::span<const ModelVertex> vertices,
                                         std::span<const Triangle> triangles);

} // namespace velorin
