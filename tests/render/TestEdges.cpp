#include "render/FrameBuffers.h"
#include "render/PassTable.h"
#include "render/SceneFixture.h"

#include <GL/glew.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

// What edges look like: coverage by samples and by grids, and tiles that meet.

namespace velorin {
namespace {

using test::Picture;
using test::QuadMesh;
using test::RectMesh;

struct Differences {
    float worst = 0;
    int pixels = 0; // that differ by more than rounding to 16 bits
};

// Of the premultiplied colours and the coverage.
Differences Compare(const Picture& a, const Picture& b) {
    Differences result;
    for (std::size_t i = 0; i < a.rgba.size(); i += 4) {
        float worst = std::abs(a.rgba[i + 3] - b.rgba[i + 3]);
        for (std::size_t c = 0; c < 3; ++c)
            worst = std::max(worst, std::abs(a.rgba[i + c] * a.rgba[i + 3] - b.rgba[i + c] * b.rgba[i + 3]));
        result.worst = std::max(result.worst, worst);
        result.pixels += worst > 0.004f;
    }
    return result;
}

// The mean of `side` by `side` pixels of a larger picture; premultiplied, as filtering works on light.
Picture BoxFiltered(const Picture& large, int side) {
    Picture small{large.width / side, large.height / side, {}};
    for (int y = 0; y < small.height; ++y)
        for (int x = 0; x < small.width; ++x) {
            Point4 sum;
            for (int j = 0; j < side * side; ++j) {
                const Point4 p = large.at(x * side + j % side, y * side + j / side);
                sum = {sum.x + p.x * p.w, sum.y + p.y * p.w, sum.z + p.z * p.w, sum.w + p.w};
            }
            const float scale = sum.w > 0 ? 1 / sum.w : 0;
            small.rgba.insert(small.rgba.end(), {sum.x * scale, sum.y * scale, sum.z * scale,
                                                 sum.w / static_cast<float>(side * side)});
        }
    return small;
}

// A line across the picture; what lies below it is covered.
struct Edge {
    double angle; // of the line, from the x axis
    double offset;
    [[nodiscard]] double Depth(double x, double y) const { // above 0 inside
        return (y - 24 - offset) * std::cos(angle) - (x - 32) * std::sin(angle);
    }
};

// The share of the pixel at (x, y) below the line.
double AreaBelow(const Edge& edge, int x, int y) {
    const double middle = edge.Depth(x + 0.5, y + 0.5);
    if (std::abs(middle) > 0.75) return middle > 0;
    constexpr int kSteps = 32;
    int below = 0;
    for (int i = 0; i < kSteps * kSteps; ++i)
        below += edge.Depth(x + (i % kSteps + 0.5) / kSteps, y + (i / kSteps + 0.5) / kSteps) > 0;
    return static_cast<double>(below) / (kSteps * kSteps);
}

class EdgeTest : public test::SceneTest {
protected:
    static constexpr int kWidth = 64, kHeight = 48;

    // Everything below the line, beyond the picture's borders.
    void AddBelow(const Edge& edge) {
        const auto c = static_cast<float>(std::cos(edge.angle)), s = static_cast<float>(std::sin(edge.angle));
        const Point3 middle{32, 24 + static_cast<float>(edge.offset), 0}, along{90 * c, 90 * s, 0},
            down{-180 * s, 180 * c, 0};
        list = DrawList();
        Add(QuadMesh(middle - along, middle + along, middle + along + down, middle - along + down));
    }

    // Where the driver has its samples in a pixel.
    std::vector<std::array<float, 2>> SamplePositions() {
        std::vector<std::array<float, 2>> positions(
            static_cast<std::size_t>(renderer().frameBuffers().key().sampleCount));
        glBindFramebuffer(GL_FRAMEBUFFER, renderer().frameBuffers().imageFramebuffer.name());
        for (std::size_t i = 0; i < positions.size(); ++i)
            glGetMultisamplefv(GL_SAMPLE_POSITION, static_cast<GLuint>(i), positions[i].data());
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        return positions;
    }
};

// Each pixel must show just those samples that the edge covers; a grid of two by two such pixels is right to
// 1/8 of the area at every slope.
TEST_F(EdgeTest, CoverageOfSlantedEdges) {
    for (const double degrees : {0.9, 8.0, 25.3, -29.0, 41.0, -43.7, 63.0, -71.0, 89.2}) {
        SCOPED_TRACE(degrees);
        const Edge edge{degrees * 3.14159265358979 / 180, 0.37};
        AddBelow(edge);
        settings.sampleCount = 4;
        settings.supersampling = 1;
        const Picture picture = Draw(kWidth, kHeight);
        const auto samples = SamplePositions();
        ASSERT_EQ(samples.size(), 4u);
        settings.supersampling = 2;
        const Picture grid = Draw(kWidth, kHeight);
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x) {
                EXPECT_NEAR(grid.at(x, y).w, AreaBelow(edge, x, y), 0.13) << x << "," << y;
                double covered = 0, nearest = 1;
                for (const auto& sample : samples) {
                    const double depth = edge.Depth(x + double{sample[0]}, y + double{sample[1]});
                    covered += depth > 0 ? 0.25 : 0;
                    nearest = std::min(nearest, std::abs(depth));
                }
                // A sample on the line may fall to either side.
                EXPECT_NEAR(picture.at(x, y).w, covered, nearest < 0.01 ? 0.253 : 0.003) << x << "," << y;
            }
    }
}

// A corner of the frame lands on the same sample whatever viewport the tile has, and the tile is all in it.
TEST(Tiles, ViewportsReachOverTheFrameOrAsFarAsTheyMay) {
    for (const int limit : {1 << 15, 700})
        for (const int margin : {0, 5})
            for (const int index : {0, 3, 7}) {
                const TileSpan span = TileOf(1001, 8, index);
                const TileRect tile{span.start, 0, span.length, 20};
                const TileViewport v = ViewportOf(tile, 5, 1001, 20, margin, limit, limit);
                EXPECT_EQ(v.width, std::min(limit, 1001 * 5 + 2 * margin));
                EXPECT_LE(v.x, 0);
                EXPECT_GE(v.x + v.width, tile.width * 5);
                for (const double ndc : {-1.0, -0.3, 1.0}) {
                    const double sample = (ndc + 1) / 2 * 1001 * 5 - tile.x * 5;
                    const double clip =
                        ndc * double{v.afterProjection(0, 0)} + double{v.afterProjection(3, 0)};
                    EXPECT_NEAR(v.x + (clip + 1) / 2 * v.width, sample, 0.005) << limit << " " << index;
                }
            }
}

// The same view on more pixels has no tiles: neither lines nor points may tell where those meet.
TEST_F(EdgeTest, SupersamplingIsTheLargerPictureFiltered) {
    test::MakeMatte(Add(QuadMesh({5, 3, 0}, {59, 11, 0}, {50, 44, 30}, {9, 39, -10})), {255, 128, 64, 255});
    Add(QuadMesh({-40, 20, 10}, {30, -30, -20}, {110, 70, 10}, {20, 80, 40})); // beyond the frame
    SceneMaterial& glass = Add(QuadMesh({20, 10, -20}, {60, 20, -20}, {44, 46, -20}, {16, 30, -20}));
    test::MakeMatte(glass, {0, 128, 255, 255});
    glass.forceOpacity = 0.5f;
    const auto draw = [&](int value, int larger) {
        settings.supersampling = value;
        settings.wireframeWidth = static_cast<float>(larger);       // of a pixel of the frame
        return BoxFiltered(Draw(61 * larger, 43 * larger), larger); // sizes that tiles cannot share evenly
    };
    // Where an edge runs through a sample, rounding gives it to either side.
    const auto expectSame = [](const Picture& a, const Picture& b, int side, const std::string& what) {
        const Differences differences = Compare(a, b);
        EXPECT_LE(differences.worst, 1 / static_cast<float>(side * side) + 0.004f) << what;
        EXPECT_LE(differences.pixels, 2) << what;
    };
    ownCamera = true;
    settings.camera = test::CompCamera(61, 43);
    settings.pointSize = 6; // samples
    for (const PolygonMode mode : {PolygonMode::Normal, PolygonMode::Wireframe, PolygonMode::Points})
        for (const int value : {2, 3, 4}) {
            settings.polygonMode = mode;
            const int side = 1 << (value - 1);
            const std::string what =
                "mode " + std::to_string(static_cast<int>(mode)) + ", side " + std::to_string(side);
            const Picture super = draw(value, 1);
            expectSame(super, draw(1, side), side, what);
            if (side == 8 && mode == PolygonMode::Normal)
                expectSame(super, draw(2, 4), side, "a grid of 2, 4 times the size");
        }
}

// A sample beside the middle of its pixel may belong to a triangle that the middle lies outside of: it is on
// the line, or thin lines fall apart.
TEST_F(EdgeTest, ThinLinesOfSeveralSamples) {
    SceneMaterial& material = Add(QuadMesh({-5, -40, 0}, {80, -40, 0}, {70, 93, 0}, {-20, 90, 0}));
    material.diffuseColor = {0, 0, 0, 255};
    material.wireEnable = true;
    material.wireColor = {255, 255, 255, 255};
    material.wireWidth = 0.5f; // 0.4 units of two pixels less than what is bright at the edge itself
    settings.sampleCount = 4;
    const Picture picture = Draw(kWidth, kHeight);
    const auto samples = SamplePositions();
    const double length = std::hypot(75, 133);
    const auto side = [&](double x, double y) { return ((x + 5) * 133 - (y + 40) * 75) / length; };
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            double bright = 0;
            for (const auto& sample : samples) {
                const double inside = side(x + double{sample[0]}, y + double{sample[1]}) > 0 ? 1 : -1;
                bright += 0.25 * (1 - std::clamp(inside * side(x + 0.5, y + 0.5) + 0.8, 0.0, 1.0));
            }
            EXPECT_NEAR(picture.at(x, y).x, bright, 0.02) << x << ',' << y;
        }
}

// A plane whose value runs linearly over the picture shows any seam between tiles of unequal size.
TEST_F(EdgeTest, TilesOfOddSizesHaveNoSeams) {
    Add(RectMesh(-50, -50, 200, 150, 0));
    settings.output = Output::WorldPosition;
    settings.matte.mode = MatteMode::Matte;
    settings.matte.position = {0, 0, 0};
    settings.matte.rotationY = 90; // the matte's direction lies along x, whichever way
    settings.matte.doubleSided = true;
    settings.matte.feather = 101;
    settings.matte.gamma = 1;
    for (const int value : {1, 2, 3, 4}) {
        settings.supersampling = value;
        const Picture picture = Draw(101, 67);
        const float step = picture.at(51, 30).x - picture.at(50, 30).x;
        EXPECT_NEAR(std::abs(step), 1 / 101.0f, 0.001f);
        for (int x = 1; x < 101; ++x)
            ASSERT_NEAR(picture.at(x, 66).x - picture.at(x - 1, 66).x, step, 0.0015f)
                << x << " grid " << value;
    }
}

} // namespace
} // namespace velorin
