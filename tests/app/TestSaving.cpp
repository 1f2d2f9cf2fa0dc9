#include "app/CommandRunner.h"
#include "app/HostFixture.h"

#include "app/command/Session.h"
#include "app/host/ProjectWriter.h"
#include "app/project/Base64.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cstring>

namespace velorin::app {
namespace {

using nlohmann::json;
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

// Where `part` says something, `whole` says the same.
void ExpectWithin(const json& part, const json& whole, const std::string& place) {
    if (part.is_object()) {
        ASSERT_TRUE(whole.is_object()) << place;
        for (const auto& [key, value] : part.items()) {
            ASSERT_TRUE(whole.contains(key)) << place << '/' << key;
            ExpectWithin(value, whole[key], place + '/' + key);
        }
    } else if (part.is_array()) {
        ASSERT_EQ(part.size(), whole.size()) << place;
        for (std::size_t i = 0; i < part.size(); ++i)
            ExpectWithin(part[i], whole[i], place + '/' + std::to_string(i));
    } else {
        EXPECT_EQ(part, whole) << place;
    }
}

TEST(ProjectWriter, SaysEverythingThatAProjectSaid) {
    Session session;
    session.host = StartTestPlugin("", {});
    ASSERT_TRUE(session.host);
    session.project = ProjectFromText(kEverything);
    Console console(true);
    ASSERT_TRUE(OpenProject(session, console)) << Joined(console.errors());
    const std::string text = ProjectText(*session.host, {{{"seq.", "scn."}, {}}, {}}, session.project.folder);
    ExpectWithin(json::parse(kEverything), json::parse(text), "");
    EXPECT_EQ(json::parse(text)["effects"][0]["stored"],
              (json{{"sequence", "c2VxLg=="}, {"scene", "c2NuLg=="}}));
    // And the text reads back to itself.
    session.project = ProjectFromText(text);
    EXPECT_EQ(session.project.effects[0].storedSequence, "seq.");
    ASSERT_TRUE(OpenProject(session, console)) << Joined(console.errors());
    EXPECT_EQ(ProjectText(*session.host, {{{"seq.", "scn."}, {}}, {}}, session.project.folder), text);
    EXPECT_EQ(session.host->comp().LayerByName("Shape")->id, 22);
    EXPECT_EQ(session.host->comp().effectLayer->id, 26); // the next that nobody has
    session.host->Quit();
    EXPECT_EQ(Joined(session.host->reports.faults()), "");
}

TEST(ProjectWriter, StoredSequenceDataIsSetUpAgainAndNotAnew) {
    struct Case {
        std::string stored; // member of the effect
        int passages;       // -1: none at all
        char scene;
    };
    const Case cases[] = {
        {R"("stored": {"sequence": "CQAAAA==", "scene": "KgAAAA=="})", 10 + 2, 42}, // 9, set up, then saved
        {R"("stored": {"scene": "KgAAAA=="})", 1 + 2, 42},
        {R"("stored": {})", 1 + 2, 7},
    };
    for (const Case& c : cases) {
        Session session;
        session.host = StartTestPlugin("", {});
        ASSERT_TRUE(session.host);
        session.project = ProjectFromText("{\"effects\": [{" + c.stored + "}]}");
        Console console(true);
        ASSERT_TRUE(OpenProject(session, console)) << Joined(console.errors());
        std::vector<StoredEffect> stored;
        ASSERT_TRUE(session.host->Save(&stored).good());
        EXPECT_EQ(stored[0].sequence[0], c.passages + 1) << c.stored; // as it was flattened for this save
        EXPECT_EQ(stored[0].scene[0], c.scene) << c.stored;
        session.host->Quit();
        EXPECT_EQ(Joined(session.host->reports.faults()), "") << c.stored;
    }
    Diagnostics diagnostics;
    EXPECT_FALSE(ReadProjectText("p.json", R"({"effects": [{"stored": {"scene": "a"}}]})", diagnostics));
    EXPECT_THAT(Joined(diagnostics.errors), HasSubstr("effects[0].stored: scene is no base64"));
    EXPECT_FALSE(ReadProjectText("p.json", R"({"layers": [{"name": "A", "id": 4}], "lights": [{"id": 4}]})",
                                 diagnostics));
    EXPECT_THAT(Joined(diagnostics.errors), HasSubstr("another layer has the id 4 too"));
}

// ---- the real plug-in, over processes

constexpr const char* kWedge = "v -1 -1 0\nv 1 -1 0\nv 0 1 1\nv 0 -1 -1\nf 1 2 3\nf 2 4 3\nf 4 1 3\n";
constexpr const char* kScene = R"({"materials": [{"name": "Red", "type": "Physical Shader",
      "pbrDiffuseColor": [200, 20, 20, 255], "channels": {"diffuse": {"path": "gone.png", "enabled": true}}}],
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
    void Run(const std::string& arguments) const {
        const Ran ran = Velorin("render --quiet " + arguments);
        ASSERT_EQ(ran.status, 0) << arguments << ran.error;
        EXPECT_EQ(ran.error, "") << arguments;
    }
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
    EXPECT_EQ(Velorin("render deep/p.json -o a.png --save p.txt").status, 2);
    EXPECT_EQ(Velorin("render deep/p.json -o a.png --save none/p.json").status, 1);
}

// All of an instance's lasting state, with a different byte wherever there is room for one.
std::string SequenceOfAnotherProcess() {
    const std::pair<std::uint32_t, std::uint32_t> chunks[] = {
        {1000, 4}, {7, 4},   {9, 1},   {20, 1},  {14, 4},  {15, 4},  {15, 4},  {16, 1},  {17, 4},  {50, 4},
        {51, 16},  {52, 16}, {53, 12}, {54, 4},  {55, 4},  {56, 1},  {57, 4},  {58, 1},  {59, 1},  {60, 1},
        {61, 4},   {62, 4},  {63, 64}, {64, 64}, {65, 12}, {66, 8},  {67, 1},  {70, 12}, {68, 1},  {69, 1},
        {77, 1},   {78, 1},  {71, 4},  {72, 1},  {80, 4},  {75, 4},  {74, 4},  {81, 4},  {100, 4}, {90, 12},
        {91, 12},  {92, 4},  {100, 4}, {90, 12}, {91, 12}, {92, 4},  {100, 4}, {90, 12}, {91, 12}, {92, 4},
        {100, 4},  {90, 12}, {91, 12}, {92, 4},  {100, 4}, {90, 12}, {91, 12}, {92, 4},  {100, 4}, {90, 12},
        {91, 12},  {92, 4},  {100, 4}, {90, 12}, {91, 12}, {92, 4},  {40, 4},  {41, 4},  {42, 4},  {43, 4},
        {44, 4},   {45, 4},  {46, 4},  {200, 8},
    };
    std::string bytes("NXCFH\0\0\1", 8);
    std::uint32_t view = 0;
    unsigned next = 3;
    for (const auto& [tag, length] : chunks) {
        bytes.append(reinterpret_cast<const char*>(&tag), 4)
            .append(reinterpret_cast<const char*>(&length), 4);
        const std::uint32_t fixed = tag == 1000 ? 1 : tag == 100 ? view++ : tag == 16 ? 1 : 0;
        if (tag == 1000 || tag == 100 || tag == 16 || tag == 14)
            bytes.append(reinterpret_cast<const char*>(&fixed), length);
        else
            for (std::uint32_t i = 0; i < length; ++i)
                bytes += static_cast<char>(next = (next * 37 + 11) % 251);
    }
    return bytes;
}

TEST_F(Saving, EveryFieldOfTheSequenceDataIsKeptBitForBit) {
    const std::string flat = SequenceOfAnotherProcess();
    json project = Saved("p.json");
    project["effects"][0]["stored"] = {{"sequence", ToBase64(flat)}};
    Write("q.json", project.dump());
    Run("q.json -o a.png --save r.json");
    std::string kept =
        FromBase64(Saved("r.json")["effects"][0]["stored"]["sequence"].get<std::string>()).value();
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
