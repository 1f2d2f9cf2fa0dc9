#include "app/CommandRunner.h"

#include "app/images/Picture.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

// Presets, bundles, the library and the model cache by the commands of a user, with the real plug-in.

namespace velorin::app {
namespace {

using nlohmann::json;
using testing::HasSubstr;

// Two faces of an upright wall, one a material.
constexpr const char* kWall = "mtllib wall.mtl\nv -1 -1 0\nv 0 -1 0\nv 1 -1 0\nv -1 1 0\nv 0 1 0\nv 1 1 0\n"
                              "usemtl Red\nf 1 4 5 2\nusemtl Blue\nf 2 5 6 3\n";
constexpr const char* kColours = "newmtl Red\nKd 0.9 0.05 0.05\nnewmtl Blue\nKd 0.05 0.05 0.9\n";
constexpr const char* kExtrusion =
    R"({"velorin":1,"effects":[{"scene":{"models":[{"name":"Letter","type":7,"bevelCopies":1,"bevels":[{},{"bevelSize":2}],
"storedPaths":[[{"position":[0,0]},{"position":[100,0]},{"position":[50,80]}]]}]}}]})";

class Presets : public PluginTest {
protected:
    void SetUp() override {
        PluginTest::SetUp();
        Write("wall.obj", kWall);
        Write("wall.mtl", kColours);
    }
    void Good(const std::string& arguments) const {
        const Ran ran = Velorin(arguments);
        EXPECT_EQ(ran.status, 0) << arguments << "\n" << ran.error;
        EXPECT_THAT(ran.error, testing::Not(HasSubstr("warning"))) << arguments;
    }
    [[nodiscard]] json Json(const std::string& arguments) const {
        const Ran ran = Velorin(arguments);
        EXPECT_EQ(ran.status, 0) << arguments << "\n" << ran.error;
        return json::parse(ran.out, nullptr, false);
    }
    [[nodiscard]] Picture Pixels(const std::string& name) const {
        Picture picture;
        std::string reason;
        EXPECT_TRUE(ReadPicture(Path(name), picture, reason)) << name << ": " << reason;
        return picture;
    }
    static std::array<int, 4> At(const Picture& picture, int x, int y) {
        const std::byte* const pixel = picture.row(y) + 4 * x;
        return {std::to_integer<int>(pixel[0]), std::to_integer<int>(pixel[1]),
                std::to_integer<int>(pixel[2]), std::to_integer<int>(pixel[3])};
    }
};

TEST_F(Presets, AModelIsThePictureThatItWasKeptFrom) {
    Good("new wall.obj -o p.json");
    Good("preset p.json --model wall -o wall.qmx");
    Good("preset p.json --material Blue -o sub.qmt");
    // The default project of a small picture has smaller particles.
    Good("render p.json -o p.png --size 160x90 --set '1. Particle Size=1.25'");
    Good("render wall.qmx -o q.png --size 160x90");
    EXPECT_EQ(Read("p.png"), Read("q.png"));
    const auto left = At(Pixels("p.png"), 65, 45), right = At(Pixels("p.png"), 95, 45);
    EXPECT_GT(left[2], 2 * left[0]);
    EXPECT_GT(right[0], 2 * right[2]);

    const json model = Json("inspect preset wall.qmx --json");
    EXPECT_EQ(model["kind"], "model");
    EXPECT_EQ(model["picture"], (json{{"width", 105}, {"height", 63}}));
    EXPECT_EQ(model["models"][0]["materials"], (json{"Red", "Blue"}));
    EXPECT_EQ(model["materials"].size(), 2u);
    EXPECT_EQ(Json("inspect preset sub.qmt --json")["materials"][0]["name"], "Blue");

    // A project of the preset names the model relative to itself, and keeps what the preset has.
    Good("new wall.qmx -o again.json");
    const json again = json::parse(Read("again.json"));
    EXPECT_EQ(again["effects"][0]["scene"]["models"][0]["path"], "wall.obj");
    EXPECT_EQ(again["effects"][0]["scene"]["materials"].size(), 2u);

    // The sheet: two folders, so two headings; the material's ball is blue in the middle of its tile.
    std::filesystem::create_directory(folder_ / "sheet");
    std::filesystem::create_directory(folder_ / "sheet/b");
    std::filesystem::rename(folder_ / "sub.qmt", folder_ / "sheet/Blue.qmt");
    std::filesystem::rename(folder_ / "wall.qmx", folder_ / "sheet/b/wall.qmx");
    Good("sheet sheet -o sheet.png --tile 80x64");
    const Picture sheet = Pixels("sheet.png");
    constexpr int kTileHeight = 64 + 26 + 10, kHeading = 30;
    EXPECT_EQ(sheet.width, 10 + 80 + 10) << "no folder has more than one";
    ASSERT_EQ(sheet.height, 10 + 2 * (kHeading + kTileHeight));
    const auto ball = At(sheet, 10 + 40, 10 + kHeading + 30);
    EXPECT_GT(ball[2], ball[0] + 30);
    int bright = 0;
    for (int x = 10; x < 90; ++x)
        for (int y = 10 + kHeading + 64; y < 10 + kHeading + 64 + 26; ++y) bright += At(sheet, x, y)[0] > 150;
    EXPECT_GT(bright, 20) << "its name stands below";
}

TEST_F(Presets, ABevelIsKeptByItsNumber) {
    Write("p.json", kExtrusion);
    Good("preset p.json --bevel Letter:2 -o b.qbv");
    const json bevel = Json("inspect preset b.qbv --json");
    EXPECT_EQ(bevel["bevel"]["bevelSize"], 2);
    EXPECT_EQ(bevel["picture"]["width"], 105);
}

TEST_F(Presets, EveryFaultIsOneSentence) {
    Write("p.json", kExtrusion);
    Write("damaged.qmx", "NXCFH, but not for long");
    Write("damaged.qbndl", "NXMPC");
    std::filesystem::create_directory(folder_ / "empty");
    Good("bundle create empty -o empty.qbndl");
    const struct {
        const char* arguments;
        int status;
        const char* sentence;
    } cases[] = {
        {"render absent.qmx -o x.png", 1, "absent.qmx: the file does not exist"},
        {"render damaged.qmx -o x.png", 1, "damaged.qmx: this is no model preset, or it is damaged"},
        {"new damaged.qmx -o x.json", 1, "damaged.qmx: this is no model preset, or it is damaged"},
        {"preset p.json --model Lettr -o x.qmx", 1, "no model \"Lettr\", did you mean \"Letter\"?"},
        {"preset p.json --bevel Letter:3 -o x.qbv", 1, "\"Letter\" has the bevels 1 to 2"},
        {"preset p.json --model Letter -o x.qmt", 2, "x.qmt: this preset is a .qmx file"},
        {"preset p.json --model Letter -o no/x.qmx", 1,
         "no/x.qmx: cannot be written: No such file or directory"},
        {"preset p.json -o x.qmx", 2, "give one of --model, --material and --bevel"},
        {"bundle list absent.qbndl", 1, "absent.qbndl: the file does not exist"},
        {"bundle list damaged.qbndl", 1, "damaged.qbndl: this is no bundle, or it is damaged"},
        {"bundle create absent -o x.qbndl", 1, "absent: is not a folder"},
        {"bundle create user -o no/x.qbndl", 1, "no/x.qbndl: cannot be written: No such file or directory"},
        {"inspect preset 'empty.qbndl>a.qmx'", 1, "empty.qbndl: the bundle has no entry \"a.qmx\""},
        {"new 'damaged.qbndl>a.qmx' -o x.json", 1, "damaged.qbndl: this is no bundle, or it is damaged"},
        {"preset p.json --model Letter -o 'c.qbndl>x.qmx'", 1, "the presets of a bundle cannot be changed"},
        {"sheet user -o x.png", 1, "user: there is no preset in this folder"},
        {"render p.json --set Partcle=3 -o x.png", 1, "did you mean \"1. Particle Count\"?"},
    };
    for (const auto& [arguments, status, sentence] : cases) {
        const Ran ran = Velorin(arguments);
        EXPECT_EQ(ran.status, status) << arguments;
        EXPECT_THAT(ran.error, HasSubstr(sentence)) << arguments;
        EXPECT_EQ(std::count(ran.error.begin(), ran.error.end(), '\n'), 1) << arguments << "\n" << ran.error;
    }
    EXPECT_FALSE(Exists("x.png") || Exists("x.qmx") || Exists("x.json"));
}

TEST_F(Presets, BundlesGiveBackWhatWentIn) {
    std::filesystem::create_directories(folder_ / "in/Materials");
    Good("new wall.obj -o p.json");
    Good("preset p.json --model wall -o in/wall.qmx");
    for (const char* name : {"wall.obj", "wall.mtl"})
        std::filesystem::rename(Path(name), Path(std::string("in/") + name));
    Write("in/Materials/a.qmt", std::string("any\0bytes", 9));
    Write("in/Materials/b.png", std::string(70000, 'p'));
    Write("in/notes.txt", "left out");
    EXPECT_EQ(Velorin("bundle create in -o c.qbndl").error,
              "velorin: warning: in/notes.txt: left out, as it is no model, preset or picture\n");
    const json list = Json("bundle list c.qbndl --json");
    EXPECT_EQ(list["id"], "c");
    EXPECT_EQ(list["folders"], json{"Materials/"});
    ASSERT_EQ(list["items"].size(), 4u);
    EXPECT_EQ(list["items"][1], (json{{"name", "Materials/b.png"}, {"bytes", 70000}}));
    for (const char* name : {"Materials/a.qmt", "Materials/b.png"}) {
        Good("bundle extract c.qbndl " + std::string(name) + " -o out");
        EXPECT_EQ(Read("out"), Read(std::string("in/") + name));
    }
    EXPECT_THAT(Velorin("bundle extract c.qbndl Materials/c.qmt -o no").error,
                HasSubstr("no entry \"Materials/c.qmt\", did you mean \"Materials/a.qmt\"?"));
    // An entry stands for a file everywhere. What a preset in a bundle names is looked for beside the bundle.
    Good("render 'c.qbndl>wall.obj' -o a.png --size 64x36");
    Good("render in/wall.obj -o b.png --size 64x36");
    EXPECT_EQ(Read("a.png"), Read("b.png"));
    std::filesystem::rename(Path("in/wall.obj"), Path("wall.obj"));
    Good("render 'c.qbndl>wall.qmx' -o c.png --size 64x36");
    EXPECT_EQ(Read("a.png"), Read("c.png"));
    Good("new 'c.qbndl>wall.obj' 'c.qbndl>wall.qmx' -o two.json");
    const json models = json::parse(Read("two.json"))["effects"][0]["scene"]["models"];
    EXPECT_EQ(models[0]["path"], "c.qbndl>wall.obj");
    EXPECT_EQ(models[1]["path"], "wall.obj");
}

TEST_F(Presets, ASequencePlaysEachOfItsFilesFromOneRecord) {
    Write("w9.obj", "v -1 -1 0\nv 1 -1 0\nv 0 1 0\nf 1 3 2\n");
    Write("w10.obj", Read("wall.obj"));
    Write("w12.obj", Read("wall.obj")); // not in the row
    Write("s.json", R"({"effects": [{"parameters": {"1. Particle Size": 40}, "scene": {"models":
        [{"type": "3D Sequence", "path": "w9.obj"}]}}]})");
    const json model = Json("inspect scene s.json --json")["models"][0];
    EXPECT_EQ(model["frameCount"], 2);
    EXPECT_EQ(model["endFrame"], 2);
    const json frames = Json("render s.json --size 64x36 --frames 0-3 --json -o s####.png")["frames"];
    EXPECT_EQ(frames[3]["models"], (json{{"parsed", 1}, {"cached", 3}})) << "w9 was parsed for inspect";
    EXPECT_NE(Read("s0000.png"), Read("s0001.png"));
    EXPECT_EQ(Read("s0000.png"), Read("s0002.png")) << "from the start again";
    EXPECT_EQ(Read("s0001.png"), Read("s0003.png"));
}

TEST_F(Presets, TheSecondStartTakesTheModelFromTheCache) {
    const std::string cache = "user/Quenmarworks/model_cache_2";
    const auto models = [&](const char* picture) {
        return Json("render wall.obj --size 64x36 --json -o " + std::string(picture))["frames"][0]["models"];
    };
    const json parsed{{"parsed", 1}, {"cached", 0}}, cached{{"parsed", 0}, {"cached", 1}};
    EXPECT_EQ(models("a.png"), parsed) << "once, though its materials are imported and its geometry is drawn";
    EXPECT_EQ(models("b.png"), cached);
    EXPECT_EQ(Read("a.png"), Read("b.png"));
    // Other colours beside the same geometry.
    Write("wall.mtl", "newmtl Red\nKd 0.05 0.9 0.05\nnewmtl Blue\nKd 0.05 0.05 0.9\n");
    std::filesystem::last_write_time(Path("wall.mtl"),
                                     std::filesystem::file_time_type::clock::now() + std::chrono::seconds(5));
    EXPECT_EQ(models("c.png"), parsed);
    EXPECT_NE(Read("a.png"), Read("c.png"));
    std::filesystem::last_write_time(Path("wall.mtl"),
                                     std::filesystem::file_time_type::clock::now() - std::chrono::seconds(9));
    // A damaged cache is a slow start, and the next one is fast again.
    std::string bytes = Read(cache);
    ASSERT_GT(bytes.size(), 0x30010u);
    bytes[3] ^= 1;
    Write(cache, bytes);
    EXPECT_EQ(models("d.png"), parsed);
    EXPECT_EQ(models("e.png"), cached);
    EXPECT_EQ(Read("c.png"), Read("e.png"));
    // So is one that cannot be.
    std::filesystem::remove_all(Path("user"));
    Write("user", "a file where the folder should be");
    EXPECT_EQ(models("f.png"), parsed);
    EXPECT_EQ(Read("c.png"), Read("f.png"));
}

TEST_F(Presets, TheShippedLibraryStandsBesideThePlugIn) {
    std::filesystem::create_directories(folder_ / "place/content/Models");
    std::filesystem::copy_file(RealPlugin(), folder_ / "place/Velorin.aex");
    std::filesystem::rename(folder_ / "wall.obj", folder_ / "place/content/Models/wall.obj");
    const json library = Json("inspect library --plugin place/Velorin.aex --json");
    ASSERT_EQ(library.size(), 3u);
    EXPECT_EQ(library[0]["folder"], Path("user/Quenmarworks"));
    EXPECT_EQ(library[2]["folder"], Path("place/content"));
    EXPECT_EQ(library[2]["files"], 1);
    Write("p.json",
          R"({"velorin":1,"effects":[{"scene":{"models":[{"type":2,"path":"Models/wall.obj"}]}}]})");
    const json mesh = Json("inspect mesh p.json --plugin place/Velorin.aex --json");
    EXPECT_EQ(mesh["materials"], (json{"Red", "Blue"}));
    EXPECT_THAT(Velorin("inspect mesh p.json").error, HasSubstr("Models/wall.obj cannot be opened"))
        << "only of that place";
}

} // namespace
} // namespace velorin::app
