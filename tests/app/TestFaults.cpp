#include "app/CommandRunner.h"

#include <gmock/gmock.h>

// What a user is told of a fault: one sentence with its place, the exit status, and no file that is half
// there.

namespace velorin::app {
namespace {

using testing::HasSubstr;

struct Fault {
    const char *arguments, *says;
    int status = 1;
};

class Faults : public PluginTest {
protected:
    // `start` stands before the arguments, unless they are a line of the shell of their own.
    void Check(const std::string& start, std::span<const Fault> faults) const {
        for (const Fault& fault : faults) {
            const std::string arguments = fault.arguments;
            const Ran ran = Shell(arguments.find("$V") == std::string::npos ? start + arguments : arguments);
            EXPECT_EQ(ran.status, fault.status) << arguments << '\n' << ran.error;
            EXPECT_THAT(ran.error, testing::StartsWith("velorin: error: ")) << arguments;
            EXPECT_THAT(ran.error, HasSubstr(fault.says)) << arguments;
            EXPECT_EQ(std::count(ran.error.begin(), ran.error.end(), '\n'), 1) << arguments << '\n'
                                                                               << ran.error;
            EXPECT_EQ(Out(), std::set<std::string>{"old.exr"}) << arguments;
        }
        EXPECT_EQ(Read("out/old.exr"), "old");
    }
    void SetUp() override {
        PluginTest::SetUp();
        Write("out/old.exr", "old");
        Write("p.json",
              R"({"composition": {"width": 400, "height": 300, "duration": 0.25}, "effects": [{}]})");
    }
};

TEST_F(Faults, OfUsage) {
    const Fault faults[] = {
        {"", "subcommand", 2},
        {"paint", "there is no command \"paint\"", 2},
        {"bundle lits a.qbndl", "there is no command \"bundle lits\", did you mean \"list\"?", 2},
        {"render", "INPUT", 2},
        {"render p.json", "--output", 2},
        {"render p.json -o", "-o", 2},
        {"render p.json -o out/x.png --frmaes 3", "no option \"--frmaes\", did you mean \"--frames\"?", 2},
        {"render p.json q.json -o out/x.png", "\"q.json\" is one argument too many", 2},
        {"render p.json -o x.jpg", "-o x.jpg: the output is a .png or .exr file", 2},
        {"render p.json -o out/x.png --save p.txt", "--save p.txt: a project is a .json file", 2},
        {"render p.json -o out/x.png --frames 5-2", "--frames 5-2: expected A, A-B or A-B/STEP", 2},
        {"render p.json -o out/x.png --frames 0-2", "/x.png: several frames need #### in the name", 2},
        {"render p.json -o out/x.png --size 0x5", "--size 0x5: expected WxH", 2},
        {"render p.json -o out/x.png --depth 12", "--depth 12: expected 8, 16 or 32", 2},
        {"render p.json -o out/x.png --depth deep", "deep", 2},
        {"render p.json -o out/x.png --set Amount", "--set Amount: expected KEY=VALUE", 2},
        {"render p.json -o out/x.png --frames 6 --plugin $P", "the composition has 6 frames, 0 to 5", 2},
        {"inspect particle", "\"particle\" to inspect, did you mean \"particles\"?", 2},
        {"inspect scene", "inspect scene needs an INPUT", 2},
        {"inspect draws p.json --group 6", "6", 2},
        {"new cube.obj", "--output", 2},
        {"new cube.obj -o a.txt", "-o a.txt: a project is a .json file", 2},
        {"new 1.obj 2.obj 3.obj 4.obj 5.obj 6.obj -o out/a.json", "up to 5 models", 2},
        {"new none.obj -o out/a.json", "none.obj: the model does not exist"},
        {"export p.json -o out/a.stl", "-o out/a.stl: an export is a .obj file", 2},
        {"preset p.json -o out/x.qmx", "give one of --model, --material and --bevel", 2},
        {"preset p.json --model A -o out/x.qmt", "x.qmt: this preset is a .qmx file", 2},
        {"setup p.json", "has no such operation yet"},
    };
    Check("$V ", faults);
}

// With the test plug-in.
TEST_F(Faults, OfProjectsAndModules) {
    Write("broken.json", "{\n  \"composition\": {,}\n}");
    Write("key.json", "{\n  \"compositon\": {}\n}");
    Write("row.json", "{\"effects\": [{\"parameters\": {\n  \"Amuont\": 3 }}]}");
    Write("type.json", "{\"effects\": [{\"parameters\": {\n  \"Amount\": \"lots\" }}]}");
    Write("choice.json", "{\"effects\": [{\"parameters\": {\n  \"Mode\": \"Fil\" }}]}");
    Write("empty.json", "{}");
    Write("x.txt", "hello");
    const Fault faults[] = {
        {"none.json -o out/x.png", "error: none.json: the project cannot be read: No such file or directory"},
        {"none.obj -o out/x.png", "error: none.obj: the model cannot be read: No such file or directory"},
        {"x.txt -o out/x.png",
         "x.txt: this is no project (.json), model (.obj, .pdf, .ai) or preset (.qmx, .qmt, .qbv)"},
        {"broken.json -o out/x.png", "error: broken.json:2:19: syntax error"},
        {"key.json -o out/x.png",
         "key.json:2:3: project: unknown key \"compositon\", did you mean \"composition\"?"},
        {"row.json -o out/x.png", "row.json:2:3: effects[0].parameters: unknown parameter \"Amuont\", did "
                                  "you mean \"Amount\"?"},
        {"type.json -o out/x.png", "type.json:2:13: \"Amount\": expected a number, found a text"},
        {"choice.json -o out/x.png",
         "choice.json:2:11: \"Mode\": \"Fil\" is no choice, did you mean \"Fill\"?"},
        {"empty.json -o out/x.png", "error: empty.json: the project has no effect to render"},
        {"p.json -o out/x.png --set Amuont=3",
         "error: --set Amuont: unknown parameter \"Amuont\", did you mean \"Amount\"?"},
        {"p.json -o no/x.png", "error: no/x.png: "},
        {"p.json -o x.png --save no/p.json", "no/p.json: cannot be written"},
        {"$V render p.json -o out/x.png --plugin none.aex", "none.aex: the plug-in module does not exist"},
        {"$V render p.json -o out/x.png --plugin x.txt", "x.txt: the plug-in module cannot be loaded: "},
        {"(ulimit -f 64; $V render --plugin $P p.json -o out/new.exr)", "error: out/new.exr: "},
        {"(ulimit -f 64; $V render --plugin $P p.json -o out/old.exr)", "error: out/old.exr: "},
        {"p.json -o out/x.png --host-cancel-at 0", "error: frame 0: stopped by the user"},
        {"VELORIN_TEST_FAULT=render-message $V render --plugin $P p.json -o out/x.png",
         "velorin: error: p.json: frame 0: The card is too small.\n"},
        {"VELORIN_TEST_FAULT=write-behind $V render --plugin $P p.json -o out/x.png",
         "broke a rule of its host: SMART_RENDER of effect 1"},
    };
    Check("$V render --plugin $P ", faults);
    // Found at the end only, when the picture is written; by the host's other modes.
    const auto run = [&](const std::string& fault, const std::string& mode) {
        return Shell("VELORIN_TEST_FAULT=" + fault + " $V render --plugin $P p.json -o x.png " + mode);
    };
    EXPECT_EQ(run("leak-handle", "").status, 1);
    EXPECT_EQ(run("leak-suite", "").status, 1);
    EXPECT_EQ(run("leak-suite", "--host-without-suite 'PF AngleParamSuite'").status, 0);
    EXPECT_EQ(run("render-write", "").status, 0);
    EXPECT_THAT(run("render-write", "--host-two-copies").error, HasSubstr("changed from the render side"));
    EXPECT_EQ(run("write-input", "").status, 0);
    EXPECT_THAT(run("write-input", "--host-strict").error, HasSubstr("was written"));
    const auto failed = json::parse(Render("none.json -o a.png --json").out);
    EXPECT_EQ(failed["errors"].size(), 1U);
    EXPECT_EQ(failed["frames"].size(), 0U);
}

// With the real one.
TEST_F(Faults, OfScenesPresetsAndBundles) {
    Write("scene.json", "{\"effects\": [{\"scene\": {\n  \"models\": [{\"name\": \"A\", \"tpye\": 2}]}}]}");
    for (const char* name : {"damaged.qmx", "damaged.qbndl"}) Write(name, "NXCFH, but not for long");
    std::filesystem::create_directory(folder_ / "empty");
    Good("bundle create empty -o empty.qbndl");
    const Fault faults[] = {
        {"render scene.json -o out/x.png", "scene.json:2:36: effects[0].scene /models/0/tpye: "},
        {"render absent.qmx -o out/x.png", "absent.qmx: the file does not exist"},
        {"render damaged.qmx -o out/x.png", "damaged.qmx: this is no model preset, or it is damaged"},
        {"new damaged.qmx -o out/x.json", "damaged.qmx: this is no model preset, or it is damaged"},
        {"render cube.json --set Partcle=3 -o out/x.png", "did you mean \"1. Particle Count\"?"},
        {"inspect mesh cube.json --model cub",
         "error: cube.json: the scene has no model \"cub\", did you mean \"cube\"?\n"},
        {"preset letter.json --model Lettr -o out/x.qmx", "no model \"Lettr\", did you mean \"Letter\"?"},
        {"preset letter.json --bevel Letter:3 -o out/x.qbv", "\"Letter\" has the bevels 1 to 2"},
        {"preset cube.json --model cube -o no/x.qmx", "no/x.qmx: cannot be written: No such file"},
        {"bundle list absent.qbndl", "absent.qbndl: the file does not exist"},
        {"bundle list damaged.qbndl", "damaged.qbndl: this is no bundle, or it is damaged"},
        {"bundle create absent -o out/x.qbndl", "absent: is not a folder"},
        {"bundle create user -o no/x.qbndl", "no/x.qbndl: cannot be written: No such file or directory"},
        {"inspect preset 'empty.qbndl>a.qmx'", "empty.qbndl: the bundle has no entry \"a.qmx\""},
        {"new 'damaged.qbndl>a.qmx' -o out/x.json", "damaged.qbndl: this is no bundle, or it is damaged"},
        {"preset cube.json --model cube -o 'c.qbndl>x.qmx'", "the presets of a bundle cannot be changed"},
        {"sheet user -o out/x.png", "user: there is no preset in this folder"},
        {"export cube.json -o out/a.obj --group 4", "out/a.obj: is not written: group 4 shows no model"},
        {"export cube.json -o out/none/a.obj", "out/none/a.obj: cannot be written: No such file"},
        {"export cube.json -o out/a.obj --frame 9999", "cube.json: the composition has 24 frames"},
        {"(ulimit -f 1; $V export cube.json -o out/a.obj)", "out/a.obj: cannot be written: File too large"},
    };
    Check("$V ", faults);
}

} // namespace
} // namespace velorin::app
