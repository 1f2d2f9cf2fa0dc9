#include "app/CommandRunner.h"

#include <gmock/gmock.h>

// Presets, bundles, the library and the model cache by the commands of a user, with the real plug-in.

namespace velorin::app {
namespace {

using testing::HasSubstr;

// Two faces of an upright wall, one a material.
constexpr const char* kWall = "mtllib wall.mtl\nv -1 -1 0\nv 0 -1 0\nv 1 -1 0\nv -1 1 0\nv 0 1 0\nv 1 1 0\n"
                              "usemtl Red\nf 1 4 5 2\nusemtl Blue\nf 2 5 6 3\n";
constexpr const char* kColours = "newmtl Red\nKd 0.9 0.05 0.05\nnewmtl Blue\nKd 0.05 0.05 0.9\n";

class Presets : public PluginTest {
protected:
    void SetUp() override {
        PluginTest::SetUp();
        Write("wall.obj", kWall);
        Write("wall.mtl", kColours);
    }
    // Of a pixel of 8 bits.
    static std::array<int, 3> At(const Picture& picture, int x, int y) {
        const std::byte* const pixel = picture.row(y) + 4 * x;
        return {std::to_integer<int>(pixel[0]), std::to_integer<int>(pixel[1]),
                std::to_integer<int>(pixel[2])};
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

    const json model = Json("inspect preset wall.qmx");
    EXPECT_EQ(model["kind"], "model");
    EXPECT_EQ(model["picture"], (json{{"width", 105}, {"height", 63}}));
    EXPECT_EQ(model["models"][0]["materials"], (json{"Red", "Blue"}));
    EXPECT_EQ(model["materials"].size(), 2u);
    EXPECT_EQ(Json("inspect preset sub.qmt")["materials"][0]["name"], "Blue");

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
    Good("preset letter.json --bevel Letter:2 -o b.qbv");
    const json bevel = Json("inspect preset b.qbv");
    EXPECT_EQ(bevel["bevel"]["bevelSize"], 2);
    EXPECT_EQ(bevel["picture"]["width"], 105);
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
    const json list = Json("bundle list c.qbndl");
    EXPECT_EQ(list["id"], "c");
    EXPECT_EQ(list["folders"], json{"Materials/"});
    ASSERT_EQ(list["items"].size(), 4u);
    EXPECT_EQ(list["items"][1], (json{{"name", "Materials/b.png"}, {"bytes", 70000}}));
    for (const char* name : {"Materials/a.qmt", "Materials/b.png"}) {
        Good("bundle extract c.qbndl " + std::string(name) + " -o got");
        EXPECT_EQ(Read("got"), Read(std::string("in/") + name));
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
    const json model = Json("inspect scene s.json")["models"][0];
    EXPECT_EQ(model["frameCount"], 2);
    EXPECT_EQ(model["endFrame"], 2);
    const json frames = Json("render s.json --size 64x36 --frames 0-3 -o s####.png")["frames"];
    EXPECT_EQ(frames[3]["models"], (json{{"parsed", 1}, {"cached", 3}})) << "w9 was parsed for inspect";
    EXPECT_NE(Read("s0000.png"), Read("s0001.png"));
    EXPECT_EQ(Read("s0000.png"), Read("s0002.png")) << "from the start again";
    EXPECT_EQ(Read("s0001.png"), Read("s0003.png"));
}

TEST_F(Presets, TheSecondStartTakesTheModelFromTheCache) {
    const std::string cache = "user/Quenmarworks/model_cache_2";
    const auto models = [&](const char* picture) {
        return Json("render wall.obj --size 64x36 -o " + std::string(picture))["frames"][0]["models"];
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
    const json library = Json("inspect library --plugin place/Velorin.aex");
    ASSERT_EQ(library.size(), 3u);
    EXPECT_EQ(library[0]["folder"], Path("user/Quenmarworks"));
    EXPECT_EQ(library[2]["folder"], Path("place/content"));
    EXPECT_EQ(library[2]["files"], 1);
    Write("p.json",
          R"({"velorin":1,"effects":[{"scene":{"models":[{"type":2,"path":"Models/wall.obj"}]}}]})");
    const json mesh = Json("inspect mesh p.json --plugin place/Velorin.aex");
    EXPECT_EQ(mesh["materials"], (json{"Red", "Blue"}));
    EXPECT_THAT(Velorin("inspect mesh p.json").error, HasSubstr("Models/wall.obj cannot be opened"))
        << "only of that place";
}

} // namespace
} // namespace velorin::app
