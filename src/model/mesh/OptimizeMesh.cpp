#include "model/mesh/MeshSteps.h"
#include "model/mesh/PositionPlaces.h"

#include <algorithm>
#include <array>

namespace velorin {

namespace {

// What must be equal. By bits, so that not-a-number equals itself.
using Key = std::array<std::uint32_t, 9>;
Key KeyOf(const ModelVertex& v) {
    return {CanonicalBits(v.position.x), CanonicalBits(v.position.y), CanonicalBits(v.position.z),
            CanonicalBits(v.texCoord.x), CanonicalBits(v.texCoord.y), CanonicalBits(v.normal.x),
            CanonicalBits(v.normal.y),   CanonicalBits(v.normal.z),   CanonicalBits(v.tangent.w)};
}
std::uint32_t Hash(const Key& key) {
    std::uint64_t h = key[8];
    for (std::size_t i = 0; i < 8; i += 2)
        h = (h ^ (std::uint64_t{key[i]} << 32 | key[i + 1])) * 0x9e3779b97f4a7c15u + (h >> 29);
    return static_cast<std::uint32_t>(MixBits(h));
}

} // namespace

void OptimizeMesh(ModelVertices& vertices, std::span<Triangle> triangles) {
    // Where every corner has a vertex of its own, in order, those that are kept move only down, so that they
    // need no room of their own and a vertex is met once.
    const bool inPlace = IsUnshared(triangles);
    ModelVertices apart;
    ModelVertices& kept = inPlace ? vertices : apart;
    std::vector<std::uint32_t> number; // of a vertex among the kept
    if (!inPlace) number.assign(vertices.size(), IndexTable::kNone);
    std::uint32_t count = 0;
    IndexTable table;
    constexpr std::size_t kTriangles = IndexTable::kTogether / 3;
    std::array<std::uint32_t, IndexTable::kTogether> hashes{};
    for (std::size_t begin = 0; begin < triangles.size(); begin += kTriangles) {
        const auto block = triangles.subspan(begin, std::min(kTriangles, triangles.size() - begin));
        std::size_t corner = 0;
        for (const Triangle& triangle : block) {
            for (const std::uint32_t index : triangle) {
                if (inPlace || number[index] == IndexTable::kNone) {
                    hashes[corner] = Hash(KeyOf(vertices[index]));
                    table.Prefetch(hashes[corner]);
                }
                ++corner;
            }
        }
        corner = 0;
        for (Triangle& triangle : block) {
            for (std::uint32_t& index : triangle) {
                std::uint32_t known = inPlace ? IndexTable::kNone : number[index];
                if (known == IndexTable::kNone) {
                    const ModelVertex vertex = vertices[index];
                    const Key key = KeyOf(vertex);
                    known = table.FindOrAdd(hashes[corner], count,
                                            [&](std::uint32_t other) { return KeyOf(kept[other]) == key; });
                    if (known == count) {
                        if (inPlace)
                            kept[count] = vertex;
                        else
                            kept.push_back(vertex);
                        ++count;
                    }
                    if (!inPlace) number[index] = known;
                }
                index = known;
                ++corner;
            }
        }
    }
    kept.resize(count);
    kept.shrink_to_fit();
    if (!inPlace) vertices = std::move(apart);
}

void SubdivideGroup(std::uint32_t levels, ModelVertices& vertices, std::span<const Triangle> triangles,
                    ModelTriangles& out) {
    const auto middle = [&vertices](std::uint32_t a, std::uint32_t b) {
        const ModelVertex &p = vertices[a], &q = vertices[b];
        const ModelVertex m{(p.position + q.position) * 0.5f,
                            (p.texCoord + q.texCoord) * 0.5f,
                            (p.normal + q.normal) * 0.5f,
                            {(p.tangent.x + q.tangent.x) * 0.5f, (p.tangent.y + q.tangent.y) * 0.5f,
                             (p.tangent.z + q.tangent.z) * 0.5f, (p.tangent.w + q.tangent.w) * 0.5f}};
        vertices.push_back(m);
        return static_cast<std::uint32_t>(vertices.size() - 1);
    };
    ModelTriangles coarse(triangles.begin(), triangles.end()), fine;
    for (std::uint32_t level = 0; level < levels; ++level) {
        fine.clear();
        fine.reserve(4 * coarse.size());
        for (const auto& [a, b, c] : coarse) {
            const std::uint32_t ab = middle(a, b), bc = middle(b, c), ca = middle(c, a);
            fine.push_back({a, ab, ca});
            fine.push_back({ab, b, bc});
            fine.push_back({ca, bc, c});
            fine.push_back({ab, bc, ca});
        }
        coarse.swap(fine);
    }
    out.insert(out.end(), coarse.begin(), coarse.end());
}

} // namespace velorin
