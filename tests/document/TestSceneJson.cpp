#include "core/document/Scene.h"
#include "core/document/SceneJson.h"

#include "FormatChecks.h"
#include "document/DocumentSamples.h"
#include "services/Library.h"
#include "services/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>

using namespace velorin;
using namespace velorin::test;

namespace {

std::unique_ptr<Scene> Parse(const std::string& text, const std::string& folder = {}) {
    auto scene = std::make_unique<Scene>();
    SceneJsonError error;
    EXPECT_TRUE(SceneFromJsonText(text, folder, *scene, error)) << error.at << ": " << error.message;
    return scene;
}

} // namespace

TEST(SceneJson, ReadsASceneAsAPersonWritesIt) {
    const auto scene = Parse(R"({
        "environment": { "path": "studio.hdr", "enabled": true },
        "materials": [
          { "name": "Red plastic", "type": "Physical Shader", "pbrDiffuseColor": [200, 20, 20, 255],
            "pbrGlossiness": 0.6, "aoMode": "receive rtao", "reflectionTint": "#0a0B0c", "wireColor": [1, 2, 3],
            "channels": { "diffuse": { "path": "wood.jpg", "enabled": true, "uvRepeat": [2, 2] },
                          "normal": { "amount": 2.5 }, "displacement": { "path": "d.png" },
                          "reflection": { "customLayer": 3 } } },
          { "name": "Plain", "type": 0 } ],
        "models": [
          { "name": "Bunny", "type": 2, "path": "bunny.obj", "groups": [1, 3], "normalMode": "Auto Normals",
            "bindings": [1, { "material": 0, "enabled": false }, null], "position": [1, 2.5, -3], "flip": [true, false, 1] },
          { "name": "Box", "type": 6, "primitive": "Box", "box": { "chamfer": 0.1, "size": [1, 2, 3] }, "groups": [2] },
          { "primitive": "Gear", "gear": { "teeth": 24 } },
          { "name": "F", "type": 8, "children": [ { "name": "inner", "type": "Group Folder", "children": [
              { "name": "leaf", "path": "leaf.obj", "meshes": [ { "name": "m", "parts": [0, 2], "deformation": "Off" } ],
                "meshVisible": [true, false] } ] } ] },
          { "type": 3, "bevelCopies": "2", "bevels": [ {}, { "extrude": 4, "outlineEnable": true } ] },
          { "storedPaths": [ [ { "position": [0, 0] }, { "position": [10, 0], "tangentIn": [-1, 0] } ] ] }
        ] })");
    ASSERT_EQ(scene->materials.size(), 2u);
    const SceneMaterial& red = *scene->materials[0];
    EXPECT_EQ(red.pbrDiffuseColor, (Colour{200, 20, 20, 255}));
    EXPECT_EQ(red.aoMode, AoMode::ReceiveRayTraced);
    EXPECT_EQ(red.reflectionTint, (Colour{10, 11, 12, 255}));
    EXPECT_EQ(red.wireColor, (Colour{1, 2, 3, 255}));
    EXPECT_EQ(red.channel(Channel::Diffuse).uvRepeat, (Point2{2, 2}));
    EXPECT_EQ(red.channel(Channel::Normal).gamma, 1);
    EXPECT_EQ(red.displacement.path, "d.png");
    EXPECT_EQ(red.channel(Channel::Reflection).customLayer, 3);
    EXPECT_EQ(scene->materials[1]->type, MaterialType::Standard);

    ASSERT_EQ(scene->models.size(), 6u);
    const SceneModel& bunny = *scene->models[0];
    EXPECT_EQ(bunny.groups, (std::array<bool, 5>{true, false, true, false, false}));
    EXPECT_EQ(bunny.position, (Point3{1, 2.5f, -3}));
    EXPECT_EQ(bunny.flip, (std::array<bool, 3>{true, false, true}));
    const MaterialBinding bindings[] = {
        {scene->materials[1].get(), 1, true}, {scene->materials[0].get(), 0, false}, {}};
    EXPECT_EQ(bunny.bindings, std::vector(std::begin(bindings), std::end(bindings)));
    const SceneModel& box = *scene->models[1];
    EXPECT_EQ(box.path, "Box Model.parametric");
    EXPECT_EQ(box.alignment, Alignment::FromModel);
    EXPECT_EQ(box.primitiveParameters.box.size, (Point3{1, 2, 3}));
    EXPECT_EQ(scene->models[2]->primitiveParameters.gear.teeth, 24);
    const SceneModel& leaf = *scene->models[3]->children.at(0)->children.at(0);
    EXPECT_EQ(leaf.depth, 2u);
    EXPECT_EQ(leaf.parent->parent, scene->models[3].get());
    EXPECT_EQ(leaf.meshes.at(0)->parts, (std::vector<std::uint32_t>{0, 2}));
    EXPECT_EQ(leaf.meshVisible, (std::vector<bool>{true, false}));
    const SceneModel& extrusion = *scene->models[4];
    EXPECT_EQ(extrusion.path, "Extrusion Model.extrusion");
    EXPECT_EQ(extrusion.textureMapping, TextureMapping::BoxPreserveAspect);
    EXPECT_EQ(extrusion.bevelCopies, 1u);
    EXPECT_EQ(extrusion.bevels[1].extrude, 4);
    EXPECT_EQ(scene->models[5]->type, ModelType::PathExtrusion);
    EXPECT_EQ(scene->models[5]->storedPaths.at(0).at(1).tangentIn, (Point2{-1, 0}));
}

TEST(SceneJson, LeavesDefaultsOut) {
    const auto empty = Parse("{}");
    EXPECT_EQ(nlohmann::json(SceneToJson(*empty, false)),
              nlohmann::json::parse(R"({"environment": {}, "materials": [], "models": []})"));
    const char* const text = R"({"environment":{"gamma":1.8},
        "materials":[{"name":"Default"},{"name":"A","type":"Standard Shader","diffuse":0.02,"channels":{"specular":{"gamma":2.2}}}],
        "models":[{"name":"Box","type":6,"groups":[2],"primitive":"Box","box":{"chamfer":0.1},"bindings":[1]},
                  {"name":"","type":8,"children":[{"name":"x","type":1,"path":"x.obj","groups":[]}]}]})";
    const auto scene = Parse(text);
    EXPECT_EQ(nlohmann::json(SceneToJson(*scene, false)), nlohmann::json::parse(text));
}

TEST(SceneJson, GivesEveryFieldAndTakesItBack) {
    Scene scene;
    FillScene(scene);
    const Buffer flat = scene.Flat();
    for (const bool defaults : {false, true}) {
        SCOPED_TRACE(defaults);
        const std::string text = SceneToJsonText(scene, defaults);
        const auto read = Parse(text);
        EXPECT_TRUE(read->HasContent(flat));
        EXPECT_EQ(SceneToJsonText(*read, defaults), text);
    }
    Scene plain;
    plain.materials.push_back(Ref<SceneMaterial>::Make());
    plain.models.push_back(Ref<SceneModel>::Make());
    const auto json = SceneToJson(plain, true);
    EXPECT_EQ(json["environment"].size(), 13u);
    EXPECT_EQ(json["materials"][0]["channels"].size(), 8u);
    EXPECT_EQ(json["materials"][0]["channels"]["diffuse"]["gamma"], 2.2);
    EXPECT_EQ(json["models"][0]["bevels"].size(), 5u);
    EXPECT_EQ(json["models"][0]["groups"], nlohmann::json::parse("[1]"));
    EXPECT_EQ(json["models"][0]["normalMode"], "From Model");
    EXPECT_EQ(json["models"][0]["type"], 1);
    EXPECT_EQ(json["models"][0]["normalThreshold"], 35);
}

TEST(SceneJson, KeepsNumbersAndTextsThatJsonHasNoWordFor) {
    Scene scene;
    scene.models.push_back(Ref<SceneModel>::Make());
    SceneModel& model = *scene.models[0];
    model.position = {std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                      std::numeric_limits<float>::max()};
    model.scale.x = -0.0f;
    model.auxRatio = std::numeric_limits<float>::quiet_NaN();
    model.playbackSpeed = 1e-38f;
    model.name = "bad \xFF byte";
    const auto read = Parse(SceneToJsonText(scene, false));
    EXPECT_EQ(read->models[0]->position, model.position);
    EXPECT_TRUE(std::signbit(read->models[0]->scale.x));
    EXPECT_TRUE(std::isnan(read->models[0]->auxRatio));
    EXPECT_EQ(read->models[0]->playbackSpeed, model.playbackSpeed);
    EXPECT_EQ(read->models[0]->name, "bad \xEF\xBF\xBD byte");
}

TEST(SceneJson, NamesThePlaceAndTheReasonOfAFault) {
    const struct {
        const char* text;
        const char* at;
        const char* message; // a part of it
    } cases[] = {
        {"", "", "line 1, column 1"},
        {"{\n  \"models\": [,]\n}", "", "line 2, column 14"},
        {"[]", "", "must be an object (a scene), not an array"},
        {R"({"model": []})", "/model", R"(unknown key "model"; the nearest known one is "models")"},
        {R"({"models": {}})", "/models", "must be a list of models, not an object"},
        {R"({"models": [7]})", "/models/0", "must be an object (a model), not a number"},
        {R"({"models": [{"pathh": "a"}]})", "/models/0/pathh", R"(the nearest known one is "path")"},
        {R"({"models": [{"path": 3}]})", "/models/0/path", "must be a text, not a number"},
        {R"({"models": [{}, {"position": [1, 2]}]})", "/models/1/position", "a list of 3 numbers"},
        {R"({"models": [{"position": [1, 2, "x"]}]})", "/models/0/position/2",
         "must be a number, not a string"},
        {R"({"models": [{"auxRatio": 1e99}]})", "/models/0/auxRatio", "too large"},
        {R"({"models": [{"subdivision": -1}]})", "/models/0/subdivision",
         "a whole number from 0 to 4294967295"},
        {R"({"models": [{"subdivision": 1.5}]})", "/models/0/subdivision", "not 1.5"},
        {R"({"models": [{"enabled": "yes"}]})", "/models/0/enabled", "must be true or false, not a string"},
        {R"({"models": [{"groups": [0]}]})", "/models/0/groups/0", "a whole number from 1 to 5, not 0"},
        {R"({"models": [{"groups": 1}]})", "/models/0/groups", "must be a list of group numbers"},
        {R"({"models": [{"normalMode": "Auto"}]})", "/models/0/normalMode",
         R"(unknown choice "Auto"; the nearest known one is "Auto Normals")"},
        {R"({"models": [{"type": 9}]})", "/models/0/type", "from 0 to 8"},
        {R"({"models": [{"primitive": "Bx"}]})", "/models/0/primitive", R"("Box")"},
        {R"({"models": [{"box": {"chamfr": 1}}]})", "/models/0/box/chamfr", R"("chamfer")"},
        {R"({"models": [{"bindings": [0]}]})", "/models/0/bindings/0", "no materials"},
        {R"({"materials": [{}], "models": [{"bindings": [{"material": 1}]}]})",
         "/models/0/bindings/0/material", "from 0 to 0, not 1"},
        {R"({"materials": [{}], "models": [{"bindings": [{"enabled": true}]}]})", "/models/0/bindings/0",
         R"(needs a "material")"},
        {R"({"models": [{"type": 1, "children": [{}]}]})", "/models/0/children", "only a group folder"},
        {R"({"models": [{"type": 8, "children": [{"x~/y": 1}]}]})", "/models/0/children/0/x~0~1y",
         "unknown key"},
        {R"({"models": [{"bevels": [{},{},{},{},{},{}]}]})", "/models/0/bevels", "at most 5"},
        {R"({"models": [{"meshes": [{"parts": [-1]}]}]})", "/models/0/meshes/0/parts/0", "whole number"},
        {R"({"materials": [{"channels": {"difuse": {}}}]})", "/materials/0/channels/difuse", R"("diffuse")"},
        {R"({"materials": [{"channels": {"diffuse": {"gama": 1}}}]})", "/materials/0/channels/diffuse/gama",
         R"("gamma")"},
        {R"({"materials": [{"diffuseColor": "red"}]})", "/materials/0/diffuseColor", "must be a colour"},
        {R"({"materials": [{"diffuseColor": [1, 2, 256]}]})", "/materials/0/diffuseColor/2", "from 0 to 255"},
        {R"({"materials": [{"diffuseColor": "#12345g"}]})", "/materials/0/diffuseColor", "must be a colour"},
        {R"({"environment": {"path": null}})", "/environment/path", "must be a text, not null"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Scene scene;
        FillScene(scene);
        SceneJsonError error;
        EXPECT_FALSE(SceneFromJsonText(c.text, "", scene, error));
        EXPECT_EQ(error.at, c.at);
        EXPECT_NE(error.message.find(c.message), std::string::npos) << error.message;
        EXPECT_TRUE(scene.models.empty() && scene.materials.empty());
        EXPECT_EQ(scene.environment, Scene().environment);
    }
    std::string deep;
    for (int i = 0; i < 2000; ++i) deep += R"({"type":8,"children":[)";
    for (int i = 0; i < 2000; ++i) deep += "]}";
    Scene scene;
    SceneJsonError error;
    EXPECT_FALSE(SceneFromJsonText("{\"models\":[" + deep + "]}", "", scene, error));
    EXPECT_NE(error.message.find("nested too deep"), std::string::npos);
}

TEST(SceneJson, FindsRelativePathsInTheFolder) {
    const TemporaryFolder folder;
    folder.Put("here.obj", "");
    folder.Put("here.png", "");
    folder.Put("pack.qbndl", "");
    const std::string library = GetLibraryPlaces().user + "/Materials";
    std::filesystem::create_directories(library);
    std::ofstream(library + "/shared.png") << "x";
    const auto scene = Parse(R"({
        "environment": { "path": "here.png" },
        "materials": [ { "channels": { "diffuse": { "path": "here.png" }, "normal": { "path": "Materials/shared.png" } } } ],
        "models": [ { "path": "here.obj" }, { "path": "away.obj" }, { "path": "/here.obj" },
                    { "path": "pack.qbndl>ships/one.obj" }, { "path": "none.qbndl>x" }, { "type": 6 },
                    { "type": 6, "path": "Gear Model.parametric" } ] })",
                             folder.path());
    EXPECT_EQ(scene->environment.path, folder.file("here.png"));
    EXPECT_EQ(scene->materials[0]->channel(Channel::Diffuse).path, folder.file("here.png"));
    EXPECT_EQ(scene->materials[0]->channel(Channel::Normal).path, "Materials/shared.png");
    EXPECT_EQ(scene->materials[0]->channel(Channel::Specular).path, "");
    const std::string expected[] = {folder.file("here.obj"),
                                    folder.file("away.obj"),
                                    "/here.obj",
                                    folder.file("pack.qbndl>ships/one.obj"),
                                    folder.file("none.qbndl>x"),
                                    "Box Model.parametric",
                                    "Gear Model.parametric"};
    for (std::size_t i = 0; i < 7; ++i) EXPECT_EQ(scene->models[i]->path, expected[i]);
    EXPECT_EQ(scene->models[6]->primitive, PrimitiveKind::Gear) << "as its name says";
}
