#include "render/SceneFixture.h"

#include <algorithm>
#include <array>
#include <cmath>

// The blur on the finished sample, of a plate with one straight edge at a distance from the lens.

namespace velorin {
namespace {

using test::Picture;
using test::RectMesh;

constexpr int kWidth = 64, kHeight = 48;
constexpr float kFocus = kWidth * 50 / 36.0f; // the plane z = 0 of the comp's camera

class FocusTest : public test::SceneTest {
protected:
    // A lens of that radius that is sharp at kFocus: the camera at its rim, which sees the plane unmoved.
    void SetLens(DofMode mode, float radius) {
        const CameraState camera = test::CompCamera(kWidth, kHeight);
        settings.dof.mode = mode;
        settings.dof.view = camera.view * Matrix::Translation({-radius, 0, 0});
        settings.dof.projection = camera.projection;
        settings.dof.projection(2, 0) -= camera.projection(0, 0) * radius / kFocus;
        settings.dof.spacing = 16;
        settings.dof.samples = 256;
    }
    // Right of the picture's middle, beyond its other borders; at that distance from the eye.
    void AddPlate(float distance) {
        list = DrawList();
        const float scale = distance / kFocus, z = distance - kFocus;
        Add(RectMesh(32, 24 - 80 * scale, 32 + 80 * scale, 24 + 80 * scale, z));
    }
    // How far from the edge coverage is neither none nor all, to the left and to the right.
    static std::array<int, 2> Reach(const Picture& picture) {
        std::array<int, 2> reach{};
        for (int x = 0; x < kWidth; ++x) {
            const float alpha = picture.at(x, 24).w;
            if (alpha > 0.02f && x < 32) reach[0] = std::max(reach[0], 32 - x);
            if (alpha < 0.98f && x >= 32) reach[1] = std::max(reach[1], x - 31);
        }
        return reach;
    }
};

// The image of a point at distance z is spread over a circle of radius R = r f |1/focus - 1/z| for a lens of
// radius r. These quick modes draw it smaller, by the factors of their programs, but must follow the lens.
TEST_F(FocusTest, ScreenBlursFollowTheThinLens) {
    struct Row {
        DofMode mode;
        float share; // of the circle's radius
    };
    for (const Row& row : {Row{DofMode::Preview, 1 / 4.0f}, Row{DofMode::Continuous, 1 / 3.0f}})
        for (const float lens : {24.0f, 48.0f})
            for (const float distance : {kFocus * 2, kFocus * 4, kFocus * 0.75f}) {
                SCOPED_TRACE(testing::Message()
                             << static_cast<int>(row.mode) << ' ' << lens << ' ' << distance);
                AddPlate(distance);
                SetLens(row.mode, lens);
                const Picture picture = Draw(kWidth, kHeight);
                const float radius = row.share * lens * std::abs(1 - kFocus / distance);
                const auto reach = Reach(picture);
                const auto [narrow, wide] = std::minmax(reach[0], reach[1]);
                EXPECT_LE(static_cast<float>(wide), radius + 1.5f);
                EXPECT_GE(static_cast<float>(wide), radius * 0.75f - 0.5f);
                EXPECT_GE(static_cast<float>(narrow), radius * 0.25f - 1);
                for (int x = 1; x < kWidth; ++x) // from none to all without a step back
                    EXPECT_GE(picture.at(x, 24).w, picture.at(x - 1, 24).w - 0.02f) << x;
            }
}

TEST_F(FocusTest, WhatIsInFocusStaysAsItIs) {
    AddPlate(kFocus);
    for (const DofMode mode : {DofMode::Preview, DofMode::Continuous, DofMode::Pixel}) {
        SetLens(mode, 24);
        const Picture picture = Draw(kWidth, kHeight);
        EXPECT_EQ(Reach(picture), (std::array<int, 2>{0, 0})) << static_cast<int>(mode);
    }
}

// Red by 1.5 (1 - d / spacing)^2, d the point's shift at the rim in pixels.
TEST_F(FocusTest, TheIndicatorReddensWhatIsSharp) {
    for (const float distance : {kFocus, kFocus * 1.1f, kFocus * 1.25f, kFocus * 2}) {
        AddPlate(distance);
        test::MakeMatte(materials.back(), {0, 0, 255, 255});
        SetLens(DofMode::FocusIndicator, 12);
        settings.dof.spacing = 3;
        const float shift = 12 * std::abs(1 - kFocus / distance);
        const float red = std::min(1.0f, 1.5f * std::pow(std::max(0.0f, 1 - shift / 3), 2.0f));
        const Point4 pixel = Draw(kWidth, kHeight).at(48, 24);
        EXPECT_NEAR(pixel.x, red, 6e-3f) << distance;
        EXPECT_NEAR(pixel.z, 1 - red, 6e-3f) << distance;
    }
}

} // namespace
} // namespace velorin
