#include "render/FrameBuffers.h"
#include "render/PassTable.h"
#include "render/SceneFixture.h"

#include <GL/glew.h>

#include <array>
#include <cmath>
#include <vector>

// What edges look like: coverage by samples and by grids, and tiles that meet.

namespace velorin {
namespace {

using test::Picture;
using test::QuadMesh;
using test::RectMesh;

// Of the premultiplied colours and the coverage.
float Difference(const Picture& a, const Picture& b) {
    float worst = 0;
    for (std::size_t i = 0; i < a.rgba.size(); ++i) {
        const std::size_t alpha = i | 3;
        const float x = i == alpha ? a.rgba[i] : a.rgba[i] * a.rgba[alpha];
        const float y = i == alpha ? b.rgba[i] : b.rgba[i] * b.rgba[alpha];
        worst = std::max(worst, std::abs(x - y));
    }
    return worst;
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

// The area of the pixel at (x, y) below the line: its square clipped by the line, by the shoelace formula.
double AreaBelow(const Edge& edge, int x, int y) {
    constexpr std::array<std::array<int, 2>, 4> kCorners{{{0, 0}, {1, 0}, {1, 1}, {0, 1}}};
    std::vector<std::array<double, 2>> clipped;
    for (std::size_t i = 0; i < 4; ++i) {
        const double ax = x + kCorners[i][0], ay = y + kCorners[i][1];
        const double bx = x + kCorners[(i + 1) % 4][0], by = y + kCorners[(i + 1) % 4][1];
        const double a = edge.Depth(ax, ay), b = edge.Depth(bx, by);
        if (a >= 0) clipped.push_back({ax, ay});
        if ((a < 0) != (b < 0))
            clipped.push_back({ax + (bx - ax) * a / (a - b), ay + (by - ay) * a / (a - b)});
    }
    double twice = 0;
    for (std::size_t i = 0; i < clipped.size(); ++i) {
        const auto &p = clipped[i], &q = clipped[(i + 1) % clipped.size()];
        twice += p[0] * q[1] - p[1] * q[0];
    }
    return twice / 2;
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

// Four samples can tell an area no better than where they lie in the pixel: to half a sample for edges along
// an axis, and for some slopes, at which two samples pass the edge at once, only to more than one. So each
// pixel must show just those samples that the edge covers, which makes it right to 1/8 on average at every
// slope. A grid of two by two such pixels is right to 1/8 everywhere.
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
        double bias = 0, error = 0, worst = 0;
        int count = 0;
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x) {
                const double area = AreaBelow(edge, x, y);
                EXPECT_NEAR(grid.at(x, y).w, area, 0.125) << x << "," << y;
                double covered = 0, nearest = 1;
                for (const auto& sample : samples) {
                    const double depth = edge.Depth(x + double{sample[0]}, y + double{sample[1]});
                    covered += depth > 0 ? 0.25 : 0;
                    nearest = std::min(nearest, std::abs(depth));
                }
                // A sample on the line may fall to either side.
                EXPECT_NEAR(picture.at(x, y).w, covered, nearest < 0.01 ? 0.253 : 0.003) << x << "," << y;
                if (area <= 0 || area >= 1) continue;
                const double off = picture.at(x, y).w - area;
                bias += off, error += std::abs(off), worst = std::max(worst, std::abs(off)), ++count;
            }
        ASSERT_GT(count, 40);
        EXPECT_LT(std::abs(bias / count), 0.03);
        EXPECT_LE(error / count, 0.125);
        if (std::abs(degrees) < 1 || std::abs(degrees) > 89) {
            EXPECT_LE(worst, 0.135);
        }
    }
}

TEST(Tiles, CoverTheFrameWithoutAGap) {
    for (const int size : {1, 7, 64, 1001, 4096})
        for (const int count : {1, 2, 4, 8}) {
            int next = 0;
            for (int i = 0; i < count; ++i) {
                const TileSpan tile = TileOf(size, count, i);
                EXPECT_EQ(tile.start, next);
                EXPECT_GE(tile.length, size / count);
                EXPECT_LE(tile.length, (size + count - 1) / count);
                next += tile.length;
            }
            EXPECT_EQ(next, size);
        }
}

TEST_F(EdgeTest, SupersamplingIsTheLargerPictureFiltered) {
    test::MakeMatte(Add(QuadMesh({5, 3, 0}, {59, 11, 0}, {50, 44, 30}, {9, 39, -10})), {255, 128, 64, 255});
    SceneMaterial& glass = Add(QuadMesh({20, 10, -20}, {60, 20, -20}, {44, 46, -20}, {16, 30, -20}));
    test::MakeMatte(glass, {0, 128, 255, 255});
    glass.forceOpacity = 0.5f;
    for (const int value : {2, 3, 4}) {
        const int side = 1 << (value - 1);
        settings.supersampling = value;
        ownCamera = false;
        const Picture super = Draw(kWidth, kHeight);
        settings.supersampling = 1;
        settings.camera = test::CompCamera(kWidth, kHeight); // the same view on more pixels
        ownCamera = true;
        const Picture expected = BoxFiltered(Draw(kWidth * side, kHeight * side), side);
        EXPECT_LT(Difference(super, expected), 0.004f) << "grid " << side;
        if (side != 8) continue;
        settings.supersampling = 2;
        const Picture half = BoxFiltered(Draw(kWidth * 4, kHeight * 4), 4);
        EXPECT_LT(Difference(super, half), 0.004f) << "a grid of 2 in a picture four times as large";
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
