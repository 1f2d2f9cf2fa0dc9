#include "model/mesh/PositionPlaces.h"

namespace velorin {

CornersByPlace SortCorners(std::span<const ModelVertex> vertices, std::span<const Triangle> triangles) {
    const auto count = static_cast<std::uint32_t>(3 * triangles.size());
    Places places =
        FindPlaces(count, [&](std::uint32_t c) { return vertices[triangles[c / 3][c % 3]].position; });
    CornersByPlace result;
    result.first.assign(std::size_t{places.count()} + 1, 0);
    for (const std::uint32_t place : places.place) ++result.first[place + 1];
    for (std::size_t i = 1; i < result.first.size(); ++i) result.first[i] += result.first[i - 1];
    result.corners.resize(count);
    LargeArray<std::uint32_t> next(result.first.begin(), result.first.end() - 1);
    for (std::uint32_t c = 0; c < count; ++c) result.corners[next[places.place[c]]++] = c;
    result.place = std::move(places.place);
    result.positions = std::move(places.positions);
    return result;
}

} // namespace velorin
