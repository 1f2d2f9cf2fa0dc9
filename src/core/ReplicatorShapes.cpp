#include "core/ReplicatorShapes.h"

#include "core/SinCos.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace velorin {
namespace {

// The rows' own maxima, for values that did not come through the rows.
constexpr std::uint32_t kMaxGrid = 1000, kMaxLayers = 1000, kMaxRows = 10000;
constexpr std::int32_t kMaxBias = 5000;

// Truncated and limited to 0 to `end`; not-a-number gives 0.
std::uint32_t CountOf(float value, std::uint32_t end) {
    if (!(value > 0)) return 0;
    if (value >= static_cast<float>(end)) return end;
    return static_cast<std::uint32_t>(value);
}

float Inverse(float value) {
    return value == 0 ? 0 : 1 / value;
}

std::uint32_t GridSide(std::uint32_t value) {
    return std::clamp(value, 1u, kMaxGrid);
}

float PlaceOnAxis(std::uint32_t cell, std::uint32_t cells, float radius) {
    return ((static_cast<float>(cell) + 0.5f) / static_cast<float>(cells) - 0.5f) * radius;
}

float LayerOffset(const GroupParams& group, std::size_t layer) {
    return ShapeRadius(group) * group.layersOffset * static_cast<float>(layer);
}

std::uint32_t PlaneRows(const GroupParams& group, std::uint32_t count) {
    if (group.distribution != Distribution::Automatic) return std::clamp(group.rows, 1u, kMaxRows);
    const auto root = static_cast<std::int64_t>(std::sqrt(static_cast<float>(count)) + 0.5f);
    const std::int64_t rows = root + std::clamp(group.automaticBias, -kMaxBias, kMaxBias);
    return static_cast<std::uint32_t>(std::max<std::int64_t>(rows, 1));
}

std::uint32_t SphereRows(const GroupParams& group, std::uint32_t count) {
    if (group.distribution != Distribution::Automatic) return std::clamp(group.rows, 1u, kMaxRows);
    const float rows = std::sqrt(static_cast<float>(count)) + static_cast<float>(group.automaticBias);
    return std::max(1u, CountOf(std::max(rows, 1.0f), kMaxRows));
}

void PlaceAtOrigin(std::span<Particle> particles) {
    for (Particle& particle : particles) particle.position = particle.normal = {};
}

void PlaceGrid(const GroupParams& group, std::span<Particle> particles) {
    const std::uint32_t nx = GridSide(group.gridX), ny = GridSide(group.gridY), nz = GridSide(group.gridZ);
    const float radius = ShapeRadius(group);
    std::uint32_t x = 0, y = 0, z = 0;
    for (Particle& particle : particles) {
        particle.position = {PlaceOnAxis(x, nx, radius), PlaceOnAxis(y, ny, radius),
                             PlaceOnAxis(z, nz, radius)};
        particle.normal = {0, 0, 1};
        if (++z < nz) continue;
        z = 0;
        if (++y < ny) continue;
        y = 0;
        if (++x == nx) x = 0;
    }
}

void PlacePlaneLayer(const GroupParams& group, float y, std::span<Particle> particles) {
    const float radius = ShapeRadius(group);
    const auto count = static_cast<std::uint32_t>(particles.size());
    const std::uint32_t rows = PlaneRows(group, count);
    const float fz = rows < 2 ? 0 : 1 / static_cast<float>(rows - 1);
    std::uint32_t left = count;
    Particle* next = particles.data();
    for (std::uint32_t row = 0; row < rows && left > 0; ++row) {
        const std::uint32_t inRow = left / (rows - row);
        left -= inRow;
        const float fx = inRow <= 1 ? 0 : 1 / static_cast<float>(inRow - 1);
        const float z = (static_cast<float>(row) * fz - 0.5f) * radius;
        for (std::uint32_t j = 0; j < inRow; ++j, ++next) {
            next->position = {(static_cast<float>(j) * fx - 0.5f) * radius, y, z};
            next->normal = {0, 0, 1};
        }
    }
}

// Calls `visit(cosine, sine)` for `count` angles around a circle, from pi downward.
template <class Visit>
void WalkCircle(std::uint32_t count, Visit visit) {
    constexpr std::uint32_t kPiece = 64;
    float angles[kPiece], sines[kPiece], cosines[kPiece];
    const float step = 2 * kPi / static_cast<float>(count);
    for (std::uint32_t first = 0; first < count; first += kPiece) {
        const std::uint32_t piece = std::min(kPiece, count - first);
        for (std::uint32_t j = 0; j < piece; ++j) angles[j] = kPi - static_cast<float>(first + j) * step;
        SinCos(angles, sines, cosines, piece);
        for (std::uint32_t j = 0; j < piece; ++j) visit(cosines[j], sines[j]);
    }
}

void PlaceSphereLayer(const GroupParams& group, float offset, std::span<Particle> particles) {
    const float radius = ShapeRadius(group) + offset;
    const Point3 inverse{Inverse(group.scale.x), Inverse(group.scale.y), Inverse(group.scale.z)};
    const auto count = static_cast<std::uint32_t>(particles.size());
    const std::uint32_t rows = SphereRows(group, count);
    const float w = 1 / static_cast<float>(rows + 1);
    float total = 0;
    for (std::uint32_t k = 1; k <= rows; ++k) total += std::sin(static_cast<float>(k) * kPi * w);
    std::uint32_t left = count;
    Particle* next = particles.data();
    for (std::uint32_t k = 1; k <= rows && left > 0; ++k) {
        const float t = kPi - static_cast<float>(k) * kPi * w;
        const float s = std::sin(t);
        const std::uint32_t inRow = CountOf(s / total * static_cast<float>(left) + 0.5f, left);
        total -= s;
        left -= inRow;
        if (inRow == 0) continue;
        const float y = std::cos(t) * radius;
        WalkCircle(inRow, [&](float cosine, float sine) {
            const Point3 p{cosine * s * radius, y, sine * s * radius};
            next->position = p;
            next->normal = -(p * inverse);
            ++next;
        });
    }
    PlaceAtOrigin(particles.last(left));
}

void PlaceRingLayer(const GroupParams& group, float y, std::span<Particle> particles) {
    const float radius = ShapeRadius(group);
    const float ix = Inverse(group.scale.x), iz = Inverse(group.scale.z);
    Particle* next = particles.data();
    WalkCircle(static_cast<std::uint32_t>(particles.size()), [&](float cosine, float sine) {
        const Point3 p{cosine * radius, y, sine * radius};
        next->position = p;
        next->normal = {-p.x * ix, 0, -p.z * iz};
        ++next;
    });
}

// Calls `visit(row, columns)` for the `rows` rows of an image that stand evenly among those with set pixels.
template <class Visit>
void WalkRows(const LayerMask& mask, std::uint32_t rows, Visit visit) {
    const auto listed = static_cast<float>(mask.rows().size());
    for (std::uint32_t k = 1; k <= rows; ++k) {
        const float place = static_cast<float>(k) / static_cast<float>(rows + 1) * listed;
        const std::uint32_t row =
            mask.rows()[CountOf(place, static_cast<std::uint32_t>(mask.rows().size()) - 1)];
        if (!visit(row, mask.columns(row))) return;
    }
}

void PlaceImageLayer(const GroupParams& group, const LayerMask& mask, float z,
                     std::span<Particle> particles) {
    const float radius = ShapeRadius(group);
    const auto width = static_cast<float>(mask.width()), height = static_cast<float>(mask.height());
    const auto count = static_cast<std::uint32_t>(particles.size());
    // More rows than the image has only repeat them; the limit bounds the work.
    const std::uint32_t rows = std::min(PlaneRows(group, count), kMaxRows);
    std::uint64_t total = 0;
    WalkRows(mask, rows, [&](std::uint32_t, std::span<const std::uint32_t> columns) {
        total += columns.size();
        return true;
    });
    std::uint32_t left = count;
    Particle* next = particles.data();
    WalkRows(mask, rows, [&](std::uint32_t row, std::span<const std::uint32_t> columns) {
        const auto inRow = static_cast<std::uint32_t>(std::uint64_t{left} * columns.size() / total);
        left -= inRow;
        total -= columns.size();
        const float y = (static_cast<float>(row) / height - 0.5f) * radius;
        const auto set = static_cast<float>(columns.size());
        for (std::uint32_t j = 1; j <= inRow; ++j, ++next) {
            const float place = static_cast<float>(j) / static_cast<float>(inRow + 1) * set;
            const std::uint32_t column =
                columns[CountOf(place, static_cast<std::uint32_t>(columns.size()) - 1)];
            next->position = {(static_cast<float>(column) / width - 0.5f) * radius * width / height, y, z};
            next->normal = {0, 0, 1};
        }
        return left > 0;
    });
    PlaceAtOrigin(particles.last(left));
}

void PlaceLayers(const GroupParams& group, std::span<Particle> particles) {
    LayerMask mask(group.shape == ReplicatorShape::Layer ? group.customLayer : ImageHeader{});
    if (group.shape == ReplicatorShape::Layer) {
        if (mask.empty()) {
            PlaceAtOrigin(particles);
            return;
        }
        mask.CollectRows();
    }
    const auto shares =
        ShareOverLayers(static_cast<std::uint32_t>(particles.size()), group.layers, group.layersDistribution);
    std::size_t first = 0;
    for (std::size_t layer = 0; layer < shares.size(); ++layer) {
        if (shares[layer] == 0) continue;
        const auto part = particles.subspan(first, shares[layer]);
        first += shares[layer];
        const float offset = LayerOffset(group, layer);
        switch (group.shape) {
        case ReplicatorShape::Plane:
            PlacePlaneLayer(group, offset, part);
            break;
        case ReplicatorShape::Sphere:
            PlaceSphereLayer(group, offset, part);
            break;
        case ReplicatorShape::Ring:
            PlaceRingLayer(group, offset, part);
            break;
        default:
            PlaceImageLayer(group, mask, offset, part);
            break;
        }
    }
    PlaceAtOrigin(particles.subspan(first));
}

// Calls `visit(u, v)` for the cells of a Layer Grid whose pixel is set, until it returns false.
template <class Visit>
void WalkLayerGrid(const GroupParams& group, const LayerMask& mask, Visit visit) {
    const std::uint32_t nx = GridSide(group.gridX), ny = GridSide(group.gridY);
    for (std::uint32_t gx = 0; gx < nx; ++gx) {
        const float u = (static_cast<float>(gx) + 0.5f) / static_cast<float>(nx);
        const std::uint32_t column = CountOf(u * static_cast<float>(mask.width()), mask.width() - 1);
        for (std::uint32_t gy = 0; gy < ny; ++gy) {
            const float v = (static_cast<float>(gy) + 0.5f) / static_cast<float>(ny);
            const std::uint32_t row = CountOf(v * static_cast<float>(mask.height()), mask.height() - 1);
            if (mask.isSet(column, row) && !visit(u, v)) return;
        }
    }
}

void PlaceLayerGrid(const GroupParams& group, std::span<Particle> particles) {
    const LayerMask mask(group.customLayer);
    PlaceAtOrigin(particles);
    if (mask.empty() || particles.empty()) return;
    const float radius = ShapeRadius(group);
    const auto width = static_cast<float>(mask.width()), height = static_cast<float>(mask.height());
    std::size_t placed = 0;
    WalkLayerGrid(group, mask, [&](float u, float v) {
        particles[placed].position = {(u - 0.5f) * radius * width / height, (v - 0.5f) * radius, 0};
        particles[placed].normal = {0, 0, 1};
        return ++placed < particles.size();
    });
}

void PlaceOnSurface(const GroupParams& group, std::span<const SurfacePoint> surface,
                    std::span<Particle> particles) {
    if (surface.empty()) {
        PlaceAtOrigin(particles);
        return;
    }
    const float radius = ShapeRadius(group);
    std::size_t point = 0;
    for (Particle& particle : particles) {
        particle.position = surface[point].position * radius;
        particle.normal = surface[point].normal;
        if (++point == surface.size()) point = 0;
    }
}

} // namespace

LayerMask::LayerMask(const ImageHeader& image) : image_(image) {
    if (image.empty()) return;
    width_ = image.width;
    height_ = image.height;
}

bool LayerMask::isSet(std::uint32_t column, std::uint32_t row) const {
    if (column >= width_ || row >= height_) return false;
    const std::size_t pixelBytes = std::size_t{4} * image_.bytesPerChannel;
    const auto* bytes = static_cast<const std::byte*>(image_.data) +
                        static_cast<std::ptrdiff_t>(row) * image_.rowBytes + column * pixelBytes;
    switch (image_.bytesPerChannel) {
    case 1:
        return *bytes != std::byte{0};
    case 2: {
        std::uint16_t alpha = 0;
        std::memcpy(&alpha, bytes, sizeof alpha);
        return alpha != 0;
    }
    case 4: {
        float alpha = 0;
        std::memcpy(&alpha, bytes, sizeof alpha);
        return alpha != 0;
    }
    default:
        return false;
    }
}

void LayerMask::CollectRows() {
    rows_.clear();
    columns_.clear();
    firstColumn_.assign(1, 0);
    for (std::uint32_t row = 0; row < height_; ++row) {
        for (std::uint32_t column = 0; column < width_; ++column)
            if (isSet(column, row)) columns_.push_back(column);
        if (columns_.size() > firstColumn_.back()) rows_.push_back(row);
        firstColumn_.push_back(columns_.size());
    }
    if (rows_.empty()) rows_.push_back(0);
}

std::span<const std::uint32_t> LayerMask::columns(std::uint32_t row) const {
    static constexpr std::uint32_t kFirst = 0;
    const std::size_t first = firstColumn_[row], last = firstColumn_[row + 1];
    if (first == last) return {&kFirst, 1};
    return std::span(columns_).subspan(first, last - first);
}

std::uint64_t ShapeCount(const GroupParams& group) {
    switch (group.shape) {
    case ReplicatorShape::Grid3D:
        return std::uint64_t{GridSide(group.gridX)} * GridSide(group.gridY) * GridSide(group.gridZ);
    case ReplicatorShape::LayerGrid: {
        const LayerMask mask(group.customLayer);
        std::uint64_t count = 0;
        if (!mask.empty())
            WalkLayerGrid(group, mask, [&](float, float) {
                ++count;
                return true;
            });
        return count;
    }
    case ReplicatorShape::Object3D:
        return 0;
    default:
        return group.particleCount;
    }
}

std::vector<std::uint32_t> ShareOverLayers(std::uint32_t count, std::uint32_t layers, float distribution) {
    std::vector<std::uint32_t> shares(std::clamp(layers, 1u, kMaxLayers));
    std::uint32_t remaining = count;
    for (std::size_t layer = 0; layer < shares.size(); ++layer) {
        const float share = 1 / static_cast<float>(shares.size() - layer);
        const float part = ((1 - share) * distribution + share) * share * static_cast<float>(remaining);
        shares[layer] = CountOf(part, remaining);
        remaining -= shares[layer];
    }
    return shares;
}

void PlaceShape(const GroupParams& group, std::span<const SurfacePoint> surface,
                std::span<Particle> particles) {
    switch (group.shape) {
    case ReplicatorShape::Point:
        PlaceAtOrigin(particles);
        break;
    case ReplicatorShape::Grid3D:
        PlaceGrid(group, particles);
        break;
    case ReplicatorShape::Plane:
    case ReplicatorShape::Sphere:
    case ReplicatorShape::Ring:
    case ReplicatorShape::Layer:
        PlaceLayers(group, particles);
        break;
    case ReplicatorShape::Object3D:
        PlaceOnSurface(group, surface, particles);
        break;
    case ReplicatorShape::LayerGrid:
        PlaceLayerGrid(group, particles);
        break;
    }
}

} // namespace velorin
