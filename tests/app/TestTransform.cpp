#include "app/host/Comp.h"
#include "app/host/Instance.h"
#include "app/host/Transform.h"
#include "app/project/ProjectReader.h"

#include <gtest/gtest.h>

#include <cmath>

namespace velorin::app {
namespace {

using Vector = std::array<double, 3>;

Vector Move(Vector v, const A_Matrix4& m, double w) {
    Vector r{};
    for (std::size_t j = 0; j < 3; ++j) {
        r[j] = w * m.mat[3][j];
        for (std::size_t i = 0; i < 3; ++i) r[j] += v[i] * m.mat[i][j];
    }
    return r;
}

void ExpectNear(const Vector& found, const Vector& wanted) {
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(found[i], wanted[i], 1e-9) << i;
}

std::unique_ptr<HostComp> CompOf(const std::string& members) {
    Diagnostics diagnostics;
    const auto project = ReadProjectText(
        "p.json", R"({"composition": {"width": 720, "height": 400}, )" + members + "}", diagnostics);
    EXPECT_TRUE(project) << (diagnostics.errors.empty() ? "" : diagnostics.errors[0]);
    return MakeComp(*project);
}

// The layer's z axis after a turn about x by a and y by b is (sin b, -cos b sin a, cos b cos a): the relation
// that the host's own expressions invert.
TEST(Transform, TurnsAreTheHosts) {
    const double a = 0.4, b = -0.7, degrees = 180 / std::numbers::pi;
    const A_Matrix4 m = RotationMatrix({a * degrees, b * degrees, 33});
    ExpectNear(Move({0, 0, 1}, m, 0), {std::sin(b), -std::cos(b) * std::sin(a), std::cos(b) * std::cos(a)});
    ExpectNear(Move({1, 0, 0}, RotationMatrix({0, 0, 90}), 0), {0, 1, 0}); // right to down: clockwise
    ExpectNear(Move({0, 1, 0}, RotationMatrix({90, 0, 0}), 0), {0, 0, 1}); // down to away
}

TEST(Transform, LookingAtAPointKeepsTheHorizonLevel) {
    const Components eye{1, 2, 3}, target{4, -2, 15};
    const A_Matrix4 m = LookMatrix(eye, target);
    ExpectNear(Move({0, 0, 1}, m, 0), {3.0 / 13, -4.0 / 13, 12.0 / 13}); // 3, 4, 12, 13
    EXPECT_NEAR(m.mat[0][1], 0, 1e-12);
    EXPECT_GT(m.mat[1][1], 0);
    const A_Matrix4 down = LookMatrix({0, 0, 0}, {0, 5, 0});
    ExpectNear(Move({0, 0, 1}, down, 0), {0, 1, 0});
    ExpectNear(Move({1, 0, 0}, down, 0), {1, 0, 0});
}

TEST(Transform, CamerasLookFromWhereTheyStandAtTheirTime) {
    const auto none = CompOf(R"("effects": [])");
    EXPECT_NEAR(none->ViewAt(0).distance, 1000, 1e-9);
    ExpectNear(Move({0, 0, 0}, none->ViewAt(0).matrix, 1), {360, 200, -1000});
    ExpectNear(Move({0, 0, 1}, none->ViewAt(0).matrix, 0), {0, 0, 1});
    const auto moving = CompOf(R"("camera": {"position": {"keys": [{"time": 0, "value": [360, 200, -500]},
                                                                   {"time": 2, "value": [1360, 200, 0]}]},
                                             "zoom": 640})");
    EXPECT_EQ(moving->ViewAt(0).distance, 640);
    ExpectNear(Move({0, 0, 0}, moving->ViewAt(1).matrix, 1), {860, 200, -250});
    ExpectNear(Move({0, 0, 1}, moving->ViewAt(2).matrix, 0), {-1, 0, 0}); // from the right at the middle
    // Twice the default zoom without perspective: a unit of the camera is half a pixel of the comp.
    const auto parallel = CompOf(R"("camera": {"type": "orthographic", "zoom": 2000})");
    ExpectNear(Move({1, 0, 0}, parallel->ViewAt(0).matrix, 0), {0.5, 0, 0});
}

// The name is the effect layer's own too, which gives way.
TEST(Transform, LayersTurnAboutTheirAnchor) {
    const auto comp =
        CompOf(R"("layers": [{"name": "Velorin", "anchorPoint": [10, 0, 0], "position": [100, 50, 5],
        "scale": [200, 100, 100], "rotation": [0, 0, 90]}])");
    const A_Matrix4 m = comp->LayerByName("Velorin")->ToWorld(0);
    ExpectNear(Move({10, 0, 0}, m, 1), {100, 50, 5});
    ExpectNear(Move({15, 0, 0}, m, 1), {100, 60, 5});
    ExpectNear(Move({10, 4, 0}, m, 1), {96, 50, 5});
}

} // namespace
} // namespace velorin::app
