#include "model/mesh/MeshSteps.h"
#include "model/mesh/PositionPlaces.h"

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

void OptimizeMesh(std::vector<ModelVertex>& vertices, std::span<Triangle> triangles) {
    std::vector<ModelVertex> kept;
    std::vector<std::uint32_t> number(vertices.size(), IndexTable::kNone); // of a vertex among the kept
    IndexTable table;
    for (Triangle& triangle : triangles) {
        for (std::uint32_t& index : triangle) {
            std::uint32_t& known = number[index];
            if (known == IndexTable::kNone) {
                const Key key = KeyOf(vertices[index]);
                const auto fresh = static_cast<std::uint32_t>(kept.size());
                known = table.FindOrAdd(Hash(key), fresh,
                                        [&](std::uint32_t other) { return KeyOf(kept[other]) == key; });
                if (known == fresh) kept.push_back(vertices[index]);
            }
            index = known;
        }
    }
    kept.shrink_to_fit();
    vertices = std::move(kept);
}

void SubdivideGroup(std::uint32_t levels, std::vector<ModelVertex>& vertices,
                    std::span<const Triangle> triangles, std::vector<Triangle>& out) {
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
    std::vector<Triangle> coarse(triangles.begin(), triangles.end()), fine;
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
