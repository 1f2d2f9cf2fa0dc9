#include "app/HostFixture.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>

// Values of the user's on their whole way: project or --set, host, plug-in, particles. The models are
// switched off, so that all is computed and nothing is drawn.

namespace velorin::app {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class ReplicatorInHost : public SessionTest {
protected:
    // A project with the layers and the effect's parameters; its model is a square per frame number of the
    // sequence.
    bool OpenWith(const std::string& layers, const std::string& parameters,
                  std::vector<std::string> settings = {}) {
        for (int frame = 0; frame < 8; ++frame)
            Write("f_0" + std::to_string(frame) + ".obj",
                  "v -1 -1 0\nv 1 -1 0\nv 0 1 " + std::to_string(frame) + "\nf 1 2 3\n");
        Write("p.json", R"({"composition": {"width": 96, "height": 54, "duration": 1}, "layers": [)" +
                            layers + R"(], "effects": [{"parameters": {)" + parameters +
                            R"(}, "scene": {"materials": [{"type": "Standard Shader"}], "models": [
                  {"name": "F", "type": 5, "path": "f_00.obj", "bindings": [0],
                   "enabled": false, "frameCount": 8, "startFrame": 1, "endFrame": 8, "groups": [1]}]}}]})");
        return Open("p.json", std::move(settings));
    }
    // Renders frame 0 and gives the plug-in's warnings.
    std::string Warnings() {
        (void)Frame();
        std::string warnings;
        const json frame = Ask({{"do", "frame"}});
        for (const json& warning : frame["warnings"]) warnings += warning.get<std::string>() + "\n";
        return warnings;
    }
};

// Speeds of 100, 150, 200, 250 and then 300 percent: the frames shown are 0, 1, 1 + 1.5, + 2, + 2.5, + 3, + 3
// of 8, each cut to a whole one.
TEST_F(ReplicatorInHost, PlaybackSpeedIntegratesOverKeyframes) {
    ASSERT_TRUE(OpenWith(
        "", R"("1. Playback Speed": {"keys": [{"frame": 0, "value": 100}, {"frame": 4, "value": 300}]})"))
        << Joined(console_->errors());
    const int expected[] = {0, 1, 2, 4, 7, 10 % 8, 13 % 8};
    for (int frame = 6; frame >= 0; --frame) { // backwards: no frame leans on the one before
        const json draws = Captured("draws", frame);
        ASSERT_EQ(draws.size(), 1U) << frame;
        EXPECT_EQ(draws[0]["frame"], expected[frame]) << frame;
    }
}

// A picture of 4 by 4 with three pixels that are not transparent, on a grid of as many cells.
TEST_F(ReplicatorInHost, AnImageLayerShapesAGroupAtEveryDepth) {
    Picture mask(4, 4, 8);
    for (const auto& [x, y] : {std::pair(0, 0), {2, 2}, {3, 3}})
        std::fill_n(mask.row(y) + 4 * x, 4, std::byte{0xff});
    std::string error;
    ASSERT_TRUE(WritePng(Path("mask.png"), mask, error)) << error;
    ASSERT_TRUE(OpenWith(
        R"({"name": "Mask", "type": "image", "file": "mask.png"})",
        R"("1. Replicator Shape": "Layer Grid", "1. Custom Layer": "Mask", "1. Grid X": 4, "1. Grid Y": 4)"))
        << Joined(console_->errors());
    for (const int depth : {8, 16, 32}) {
        const json particles = Captured("particles", 0, depth);
        ASSERT_EQ(particles.size(), 3U) << depth;
        const auto at = [&](std::size_t i, std::size_t axis) {
            return particles[i]["position"][axis].get<double>();
        };
        // The cells' middles lie at -3/8, 1/8 and 3/8 of the shape's size around the group's place.
        const double size = (at(2, 0) - at(0, 0)) / 0.75;
        EXPECT_GT(size, 1) << depth;
        for (const std::size_t axis : {0U, 1U}) {
            EXPECT_NEAR(at(1, axis) - at(0, axis), size / 2, 1e-3) << depth << axis;
            EXPECT_NEAR(at(2, axis) - at(0, axis), size * 0.75, 1e-3) << depth << axis;
            EXPECT_NEAR(at(0, axis) + size * 0.375, axis == 0 ? 48 : 27, 1e-3) << depth << axis;
        }
    }
}

TEST_F(ReplicatorInHost, ExtremeSettingsRenderOrAreRefusedInASentence) {
    struct Case {
        std::vector<std::string> settings;
        const char* error;   // of the project; null when it opens
        const char* warning; // of the frame; null when there is none
    };
    const std::string grid = "1. Replicator Shape=3D Grid";
    const Case cases[] = {
        {{grid, "1. Grid X=1000", "1. Grid Y=1000", "1. Grid Z=1000"}, nullptr, "Group 1"},
        {{grid, "1. Grid X=1e300", "1. Grid Y=1e300", "1. Grid Z=1e300"}, nullptr, "would take"},
        {{"1. Replicator Shape=Sphere", "1. Particle Count=3", "1. Layers=1000"}, nullptr, nullptr},
        {{"1. Replicator Shape=Layer"}, nullptr, nullptr},
        {{"1. Replicator Shape=Layer Grid"}, nullptr, nullptr},
        {{"1. Replicator Shape=3D Object", "1. Particle Count=100"}, nullptr, nullptr},
        {{"1. Particle Size=1e300", "1. X Scatter=-1e300", "1. X Scale=1e300"}, nullptr, nullptr},
        {{"1. Particle Count=NaN"}, "expected a number", nullptr},
        {{"1. Particle Count=1e999"}, "--set 1. Particle Count", nullptr},
        {{"1. Particle Count=[1,2]"}, "expected a number", nullptr},
        {{"1. Replicator Shape=9"}, nullptr, nullptr}, // taken as the last choice
    };
    for (const Case& c : cases) {
        const bool opened = OpenWith("", "", c.settings);
        EXPECT_EQ(opened, c.error == nullptr) << c.settings[0] << Joined(console_->errors());
        if (c.error) {
            EXPECT_THAT(Joined(console_->errors()), HasSubstr(c.error)) << c.settings[0];
        }
        if (!opened) continue;
        const std::string warnings = Warnings();
        EXPECT_THAT(warnings, c.warning ? testing::Matcher<std::string>(HasSubstr(c.warning))
                                        : testing::Matcher<std::string>(IsEmpty()))
            << c.settings[0];
    }
}

} // namespace
} // namespace velorin::app
