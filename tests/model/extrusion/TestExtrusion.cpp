#include "Shapes.h"
#include "model/extrusion/BuildExtrusion.h"
#include "services/Warnings.h"

#include <gtest/gtest.h>

#include <ctime>
#include <numbers>

namespace velorin {
namespace {

using shapes::Measure;
using shapes::Measures;
using shapes::Polygon;
using shapes::Rectangle;
using shapes::Round;

ModelData Build(const std::vector<std::vector<PathPoint>>& paths, const ExtrusionOptions& options) {
    PathSet set;
    set.paths = paths;
    ModelData model;
    BuildExtrusion(model, set, options, {1, 1, 1});
    return model;
}

// No bevel to speak of: the smallest size and no depth.
ExtrusionOptions Flat() {
    ExtrusionOptions options;
    for (BevelSettings& bevel : options.bevels) bevel.bevelSize = 0, bevel.bevelDepth = 0;
    options.spikeFilter = 0;
    return options;
}

TEST(BuildExtrusion, PlainSolidHasTheVolumeOfItsArea) {
    const float depth = 30; // extrude 1 times 10, bevel scale 3
    const struct {
        const char* name;
        std::vector<std::vector<PathPoint>> paths;
        double area;
    } rows[] = {
        {"square", {Rectangle(0, 0, 100, 100)}, 10000},
        {"ring", {Rectangle(0, 0, 100, 100), Rectangle(25, 25, 50, 50)}, 7500},
        {"ring and island",
         {Rectangle(0, 0, 100, 100), Rectangle(25, 25, 50, 50), Rectangle(40, 40, 20, 20)},
         7900},
        {"two", {Rectangle(0, 0, 100, 100), Rectangle(150, 0, 10, 20)}, 10200},
        {"L", {Polygon({{0, 0}, {100, 0}, {100, 20}, {20, 20}, {20, 100}, {0, 100}})}, 3600},
        {"backwards", {Polygon({{0, 0}, {0, 50}, {50, 50}, {50, 0}})}, 2500},
    };
    for (const auto& row : rows)
        for (const bool separate : {false, true}) {
            ExtrusionOptions options = Flat();
            options.separateObjects = separate;
            const Measures m = Measure(Build(row.paths, options));
            EXPECT_EQ(m.turnedEdges, 0u) << row.name;
            EXPECT_NEAR(m.capArea, row.area, row.area * 1e-3) << row.name;
            EXPECT_NEAR(m.volume, row.area * static_cast<double>(depth),
                        row.area * static_cast<double>(depth) * 1e-3)
                << row.name;
            EXPECT_LT(m.normalError, 1e-3) << row.name;
        }
}

TEST(BuildExtrusion, EveryKindOfBevelIsClosedAndOutward) {
    const std::vector<std::vector<std::vector<PathPoint>>> shapes = {
        {Rectangle(0, 0, 100, 60)},
        {Round({50, 50}, 50), Round({50, 50}, 30)},
        {Polygon({{0, 0}, {50, 20}, {100, 0}, {80, 50}, {100, 100}, {50, 80}, {0, 100}, {20, 50}})},
    };
    for (const auto& paths : shapes)
        for (const float depth : {-2.0f, -0.5f, 0.5f, 1.0f})
            for (const float curve : {-1.0f, 0.0f, 0.5f, 1.0f})
                for (unsigned i = 0; i < 8; ++i) {
                    ExtrusionOptions options;
                    options.bevelCopies = 1;
                    options.offsetMode = i & 1 ? OffsetMode::Relative : OffsetMode::Absolute;
                    options.depthSegments = i & 4 ? 3 : 0;
                    for (BevelSettings& bevel : options.bevels) {
                        bevel.bevelDepth = depth;
                        bevel.bevelCurve = curve;
                        bevel.outlineEnable = (i & 2) != 0;
                        bevel.outlineWidth = 2;
                        bevel.bevelBackside = (i & 1) != 0;
                        bevel.expandEdges = 0.2f;
                    }
                    const Measures m = Measure(Build(paths, options));
                    ASSERT_GT(m.triangles, 0u);
                    ASSERT_EQ(m.turnedEdges, 0u) << depth << " " << curve << " " << i;
                    ASSERT_GT(m.volume, 0);
                    ASSERT_TRUE(m.finite);
                }
}

TEST(BuildExtrusion, BevelledBoxHasTheVolumeOfItsSections) {
    // A straight bevel of size 5 and depth 5 (1 times 0.5 times scale 10) on a 100 square: the cap keeps the
    // outline, the wall stands 5 further out. Frustum of 100 x 100 and 110 x 110, height 5, then 110 x 110 x
    // 100.
    ExtrusionOptions options = Flat();
    options.bevelScale = 10;
    options.bevels[0].bevelSize = 0.5f;
    options.bevels[0].bevelDepth = 1;
    options.bevels[0].bevelCurve = 0;
    options.bevels[0].bevelSegments = 0;
    const double frustum = 5.0 / 3 * (10000 + 12100 + 110 * 100);
    const Measures m = Measure(Build({Rectangle(0, 0, 100, 100)}, options));
    EXPECT_NEAR(m.volume, frustum + 12100 * 100, 300);
    EXPECT_NEAR(m.capArea, 10000, 5);
}

TEST(MeasureShells, DepthsFollowTheModes) {
    ExtrusionOptions options;
    options.bevelCopies = 1;
    options.bevelScale = 1;
    options.bevels[0].extrude = 1, options.bevels[0].bevelSize = 2,
    options.bevels[0].bevelDepth = 1; // depth 2
    options.bevels[1] = options.bevels[0];
    auto shells = MeasureShells(options);
    ASSERT_EQ(shells.size(), 2u);
    EXPECT_FLOAT_EQ(shells[0].thickness, 12);
    EXPECT_FLOAT_EQ(shells[0].z, -12.005f);
    EXPECT_FLOAT_EQ(shells[1].z, -12);
    options.offsetMode = OffsetMode::Relative;
    EXPECT_FLOAT_EQ(MeasureShells(options)[1].z, -24);

    options.bevels[0].bevelBackside = true;
    EXPECT_FLOAT_EQ(MeasureShells(options)[0].thickness, 14);
    options.bevels[0].bevelDepth = -4; // -8 deep, but two of them share an extrusion of 10
    EXPECT_FLOAT_EQ(MeasureShells(options)[0].depth, -5);
    options.bevels[0].bevelBackside = false;
    EXPECT_FLOAT_EQ(MeasureShells(options)[0].depth, -8);
    options.bevels[0].bevelDepth = -6;
    EXPECT_FLOAT_EQ(MeasureShells(options)[0].depth, -10);
}

TEST(BuildExtrusion, NothingToBuildGivesAnEmptyModel) {
    ExtrusionOptions options;
    EXPECT_TRUE(Build({}, options).vertices.empty());
    EXPECT_TRUE(Build({Polygon({{0, 0}, {10, 10}})}, options).vertices.empty());
    EXPECT_TRUE(Build({Polygon({{5, 5}, {5, 5}, {5, 5}, {5, 5}})}, options).vertices.empty());
    EXPECT_TRUE(Build({Polygon({{NAN, 0}, {10, INFINITY}, {3, 3}})}, options).vertices.empty());
    PathSet square;
    square.paths = {Rectangle(0, 0, 10, 10)};
    ModelData model;
    BuildExtrusion(model, square, options, {1, 1, 0.001f});
    EXPECT_TRUE(model.vertices.empty());
    EXPECT_EQ(model.materials.front().name, "Bevel 1");
}

constexpr int kMillion = 1'000'000;

template <class F>
std::vector<PathPoint> Made(int count, F&& position) {
    std::vector<PathPoint> path;
    for (int i = 0; i < count; ++i) path.push_back({position(i), {}, {}});
    return path;
}

Point2 OnCircle(double turns, float r) {
    const auto a = static_cast<float>(2 * std::numbers::pi * (turns - std::floor(turns)));
    return {r * std::cos(a), r * std::sin(a)};
}

// Each is built or refused with one sentence, within bounds of time and memory.
TEST(BuildExtrusion, HostileOutlinesAreBuiltOrRefused) {
    using Paths = std::vector<std::vector<PathPoint>>;
    const auto star = [](int corners) { // each edge crosses nearly all others
        return Paths{
            Made(corners, [&](int i) { return OnCircle(i * ((corners - 1) / 2.0) / corners, 100); })};
    };
    const auto saw = [](int teeth) {
        return Paths{
            Made(2 * teeth, [&](int i) { return OnCircle(i / (2.0 * teeth), i % 2 ? 10100.0f : 10000.0f); })};
    };
    Paths nested, scattered;
    for (int i = 0; i < 2000; ++i) {
        const auto inset = static_cast<float>(i);
        nested.push_back(Rectangle(inset, inset, 5000 - 2 * inset, 5000 - 2 * inset));
        scattered.push_back(Rectangle(static_cast<float>(i % 50) * 3, static_cast<float>(i / 50) * 3, 2, 2));
    }
    const auto same = [](int) { return Point2{5, 5}; };
    const auto none = [](int i) { return i % 2 ? Point2{NAN, 1} : Point2{3, INFINITY}; };
    const auto huge = [](int i) { return Point2{i % 2 ? 3e38f : -3e38f, 1e20f}; };
    const struct {
        const char* name;
        Paths paths;
        bool built, refused;
    } rows[] = {
        {"equal points", {Made(kMillion, same)}, false, false},
        {"no numbers", {Made(kMillion, none)}, false, false},
        {"huge numbers", {Made(1000, huge)}, false, false},
        {"fine circle", {Made(kMillion, [](int i) { return OnCircle(i / 1e6, 50); })}, true, false},
        {"pentagram", star(5), true, false},
        {"large star", star(301), true, false},
        {"huge star", star(20'001), false, true},
        {"nested squares", nested, true, false},
        {"scattered squares", scattered, true, false},
        {"small saw", saw(1500), true, false},
        {"huge saw", saw(kMillion / 2), false, true},
    };
    for (const auto& row : rows)
        for (const SeparationMode mode : {SeparationMode::ByBoundingBox, SeparationMode::ByGeometry}) {
            ExtrusionOptions options = Flat();
            options.separationMode = mode;
            PathSet set;
            set.isPlain = true;
            set.paths = row.paths;
            ModelData model;
            ResetWarnings();
            const std::clock_t start = std::clock();
            BuildExtrusion(model, set, options, {1, 1, 1});
            EXPECT_LT(std::clock() - start, 20 * CLOCKS_PER_SEC) << row.name; // a second, built for release
            EXPECT_EQ(!model.vertices.empty(), row.built) << row.name;
            EXPECT_EQ(TakeWarnings().size(), row.refused ? 1u : 0u) << row.name;
            const Measures m = Measure(model);
            EXPECT_TRUE(m.finite) << row.name;
            const bool tangled = std::string_view(row.name).ends_with("star"); // its caps are left open
            EXPECT_TRUE(tangled || m.turnedEdges == 0) << row.name;
        }
}

TEST(BuildExtrusion, SettingsBeyondMeasureEndWell) {
    // Over-expanded inwards: the sides pass each other.
    ExtrusionOptions options;
    options.pathExpand = -60;
    EXPECT_TRUE(Measure(Build({Rectangle(0, 0, 100, 20)}, options)).finite);
    // What the spike filter leaves of this outline lies on itself, but for crumbs of no extent, without
    // depth.
    options = Flat();
    options.spikeFilter = 0.5f;
    options.bevelScale = 0;
    options.pathExpand = 3.6e-44f;
    options.autoPathOrientation = false;
    options.reversePathWinding = false;
    EXPECT_TRUE(Measure(Build({{{{0, 0}, {-128, 63}, {}},
                                {{8.8e-44f, -1.4e-15f}, {}, {}},
                                {{50, 80}, {}, {}},
                                {{20, 20}, {}, {}},
                                {{0, 0}, {}, {}}}},
                              options))
                    .finite);
    // More rows than memory is given for.
    options = Flat();
    options.depthSegments = 1000;
    ResetWarnings();
    EXPECT_TRUE(
        Build({Made(20'000, [](int i) { return OnCircle(i / 2e4, i % 2 ? 2000.0f : 2100.0f); })}, options)
            .vertices.empty());
    EXPECT_EQ(TakeWarnings().size(), 1u);
    ResetWarnings();
}

} // namespace
} // namespace velorin
