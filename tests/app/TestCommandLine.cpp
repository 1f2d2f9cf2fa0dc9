#include "app/CommandRunner.h"

#include "app/images/Picture.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

// The command itself, with the test plug-in in place of the real one.

namespace velorin::app {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kProject = R"({"composition": {"width": 32, "height": 16, "duration": 0.25},
  "effects": [{"parameters": {"Amount": 100}}]})";

class CommandLine : public CommandTest {
protected:
    void SetUp() override {
        CommandTest::SetUp();
        Write("p.json", kProject);
    }
};

TEST_F(CommandLine, WrongUsageIsStatus2AndOneReason) {
    struct Case {
        const char *arguments, *says;
    };
    const Case cases[] = {
        {"", "subcommand"},
        {"paint", "there is no command \"paint\""},
        {"bundle lits a.qbndl", "there is no command \"bundle lits\", did you mean \"list\"?"},
        {"render", "INPUT"},
        {"render p.json", "--output"},
        {"render p.json -o", "-o"},
        {"render p.json -o x.png --frmaes 3", "no option \"--frmaes\", did you mean \"--frames\"?"},
        {"render p.json q.json -o x.png", "\"q.json\" is one argument too many"},
        {"render p.json -o x.jpg", "-o x.jpg: the output is a .png or .exr file"},
        {"render p.json -o x.png --frames 5-2", "--frames 5-2: expected A, A-B or A-B/STEP"},
        {"render p.json -o x.png --frames 0-2", "-o x.png: several frames need #### in the name"},
        {"render p.json -o x.png --size 0x5", "--size 0x5: expected WxH"},
        {"render p.json -o x.png --depth 12", "--depth 12: expected 8, 16 or 32"},
        {"render p.json -o x.png --depth deep", "deep"},
        {"render p.json -o x.png --set Amount", "--set Amount: expected KEY=VALUE"},
        {"render p.json -o x.png --frames 6 --plugin $P", "--frames 6: the composition has 6 frames, 0 to 5"},
        {"inspect particle", "\"particle\" to inspect, did you mean \"particles\"?"},
        {"inspect scene", "inspect scene needs an INPUT"},
        {"inspect draws p.json --group 6", "6"},
        {"new a.obj", "--output"},
        {"new a.obj -o a.txt", "-o a.txt: a project is a .json file"},
        {"new 1.obj 2.obj 3.obj 4.obj 5.obj 6.obj -o a.json", "up to 5 models"},
    };
    for (const Case& c : cases) {
        const Ran ran = Velorin(c.arguments);
        EXPECT_EQ(ran.status, 2) << c.arguments << ": " << ran.error;
        EXPECT_THAT(ran.error, StartsWith("velorin: error: ")) << c.arguments;
        EXPECT_THAT(ran.error, HasSubstr(c.says)) << c.arguments;
        EXPECT_EQ(std::count(ran.error.begin(), ran.error.end(), '\n'), 1) << ran.error;
    }
    EXPECT_FALSE(Exists("x.png"));
    for (const char* help :
         {"--help", "render --help", "inspect --help", "new --help", "export --help", "setup -h"}) {
        const Ran ran = Velorin(help);
        EXPECT_EQ(ran.status, 0) << help;
        EXPECT_THAT(ran.out, HasSubstr("Usage: velorin")) << help;
        EXPECT_THAT(ran.out, testing::Not(HasSubstr("--host"))) << help;
    }
}

TEST_F(CommandLine, BadInputIsStatus1AndOneLineWithItsPlace) {
    Write("broken.json", "{\n  \"composition\": {,}\n}");
    Write("key.json", "{\n  \"compositon\": {}\n}");
    Write("row.json", "{\"effects\": [{\"parameters\": {\n  \"Amuont\": 3 }}]}");
    Write("type.json", "{\"effects\": [{\"parameters\": {\n  \"Amount\": \"lots\" }}]}");
    Write("choice.json", "{\"effects\": [{\"parameters\": {\n  \"Mode\": \"Fil\" }}]}");
    Write("empty.json", "{}");
    Write("x.txt", "hello");
    struct Case {
        const char *arguments, *line;
    };
    const Case cases[] = {
        {"none.json -o x.png",
         "velorin: error: none.json: the project cannot be read: No such file or directory"},
        {"none.obj -o x.png",
         "velorin: error: none.obj: the model cannot be read: No such file or directory"},
        {"x.txt -o x.png",
         "velorin: error: x.txt: this is no project (.json), model (.obj, .pdf, .ai) or preset (.qmx, "
         ".qmt, .qbv)"},
        {"broken.json -o x.png", "velorin: error: broken.json:2:19: syntax error"},
        {"key.json -o x.png",
         "velorin: error: key.json:2:3: project: unknown key \"compositon\", did you mean \"composition\"?"},
        {"row.json -o x.png",
         "velorin: error: row.json:2:3: effects[0].parameters: unknown parameter \"Amuont\", did "
         "you mean \"Amount\"?"},
        {"type.json -o x.png", "velorin: error: type.json:2:13: \"Amount\": expected a number, found a text"},
        {"choice.json -o x.png",
         "velorin: error: choice.json:2:11: \"Mode\": \"Fil\" is no choice, did you mean \"Fill\"?"},
        {"empty.json -o x.png", "velorin: error: empty.json: the project has no effect to render"},
        {"p.json -o x.png --set Amuont=3",
         "velorin: error: --set Amuont: unknown parameter \"Amuont\", did you mean \"Amount\"?"},
        {"p.json -o no/x.png", "velorin: error: no/x.png: "},
        {"p.json -o x.png --plugin none.aex", "velorin: error: none.aex: the plug-in module does not exist"},
        {"p.json -o x.png --plugin x.txt", "x.txt: the plug-in module cannot be loaded: "},
    };
    for (const Case& c : cases) {
        const bool plugin = std::string(c.arguments).find("--plugin") != std::string::npos;
        const Ran ran = plugin ? Velorin(std::string("render ") + c.arguments) : Render(c.arguments);
        EXPECT_EQ(ran.status, 1) << c.arguments;
        EXPECT_THAT(ran.error, HasSubstr(c.line)) << c.arguments;
        EXPECT_EQ(std::count(ran.error.begin(), ran.error.end(), '\n'), 1) << ran.error;
    }
    EXPECT_FALSE(Exists("x.png"));
}

TEST_F(CommandLine, AClampedValueIsAWarningThatQuietHides) {
    const Ran told = Render("p.json -o x.png --set Amount=999");
    EXPECT_EQ(told.status, 0) << told.error;
    EXPECT_EQ(told.error,
              "velorin: warning: --set Amount: \"Amount\": 999 lies outside 0 to 200, taken as 200\n");
    EXPECT_EQ(Render("p.json -o x.png --set Amount=999 --quiet").error, "");
}

TEST_F(CommandLine, FramesGetTheirNumbersAndOnlyThoseAskedFor) {
    EXPECT_EQ(Render("p.json -o a####.png --frames 1-5/2").status, 0);
    for (const char* name : {"a0001.png", "a0003.png", "a0005.png"}) EXPECT_TRUE(Exists(name)) << name;
    for (const char* name : {"a0000.png", "a0002.png", "a####.png"}) EXPECT_FALSE(Exists(name)) << name;
    EXPECT_EQ(Render("p.json -o b.png --frames 3").status, 0);
    EXPECT_TRUE(Exists("b.png"));
    EXPECT_EQ(Render("p.json -o c####.exr").status, 0); // all six
    EXPECT_TRUE(Exists("c0000.exr"));
    EXPECT_TRUE(Exists("c0005.exr"));
    EXPECT_FALSE(Exists("c0006.exr"));
}

TEST_F(CommandLine, SizeDepthAndSettingsReachThePicture) {
    ASSERT_EQ(Render("p.json -o a.png --size 20x10 --set Amount=50").status, 0);
    Picture picture;
    std::string reason;
    ASSERT_TRUE(ReadPicture(Path("a.png"), picture, reason)) << reason;
    EXPECT_EQ(picture.width, 20);
    EXPECT_EQ(picture.height, 10);
    EXPECT_EQ(picture.depth, 8);
    EXPECT_EQ(std::to_integer<int>(picture.row(0)[0]), 255 * 50 / 200);
    ASSERT_EQ(Render("p.json -o b.png --depth 16").status, 0);
    ASSERT_TRUE(ReadPicture(Path("b.png"), picture, reason)) << reason;
    EXPECT_EQ(picture.depth, 16);
    EXPECT_EQ(reinterpret_cast<const std::uint16_t*>(picture.row(0))[0], 32768); // half of 65535, rounded
    ASSERT_EQ(Render("p.json -o c.exr").status, 0);
    ASSERT_TRUE(ReadPicture(Path("c.exr"), picture, reason)) << reason;
    EXPECT_EQ(picture.depth, 32);
    EXPECT_EQ(reinterpret_cast<const float*>(picture.row(0))[0], 0.5F);
}

TEST_F(CommandLine, KeyframesAndSeveralEffectsRender) {
    Write("k.json", R"({"composition": {"width": 4, "height": 4, "duration": 1, "frameRate": 10}, "effects": [
      {"parameters": {"Amount": {"keys": [{"frame": 0, "value": 0}, {"frame": 8, "value": 160}]}}},
      {"parameters": {"Mode": "Add to Input", "11": 20}},
      {"enabled": false, "parameters": {"Mode": "Nothing"}}]})");
    ASSERT_EQ(Render("k.json -o k####.png --frames 0-4/4").status, 0);
    Picture picture;
    std::string reason;
    ASSERT_TRUE(ReadPicture(Path("k0004.png"), picture, reason)) << reason;
    EXPECT_EQ(std::to_integer<int>(picture.row(0)[0]), 102 + 25); // 255 * 80 / 200, then 255 * 20 / 200 more
}

TEST_F(CommandLine, JsonReportsEveryFrame) {
    const Ran ran = Render("p.json -o a####.png --frames 0-1 --json --set Amount=-1");
    ASSERT_EQ(ran.status, 0) << ran.error;
    const auto report = nlohmann::json::parse(ran.out);
    ASSERT_EQ(report["frames"].size(), 2U);
    EXPECT_EQ(report["frames"][1]["frame"], 1);
    EXPECT_EQ(report["frames"][1]["file"], "a0001.png");
    EXPECT_GT(report["frames"][1]["milliseconds"].get<double>(), 0);
    EXPECT_GT(report["peakMemory"].get<double>(), 1e6);
    EXPECT_EQ(report["warnings"].size(), 1U);
    EXPECT_TRUE(report.contains("gl"));
    EXPECT_TRUE(report.contains("cl"));
    const auto failed = nlohmann::json::parse(Render("none.json -o a.png --json").out);
    EXPECT_EQ(failed["errors"].size(), 1U);
    EXPECT_EQ(failed["frames"].size(), 0U);
}

// Whatever the file system refuses, nothing half-written stays, and what stood there before is kept.
TEST_F(CommandLine, AFullDiskLeavesNoHalfFile) {
    Write("big.json", R"({"composition": {"width": 400, "height": 300}, "effects": [{}]})");
    Write("old.exr", "old");
    for (const char* name : {"new.exr", "old.exr"}) {
        const Ran ran = Shell(std::string("(ulimit -f 64; $V render --plugin $P big.json -o ") + name + ")");
        EXPECT_EQ(ran.status, 1);
        EXPECT_THAT(ran.error, HasSubstr(std::string("velorin: error: ") + name + ": ")) << ran.error;
    }
    EXPECT_FALSE(Exists("new.exr"));
    EXPECT_EQ(Read("old.exr"), "old");
    for (const auto& entry : std::filesystem::directory_iterator(folder_))
        EXPECT_EQ(entry.path().string().find(".exr."), std::string::npos) << entry.path();
}

TEST_F(CommandLine, CtrlCStopsAndLeavesFinishedFrames) {
    Write("long.json", R"({"composition": {"width": 8, "height": 8, "duration": 1000}, "effects": [{}]})");
    const Ran ran =
        Shell("export VELORIN_TEST_FAULT=slow; $V render --plugin $P long.json -o f####.png & pid=$!; "
              "while [ ! -e f0002.png ]; do sleep 0.02; done; kill -INT $pid; wait $pid");
    EXPECT_EQ(ran.status, 1);
    EXPECT_TRUE(Exists("f0002.png"));
    EXPECT_THAT(Read("stderr.txt") + ran.error,
                testing::AnyOf(HasSubstr("stopped by the user"), testing::IsEmpty()));
    Picture picture;
    std::string reason;
    for (const auto& entry : std::filesystem::directory_iterator(folder_))
        if (entry.path().extension() == ".png") {
            EXPECT_TRUE(ReadPicture(entry.path().string(), picture, reason)) << entry.path() << reason;
        }
}

TEST_F(CommandLine, AFaultOfThePlugInFailsTheRun) {
    setenv("VELORIN_TEST_FAULT", "write-behind", 1);
    const Ran ran = Render("p.json -o x.png");
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.error, HasSubstr("broke a rule of its host: SMART_RENDER of effect 1"));
    setenv("VELORIN_TEST_FAULT", "leak-handle", 1); // found at the end only
    EXPECT_EQ(Render("p.json -o x.png").status, 1);
    setenv("VELORIN_TEST_FAULT", "render-message", 1);
    const Ran message = Render("p.json -o y.png");
    EXPECT_EQ(message.status, 1);
    EXPECT_EQ(message.error, "velorin: error: p.json: frame 0: The card is too small.\n");
    EXPECT_FALSE(Exists("y.png"));
}

TEST_F(CommandLine, InspectShowsTheRowsOfTheHost) {
    const Ran ran = Velorin("inspect params --plugin $P --json");
    ASSERT_EQ(ran.status, 0) << ran.error;
    const auto rows = nlohmann::json::parse(ran.out);
    ASSERT_EQ(rows.size(), 11U);
    EXPECT_EQ(rows[1]["index"], 2);
    EXPECT_EQ(rows[1]["diskId"], 11);
    EXPECT_EQ(rows[1]["kind"], "float");
    EXPECT_EQ(rows[1]["max"], 200);
    EXPECT_EQ(rows[3]["choices"][1], "Add to Input");
    EXPECT_EQ(rows[9]["uiFlags"], 8);
    EXPECT_EQ(rows[10]["uiWidth"], 80);
    EXPECT_FALSE(rows[1].contains("hidden"));
    const auto withInput = nlohmann::json::parse(Velorin("inspect params p.json --plugin $P --json").out);
    EXPECT_EQ(withInput[1]["hidden"], false);
    EXPECT_THAT(Velorin("inspect params --plugin $P").out, HasSubstr("11      float"));
}

TEST_F(CommandLine, NewWritesAProjectThatReadsBack) {
    Write("a.obj", "v 0 0 0\n");
    Write("b.obj", "v 0 0 0\n");
    std::filesystem::create_directories(folder_ / "sub");
    EXPECT_EQ(Velorin("new a.obj -o sub/p.json").status, 0);
    const auto one = nlohmann::json::parse(Read("sub/p.json"));
    EXPECT_EQ(one["effects"][0]["scene"]["models"][0]["path"], "../a.obj");
    EXPECT_EQ(Velorin("new a.obj b.obj -o two.json").status, 0);
    const auto two = nlohmann::json::parse(Read("two.json"));
    EXPECT_EQ(two["effects"][0]["scene"]["models"][1]["groups"][0], 2);
    const Ran missing = Velorin("new none.obj -o n.json");
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.error, "velorin: error: none.obj: the model does not exist\n");
    EXPECT_FALSE(Exists("n.json"));
}

TEST_F(CommandLine, OperationsThatAreNotThereSaySo) {
    const Ran ran = Velorin("setup p.json");
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.error, HasSubstr("has no such operation yet"));
}

} // namespace
} // namespace velorin::app
