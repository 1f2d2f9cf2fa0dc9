#include "app/HostFixture.h"

#include "app/host/ProjectWriter.h"
#include "app/project/Base64.h"

#include <gmock/gmock.h>

#include <cstring>

namespace velorin::app {
namespace {

using testing::HasSubstr;

TEST(Base64, SpeaksTheStandardAlphabet) {
    const std::pair<std::string, const char*> pairs[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
        {"\xfb\xff\xfe", "+//+"},
    };
    for (const auto& [bytes, text] : pairs) {
        EXPECT_EQ(ToBase64(bytes), text);
        EXPECT_EQ(FromBase64(text), bytes) << text;
    }
    for (const char* text : {"Zg=", "Z", "Zg==Zg==", "Z===", "====", "Zm 8", "Zm8-", "=m8="})
        EXPECT_EQ(FromBase64(text), std::nullopt) << text;
}

// Every key that a project has, with a value that is no default. Written back, the text holds them all.
constexpr const char* kEverything = R"({
 "velorin": 1,
 "composition": {"width": 320, "height": 200, "pixelAspect": 1.5, "frameRate": 25, "duration": 2.5,
                 "downsample": [2, 3], "depth": 16, "motionBlur": true, "shutterAngle": 90, "shutterPhase": -45},
 "camera": {"id": 9, "type": "orthographic", "position": [1, 2.25, -3], "pointOfInterest": null,
            "orientation": [10, 20, 30],
            "rotation": {"keys": [{"frame": 0, "value": [1, 2, 3], "ease": "hold"}, {"frame": 5, "value": [4, 5, 6]}]},
            "zoom": {"keys": [{"time": 0.3333, "value": 100, "ease": "bezier"}, {"frame": 10, "value": 200}]},
            "depthOfField": true, "focusDistance": 12.5, "aperture": 3, "blurLevel": 40},
 "lights": [{"id": 3, "name": "Key", "type": "spot", "position": [1, 2, 3], "pointOfInterest": [4, 5, 6],
             "intensity": 55, "color": [1, 2, 3], "coneAngle": 33, "coneFeather": 44, "castsShadows": true,
             "shadowDarkness": 22, "shadowDiffusion": 11},
            {"id": 4, "name": "Fill", "type": "ambient", "intensity": 5}],
 "layers": [{"id": 20, "name": "Logo", "type": "image", "file": "sub/logo.png", "position": [7, 8, 9],
             "anchorPoint": [1, 1, 1], "scale": [50, 60, 70], "rotation": [0, 0, 90], "orientation": [5, 6, 7],
             "opacity": {"keys": [{"frame": 0, "value": 0}, {"frame": 1, "value": 100}]}},
            {"id": 21, "name": "Title", "type": "text", "text": "A\nB", "font": "DejaVu Serif:italic", "size": 33.5,
             "alignment": "center", "tracking": 20, "leading": 40, "color": [255, 128, 0]},
            {"id": 22, "name": "Shape", "type": "solid", "color": [9, 8, 7], "width": 40, "height": 30,
             "masks": [{"closed": false, "vertices": [{"position": [0, 1], "in": [-1, 0], "out": [2.5, 0]}]}]},
            {"id": 25, "name": "Null 1", "type": "null", "position": [1, 0, 0]}],
 "effects": [{"enabled": false, "parameters": {"Amount": 12.5, "Mode": "Nothing", "Tint": [1, 2, 3], "Spot": [3, 4],
              "Turn": -725.5, "Switch": false, "Map": "Shape"}},
             {"parameters": {"Amount": {"keys": [{"frame": 0, "value": 1}, {"frame": 3, "value": 2.5, "ease": "hold"}]},
              "Mode": {"keys": [{"frame": 0, "value": "Fill"}, {"frame": 2, "value": "Nothing"}]}}}]
})";

// The test plug-in with a project.
class ProjectWriter : public testing::Test {
protected:
    void Open(const std::string& text) {
        if (!session_.host) session_.host = StartTestPlugin();
        ASSERT_TRUE(session_.host);
        session_.project = ProjectFromText(text);
        Console console(true);
        ASSERT_TRUE(OpenProject(session_, console)) << Joined(console.errors());
    }
    void TearDown() override {
        session_.host->Quit();
        EXPECT_EQ(Joined(session_.host->reports.faults()), "");
    }
    [[nodiscard]] std::string Text() {
        return ProjectText(*session_.host, {{{"seq.", "scn."}, {}}, {}}, session_.project.folder);
    }

    Session session_;
};

TEST_F(ProjectWriter, SaysEverythingThatAProjectSaid) {
    Open(kEverything);
    const std::string text = Text();
    const json written = json::parse(text).flatten(), given = json::parse(kEverything).flatten();
    for (const auto& [place, value] : given.items())
        EXPECT_EQ(written.value(place, json("nothing")), value) << place;
    EXPECT_EQ(written["/effects/0/stored/sequence"], "c2VxLg==");
    EXPECT_EQ(written["/effects/0/stored/scene"], "c2NuLg==");
    // And the text reads back to itself.
    Open(text);
    EXPECT_EQ(session_.project.effects[0].storedSequence, "seq.");
    EXPECT_EQ(Text(), text);
    EXPECT_EQ(session_.host->comp().LayerByName("Shape")->id, 22);
    EXPECT_EQ(session_.host->comp().effectLayer->id, 26); // the next that nobody has
}

TEST_F(ProjectWriter, StoredSequenceDataIsSetUpAgainAndNotAnew) {
    const struct {
        const char* stored;
        int passages;
        char scene;
    } cases[] = {
        {R"({"sequence": "CQAAAA==", "scene": "KgAAAA=="})", 13, 42}, // 9, set up, saved, flattened
        {R"({"scene": "KgAAAA=="})", 4, 42},
        {"{}", 4, 7},
    };
    for (const auto& c : cases) {
        Open(std::string(R"({"effects": [{"stored": )") + c.stored + "}]}");
        std::vector<StoredEffect> stored;
        ASSERT_TRUE(session_.host->Save(&stored).good());
        EXPECT_EQ(stored[0].sequence[0], c.passages) << c.stored;
        EXPECT_EQ(stored[0].scene[0], c.scene) << c.stored;
    }
}

// ---- the real plug-in, over processes

constexpr const char* kWedge = "v -1 -1 0\nv 1 -1 0\nv 0 1 1\nv 0 -1 -1\nf 1 2 3\nf 2 4 3\nf 4 1 3\n";
constexpr const char* kScene = R"({"materials": [{"name": "Red", "type": "Standard Shader",
      "diffuseColor": [200, 20, 20, 255], "channels": {"diffuse": {"path": "gone.png", "enabled": true}}}],
    "models": [{"name": "Wedge", "type": 2, "path": "wedge.obj", "groups": [1], "bindings": [0],
                "normalizeSize": true}]})";

class Saving : public PluginTest {
protected:
    void SetUp() override {
        PluginTest::SetUp();
        Write("wedge.obj", kWedge);
        Write("p.json", std::string(R"({"composition": {"width": 96, "height": 54},
          "layers": [{"name": "Back", "width": 30, "height": 20, "color": "#ff8000"}],
          "effects": [{"parameters": {"1. Particle Count": 3, "Override Layer": "Back"}, "scene": )") +
                            kScene + R"(}, {"parameters": {"Render Mode": "Unified"}}]})");
    }
    [[nodiscard]] json Saved(const std::string& name) const { return json::parse(Read(name)); }
    void Run(const std::string& arguments) const { Good("render --quiet " + arguments); }
};

TEST_F(Saving, AnotherProcessRendersTheSamePicture) {
    Run("p.json -o a.png --save saved.json --set \"1. Particle Count=5\"");
    Run("saved.json -o b.png --save again.json --host-strict");
    EXPECT_EQ(Read("a.png"), Read("b.png"));
    json saved = Saved("saved.json");
    const json effect = saved["effects"][0];
    EXPECT_EQ(effect["parameters"], (json{{"1. Particle Count", 5}, {"Override Layer", "Back"}}));
    EXPECT_EQ(effect["scene"]["models"][0]["path"], "wedge.obj"); // below the project's folder
    EXPECT_EQ(effect["stored"]["scene"], Saved("again.json")["effects"][0]["stored"]["scene"]);

    // Without the readable scene the bytes say it; with another readable one that counts.
    const auto scene = [&](const std::string& name) { return Velorin("inspect scene --json " + name).out; };
    saved["effects"][0].erase("scene");
    Write("bytes.json", saved.dump());
    EXPECT_EQ(scene("bytes.json"), scene("p.json"));
    saved = Saved("saved.json");
    saved["effects"][0]["scene"]["models"][0]["name"] = "Other";
    Write("edited.json", saved.dump());
    EXPECT_EQ(json::parse(scene("edited.json"))["models"][0]["name"], "Other");
    // A damaged one gives way to the bytes.
    saved["effects"][0]["scene"]["models"][0]["typ"] = 3;
    Write("damaged.json", saved.dump());
    EXPECT_EQ(scene("damaged.json"), scene("p.json"));
    // Elsewhere paths lead back; the project may be the one that is open.
    std::filesystem::create_directory(folder_ / "deep");
    Run("saved.json -o a.png --set \"1. Particle Count=0\" --save deep/p.json");
    Run("deep/p.json -o a.png --save deep/p.json");
    EXPECT_EQ(scene("deep/p.json"), scene("p.json"));
}

// A different byte wherever there is room for one: everywhere but in the version (1000), what opens a view
// (100) or counts (14, 16), and the models (201).
void Scramble(std::string& flat) {
    const std::set<std::uint32_t> structure{1000, 100, 14, 16, 201};
    unsigned next = 3;
    for (std::size_t at = 8; at + 8 <= flat.size();) {
        std::uint32_t tag = 0, length = 0;
        std::memcpy(&tag, &flat[at], 4), std::memcpy(&length, &flat[at + 4], 4);
        at += 8;
        for (const std::size_t end = at + length; at < end && at < flat.size(); ++at)
            if (!structure.contains(tag)) flat[at] = static_cast<char>(next = (next * 37 + 11) % 251);
    }
}

TEST_F(Saving, EveryFieldOfTheSequenceDataIsKeptBitForBit) {
    const auto stored = [&](const char* name) {
        return FromBase64(Saved(name)["effects"][0]["stored"]["sequence"].get<std::string>()).value();
    };
    Run("p.json -o a.png --save q.json --set \"1. Particle Count=0\"");
    std::string flat = stored("q.json");
    ASSERT_GT(flat.size(), 800U);
    Scramble(flat);
    json project = Saved("p.json");
    project["effects"][0]["stored"] = {{"sequence", ToBase64(flat)}};
    Write("q.json", project.dump());
    Run("q.json -o a.png --save r.json");
    const std::string kept = stored("r.json");
    // Behind it stand a new stamp and the model that the frame has loaded.
    const std::size_t stamp = flat.size() - 8;
    ASSERT_EQ(kept.size(), flat.size() + 16);
    EXPECT_NE(kept.substr(stamp, 8), flat.substr(stamp));
    EXPECT_EQ(kept.substr(flat.size(), 8), std::string("\xc9\0\0\0\x08\0\0\0", 8)); // tag 201, 8 bytes
    EXPECT_EQ(kept.substr(0, stamp), flat.substr(0, stamp));
}

// Bytes that no plug-in wrote: the project opens, and the frame is rendered without what is lost.
TEST_F(Saving, DamagedStoresAreReadAsFarAsTheyGo) {
    Run("p.json -o a.png --set \"1. Particle Count=0\" --save saved.json");
    const json saved = Saved("saved.json");
    const std::string scene = FromBase64(saved["effects"][0]["stored"]["scene"].get<std::string>()).value();
    const std::string sequence =
        FromBase64(saved["effects"][0]["stored"]["sequence"].get<std::string>()).value();
    const std::pair<std::string, std::string> stores[] = {
        {"", ""},
        {sequence.substr(0, 7), scene.substr(0, 7)},
        {sequence.substr(0, 200), scene.substr(0, scene.size() / 2)},
        {std::string(20000, '\xff'), std::string(20000, '\xff')},
        {scene, sequence},
    };
    json project = saved;
    project["effects"] = json::array();
    for (const auto& [sequenceBytes, sceneBytes] : stores)
        project["effects"].push_back(
            {{"stored", {{"sequence", ToBase64(sequenceBytes)}, {"scene", ToBase64(sceneBytes)}}}});
    Write("broken.json", project.dump());
    Run("broken.json -o b.png --save back.json --host-strict");
    EXPECT_EQ(Saved("back.json")["effects"].size(), std::size(stores));
}

} // namespace
} // namespace velorin::app
