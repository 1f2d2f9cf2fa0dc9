#pragma once

#include "model/ModelData.h"

#include <span>
#include <vector>

namespace velorin {

// Where the coordinates of outlines (x right, y down, z away) go in the model.
struct SolidFrame {
    Point3 scale{1, 1, 1}, offset; // position = coordinates * scale + offset
    Point2 textureOrigin, textureScale{1, 1};
};

// Unit normals of both ends of each edge of a contour (point i to i + 1), out of the material: those of a
// smooth corner are shared, those of a sharp one belong to its edges.
struct CornerNormals {
    std::vector<Point2> start, end;
};

// One round of a contour's points at one depth.
struct Ring {
    std::vector<Point3> positions; // in the model
    std::vector<Point2> texCoords;
    std::vector<Point3> start, end; // normals, as CornerNormals
};

// How the surface's normal leans at a ring: along the contour's normal, and towards the viewer.
struct Lean {
    float out = 1, front = 0;
};

// Appends the triangles of solids to a model, three vertices each, their tangents computed.
class ShellWriter {
public:
    ShellWriter(ModelData& model, const SolidFrame& frame) : model_(model), frame_(frame) {}

    void place(Ring& ring, std::span<const Point2> points, float z, const CornerNormals& normals, Lean lean);
    // Quads between two rings of a contour, the first nearer to the viewer. A side without length leaves a
    // triangle.
    void band(const Ring& front, const Ring& back);
    // Points of a cap at a depth, which the triangles of it number; `front` faces the viewer.
    void placeCap(std::span<const Point2> points, float z, bool front);
    void capTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c);

    // Hands out the triangles since the last call.
    [[nodiscard]] ModelTriangles takeTriangles();
    // Bounds of everything placed since the last call, low and high.
    [[nodiscard]] std::pair<Point3, Point3> takeBounds();

private:
    [[nodiscard]] Point3 positionOf(Point2 p, float z) const;
    void widen(Point3 p);
    void finish(std::size_t most);

    ModelData& model_;
    SolidFrame frame_;
    ModelVertices cap_;
    std::size_t taken_ = 0, finished_ = 0; // vertices that have a triangle, and tangents
    Point3 low_{1e6f, 1e6f, 1e6f}, high_{-1e6f, -1e6f, -1e6f};
};

} // namespace velorin
