#pragma once

#include "core/FrameParams.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// Where the particles of each shape stand, in shape units before scale, rotation and position. Only
// `position` and `normal` of the particles are written; they come in as zero and stay so where a shape places
// none.
namespace velorin {

// One shape unit and a little: the half-size that the shapes are placed at, comp pixels at a "Shape Scale"
// of 1.
[[nodiscard]] inline float ShapeRadius(const GroupParams& group) {
    return group.shapeUnit + 0.01f;
}

// The pixels of a custom layer that are set: those whose first channel is not zero.
class LayerMask {
public:
    explicit LayerMask(const ImageHeader& image);

    [[nodiscard]] bool empty() const { return width_ == 0; }
    [[nodiscard]] std::uint32_t width() const { return width_; }
    [[nodiscard]] std::uint32_t height() const { return height_; }
    // False outside.
    [[nodiscard]] bool isSet(std::uint32_t column, std::uint32_t row) const;

    // Set columns of a row, ascending; of an empty row: column 0. Valid after CollectRows.
    [[nodiscard]] std::span<const std::uint32_t> columns(std::uint32_t row) const;
    // Rows with a set pixel, from the top; row 0 when there is none. Valid after CollectRows.
    [[nodiscard]] const std::vector<std::uint32_t>& rows() const { return rows_; }
    void CollectRows();

private:
    ImageHeader image_;
    std::uint32_t width_ = 0, height_ = 0;
    std::vector<std::uint32_t> rows_, columns_;
    std::vector<std::size_t> firstColumn_; // one a row, and one behind the last
};

// Particles of the group by its shape and values, without the surface of 3D Object (0 here).
[[nodiscard]] std::uint64_t ShapeCount(const GroupParams& group);

// How `count` particles are shared over the layers: one entry a layer (at most the row's maximum of 1000),
// the sum at most `count`.
[[nodiscard]] std::vector<std::uint32_t> ShareOverLayers(std::uint32_t count, std::uint32_t layers,
                                                         float distribution);

// Places the particles of the group's shape; 3D Object takes `surface`, scene points in units of the shape
// radius, in turn.
void PlaceShape(const GroupParams& group, std::span<const SurfacePoint> surface,
                std::span<Particle> particles);

} // namespace velorin
