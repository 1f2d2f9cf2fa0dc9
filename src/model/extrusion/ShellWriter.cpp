#include "model/extrusion/ShellWriter.h"

#include "model/ModelTools.h"

#include <algorithm>

namespace velorin {

namespace {

constexpr std::size_t kBatch = 600; // vertices that get their tangents while they are still in the cache

} // namespace

Point3 ShellWriter::positionOf(Point2 p, float z) const {
    return {p.x * frame_.scale.x + frame_.offset.x, p.y * frame_.scale.y + frame_.offset.y,
            z * frame_.scale.z + frame_.offset.z};
}

void ShellWriter::widen(Point3 p) {
    low_ = {std::min(low_.x, p.x), std::min(low_.y, p.y), std::min(low_.z, p.z)};
    high_ = {std::max(high_.x, p.x), std::max(high_.y, p.y), std::max(high_.z, p.z)};
}

void ShellWriter::place(Ring& ring, std::span<const Point2> points, float z, const CornerNormals& normals,
                        Lean lean) {
    const std::size_t n = points.size();
    ring.positions.resize(n), ring.texCoords.resize(n), ring.start.resize(n), ring.end.resize(n);
    const auto leaning = [&](Point2 normal) {
        return Point3{normal.x * lean.out, normal.y * lean.out, -lean.front};
    };
    for (std::size_t i = 0; i < n; ++i) {
        ring.positions[i] = positionOf(points[i], z);
        widen(ring.positions[i]);
        ring.texCoords[i] = {(points[i].x - frame_.textureOrigin.x) * frame_.textureScale.x,
                             (points[i].y - frame_.textureOrigin.y) * frame_.textureScale.y};
        ring.start[i] = leaning(normals.start[i]);
        ring.end[i] = leaning(normals.end[i]);
    }
}

void ShellWriter::band(const Ring& front, const Ring& back) {
    const std::size_t n = front.positions.size();
    const auto at = [](const Ring& ring, std::size_t i, Point3 normal) {
        return ModelVertex{ring.positions[i], ring.texCoords[i], normal, {}};
    };
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t k = i + 1 == n ? 0 : i + 1;
        const ModelVertex a = at(front, i, front.start[i]), b = at(front, k, front.end[i]);
        const ModelVertex c = at(back, k, back.end[i]), d = at(back, i, back.start[i]);
        const bool first = !(a.position == b.position) && !(b.position == c.position);
        const bool second = !(a.position == d.position) && !(c.position == d.position);
        const ModelVertex corners[6] = {a, b, c, a, c, d};
        model_.vertices.insert(model_.vertices.end(), corners + (first ? 0 : 3), corners + (second ? 6 : 3));
        finish(kBatch);
    }
}

void ShellWriter::placeCap(std::span<const Point2> points, float z, bool front) {
    cap_.resize(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        ModelVertex& vertex = cap_[i];
        vertex.position = positionOf(points[i], z);
        widen(vertex.position);
        vertex.texCoord = {(points[i].x - frame_.textureOrigin.x) * frame_.textureScale.x,
                           (points[i].y - frame_.textureOrigin.y) * frame_.textureScale.y};
        vertex.normal = {0, 0, front ? -1.0f : 1.0f};
    }
}

void ShellWriter::capTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    const ModelVertex corners[3] = {cap_[a], cap_[b], cap_[c]};
    model_.vertices.insert(model_.vertices.end(), corners, corners + 3);
    finish(kBatch);
}

// Computes tangents once more than `most` vertices wait for them.
void ShellWriter::finish(std::size_t most) {
    if (model_.vertices.size() - finished_ <= most) return;
    ComputeCornerTangents(std::span(model_.vertices).subspan(finished_));
    finished_ = model_.vertices.size();
}

ModelTriangles ShellWriter::takeTriangles() {
    finish(0);
    ModelTriangles triangles((model_.vertices.size() - taken_) / 3);
    for (Triangle& triangle : triangles) {
        const auto first = static_cast<std::uint32_t>(taken_);
        triangle = {first, first + 1, first + 2};
        taken_ += 3;
    }
    return triangles;
}

std::pair<Point3, Point3> ShellWriter::takeBounds() {
    const std::pair<Point3, Point3> bounds(low_, high_);
    low_ = {1e6f, 1e6f, 1e6f}, high_ = {-1e6f, -1e6f, -1e6f};
    return bounds;
}

} // namespace velorin
