#include "model/mesh/TextureMappers.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace velorin {

namespace {

constexpr float kInversePi = 0.31830987f;

using Corners = std::array<Point2, 3>;

template <class Map>
void MapTriangles(const MappedMesh& mesh, Map&& map) {
    for (Triangle& triangle : mesh.triangles) {
        const std::array<Point3, 3> p{mesh.vertices[triangle[0]].position,
                                      mesh.vertices[triangle[1]].position,
                                      mesh.vertices[triangle[2]].position};
        const Corners uv = map(p);
        for (std::size_t i = 0; i < 3; ++i) mesh.optimizer.Write(mesh.vertices, triangle[i], uv[i]);
    }
}

// A triangle across the seam of a mapping that goes round has corners at both ends of the range: the low ones
// move up by its period. Corners on the axis have no angle: they take the mean of the others.
void JoinAtSeam(Corners& uv, const std::array<bool, 3>& onAxis, float period) {
    float highest = -2;
    for (std::size_t i = 0; i < 3; ++i)
        if (!onAxis[i]) highest = std::max(highest, uv[i].x);
    float sum = 0;
    int count = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        if (onAxis[i]) continue;
        if (highest - uv[i].x > period / 2) uv[i].x += period;
        sum += uv[i].x;
        ++count;
    }
    for (std::size_t i = 0; i < 3; ++i)
        if (onAxis[i] && count > 0) uv[i].x = sum / static_cast<float>(count);
}

bool NearAxis(float a, float b) {
    return std::abs(a) <= 0.01f && std::abs(b) <= 0.01f;
}

float ShareOf(float position, float half, float extent) {
    return extent > 0 ? (position + half) / extent : 0;
}

} // namespace

VertexOptimizer::VertexOptimizer(std::size_t vertexCount) : vertexCount_(vertexCount), written_(vertexCount) {
}

void VertexOptimizer::Write(ModelVertices& vertices, std::uint32_t& index, Point2 texCoord) {
    if (!written_[index]) {
        written_[index] = true;
        vertices[index].texCoord = texCoord;
        return;
    }
    extras_.push_back(vertices[index]);
    extras_.back().texCoord = texCoord;
    index = static_cast<std::uint32_t>(vertexCount_ + extras_.size() - 1);
}

void VertexOptimizer::Append(ModelVertices& vertices) {
    vertices.insert(vertices.end(), extras_.begin(), extras_.end());
    extras_.clear();
}

void UvPolygon(const MappedMesh& mesh) {
    MapTriangles(mesh, [](const auto&) { return Corners{{{0, 0}, {1, 0}, {0, 1}}}; });
}

void UvPlane(const MappedMesh& mesh, MappingPlane plane) {
    const auto pick = [plane](Point3 p) {
        return plane == MappingPlane::XY   ? Point2{p.x, p.y}
               : plane == MappingPlane::YZ ? Point2{p.y, p.z}
                                           : Point2{p.x, p.z};
    };
    const Point2 half = pick(mesh.half);
    const float largest = 2 * std::max(half.x, half.y);
    if (!(largest > 0.0001f)) return;
    const float s = 0.98f / largest;
    MapTriangles(mesh, [&](const std::array<Point3, 3>& p) {
        Corners uv;
        for (std::size_t i = 0; i < 3; ++i) {
            const Point2 q = pick(p[i]);
            uv[i] = {(q.x + 1) * s + 0.01f, (q.y + 1) * s + 0.01f};
        }
        return uv;
    });
}

void UvBox(const MappedMesh& mesh, bool preserveAspect, bool repeat) {
    const Point3 half = mesh.half;
    if (!(LengthSquared(half) > 0)) return;
    Point3 extent = half * 2;
    if (preserveAspect) extent.x = extent.y = extent.z = std::max({extent.x, extent.y, extent.z});
    MapTriangles(mesh, [&](const std::array<Point3, 3>& p) {
        const Point3 n = Cross(Normalized(p[1] - p[0]), Normalized(p[2] - p[0]));
        // The nearest of the six axes, the first of equal ones.
        const float along[6] = {n.x, -n.x, n.y, -n.y, n.z, -n.z};
        const auto face = std::max_element(along, along + 6) - along;
        Corners uv;
        for (std::size_t i = 0; i < 3; ++i) {
            const float x = ShareOf(p[i].x, half.x, extent.x), y = ShareOf(p[i].y, half.y, extent.y),
                        z = ShareOf(p[i].z, half.z, extent.z);
            switch (face) {
            case 0:
                uv[i] = {z, y};
                break;
            case 1:
                uv[i] = {repeat ? 1 - z : z, y};
                break;
            case 2:
                uv[i] = {x, z};
                break;
            case 3:
                uv[i] = {x, repeat ? 1 - z : z};
                break;
            case 4:
                uv[i] = {repeat ? 1 - x : x, y};
                break;
            default:
                uv[i] = {x, y};
                break;
            }
        }
        return uv;
    });
}

void UvSphere(const MappedMesh& mesh) {
    MapTriangles(mesh, [](const std::array<Point3, 3>& p) {
        Corners uv;
        std::array<bool, 3> onAxis{};
        for (std::size_t i = 0; i < 3; ++i) {
            const Point3 d = Normalized(p[i]);
            float u = std::atan2(d.x, d.z) * -kInversePi * 0.5f - 0.5f;
            if (u < 0) u += 1;
            uv[i] = {u, std::asin(std::clamp(d.y, -1.0f, 1.0f)) * kInversePi + 0.5f};
            onAxis[i] = NearAxis(d.x, d.z);
        }
        JoinAtSeam(uv, onAxis, 1);
        return uv;
    });
}

void UvCylinder(const MappedMesh& mesh, Axis axis) {
    // Coordinates as (across, across, along).
    const auto turn = [axis](Point3 p) {
        return axis == Axis::X ? Point3{p.y, p.z, p.x} : axis == Axis::Y ? Point3{p.x, p.z, p.y} : p;
    };
    const Point3 half = turn(mesh.half);
    const float end = 0.99f * half.z;
    MapTriangles(mesh, [&](const std::array<Point3, 3>& positions) {
        const std::array<Point3, 3> p{turn(positions[0]), turn(positions[1]), turn(positions[2])};
        Corners uv;
        // A cap is a triangle with all corners at one end.
        const bool head = std::min({p[0].z, p[1].z, p[2].z}) > end,
                   foot = std::max({p[0].z, p[1].z, p[2].z}) < -end;
        if (head || foot) {
            for (std::size_t i = 0; i < 3; ++i)
                uv[i] = {ShareOf(p[i].x, half.x, 2 * half.x), ShareOf(p[i].y, half.y, 2 * half.y)};
            return uv;
        }
        std::array<bool, 3> onAxis{};
        for (std::size_t i = 0; i < 3; ++i) {
            uv[i] = {std::atan2(p[i].x, p[i].y) * -kInversePi, ShareOf(p[i].z, half.z, 2 * half.z)};
            onAxis[i] = NearAxis(p[i].x, p[i].y);
        }
        JoinAtSeam(uv, onAxis, 2);
        return uv;
    });
}

void MapTexture(const MappedMesh& mesh, TextureMapping mapping) {
    switch (mapping) {
    case TextureMapping::UV:
        return;
    case TextureMapping::Sphere:
        return UvSphere(mesh);
    case TextureMapping::Box:
        return UvBox(mesh, false, false);
    case TextureMapping::BoxPreserveAspect:
        return UvBox(mesh, true, false);
    case TextureMapping::PlaneXY:
        return UvPlane(mesh, MappingPlane::XY);
    case TextureMapping::PlaneYZ:
        return UvPlane(mesh, MappingPlane::YZ);
    case TextureMapping::PlaneXZ:
        return UvPlane(mesh, MappingPlane::XZ);
    case TextureMapping::Polygon:
        return UvPolygon(mesh);
    case TextureMapping::BoxRepeatPreserveAspect:
        return UvBox(mesh, true, true);
    case TextureMapping::BoxRepeat:
        return UvBox(mesh, false, true);
    case TextureMapping::CylinderX:
        return UvCylinder(mesh, Axis::X);
    case TextureMapping::CylinderY:
        return UvCylinder(mesh, Axis::Y);
    case TextureMapping::CylinderZ:
        return UvCylinder(mesh, Axis::Z);
    }
}

} // namespace velorin
