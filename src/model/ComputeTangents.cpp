// E. Lengyel, "Computing Tangent Space Basis Vectors for an Arbitrary Mesh", Terathon Software, 2001.

#include "model/ModelTools.h"

#include <cmath>

namespace velorin {

namespace {

// Directions of growing u and v on a triangle, by its area in texture space; both zero where that has none.
struct Directions {
    Point3 tangent, bitangent;
};

Directions DirectionsOf(const ModelVertex& a, const ModelVertex& b, const ModelVertex& c) {
    const Point3 e1 = b.position - a.position, e2 = c.position - a.position;
    const float s1 = b.texCoord.x - a.texCoord.x, t1 = b.texCoord.y - a.texCoord.y;
    const float s2 = c.texCoord.x - a.texCoord.x, t2 = c.texCoord.y - a.texCoord.y;
    const float r = 1 / (t2 * s1 - t1 * s2);
    if (!std::isfinite(r)) return {};
    return {(t2 * e1 - t1 * e2) * r, (s1 * e2 - s2 * e1) * r};
}

// The longer of the normal's products with z and y; ties go to y.
Point3 FallbackTangent(Point3 n) {
    const Point3 c1 = Cross(n, {0, 0, 1}), c2 = Cross(n, {0, 1, 0});
    return Normalized(LengthSquared(c1) > LengthSquared(c2) ? c1 : c2);
}

Point4 TangentOf(Point3 n, const Directions& sum) {
    const Point3 t = sum.tangent - n * Dot(n, sum.tangent);
    const float square = LengthSquared(t);
    const float reciprocal = 1 / std::sqrt(square);
    // Also away from a sum that is too long to measure or not a number.
    const Point3 unit = square > 0 && reciprocal > 0 ? t * reciprocal : FallbackTangent(n);
    return {unit.x, unit.y, unit.z, Dot(Cross(n, sum.tangent), sum.bitangent) >= 0 ? 1.0f : -1.0f};
}

using TriangleLists = std::span<const std::span<const Triangle>>;

// Whether each vertex belongs to one triangle, with its corners behind one another, as readers of files make
// them.
bool IsUnshared(std::size_t vertexCount, TriangleLists lists) {
    std::vector<bool> seen(vertexCount / 3);
    std::size_t count = 0;
    for (const std::span<const Triangle> list : lists) {
        for (const Triangle& triangle : list) {
            const std::uint32_t first = triangle[0];
            if (first % 3 != 0 || triangle[1] != first + 1 || triangle[2] != first + 2) return false;
            if (first / 3 >= seen.size() || seen[first / 3]) return false;
            seen[first / 3] = true;
        }
        count += list.size();
    }
    return 3 * count == vertexCount;
}

void TangentsOfLists(std::span<ModelVertex> vertices, TriangleLists lists) {
    if (IsUnshared(vertices.size(), lists)) { // no sums needed
        ComputeCornerTangents(vertices);
        return;
    }
    std::vector<Directions> sums(vertices.size());
    for (const std::span<const Triangle> list : lists) {
        for (const Triangle& triangle : list) {
            const Directions directions =
                DirectionsOf(vertices[triangle[0]], vertices[triangle[1]], vertices[triangle[2]]);
            for (const std::uint32_t index : triangle) {
                sums[index].tangent += directions.tangent;
                sums[index].bitangent += directions.bitangent;
            }
        }
    }
    for (std::size_t i = 0; i < vertices.size(); ++i)
        vertices[i].tangent = TangentOf(vertices[i].normal, sums[i]);
}

} // namespace

void ComputeCornerTangents(std::span<ModelVertex> corners) {
    for (std::size_t i = 0; i + 2 < corners.size(); i += 3) {
        ModelVertex *const a = &corners[i], *const b = a + 1, *const c = a + 2;
        const Directions directions = DirectionsOf(*a, *b, *c);
        a->tangent = TangentOf(a->normal, directions);
        b->tangent = b->normal == a->normal ? a->tangent : TangentOf(b->normal, directions);
        c->tangent = c->normal == b->normal ? b->tangent : TangentOf(c->normal, directions);
    }
}

void ComputeTangents(std::span<ModelVertex> vertices, std::span<const Triangle> triangles) {
    TangentsOfLists(vertices, {&triangles, 1});
}

void ComputeTangents(ModelData& model) {
    std::vector<std::span<const Triangle>> lists;
    for (const ModelMesh& mesh : model.meshes)
        for (const ModelGroup& group : mesh.groups) lists.emplace_back(group.triangles);
    TangentsOfLists(model.vertices, lists);
}

} // namespace velorin
