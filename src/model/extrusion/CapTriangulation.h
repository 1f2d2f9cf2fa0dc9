#pragma once

#include "model/extrusion/WorkBudget.h"
#include "services/NxMath.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace velorin {

using CapContours = std::span<const std::vector<Point2>* const>;

// Triangles between the points of contours, which are numbered through all contours in order, and the places
// where edges cross, which are numbered behind them.
//
// The edges of the triangles, those that two of them share left out, are the edges of the contours: what
// stands on a contour's edges closes with them. An area that the contours run round n times forwards (x
// towards y) is covered by n triangles of positive area, one that they run round backwards by as many of
// negative area. Edges that another contour's point or edge divides have a triangle without area along them.
// What is run round more than eight times, or crossed thousands of times, is covered but stays open.
struct CapMesh {
    std::vector<Point2> crossings;
    std::vector<std::array<std::uint32_t, 3>> triangles;
    std::vector<std::array<std::uint32_t, 3>> turned; // those of negative area
    bool plain = false; // the contours touch nowhere: the triangles close with them wherever they are moved
};

// Steps that triangulating the contours takes: the tessellator sweeps along x and walks all edges under the
// sweep line at each point. Outlines of letters need a few thousand, a hostile outline can need billions.
[[nodiscard]] std::uint64_t TriangulationCost(CapContours contours);

// No triangles when the budget does not allow for the steps, which it then has spent.
[[nodiscard]] CapMesh TriangulateCap(CapContours contours, WorkBudget& budget);

// Triangulates contours again and again that were moved by some distance: triangles that none of them turned
// over are kept.
class CapTriangulator {
public:
    explicit CapTriangulator(WorkBudget& budget) : budget_(budget) {}
    // As many contours and points at each call. The result lives until the next one.
    [[nodiscard]] const CapMesh& Triangulate(CapContours contours);

private:
    [[nodiscard]] bool fits(const CapMesh& mesh) const;

    WorkBudget& budget_;
    CapMesh kept_, other_;
    std::vector<Point2> points_; // of the contours at hand, in order
};

} // namespace velorin
