#include "host/HostLights.h"
#include "host/JitterTables.h"
#include "host/LightPresets.h"
#include "host/ShadowCameras.h"

#include <gtest/gtest.h>

#include <cmath>

namespace velorin {
namespace {

TEST(JitterTables, AreCentredAndWellSpread) {
    const std::size_t sizes[] = {47, 90, 161, 331};
    for (int quality = 1; quality <= 4; ++quality) {
        const auto table = JitterTable(quality);
        const auto n = static_cast<double>(table.size());
        ASSERT_EQ(table.size(), sizes[quality - 1]);
        double meanX = 0, meanY = 0, second = 0, nearest = 1;
        std::array<int, 8> sectors{};
        for (std::size_t i = 0; i < table.size(); ++i) {
            const double x = static_cast<double>(table[i].x) - 0.5, y = static_cast<double>(table[i].y) - 0.5;
            meanX += x / n;
            meanY += y / n;
            second += (x * x + y * y) / n;
            EXPECT_LE(std::hypot(x, y), 0.5 + 1e-6);
            const double turn = (std::atan2(y, x) / (2 * 3.14159265358979) + 1) * 8;
            ++sectors[static_cast<std::size_t>(turn) % 8];
            for (std::size_t j = 0; j < i; ++j)
                nearest = std::min(nearest, std::hypot(static_cast<double>(table[i].x - table[j].x),
                                                       static_cast<double>(table[i].y - table[j].y)));
        }
        EXPECT_NEAR(meanX, 0, 0.01) << quality;
        EXPECT_NEAR(meanY, 0, 0.01) << quality;
        EXPECT_NEAR(second, 0.125, 1e-4) << "of an even disc of radius 1/2";
        for (const int count : sectors) EXPECT_NEAR(count, n / 8, 1.0);
        // Points of a hexagonal grid of the same density lie 2 * sqrt(area / (n * 2 * sqrt 3)) apart.
        const double ideal = 2 * std::sqrt(3.14159265358979 / 4 / (n * 2 * std::sqrt(3.0)));
        EXPECT_GT(nearest, 0.7 * ideal) << quality;
        Point2 leading; // mean of the first passes, which are all that a stopped render has
        for (std::size_t i = 0; i < 24; ++i)
            leading = leading + (table[i] - Point2{0.5f, 0.5f}) * (1 / 24.0f);
        EXPECT_LT(std::hypot(leading.x, leading.y), 0.03) << quality;
    }
}

TEST(LightPresets, EveryRigLightsTheFront) {
    EXPECT_TRUE(LightPreset(0).empty());
    EXPECT_TRUE(LightPreset(22).empty());
    for (int popup = 1; popup <= kLightPresetCount; ++popup) {
        const std::vector<SceneLight> lights = PlacePreset(popup, 1000, 500, 1, {});
        ASSERT_FALSE(lights.empty()) << popup;
        // Light that a small sphere in the middle sends to the viewer: no rig is black or blinding.
        double total = 0;
        for (const SceneLight& light : lights) {
            const double strength =
                static_cast<double>(light.intensity * (light.colour.x + light.colour.y + light.colour.z) / 3);
            EXPECT_GT(strength, 0) << popup;
            total += strength;
            if (light.type == LightType::Ambient) continue;
            EXPECT_NEAR(Length(light.direction), 1, 1e-5) << popup;
            // The light travels from its place to the middle of the comp.
            const Point3 way = Normalized(Point3{500, 250, 0} - light.position);
            EXPECT_NEAR(Dot(way, light.direction), 1, 1e-4) << popup;
        }
        EXPECT_GT(total, 0.3) << popup;
        EXPECT_LT(total, 3) << popup;
    }
}

TEST(LightPresets, BrightnessAndRotationAct) {
    const auto plain = PlacePreset(2, 1000, 500, 1, {});
    Matrix halfTurn; // about y
    halfTurn(0, 0) = halfTurn(2, 2) = -1;
    const auto turned = PlacePreset(2, 1000, 500, 0.5f, halfTurn);
    ASSERT_EQ(plain.size(), turned.size());
    EXPECT_FLOAT_EQ(turned[0].intensity, plain[0].intensity / 2);
    EXPECT_FLOAT_EQ(turned[0].direction.x, -plain[0].direction.x);
    EXPECT_FLOAT_EQ(turned[0].direction.y, plain[0].direction.y);
    EXPECT_FLOAT_EQ(turned[0].direction.z, -plain[0].direction.z);
    // "Single Light" comes from the upper left in front: it travels right, down and away.
    EXPECT_GT(plain[0].direction.x, 0);
    EXPECT_GT(plain[0].direction.y, 0);
    EXPECT_GT(plain[0].direction.z, 0);
}

// Along the axis the middle of the map, at the cone's edge its edge; near at -1, far at 1.
TEST(ShadowCameras, CoverTheConeAndTheBox) {
    for (const Point3 direction : {Point3{0, 0, 1}, Point3{1, 0, 0}, Point3{0, 1, 0}, Point3{0, -1, 0},
                                   Normalized(Point3{1, 2, -3})}) {
        for (const LightType type : {LightType::Spot, LightType::Parallel}) {
            SceneLight light;
            light.type = type;
            light.position = {100, -200, 300};
            light.direction = direction;
            light.coneAngle = kPi / 2;
            PlaceShadowCamera(light, 400);
            EXPECT_NEAR(Determinant3(light.view), -1, 1e-5); // of the same hand as the camera's view
            const auto project = [&](Point3 world) {
                const Point4 clip =
                    Transform(Transform(Point4{world.x, world.y, world.z, 1}, light.view), light.projection);
                return Point3{clip.x / clip.w, clip.y / clip.w, clip.z / clip.w};
            };
            const Point3 near = project(light.position + direction * 50.0f);
            const Point3 far = project(light.position + direction * 10000.0f);
            EXPECT_NEAR(near.z, -1, 1e-4);
            EXPECT_NEAR(far.z, 1, 1e-4);
            EXPECT_NEAR(far.x, 0, 1e-4);
            EXPECT_NEAR(far.y, 0, 1e-4);
            // 200 pixels beside the axis, 200 pixels on: the edge of a quarter turn's cone and of a box of
            // 400.
            const Point3 side = Normalized(Cross(direction, {0.3f, 0.5f, 0.7f}));
            const Point3 edge = project(light.position + direction * 200.0f + side * 200.0f);
            EXPECT_NEAR(std::hypot(edge.x, edge.y), 1, 1e-4);
        }
    }
    SceneLight point;
    PlaceShadowCamera(point, 400);
    EXPECT_EQ(point.view, Matrix{});
}

TEST(HostLights, TakeOverTheHostsUnits) {
    HostLight host;
    host.type = AEGP_LightType_SPOT;
    host.toWorld.mat[2][0] = 3; // a scaled axis
    host.toWorld.mat[3][0] = 10;
    host.toWorld.mat[3][1] = 20;
    host.toWorld.mat[3][2] = -30;
    host.colour = {1, 0.25, 0.5, 0.75};
    host.intensity = 150;
    host.coneAngle = 90;
    host.coneFeather = 40;
    host.castsShadows = true;
    host.shadowDarkness = 80;
    host.shadowDiffusion = 12;
    SceneLight light;
    ASSERT_TRUE(MakeSceneLight(host, 1, light));
    EXPECT_EQ(light.type, LightType::Spot);
    EXPECT_EQ(light.position, (Point3{10, 20, -30}));
    EXPECT_EQ(light.direction, (Point3{1, 0, 0}));
    EXPECT_EQ(light.colour, (Point3{0.25f, 0.5f, 0.75f}));
    EXPECT_FLOAT_EQ(light.intensity, 1.5f);
    EXPECT_NEAR(light.coneAngle, 1.5707963f, 1e-6);
    EXPECT_FLOAT_EQ(light.feather, 0.4f);
    EXPECT_FLOAT_EQ(light.darkness, 0.8f);
    EXPECT_EQ(light.diffusion, 12);
    ASSERT_TRUE(MakeSceneLight(host, 1.5, light)); // wide pixels count as more than one
    EXPECT_EQ(light.position, (Point3{15, 20, -30}));
    const std::pair<AEGP_LightType, LightType> types[] = {{AEGP_LightType_PARALLEL, LightType::Parallel},
                                                          {AEGP_LightType_POINT, LightType::Point},
                                                          {AEGP_LightType_AMBIENT, LightType::Ambient}};
    for (const auto& [from, to] : types) {
        host.type = from;
        ASSERT_TRUE(MakeSceneLight(host, 1, light));
        EXPECT_EQ(light.type, to);
    }
    host.type = AEGP_LightType_ENVIRONMENT;
    EXPECT_FALSE(MakeSceneLight(host, 1, light));
}

} // namespace
} // namespace velorin
