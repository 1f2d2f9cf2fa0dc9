#include "app/HostFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

// The whole way with the real plug-in: command or host, OpenGL in software, picture. Where things of a
// composition come to lie in it is worked out from the camera by hand.

namespace velorin::app {
namespace {

using testing::HasSubstr;

// A square seen from both sides, of half the extent of its particle size over 4.
constexpr const char* kSquare = "v -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\nf 1 4 3 2\nf 1 2 3 4\n";

// The box around the pixels that are covered at all.
struct Coverage {
    explicit Coverage(int width, int height) : left(width), top(height) {}
    int left, top, right = -1, bottom = -1;
};

class Pictures : public SessionTest {
protected:
    static constexpr int kWidth = 160, kHeight = 120;

    void SetUp() override {
        SessionTest::SetUp();
        Write("square.obj", kSquare);
    }

    // White squares or cubes in the light of all directions, one a group.
    static json Project(const char* model, int groups) {
        json models = json::array();
        for (int g = 1; g <= groups; ++g)
            models.push_back(
                {{"name", "M"}, {"type", 2}, {"path", model}, {"groups", {g}}, {"bindings", {0}}});
        return {
            {"composition", {{"width", kWidth}, {"height", kHeight}, {"frameRate", 24}}},
            {"lights", {{{"type", "ambient"}}}},
            {"effects",
             {{{"parameters", {{"Output/Multisampling", "1"}}},
               {"scene",
                {{"materials",
                  {{{"name", "White"}, {"type", "Standard Shader"}, {"diffuseColor", {255, 255, 255, 255}}}}},
                 {"models", models}}}}}}};
    }
    static json& Rows(json& project) { return project["effects"][0]["parameters"]; }

    Picture Render(const json& project) {
        Write("p.json", project.dump());
        EXPECT_TRUE(Open("p.json")) << Joined(console_->errors());
        return Frame(0, 32);
    }
    static Coverage Covered(const Picture& picture) {
        Coverage covered(picture.width, picture.height);
        for (int y = 0; y < picture.height; ++y)
            for (int x = 0; x < picture.width; ++x)
                if (Value(picture, x, y, 3) > 0.5) {
                    covered.left = std::min(covered.left, x), covered.right = std::max(covered.right, x);
                    covered.top = std::min(covered.top, y), covered.bottom = std::max(covered.bottom, y);
                }
        return covered;
    }
};

// A sign of 200 by 100 with a hole of 40 by 40 in its left half, without a table of its objects.
constexpr const char* kSign = R"(%PDF-1.4
1 0 obj << /Type /Catalog /Pages 2 0 R >> endobj
2 0 obj << /Type /Pages /Kids [3 0 R] /Count 1 >> endobj
3 0 obj << /Type /Page /Parent 2 0 R /MediaBox [0 0 400 400] /Contents 4 0 R >> endobj
4 0 obj << /Length 46 >> stream
100 100 200 100 re 120 130 40 40 re f*
endstream endobj
trailer << /Root 1 0 R >>
)";

// The default project: the larger side fills edges of 125 pixels around the middle, seen from 444.4 pixels
// away. So the cube's front face spans 62.5 * 444.4 / 381.9 = 72.7 pixels to each side; the sign, 203 by 103
// with its bevel and some 8 pixels before the middle, 62.5 * 1.02 by 31.7 * 1.02.
TEST_F(Pictures, AModelIsFramedAndLitByDefault) {
    Write("sign.pdf", kSign);
    const struct {
        const char* file;
        double x, y;
        int atHole; // alpha there
    } cases[] = {{"cube.obj", 72.7, 72.7, 1}, {"sign.pdf", 63.7, 32.3, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        Good(std::string("render -o a.png --size 320x180 ") + c.file);
        const Picture picture = Pixels("a.png");
        const Coverage covered = Covered(picture);
        EXPECT_NEAR(covered.left, 160 - c.x, 1);
        EXPECT_NEAR(covered.right + 1, 160 + c.x, 1);
        EXPECT_NEAR(covered.top, 90 - c.y, 1);
        EXPECT_NEAR(covered.bottom + 1, 90 + c.y, 1);
        EXPECT_GT(Value(picture, 160, 90, 1), 0.1);
        EXPECT_EQ(Value(picture, 160 - 38, 90, 3), c.atHole);
        EXPECT_EQ(Value(picture, 5, 5, 3), 0);
    }
}

TEST_F(Pictures, AllDepthsShowTheSamePicture) {
    ASSERT_TRUE(Open("cube.json"));
    const Picture bytes = Frame(0, 8), words = Frame(0, 16), floats = Frame(0, 32);
    EXPECT_LT(Covered(bytes).left, 28);
    for (int y = 0; y < bytes.height; ++y)
        for (int x = 0; x < bytes.width; ++x)
            for (int channel = 0; channel < 4; ++channel) {
                const double exact = std::clamp(Value(floats, x, y, channel), 0.0, 1.0);
                ASSERT_NEAR(Value(bytes, x, y, channel), exact, 1.01 / 255)
                    << x << ' ' << y << ' ' << channel;
                ASSERT_NEAR(Value(words, x, y, channel), exact, 2.0 / 32768)
                    << x << ' ' << y << ' ' << channel;
            }
}

TEST_F(Pictures, MissingFilesAreWarningsOneByOne) {
    Write("m.json", R"({"composition": {"width": 64, "height": 36}, "effects": [{"scene": {
      "materials": [{"type": "Standard Shader", "channels": {"diffuse": {"path": "gone.png", "enabled": true}}}],
      "models": [{"name": "A", "type": 2, "path": "lost.obj", "groups": [1]},
                 {"name": "B", "type": 2, "path": "cube.obj", "groups": [2], "bindings": [0]}]}}]})");
    const Ran ran = Velorin("render m.json -o m.png");
    EXPECT_EQ(ran.status, 0) << ran.error;
    EXPECT_TRUE(Exists("m.png"));
    for (const char* name : {"lost.obj", "gone.png"}) EXPECT_THAT(ran.error, HasSubstr(name));
    EXPECT_THAT(ran.error, testing::Not(HasSubstr("error:")));
}

// What the plug-in breaks of its host's rules is told at the end of each session.
TEST_F(Pictures, TheHostFindsNoFaultInAnyMode) {
    Write("two.json", R"({"composition": {"width": 96, "height": 54, "duration": 0.2, "downsample": [2, 3]},
      "lights": [{"type": "spot"}, {"type": "point"}, {"type": "ambient"}, {"type": "parallel"}],
      "camera": {"position": [10, 20, -200]},
      "layers": [{"name": "Back", "width": 30, "height": 20, "color": "#ff8000"}],
      "effects": [{"parameters": {"Override Layer": "Back", "1. Replicator Shape": "Layer", "1. Custom Layer": "Back"},
                   "scene": {"materials": [{"type": "Standard Shader"}], "models": [
                     {"name": "B", "type": 2, "path": "cube.obj", "groups": [1], "bindings": [0]}]}},
                  {"parameters": {"Render Mode": "Unified"}}]})");
    HostOptions options;
    options.strict = true;
    for (const bool twoCopies : {false, true}) {
        options.twoCopies = twoCopies;
        ASSERT_TRUE(Open("two.json", {}, options)) << Joined(console_->errors());
        for (const int frame : {0, 1, 2}) (void)Frame(frame);
    }
    options.twoCopies = false;
    int stopped = 0;
    for (options.cancelAt = 0; options.cancelAt < 4; ++options.cancelAt) {
        ASSERT_TRUE(Open("cube.json", {}, options)) << Joined(console_->errors());
        Picture picture;
        const HostResult result = session_.host->RenderFrame(0, 8, picture);
        EXPECT_TRUE(result.good() || result.code == PF_Interrupt_CANCEL) << result.text;
        stopped += !result.good();
        if (result.good()) continue;
        EXPECT_LT(Covered(Frame(1)).left, 28) << "the next frame is whole";
    }
    EXPECT_GE(stopped, 1);
}

TEST_F(Pictures, InspectionsAnswerInJson) {
    EXPECT_EQ(Json("inspect params").size(), 2427U);
    EXPECT_EQ(Json("inspect scene cube.obj")["models"][0]["path"], Path("cube.obj"));
    EXPECT_EQ(Json("inspect mesh cube.json")["size"], 1);
    EXPECT_EQ(Json("inspect draws cube.json").size(), 1U);
    const json particles = Json("inspect particles cube.json");
    ASSERT_EQ(particles.size(), 1U);
    EXPECT_EQ(particles[0]["position"][0], 32);
    EXPECT_THAT(Good("inspect devices"), HasSubstr("renderer: "));
}

// A cube of half 10 at (100, 50, 0): its corners through a pinhole at the camera's distance.
TEST_F(Pictures, WhatIsPlacedInTheCompLandsOnItsPixels) {
    struct Row {
        const char* name;
        json composition, camera;
        double scaleX, scaleY; // picture pixels a pixel of the comp
        double aspect;
        bool parallel;
    };
    const json front = {{"position", {80, 60, -222.22}}};
    const std::vector<Row> rows{
        {"no camera", json::object(), nullptr, 1, 1, 1, false},
        {"a camera", json::object(), front, 1, 1, 1, false},
        {"orthographic",
         json::object(),
         {{"type", "orthographic"}, {"position", {80, 60, -222.22}}},
         1,
         1,
         1,
         true},
        {"half and a third", {{"downsample", {2, 3}}}, nullptr, 0.5, 1 / 3.0, 1, false},
        {"wide pixels", {{"pixelAspect", 2}}, nullptr, 1, 1, 2, false},
        {"wide pixels and a camera", {{"pixelAspect", 2}}, front, 1, 1, 2, false},
        {"wide pixels, half", {{"pixelAspect", 2}, {"downsample", {2, 1}}}, nullptr, 0.5, 1, 2, false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        json project = Project("cube.obj", 1);
        project["composition"].update(row.composition);
        if (!row.camera.is_null()) project["camera"] = row.camera;
        Rows(project).update({{"1. Position XY", {100, 50}}, {"1. Particle Size", 40}});
        const Picture picture = Render(project);
        EXPECT_EQ(picture.width, std::ceil(kWidth * row.scaleX));
        EXPECT_EQ(picture.height, std::ceil(kHeight * row.scaleY));
        // The world has square pixels, as wide as the comp's are high.
        constexpr double kDistance = kWidth * 50 / 36.0, kHalf = 10;
        double left = 1e9, right = 0, top = 1e9, bottom = 0;
        for (const double z : {-kHalf, kHalf}) {
            const double scale = row.parallel ? 1 : kDistance / (kDistance + z);
            const double x = 100 - kWidth / 2.0, half = kHalf / row.aspect, y = 50 - kHeight / 2.0;
            left = std::min(left, (x - half) * scale), right = std::max(right, (x + half) * scale);
            top = std::min(top, (y - kHalf) * scale), bottom = std::max(bottom, (y + kHalf) * scale);
        }
        const Coverage covered = Covered(picture);
        EXPECT_NEAR(covered.left, (left + kWidth / 2.0) * row.scaleX, 0.51);
        EXPECT_NEAR(covered.right + 1, (right + kWidth / 2.0) * row.scaleX, 0.51);
        EXPECT_NEAR(covered.top, (top + kHeight / 2.0) * row.scaleY, 0.51);
        EXPECT_NEAR(covered.bottom + 1, (bottom + kHeight / 2.0) * row.scaleY, 0.51);
    }
}

// A square of 12 pixels moves 48 of them in a frame: each of 8 samples shows it a step further, and a column
// is covered by as many of them as it meets.
TEST_F(Pictures, MotionBlurIsTheMeanOverTheShutter) {
    struct Row {
        const char* name;
        json composition, rows;
        double step; // pixels between samples
    };
    const std::vector<Row> cases{
        {"the comp's", {{"motionBlur", true}, {"shutterAngle", 180}}, json::object(), 3},
        {"the comp's, switched off", {{"motionBlur", false}, {"shutterAngle", 180}}, json::object(), 0},
        {"the effect's", {{"motionBlur", false}}, {{"Motion Blur", "On"}, {"Shutter Angle", 360}}, 6},
        {"none", {{"motionBlur", true}}, {{"Motion Blur", "Off"}}, 0}};
    for (const Row& row : cases) {
        SCOPED_TRACE(row.name);
        json project = Project("square.obj", 1);
        project["composition"].update(row.composition);
        Rows(project).update({{"1. Particle Size", 24}, {"Motion Blur Samples", 8}});
        Rows(project)["1. Position XY"] = {
            {"keys", {{{"frame", 0}, {"value", {50, 60}}}, {{"frame", 1}, {"value", {98, 60}}}}}};
        Rows(project).update(row.rows);
        const Picture picture = Render(project);
        for (int x = 0; x < kWidth; ++x) {
            double covered = 0;
            for (int i = 0; i < 8; ++i) {
                const double left = 44 + row.step * i;
                covered += x + 0.5 > left && x + 0.5 < left + 12 ? 0.125 : 0;
            }
            ASSERT_NEAR(Value(picture, x, 60, 3), covered, 2e-3) << x;
        }
    }
}

// A thin lens of diameter d spreads a point at distance z over d * f * |1/focus - 1/z| pixels of a picture at
// distance f. The square behind the focus is 10 pixels wide through a pinhole; the other stands in the focus.
TEST_F(Pictures, ManyPassesDrawWhatALensDraws) {
    constexpr double kFocus = 160, kFar = 320, kLens = 20, kNarrow = 10;
    constexpr double kCircle = kLens * kFocus * (1 / kFocus - 1 / kFar);
    json project = Project("square.obj", 2);
    project["camera"] = {{"position", {80, 60, -kFocus}}, {"zoom", kFocus},  {"depthOfField", true},
                         {"focusDistance", kFocus},       {"aperture", 100}, {"blurLevel", 100}};
    Rows(project).update({{"DOF Mode", "Multi Pass (Slower)"},
                          {"DOF Quality", "High"},
                          {"DOF Radius Multiplier", 1},
                          {"1. Position XY", {140, 60}}, // seen at 110
                          {"1. Position Z", kFar - kFocus},
                          {"1. Particle Size", 40},
                          {"2. Position XY", {40, 60}},
                          {"2. Particle Size", 40}});
    const Picture picture = Render(project);
    double sum = 0, x1 = 0, x2 = 0, y1 = 0, y2 = 0;
    int left = kWidth, right = 0;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 80; x < kWidth; ++x) {
            const double alpha = Value(picture, x, y, 3), px = x + 0.5, py = y + 0.5;
            sum += alpha, x1 += alpha * px, x2 += alpha * px * px, y1 += alpha * py, y2 += alpha * py * py;
            if (alpha > 0.001) left = std::min(left, x), right = std::max(right, x + 1);
        }
    ASSERT_GT(sum, 0);
    x1 /= sum, y1 /= sum;
    // No light is lost, but that the software driver cuts 16-bit floats where others round them: 161 means.
    EXPECT_NEAR(sum, kNarrow * kNarrow, 4);
    EXPECT_NEAR(x1, 110, 0.05);
    EXPECT_NEAR(y1, 60, 0.05);
    EXPECT_NEAR(right - left, kNarrow + kCircle, 1.01);
    // The variance of a square's side, and that of a disc along one axis: the square of its diameter over 16.
    const double variance = kNarrow * kNarrow / 12 + kCircle * kCircle / 16;
    EXPECT_NEAR(x2 / sum - x1 * x1, variance, 0.03 * variance);
    EXPECT_NEAR(y2 / sum - y1 * y1, variance, 0.03 * variance);
    for (int x = 0; x < 80; ++x) // in focus: as sharp as without a lens
        EXPECT_NEAR(Value(picture, x, 60, 3), x >= 30 && x < 50 ? 1 : 0, 2e-3) << x;

    // As a picture of the focus: the circle over what the lens spreads far away, here half of it.
    Rows(project)["Output/Show"] = "Focus";
    const Picture focus = Render(project);
    EXPECT_NEAR(Value(focus, 40, 60, 0), 1, 2e-3);
    EXPECT_NEAR(Value(focus, 110, 60, 0), 0.5, 5e-3);
}

// Layers that change from frame to frame, in one process: they are taken when they change, and gone when the
// row is empty.
TEST_F(Pictures, LayersFollowTheirRows) {
    json project = Project("square.obj", 2);
    json& scene = project["effects"][0]["scene"];
    scene["materials"][0]["channels"]["diffuse"] = {{"enabled", true}, {"customLayer", 0}};
    scene["materials"].push_back(scene["materials"][0]);
    scene["materials"][1]["channels"]["diffuse"]["customLayer"] = 3;
    scene["models"][1]["bindings"] = {1};
    const auto layer = [](const char* name, std::vector<int> colour, int height) {
        return json{{"name", name}, {"type", "solid"}, {"color", colour}, {"width", 8}, {"height", height}};
    };
    project["layers"] = {layer("Red", {255, 0, 0}, 8), layer("Green", {0, 255, 0}, 8),
                         layer("Blue", {0, 0, 255}, 4)};
    const auto over = [](const std::vector<json>& values) {
        json keys = json::array();
        for (std::size_t i = 0; i < values.size(); ++i) keys.push_back({{"frame", i}, {"value", values[i]}});
        return json{{"keys", keys}};
    };
    Rows(project).update({{"1. Position XY", {40, 60}},
                          {"1. Particle Size", 80},
                          {"2. Position XY", {120, 60}},
                          {"2. Particle Size", 80},
                          {"Show in BG", true},
                          {"Custom Texture Maps/Layer 1", over({"Red", "Green", nullptr, "Blue"})},
                          {"Custom Texture Maps/Layer 4", over({"Blue", "Blue", "Red", "Red"})},
                          {"Override Layer", over({"Green", nullptr, "Blue", "Blue"})}});
    Write("p.json", project.dump());
    ASSERT_TRUE(Open("p.json")) << Joined(console_->errors());
    using Rgb = std::array<double, 3>;
    constexpr Rgb kRed{1, 0, 0}, kGreen{0, 1, 0}, kBlue{0, 0, 1}, kWhite{1, 1, 1};
    const std::array<std::array<Rgb, 3>, 4> expected{
        {{kRed, kBlue, kGreen}, {kGreen, kBlue, kWhite}, {kWhite, kRed, kBlue}, {kBlue, kRed, kBlue}}};
    for (std::size_t frame = 0; frame < 4; ++frame) {
        const Picture picture = Frame(static_cast<int>(frame));
        for (int channel = 0; channel < 3; ++channel) {
            const auto c = static_cast<std::size_t>(channel);
            EXPECT_NEAR(Value(picture, 40, 60, channel), expected[frame][0][c], 0.01) << frame;
            EXPECT_NEAR(Value(picture, 120, 60, channel), expected[frame][1][c], 0.01) << frame;
            if (frame == 1) // no layer, no file: an even grey
                EXPECT_EQ(Value(picture, 80, 8, channel), Value(picture, 80, 8, 0));
            else
                EXPECT_NEAR(Value(picture, 80, 8, channel), expected[frame][2][c], 0.01) << frame;
        }
    }
}

} // namespace
} // namespace velorin::app
