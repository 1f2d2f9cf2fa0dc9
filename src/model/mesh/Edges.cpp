#include "model/mesh/MeshSteps.h"
#include "model/mesh/PositionPlaces.h"

#include <algorithm>
#include <array>

namespace velorin {

namespace {

// The cell of a position in a grid of 1024 steps over -half to half: 10 bits an axis, x highest. Positions
// outside the bounds, and axes without extent, count as an end.
std::uint32_t CellOf(Point3 p, Point3 half) {
    const auto step = [](float value, float limit) {
        const float share = (value + limit) / (2 * limit) * 1023;
        return share > 0 ? static_cast<std::uint32_t>(std::min(share, 1023.0f)) : 0u;
    };
    return step(p.x, half.x) << 20 | step(p.y, half.y) << 10 | step(p.z, half.z);
}

// A hash of the cell, one to one. The eight cells of a block lie side by side in the table, so that a surface
// finds its neighbours in the cache line that it has just fetched.
std::uint32_t HashCell(std::uint32_t cell) {
    constexpr std::uint32_t kMask = (1u << 29) - 1; // odd factors and shifts keep 29 bits one to one
    const std::uint32_t x = cell >> 20, y = cell >> 10 & 1023, z = cell & 1023;
    std::uint32_t block = (x >> 1) << 18 | (y >> 1) << 9 | z >> 1;
    block = (block * 0x85ebca6bu) & kMask;
    block ^= block >> 15;
    block = (block * 0xc2b2ae35u) & kMask;
    block ^= block >> 14;
    return block << 3 | (x & 1) << 2 | (y & 1) << 1 | (z & 1);
}

} // namespace

void EdgeConnector::Connect(std::span<ModelVertex> vertices, std::span<const Triangle> triangles) {
    constexpr std::size_t kTriangles = IndexTable::kTogether / 3;
    std::array<std::uint32_t, IndexTable::kTogether> hashes;
    for (std::size_t begin = 0; begin < triangles.size(); begin += kTriangles) {
        const auto block = triangles.subspan(begin, std::min(kTriangles, triangles.size() - begin));
        std::size_t corner = 0;
        for (const Triangle& triangle : block) {
            for (const std::uint32_t index : triangle) {
                // Different cells have different hashes.
                hashes[corner] = HashCell(CellOf(vertices[index].position, half_));
                cells_.Prefetch(hashes[corner++]);
            }
        }
        corner = 0;
        for (const Triangle& triangle : block) {
            for (const std::uint32_t index : triangle) {
                const auto fresh = static_cast<std::uint32_t>(positions_.size());
                const std::uint32_t cell =
                    cells_.FindOrAdd(hashes[corner++], fresh, [](std::uint32_t) { return true; });
                Point3& position = vertices[index].position;
                if (cell == fresh)
                    positions_.push_back(position);
                else if (!(position == positions_[cell])) // what is not written need not go back to memory
                    position = positions_[cell];
            }
        }
    }
}

std::vector<HardEdge> FindHardEdges(std::span<const ModelVertex> vertices,
                                    std::span<const Triangle> triangles) {
    const CornersByPlace corners = SortCorners(vertices, triangles);
    std::vector<HardEdge> edges;
    IndexTable table;
    const auto next = [](std::uint32_t corner) { return corner % 3 == 2 ? corner - 2 : corner + 1; };
    std::vector<bool> paired(3 * triangles.size());
    for (std::uint32_t c = 0; c < 3 * triangles.size(); ++c) {
        const std::uint32_t from = corners.place[c], to = corners.place[next(c)];
        if (from == to) continue;
        const std::uint64_t key = std::uint64_t{std::min(from, to)} << 32 | std::max(from, to);
        const std::uint32_t other =
            table.FindOrAdd(static_cast<std::uint32_t>(MixBits(key)), c, [&](std::uint32_t o) {
                const std::uint32_t p = corners.place[o], q = corners.place[next(o)];
                return std::min(p, q) == std::min(from, to) && std::max(p, q) == std::max(from, to);
            });
        if (other == c || paired[other]) continue; // a third triangle at an edge finds it taken
        paired[other] = true;
        const auto vertex = [&](std::uint32_t corner) { return triangles[corner / 3][corner % 3]; };
        const bool opposite = corners.place[other] == to;
        const HardEdge edge{vertex(c), vertex(next(c)), vertex(opposite ? next(other) : other),
                            vertex(opposite ? other : next(other))};
        if (vertices[edge.a1].normal == vertices[edge.a2].normal &&
            vertices[edge.b1].normal == vertices[edge.b2].normal)
            continue;
        edges.push_back(edge);
    }
    return edges;
}

void FillEdges(std::span<const ModelVertex> vertices, std::span<const HardEdge> edges,
               ModelTriangles& triangles) {
    for (const HardEdge& e : edges) {
        // Less than 1.5707964, a quarter turn.
        if (!(Dot(vertices[e.a1].normal, vertices[e.a2].normal) > 0) ||
            !(Dot(vertices[e.b1].normal, vertices[e.b2].normal) > 0))
            continue;
        triangles.push_back({e.b1, e.a1, e.a2});
        triangles.push_back({e.b1, e.a2, e.b2});
    }
}

LargeArray<Point3> AdjacentNormals(std::span<const ModelVertex> vertices) {
    const Places places = FindPlaces(vertices.size(), [&](std::uint32_t i) { return vertices[i].position; });
    std::vector<Point3> sums(places.count());
    std::vector<std::uint32_t> counts(places.count());
    for (std::size_t i = 0; i < vertices.size(); ++i) {
        sums[places.place[i]] += vertices[i].normal;
        ++counts[places.place[i]];
    }
    LargeArray<Point3> normals;
    normals.reserve(vertices.size());
    for (const std::uint32_t place : places.place)
        normals.push_back(sums[place] * (1 / static_cast<float>(counts[place])));
    return normals;
}

EdgeList BuildEdgeList(std::span<const ModelVertex> vertices, std::span<const Triangle> triangles) {
    CornersByPlace corners = SortCorners(vertices, triangles);
    return {std::move(corners.place), std::move(corners.first), std::move(corners.corners)};
}

} // namespace velorin
