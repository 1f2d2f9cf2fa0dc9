#include "app/RealRender.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cmath>

// The whole way: command, host, the real plug-in, OpenGL in software, picture.

namespace velorin::app {
namespace {

using testing::HasSubstr;

// The default project: the cube fills half edges of 250 pixels around the middle, seen from 1777.78 pixels
// away, so that its front face spans 250 * 1777.78 / 1527.78 = 290.9 pixels to each side.
TEST_F(RealRender, AModelIsFramedAndLitByDefault) {
    const Ran ran = Velorin("render cube.obj -o a.png");
    ASSERT_EQ(ran.status, 0) << ran.error;
    Picture picture;
    const Coverage covered = Covered("a.png", picture);
    EXPECT_EQ(picture.width, 1280);
    EXPECT_NEAR(covered.left, 640 - 290.9, 2);
    EXPECT_NEAR(covered.right, 640 + 290.9, 2);
    EXPECT_NEAR(covered.top, 360 - 290.9, 2);
    EXPECT_NEAR(covered.bottom, 360 + 290.9, 2);
    EXPECT_GT(Value(picture, 640, 360, 1), 0.1);
    EXPECT_EQ(Value(picture, 5, 5, 3), 0);
}

TEST_F(RealRender, AllDepthsShowTheSamePicture) {
    const std::string arguments = " --size 160x90 --set Output/Multisampling=1";
    ASSERT_EQ(Velorin("render cube.obj -o a.png --depth 8" + arguments).status, 0);
    ASSERT_EQ(Velorin("render cube.obj -o b.png --depth 16" + arguments).status, 0);
    ASSERT_EQ(Velorin("render cube.obj -o c.exr --depth 32" + arguments).status, 0);
    Picture a, b, c;
    ASSERT_GT(Covered("a.png", a).count, 100);
    (void)Covered("b.png", b);
    (void)Covered("c.exr", c);
    // Colour is compared as it is seen: a premultiplied file keeps none of it where alpha is 0.
    const auto seen = [](const Picture& picture, int x, int y, int channel) {
        const double alpha = std::clamp(Value(picture, x, y, 3), 0.0, 1.0);
        return channel == 3 ? alpha : std::clamp(Value(picture, x, y, channel), 0.0, 1.0) * alpha;
    };
    for (int y = 0; y < a.height; ++y)
        for (int x = 0; x < a.width; ++x)
            for (int channel = 0; channel < 4; ++channel) {
                const double exact = seen(c, x, y, channel);
                ASSERT_NEAR(seen(a, x, y, channel), exact, 1.01 / 255) << x << ' ' << y << ' ' << channel;
                ASSERT_NEAR(seen(b, x, y, channel), exact, 2.0 / 32768) << x << ' ' << y << ' ' << channel;
            }
}

TEST_F(RealRender, MissingFilesAreWarningsOneByOne) {
    Write("m.json", R"({"composition": {"width": 64, "height": 36}, "effects": [{"scene": {
      "materials": [{"name": "M", "channels": {"diffuse": {"path": "gone.png", "enabled": true}}}],
      "models": [{"name": "A", "type": 2, "path": "lost.obj", "groups": [1]},
                 {"name": "B", "type": 2, "path": "cube.obj", "groups": [2], "bindings": [0]}]}}]})");
    const Ran ran = Velorin("render m.json -o m.png");
    EXPECT_EQ(ran.status, 0) << ran.error;
    EXPECT_TRUE(Exists("m.png"));
    EXPECT_THAT(ran.error, HasSubstr("lost.obj"));
    EXPECT_THAT(ran.error, HasSubstr("gone.png"));
    EXPECT_THAT(ran.error, testing::Not(HasSubstr("error:")));
}

TEST_F(RealRender, AWrongSceneIsToldAtItsPlace) {
    Write("s.json", "{\"effects\": [{\"scene\": {\n  \"models\": [{\"name\": \"A\", \"tpye\": 2}]}}]}");
    const Ran ran = Velorin("render s.json -o s.png");
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.error, HasSubstr("s.json:2:"));
    EXPECT_THAT(ran.error, HasSubstr("tpye"));
}

TEST_F(RealRender, TheHostFindsNoFaultInEitherMode) {
    Write("two.json", R"({"composition": {"width": 96, "height": 54, "duration": 0.2, "downsample": [2, 3]},
      "lights": [{"type": "spot"}, {"type": "point"}, {"type": "ambient"}, {"type": "parallel"}],
      "camera": {"position": [10, 20, -200]},
      "layers": [{"name": "Back", "width": 30, "height": 20, "color": "#ff8000"}],
      "effects": [{"parameters": {"Override Layer": "Back", "1. Replicator Shape": "Layer", "1. Custom Layer": "Back"},
                   "scene": {"models": [{"name": "B", "type": 2, "path": "cube.obj", "groups": [1]}]}},
                  {"parameters": {"Render Mode": "Unified"}}]})");
    for (const char* mode : {"", " --host-two-copies"}) {
        const Ran ran =
            Velorin("render two.json -o t####.png --frames 0-2 --host-strict" + std::string(mode));
        EXPECT_EQ(ran.status, 0) << mode << ran.error;
        EXPECT_THAT(ran.error, testing::Not(HasSubstr("rule of its host"))) << mode;
    }
}

TEST_F(RealRender, EveryAbortLeavesThePlugInWhole) {
    for (int call = 0; call < 4; ++call) {
        const Ran ran = Velorin("render cube.obj -o x.png --size 64x36 --host-strict --host-cancel-at " +
                                std::to_string(call));
        EXPECT_THAT(ran.error, testing::Not(HasSubstr("rule of its host"))) << call;
        EXPECT_TRUE(ran.status == 0 || ran.error.find("stopped by the user") != std::string::npos)
            << ran.error;
    }
}

TEST_F(RealRender, InspectionsAnswerInJson) {
    const auto params = nlohmann::json::parse(Velorin("inspect params --json").out);
    EXPECT_EQ(params.size(), 2427U);
    const auto scene = nlohmann::json::parse(Velorin("inspect scene cube.obj --json").out);
    EXPECT_EQ(scene["models"][0]["path"].get<std::string>().substr(0, 1), "/");
    const auto mesh = nlohmann::json::parse(Velorin("inspect mesh cube.obj --json").out);
    EXPECT_EQ(mesh["size"], 1);
    const auto draws = nlohmann::json::parse(Velorin("inspect draws cube.obj --json").out);
    ASSERT_EQ(draws.size(), 1U);
    const auto particles = nlohmann::json::parse(Velorin("inspect particles cube.obj --json").out);
    ASSERT_EQ(particles.size(), 1U);
    EXPECT_EQ(particles[0]["position"][0], 640);
    EXPECT_THAT(Velorin("inspect devices").out, HasSubstr("renderer: "));
    const Ran wrong = Velorin("inspect mesh cube.obj --model cub");
    EXPECT_EQ(wrong.status, 1);
    EXPECT_EQ(wrong.error,
              "velorin: error: cube.obj: the scene has no model \"cub\", did you mean \"cube\"?\n");
}

} // namespace
} // namespace velorin::app
