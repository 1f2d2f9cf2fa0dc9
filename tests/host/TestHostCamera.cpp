#include "host/HostCamera.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace velorin {
namespace {

// A camera 1000 pixels in front of the middle of a 1280 by 720 comp, looking along z.
HostCamera FrontCamera(double x = 640, double y = 360, double z = -1000) {
    HostCamera camera;
    for (int i = 0; i < 4; ++i) camera.matrix.mat[i][i] = 1;
    camera.matrix.mat[3][0] = x;
    camera.matrix.mat[3][1] = y;
    camera.matrix.mat[3][2] = z;
    camera.imagePlaneDistance = 1000;
    camera.planeWidth = 1280;
    camera.planeHeight = 720;
    camera.present = true;
    return camera;
}

// Where a world point lands in the picture, in pixels from its upper left corner.
Point2 Project(const CameraState& camera, Point3 world, float width, float height) {
    const Point4 clip =
        Transform(Transform(Point4{world.x, world.y, world.z, 1}, camera.view), camera.projection);
    return {(clip.x / clip.w + 1) / 2 * width, (clip.y / clip.w + 1) / 2 * height};
}

TEST(HostCamera, ShowsTheCompPlanePixelForPixel) {
    const CameraState camera = MakeCameraState(FrontCamera(), 1, 10, 50000);
    EXPECT_EQ(camera.viewWidth, 1280);
    EXPECT_EQ(camera.viewHeight, 720);
    const Point3 points[] = {{0, 0, 0}, {640, 360, 0}, {1280, 720, 0}, {100, 500, 0}};
    for (const Point3& p : points) {
        const Point2 pixel = Project(camera, p, 1280, 720);
        EXPECT_NEAR(pixel.x, p.x, 1e-2) << p.x;
        EXPECT_NEAR(pixel.y, p.y, 1e-2) << p.y;
    }
    // Twice as far away: half as far from the middle.
    const Point2 far = Project(camera, {1280, 720, 1000}, 1280, 720);
    EXPECT_NEAR(far.x, 960, 1e-2);
    EXPECT_NEAR(far.y, 540, 1e-2);
    // In front of the eye view z is negative; depth runs from -1 at the near plane to 1 at the far one.
    EXPECT_NEAR(TransformPoint({640, 360, 0}, camera.view).z, -1000, 1e-2);
    const auto depth = [&](float z) {
        const Point4 clip = Transform(Transform(Point4{640, 360, z, 1}, camera.view), camera.projection);
        return clip.z / clip.w;
    };
    EXPECT_NEAR(depth(-990), -1, 1e-4);
    EXPECT_NEAR(depth(49000), 1, 1e-4);
    EXPECT_NEAR(Length(camera.position - Point3{640, 360, -1000}), 0, 1e-2);
}

// Turned a quarter about y, so that it looks along +x: rows are the camera's axes in the world.
TEST(HostCamera, FollowsTheHostsMatrix) {
    HostCamera host = FrontCamera(0, 0, 0);
    const double axes[3][3] = {{0, 0, -1}, {0, 1, 0}, {1, 0, 0}};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) host.matrix.mat[i][j] = axes[i][j];
    const CameraState camera = MakeCameraState(host, 1, 10, 50000);
    const Point3 ahead = TransformPoint({500, 0, 0}, camera.view);
    EXPECT_NEAR(ahead.x, 0, 1e-3);
    EXPECT_NEAR(ahead.z, -500, 1e-3);
    // What lies at -z of the world is on the right.
    EXPECT_NEAR(TransformPoint({500, 0, -20}, camera.view).x, 20, 1e-3);
}

TEST(HostCamera, OrthographicDepthRunsFromNearToFar) {
    HostCamera host = FrontCamera();
    host.orthographic = true;
    const CameraState camera = MakeCameraState(host, 1, 10, 110);
    for (const auto& [z, depth] : {std::pair{-990.0f, -1.0f}, {-890.0f, 1.0f}}) {
        const Point4 clip = Transform(Transform(Point4{640, 360, z, 1}, camera.view), camera.projection);
        EXPECT_NEAR(clip.z, depth, 1e-4);
        EXPECT_EQ(clip.w, 1);
    }
}

TEST(HostCamera, LensFollowsFilmSizeAndBlurSwitch) {
    struct Case {
        AEGP_FilmSizeUnits units;
        double filmSize; // of the width
    };
    const Case cases[] = {
        {AEGP_FilmSizeUnits_HORIZONTAL, 102.0472},
        {AEGP_FilmSizeUnits_VERTICAL, 102.0472 * 1280 / 720},
        {AEGP_FilmSizeUnits_DIAGONAL, 102.0472 * 1280 / std::sqrt(1280.0 * 1280 + 720 * 720)}};
    for (const Case& c : cases) {
        HostCamera host = FrontCamera();
        host.filmUnits = c.units;
        host.zoom = 1000;
        host.aperture = 25;
        host.focusDistance = 800;
        host.blurLevel = 150;
        CameraState camera = MakeCameraState(host, 1, 10, 50000);
        EXPECT_NEAR(camera.filmSize, c.filmSize, 1e-3);
        EXPECT_NEAR(camera.lensRatio, 1000 * c.filmSize / 1280, 1e-3);
        EXPECT_EQ(camera.blurLevel, 0);
        host.depthOfField = true;
        camera = MakeCameraState(host, 1, 10, 50000);
        EXPECT_FLOAT_EQ(camera.blurLevel, 1.5f);
        EXPECT_EQ(camera.aperture, 25);
        EXPECT_EQ(camera.focusDistance, 800);
    }
    HostCamera none = FrontCamera();
    none.present = false;
    none.depthOfField = true;
    none.aperture = 25;
    const CameraState c = MakeCameraState(none, 1, 10, 50000);
    EXPECT_EQ((std::array{c.blurLevel, c.aperture, c.focusDistance, c.lensRatio}),
              (std::array{0.0f, 0.0f, 1.0f, 1.0f}));
}

// A moved eye sees the focus plane unmoved; what lies nearer moves against it, what lies farther with it.
TEST(HostCamera, LensMovesKeepTheFocusPlane) {
    for (const bool orthographic : {false, true}) {
        HostCamera host = FrontCamera();
        host.orthographic = orthographic;
        host.depthOfField = true;
        host.focusDistance = 800;
        host.blurLevel = 100;
        const CameraState plain = MakeCameraState(host, 1, 10, 50000);
        const CameraState moved = MoveOnLens(plain, 6, -4);
        EXPECT_NEAR(moved.position.x, 646, 1e-2);
        EXPECT_NEAR(moved.position.y, 356, 1e-2);
        for (const Point3& p : {Point3{640, 360, -200}, Point3{100, 700, -200}}) {
            const Point2 a = Project(plain, p, 1280, 720), b = Project(moved, p, 1280, 720);
            EXPECT_NEAR(a.x, b.x, 1e-2);
            EXPECT_NEAR(a.y, b.y, 1e-2);
        }
        // 400 pixels before the focus plane: by hand, half of the way to the eye.
        const Point2 near = Project(moved, {640, 360, -600}, 1280, 720);
        const float scale = orthographic ? 1 : 1000.0f / 400;
        EXPECT_NEAR(near.x, 640 - 6 * scale * 0.5f, 2e-2);
        EXPECT_NEAR(near.y, 360 + 4 * scale * 0.5f, 2e-2);
    }
}

TEST(HostCamera, DepthOfFieldModes) {
    CameraState camera = MakeCameraState(FrontCamera(), 1, 10, 50000);
    camera.aperture = 20;
    camera.blurLevel = 1;
    camera.focusDistance = 500;
    struct Case {
        LensInput input;
        float blurLevel;
        int passes;
        DofMode mode;
    };
    const auto input = [](int dof, int mode, int quality, RenderMode render = RenderMode::Full,
                          Output output = Output::Composite) {
        return LensInput{dof, mode, quality, 2, render, output, 1000};
    };
    const Case cases[] = {
        {input(1, 1, 1), 1, 1, DofMode::Preview},
        {input(1, 2, 1), 1, 1, DofMode::Continuous},
        {input(1, 3, 1), 1, 1, DofMode::Filter},
        {input(1, 5, 1), 1, 1, DofMode::FocusIndicator},
        {input(1, 4, 1), 1, 47, DofMode::Off},
        {input(1, 4, 2), 1, 90, DofMode::Off},
        {input(1, 4, 3), 1, 161, DofMode::Off},
        {input(1, 4, 4), 1, 331, DofMode::Off},
        {input(1, 4, 4, RenderMode::Draft), 1, 1, DofMode::Off},
        {input(1, 3, 4, RenderMode::Draft), 1, 1, DofMode::Off},
        {input(1, 4, 4, RenderMode::Full, Output::Focus), 1, 1, DofMode::Off},
        {input(2, 4, 4), 1, 1, DofMode::Off},
        {input(1, 3, 1), 0, 1, DofMode::Off},
    };
    for (const Case& c : cases) {
        camera.blurLevel = c.blurLevel;
        DofSettings dof;
        const Lens lens = SetUpLens(camera, c.input, dof);
        EXPECT_EQ(lens.passes, c.passes);
        EXPECT_EQ(dof.mode, c.mode);
        EXPECT_FLOAT_EQ(lens.radius, 20 * 2 * c.blurLevel * 0.2f);
    }
}

} // namespace
} // namespace velorin
