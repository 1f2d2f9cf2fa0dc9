#include "app/CommandRunner.h"

#include <gmock/gmock.h>

// The command itself, with the test plug-in in place of the real one.

namespace velorin::app {
namespace {

using testing::HasSubstr;

class CommandLine : public CommandTest {
protected:
    void SetUp() override {
        CommandTest::SetUp();
        Write("p.json", R"({"composition": {"width": 32, "height": 16, "duration": 0.25},
                            "effects": [{"parameters": {"Amount": 100}}]})");
    }
};

TEST_F(CommandLine, HelpShowsWhatIsForUsers) {
    for (const char* help : {"--help", "render --help", "inspect --help", "setup -h"}) {
        const std::string text = Good(help);
        EXPECT_THAT(text, HasSubstr("Usage: velorin")) << help;
        EXPECT_THAT(text, testing::Not(HasSubstr("--host"))) << help;
    }
}

TEST_F(CommandLine, FramesGetTheirNumbersAndOnlyThoseAskedFor) {
    const std::pair<const char*, std::set<std::string>> cases[] = {
        {"p.json -o out/a####.png --frames 1-5/2", {"a0001.png", "a0003.png", "a0005.png"}},
        {"p.json -o out/b.png --frames 3", {"b.png"}},
        {"p.json -o out/c#####.exr",
         {"c00000.exr", "c00001.exr", "c00002.exr", "c00003.exr", "c00004.exr", "c00005.exr"}}};
    for (const auto& [arguments, files] : cases) {
        EXPECT_EQ(Render(arguments).status, 0) << arguments;
        EXPECT_EQ(Out(), files);
        for (const std::string& file : files) std::filesystem::remove(folder_ / "out" / file);
    }
}

TEST_F(CommandLine, SizeDepthValuesAndKeyframesReachThePicture) {
    Write("k.json", R"({"composition": {"width": 4, "height": 4, "duration": 1, "frameRate": 10}, "effects": [
      {"parameters": {"Amount": {"keys": [{"frame": 0, "value": 0}, {"frame": 8, "value": 160}]}}},
      {"parameters": {"Mode": "Add to Input", "11": 20}},
      {"enabled": false, "parameters": {"Mode": "Nothing"}}]})");
    const struct {
        const char *arguments, *file;
        int width, height, depth;
        double red;
    } cases[] = {
        {"p.json -o a.png --size 20x10 --set Amount=50", "a.png", 20, 10, 8, 63 / 255.0}, // a quarter, cut
        {"p.json -o a.png --depth 16", "a.png", 32, 16, 16, 32768 / 65535.0},             // half, rounded
        {"p.json -o a.exr", "a.exr", 32, 16, 32, 0.5},
        {"k.json -o a.png --frames 4", "a.png", 4, 4, 8, (102 + 25) / 255.0}, // 80 of 200, then 20 more
    };
    for (const auto& c : cases) {
        ASSERT_EQ(Render(c.arguments).status, 0) << c.arguments;
        const Picture picture = Pixels(c.file);
        EXPECT_EQ(picture.width, c.width) << c.arguments;
        EXPECT_EQ(picture.height, c.height) << c.arguments;
        EXPECT_EQ(picture.depth, c.depth) << c.arguments;
        EXPECT_NEAR(Value(picture, 0, 0, 0), c.red, 1e-9) << c.arguments;
    }
}

TEST_F(CommandLine, JsonReportsEveryFrameAndQuietHidesWarnings) {
    const Ran ran = Render("p.json -o a####.png --frames 0-1 --json --set Amount=999");
    ASSERT_EQ(ran.status, 0) << ran.error;
    EXPECT_EQ(ran.error,
              "velorin: warning: --set Amount: \"Amount\": 999 lies outside 0 to 200, taken as 200\n");
    const json report = json::parse(ran.out);
    ASSERT_EQ(report["frames"].size(), 2U);
    EXPECT_EQ(report["frames"][1]["frame"], 1);
    EXPECT_EQ(report["frames"][1]["file"], "a0001.png");
    EXPECT_GT(report["frames"][1]["milliseconds"].get<double>(), 0);
    EXPECT_GT(report["peakMemory"].get<double>(), 1e6);
    EXPECT_EQ(report["warnings"].size(), 1U);
    EXPECT_TRUE(report.contains("gl") && report.contains("cl"));
    EXPECT_EQ(Render("p.json -o x.png --set Amount=999 --quiet").error, "");
}

TEST_F(CommandLine, CtrlCStopsAndLeavesFinishedFrames) {
    Write("long.json", R"({"composition": {"width": 8, "height": 8, "duration": 1000}, "effects": [{}]})");
    const Ran ran =
        Shell("export VELORIN_TEST_FAULT=slow; $V render --plugin $P long.json -o out/f####.png & pid=$!; "
              "while [ ! -e out/f0002.png ]; do sleep 0.02; done; kill -INT $pid; wait $pid");
    EXPECT_EQ(ran.status, 1);
    EXPECT_TRUE(Exists("out/f0002.png"));
    for (const std::string& name : Out()) EXPECT_EQ(Pixels("out/" + name).width, 8) << name;
}

TEST_F(CommandLine, InspectShowsTheRowsOfTheHost) {
    const json rows = Json("inspect params --plugin $P");
    ASSERT_EQ(rows.size(), 11U);
    EXPECT_EQ(rows[1]["index"], 2);
    EXPECT_EQ(rows[1]["diskId"], 11);
    EXPECT_EQ(rows[1]["kind"], "float");
    EXPECT_EQ(rows[1]["max"], 200);
    EXPECT_EQ(rows[3]["choices"][1], "Add to Input");
    EXPECT_EQ(rows[9]["uiFlags"], 8);
    EXPECT_EQ(rows[10]["uiWidth"], 80);
    EXPECT_FALSE(rows[1].contains("hidden"));
    EXPECT_EQ(Json("inspect params p.json --plugin $P")[1]["hidden"], false);
    EXPECT_THAT(Good("inspect params --plugin $P"), HasSubstr("11      float"));
}

TEST_F(CommandLine, NewWritesAProjectThatReadsBack) {
    for (const char* file : {"a.obj", "b.obj", "c.pdf"}) Write(file, "v 0 0 0\n");
    std::filesystem::create_directories(folder_ / "sub");
    Good("new a.obj -o sub/p.json");
    const auto models = [&](const char* project) {
        return json::parse(Read(project))["effects"][0]["scene"]["models"];
    };
    EXPECT_EQ(models("sub/p.json")[0]["path"], "../a.obj");
    Good("new a.obj b.obj c.pdf -o three.json");
    EXPECT_EQ(models("three.json")[1]["groups"], json{2});
    EXPECT_EQ(models("three.json")[1]["type"], 2);
    EXPECT_EQ(models("three.json")[2]["type"], 7); // outlines
}

} // namespace
} // namespace velorin::app
