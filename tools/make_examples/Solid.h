#pragma once

#include "services/NxMath.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

// A small modeller for the example scenes: parametric surfaces and bevelled plates, written as OBJ.
// Right-handed, y up, units of millimetres; faces wind counter-clockwise seen from outside.
namespace examples {

using velorin::Point2;
using velorin::Point3;

// A closed outline in the xy plane, counter-clockwise, without the repeated first point.
using Outline = std::vector<Point2>;

[[nodiscard]] Outline Circle(float radius, int points, Point2 center = {});
// A stadium (two half circles joined by straight sides) from a to b.
[[nodiscard]] Outline Stadium(Point2 a, Point2 b, float radius, int points);
// Involute-like teeth: `teeth` teeth between the root and the tip radius, 8 points a tooth.
[[nodiscard]] Outline GearOutline(int teeth, float rootRadius, float tipRadius, float toothShare);

class Solid {
public:
    void group(const std::string& name);
    void material(const std::string& name);

    // A grid of nu by nv cells over the unit square; `at` gives the point, normals come from its differences.
    // With `outward` false the faces are turned over. uv of the mesh is (u, v) times uvScale.
    void surface(int nu, int nv, const std::function<Point3(float u, float v)>& at, bool outward = true,
                 Point2 uvScale = {1, 1});

    // A solid of revolution about y. The profile runs from bottom to top on the outside (x radius, y height),
    // as a smooth curve through `profile`; `relief` moves the radius and may be empty.
    void lathe(const std::vector<Point2>& profile, int around, int along,
               const std::function<float(float angle, float height)>& relief = {}, Point2 uvScale = {1, 1});

    // A plate between z = back and z = front (back < front) with a chamfer at its front and back rim. With
    // `hole` it is a ring; both outlines then have as many points. `smooth` shades the walls round.
    void plate(const Outline& outer, const Outline& hole, float back, float front, float chamfer,
               bool smooth);

    // A sphere, a torus about z, and a tube of round section along a path.
    void sphere(Point3 center, float radius, int around);
    void torus(Point3 center, float ring, float section, int around, int sides);
    void tube(const std::vector<Point3>& path, float radius, int sides);

    // All that is added after this goes through the transform (row vectors).
    void transform(const velorin::Matrix& matrix) { matrix_ = matrix; }

    [[nodiscard]] std::size_t triangles() const;
    // Returns false with a line on stderr when the file cannot be written.
    [[nodiscard]] bool write(const std::filesystem::path& path, const std::string& comment) const;

private:
    struct Corner {
        Point3 position;
        Point2 uv;
        Point3 normal;
    };
    struct Run { // faces of one group and material, four vertex numbers a face, the last -1 for a triangle
        std::string group, material;
        std::vector<std::int32_t> faces;
    };
    std::int32_t vertex(Point3 position, Point2 uv, Point3 normal);
    void face(std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d = -1);
    void cap(const Outline& outer, const Outline& hole, float z, bool up);
    void band(const Outline& lower, float z0, const Outline& upper, float z1, bool outward, bool smooth);
    Run& run();

    velorin::Matrix matrix_;
    std::string group_ = "Model", material_ = "Default";
    std::vector<Corner> corners_;
    std::vector<Run> runs_;
};

// Moves an outline inwards (positive distance) along its normals.
[[nodiscard]] Outline Inset(const Outline& outline, float distance);

} // namespace examples
