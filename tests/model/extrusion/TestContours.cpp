#include "Shapes.h"
#include "model/extrusion/BevelProfile.h"
#include "model/extrusion/Contours.h"
#include "model/extrusion/FlattenPath.h"

#include <gtest/gtest.h>

namespace velorin {
namespace {

using shapes::Polygon;
using shapes::Rectangle;
using shapes::Round;

std::vector<Point2> Points(const std::vector<PathPoint>& path) {
    std::vector<Point2> points;
    for (const PathPoint& p : path) points.push_back(p.position);
    return points;
}

TEST(FlattenPath, StepsFollowTheResolution) {
    const struct {
        PathResolution resolution;
        std::size_t square, circle;
    } rows[] = {{PathResolution::Low, 8, 8},
                {PathResolution::Normal, 20, 20},
                {PathResolution::High, 40, 40},
                {PathResolution::Ultra, 80, 80},
                {PathResolution::Extreme, 160, 160},
                {static_cast<PathResolution>(7), 160, 160},
                {static_cast<PathResolution>(~0u), 4, 4}};
    for (const auto& row : rows) {
        EXPECT_EQ(FlattenPath(Rectangle(0, 0, 100, 100), false, row.resolution, 0).size(), row.square);
        const auto circle = FlattenPath(Round({5, 5}, 50), false, row.resolution, 0);
        EXPECT_EQ(circle.size(), row.circle);
        for (const Point2 p : circle) EXPECT_NEAR(std::hypot(p.x - 5, p.y - 5), 50, 0.02);
    }
    EXPECT_EQ(FlattenPath(Rectangle(0, 0, 10, 10), true, PathResolution::Extreme, 0).size(), 4u);
}

TEST(FlattenPath, DropsRepeatsAndWhatIsNotFinite) {
    auto path = Polygon({{0, 0}, {0.0005f, 0}, {10, 0}, {NAN, 3}, {10, 10}, {0.000001f, 0.000002f}});
    EXPECT_EQ(FlattenPath(path, true, PathResolution::Low, 0).size(), 3u);
    EXPECT_TRUE(FlattenPath({}, false, PathResolution::High, 0.5f).empty());
}

TEST(FilterSpikes, RemovesCornersBelowTheThresholdOnly) {
    // A needle of 2 * atan(1 / 20) = 5.7 degrees stands on a square.
    const auto needle = [] {
        return Points(Polygon({{0, 0}, {40, 0}, {40, 40}, {21, 40}, {20, 60}, {19, 40}, {0, 40}}));
    };
    auto kept = needle();
    FilterSpikes(kept, 0.12f); // 5.4 degrees
    EXPECT_EQ(kept.size(), 7u);
    auto cut = needle();
    FilterSpikes(cut, 0.14f); // 6.3 degrees
    EXPECT_EQ(cut.size(), 6u);
    EXPECT_TRUE(std::none_of(cut.begin(), cut.end(), [](Point2 p) { return p.y > 41; }));
    auto triangle = Points(Polygon({{0, 0}, {100, 1}, {100, 0}}));
    FilterSpikes(triangle, 1); // nothing but spikes: an edge is left, which no solid is built of
    EXPECT_LE(triangle.size(), 2u);
}

TEST(BevelProfile, RowsLieOnAQuarterCircleAtFullCurve) {
    for (const float depth : {2.0f, -2.0f}) {
        const auto convex = BevelProfile(2, depth, 1, 7);
        ASSERT_EQ(convex.size(), 9u);
        for (const ProfileRow& row : convex) {
            EXPECT_NEAR(std::hypot(row.out, row.depth), 2, 1e-4);
            EXPECT_NEAR(std::hypot(row.normalOut, row.normalDepth), 1, 1e-5);
        }
        for (const ProfileRow& row : BevelProfile(2, depth, -1, 7))
            EXPECT_NEAR(std::hypot(row.out - 2, row.depth - depth), 2, 1e-4);
    }
    const auto nearlyRound = BevelProfile(3, 4, 0.8f, 3); // closes as smoothly
    EXPECT_FLOAT_EQ(nearlyRound.front().normalOut, 1);
    EXPECT_FLOAT_EQ(nearlyRound.back().normalDepth, 1);
    for (const float curve : {0.0f, 1.0f}) { // one step is straight whatever the curve
        const auto straight = BevelProfile(3, 4, curve, 0);
        ASSERT_EQ(straight.size(), 2u);
        EXPECT_FLOAT_EQ(straight[0].out, 3);
        EXPECT_FLOAT_EQ(straight[1].depth, 4);
        EXPECT_FLOAT_EQ(straight[0].normalOut, 0.8f); // the normal of the line from (3, 0) to (0, 4)
        EXPECT_FLOAT_EQ(straight[0].normalDepth, 0.6f);
    }
}

TEST(OrderContours, NestingDecidesWhatIsAHole) {
    // A ring, an island in its hole, and a square beside: outline, hole, outline, outline, whatever way they
    // run.
    std::vector<std::vector<Point2>> polygons = {
        Points(Rectangle(0, 0, 100, 100)), Points(Rectangle(20, 20, 60, 60)),
        Points(Rectangle(40, 40, 20, 20)), Points(Rectangle(200, 0, 50, 50))};
    std::reverse(polygons[1].begin(), polygons[1].end());
    std::reverse(polygons[3].begin(), polygons[3].end());
    ExtrusionOptions options;
    const struct {
        bool separate;
        SeparationMode mode;
        std::uint32_t objects;
    } rows[] = {{false, SeparationMode::ByGeometry, 1},
                {true, SeparationMode::ByBoundingBox, 2}, // the island's box lies in the ring's
                {true, SeparationMode::ByGeometry, 3}};
    for (const auto& row : rows) {
        options.separateObjects = row.separate;
        options.separationMode = row.mode;
        std::uint32_t objects = 0;
        WorkBudget budget(10'000);
        const auto contours = OrderContours(polygons, options, objects, budget);
        ASSERT_EQ(contours.size(), 4u);
        EXPECT_EQ(objects, row.objects);
        const bool holes[] = {false, true, false, false};
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(contours[i].isHole, holes[i]) << i;
            EXPECT_EQ(SignedArea2(contours[i].points) < 0, holes[i]) << i;
        }
        EXPECT_EQ(contours[0].object, contours[1].object);
    }
}

TEST(OrderContours, AHoleThatCutsItsOutlineBecomesAnObject) {
    const std::vector<std::vector<Point2>> polygons = {Points(Rectangle(0, 0, 100, 100)),
                                                       Points(Polygon({{10, 10}, {10, 50}, {150, 30}}))};
    ExtrusionOptions options;
    std::uint32_t objects = 0;
    WorkBudget budget(10'000);
    EXPECT_FALSE(OrderContours(polygons, options, objects, budget)[1].isHole);
    options.fixHoles = false;
    EXPECT_TRUE(OrderContours(polygons, options, objects, budget)[1].isHole);
    EXPECT_FALSE(ContourIntersects(polygons[0], polygons[1], budget)); // false: they cross
    EXPECT_TRUE(ContourIntersects(polygons[0], Points(Rectangle(100, 100, 5, 5)),
                                  budget)); // a shared corner is no crossing
}

TEST(OffsetDirections, MoveEveryEdgeByTheDistance) {
    const auto offset = [](const std::vector<Point2>& points, float distance) {
        return Moved(points, OffsetDirections(EdgeNormals(points)), distance);
    };
    const auto square = offset(Points(Rectangle(0, 0, 10, 10)), 2);
    const std::vector<Point2> expected = {{-2, -2}, {12, -2}, {12, 12}, {-2, 12}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(square[i].x, expected[i].x, 1e-5);
        EXPECT_NEAR(square[i].y, expected[i].y, 1e-5);
    }
    // A finely cut circle has neighbours that are nearly parallel; its offset is a circle again.
    const auto circle = FlattenPath(Round({}, 50), false, PathResolution::Extreme, 0);
    for (const Point2 p : offset(circle, 3)) EXPECT_NEAR(std::hypot(p.x, p.y), 53, 0.05);
    for (const Point2 p : offset(circle, -3)) EXPECT_NEAR(std::hypot(p.x, p.y), 47, 0.05);
}

} // namespace
} // namespace velorin
