#pragma once

#include "core/document/SceneModel.h" // ExtrusionOptions
#include "model/extrusion/WorkBudget.h"
#include "services/NxMath.h"

#include <cstdint>
#include <vector>

namespace velorin {

// One closed polygon of an extrusion, x right and y down. Outlines run with positive area (x towards y),
// holes with negative area, so that the normal (dy, -dx) of an edge always points out of the material.
struct Contour {
    std::vector<Point2> points;
    bool isHole = false;
    bool isInnerCopy = false; // the inner rim of an outline bevel
    std::uint32_t object = 0; // separate object it belongs to
};

// Twice the signed area of a polygon; positive from x towards y.
[[nodiscard]] double SignedArea2(const std::vector<Point2>& polygon);

// Whether the point lies inside by the even-odd rule.
[[nodiscard]] bool ContainsPoint(const std::vector<Point2>& polygon, Point2 point);

// True when no edge of one polygon crosses an edge of the other; touching in a shared end point does not
// count.
[[nodiscard]] bool ContourIntersects(const std::vector<Point2>& a, const std::vector<Point2>& b,
                                     WorkBudget& budget);

inline constexpr float kThinDistance = 0.25f;

// Drops points that carry no shape: corners of at most 20 degrees of turn that turn at most a quarter of a
// degree and lie close to the line to the next, or that lie at most `distance` from the last kept point. The
// turn is measured against the last kept point, so that many small turns add up. Where this would change the
// polygon's area by more than a quarter of a thousandth, the distance is less.
[[nodiscard]] std::vector<Point2> ThinPoints(const std::vector<Point2>& polygon,
                                             float distance = kThinDistance);

// Tells outlines from holes, orients both, and numbers the separate objects as the options ask. Polygons of
// fewer than three points or without area are dropped. `objectCount` receives the number of objects.
[[nodiscard]] std::vector<Contour> OrderContours(std::vector<std::vector<Point2>> polygons,
                                                 const ExtrusionOptions& options, std::uint32_t& objectCount,
                                                 WorkBudget& budget);

// Unit normal of each edge (point i to i + 1), out of the material; zero for an edge without length.
[[nodiscard]] std::vector<Point2> EdgeNormals(const std::vector<Point2>& points);

// Where each point goes when every edge moves out of the material by a unit and meets its neighbours again in
// the intersection of their lines; nearly parallel neighbours move along their mean normal. `normals` are
// those of the edges.
[[nodiscard]] std::vector<Point2> OffsetDirections(const std::vector<Point2>& normals);

// The points moved along the directions, out of the material by the distance or into it by a negative one.
[[nodiscard]] std::vector<Point2> Moved(const std::vector<Point2>& points,
                                        const std::vector<Point2>& directions, float distance);

} // namespace velorin
