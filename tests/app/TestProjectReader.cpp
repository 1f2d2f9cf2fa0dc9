#include "app/project/ProjectReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velorin::app {
namespace {

std::optional<Project> Read(const std::string& text, Diagnostics& diagnostics) {
    return ReadProjectText("/folder/p.json", text, diagnostics);
}

Project ReadGood(const std::string& text) {
    Diagnostics diagnostics;
    auto project = Read(text, diagnostics);
    EXPECT_TRUE(project) << (diagnostics.errors.empty() ? "" : diagnostics.errors.front());
    EXPECT_THAT(diagnostics.warnings, testing::IsEmpty());
    return project ? std::move(*project) : Project();
}

TEST(ProjectReader, FaultsNameTheirLineColumnPlaceAndReason) {
    struct Case {
        const char* text;
        const char* error;
    };
    const Case cases[] = {
        {"{\n \"compositoin\": {} }",
         "/folder/p.json:2:2: project: unknown key \"compositoin\", did you mean \"composition\"?"},
        {R"({"composition": {"widht": 3}})",
         "/folder/p.json:1:18: composition: unknown key \"widht\", did you mean \"width\"?"},
        {R"({"composition": {"width": "3"}})",
         "/folder/p.json:1:27: composition.width: expected a number, found a text"},
        {R"({"composition": {"width": 3.5}})",
         "/folder/p.json:1:27: composition.width: expected a whole number, found 3.5"},
        {R"({"composition": []})", "/folder/p.json:1:17: composition: expected an object, found a list"},
        {R"({"composition": {"depth": 12}})", "/folder/p.json:1:27: composition: depth is 8, 16 or 32"},
        {R"({"composition": {"motionBlur": 1}})",
         "/folder/p.json:1:32: composition.motionBlur: expected true or false, found a number"},
        {R"({"composition": {"downsample": 1.5}})",
         "/folder/p.json:1:32: composition: downsample is a whole number: 2 keeps every second pixel"},
        {R"({"camera": {"type": "wide"}})",
         "/folder/p.json:1:21: camera.type: \"wide\" is none of perspective, orthographic"},
        {R"({"camera": {"position": [1, 2]}})",
         "/folder/p.json:1:25: camera.position: expected a list of 3 numbers, found 2 values"},
        {R"({"camera": {"position": [1, true, 3]}})",
         "/folder/p.json:1:29: camera.position: expected a list of 3 numbers, found true or false"},
        {R"({"camera": {"zoom": {"keys": []}}})",
         "/folder/p.json:1:21: camera.zoom: an animated value needs \"keys\" with at least one keyframe"},
        {R"({"camera": {"zoom": {"keys": [{"frame": 1}]}}})",
         "/folder/p.json:1:31: camera.zoom.keys[0]: the keyframe has no \"value\""},
        {R"({"camera": {"zoom": {"keys": [{"value": 9}]}}})",
         "/folder/p.json:1:31: camera.zoom.keys[0]: a keyframe has a \"frame\" or a \"time\""},
        {R"({"camera": {"zoom": {"keys": [{"frame": 24, "value": 9}, {"time": 1, "value": 8}]}}})",
         "/folder/p.json:1:30: camera.zoom: two keyframes stand at 1 s"},
        {R"({"camera": {"zoom": {"keys": [{"frame": 2, "value": 9, "ease": "slow"}]}}})",
         "/folder/p.json:1:64: camera.zoom.keys[0].ease: \"slow\" is none of linear, hold, bezier"},
        {R"({"lights": [{"color": "#12345"}]})",
         "/folder/p.json:1:23: lights[0].color: expected a colour [r, g, b] or \"#rrggbb\""},
        {R"({"lights": [{"color": "#12345g"}]})",
         "/folder/p.json:1:23: lights[0].color: \"#12345g\" is no colour of the form \"#rrggbb\""},
        {R"({"layers": [{"type": "image"}]})",
         "/folder/p.json:1:13: layers[0]: an image layer needs a \"file\""},
        {R"({"layers": [{"type": "null", "text": "x"}]})",
         "/folder/p.json:1:30: layers[0]: unknown key \"text\""},
        {R"({"layers": [{"name": "A"}, {"name": "A"}]})",
         "/folder/p.json:1:28: layers[1]: another layer is called \"A\" too"},
        {R"({"effects": [{"scene": {}, "sceneFile": "a"}]})",
         "/folder/p.json:1:41: effects[0]: \"scene\" and \"sceneFile\" exclude each other"},
        {R"({"effects": [{"stored": {"scene": "a"}}]})",
         "/folder/p.json:1:35: effects[0].stored: scene is no base64"},
        {R"({"layers": [{"name": "A", "id": 4}], "lights": [{"id": 4}]})",
         "/folder/p.json:1:13: layers[0]: another layer has the id 4 too"},
        {R"({"velorin": 2})",
         "/folder/p.json:1:13: project: this is version 2 of the format; version 1 is understood"},
    };
    for (const Case& c : cases) {
        Diagnostics diagnostics;
        EXPECT_FALSE(Read(c.text, diagnostics)) << c.text;
        EXPECT_THAT(diagnostics.errors, testing::Contains(testing::StartsWith(c.error))) << c.text;
    }
    Diagnostics all;
    EXPECT_FALSE(Read(R"({"a": 1, "composition": {"width": true, "b": 2}})", all));
    EXPECT_EQ(all.errors.size(), 3U) << "told at once";
}

TEST(ProjectReader, ValuesOutOfRangeAreClampedWithAWarning) {
    Diagnostics diagnostics;
    const auto project = Read(R"({"composition": {"width": 99999, "shutterAngle": -4},
 "lights": [{"color": [300, 0, 0], "coneAngle": 200}]})",
                              diagnostics);
    ASSERT_TRUE(project);
    EXPECT_EQ(project->composition.width, 30000);
    EXPECT_EQ(project->composition.shutterAngle, 0);
    EXPECT_EQ(project->lights[0].coneAngle.NumberAt(0), 180);
    EXPECT_EQ(project->lights[0].color.NumberAt(0), 255);
    ASSERT_EQ(diagnostics.warnings.size(), 4U);
    EXPECT_EQ(diagnostics.warnings[0],
              "/folder/p.json:1:27: composition.width: 99999 lies outside 1 to 30000, taken as 30000");
    EXPECT_THAT(diagnostics.warnings[3],
                testing::StartsWith("/folder/p.json:2:49: lights[0].coneAngle: 200"));
}

TEST(ProjectReader, WhatIsOmittedHasItsDefault) {
    const Project project =
        ReadGood(R"({"composition": {"width": 720, "height": 400}, "camera": {}, "effects": [{}]})");
    EXPECT_EQ(project.composition.frameCount(), 120);
    ASSERT_TRUE(project.camera);
    EXPECT_EQ(project.camera->zoom.NumberAt(0), 1000); // 720 * 50 / 36
    EXPECT_EQ(project.camera->position.At(0), (Components{360, 200, -1000, 0}));
    EXPECT_EQ(project.camera->pointOfInterest->At(0), (Components{360, 200, 0, 0}));
    EXPECT_TRUE(project.effects[0].enabled);
    EXPECT_FALSE(ReadGood("{}").camera);
    EXPECT_FALSE(ReadGood(R"({"camera": {"pointOfInterest": null}})").camera->pointOfInterest);
    // What depends on the size follows the one that is given instead.
    Diagnostics diagnostics;
    const auto wide = ReadProjectText("p.json", R"({"camera": {}})", diagnostics, {720, 300});
    ASSERT_TRUE(wide);
    EXPECT_EQ(wide->composition.width, 720);
    EXPECT_EQ(wide->camera->position.At(0), (Components{360, 150, -1000, 0}));
}

TEST(ProjectReader, PathsAreRelativeToTheProject) {
    const Project project = ReadGood(R"({"layers": [{"type": "image", "file": "a/../b.png"},
        {"name": "x", "type": "image", "file": "/c/d.png"}], "effects": [{"sceneFile": "s.zqs"}]})");
    EXPECT_EQ(project.folder, "/folder");
    EXPECT_EQ(project.layers[0].file, "/folder/b.png");
    EXPECT_EQ(project.layers[1].file, "/c/d.png");
    EXPECT_EQ(project.effects[0].sceneFile, "/folder/s.zqs");
}

TEST(ProjectReader, KeyframesStandWhereverANumberOrVectorDoes) {
    const Project project = ReadGood(R"({
      "composition": {"frameRate": 25},
      "camera": {"position": {"keys": [{"frame": 50, "value": [1, 2, 3]}, {"time": 1, "value": [0, 0, 0], "ease": "hold"}]}},
      "lights": [{"color": {"keys": [{"frame": 0, "value": "#ff0000"}, {"frame": 25, "value": [0, 0, 255]}]}}],
      "layers": [{"masks": [{"vertices": [{"position": {"keys": [{"frame": 0, "value": [0, 0]}, {"frame": 25, "value": [10, 20]}]}}]}]}]})");
    EXPECT_EQ(project.camera->position.At(1.9), (Components{0, 0, 0, 0})); // sorted by time, held
    EXPECT_EQ(project.camera->position.At(2), (Components{1, 2, 3, 0}));
    EXPECT_EQ(project.lights[0].color.At(0.5), (Components{127.5, 0, 127.5, 0}));
    EXPECT_EQ(project.layers[0].masks[0].vertices[0].position.At(0.5), (Components{5, 10, 0, 0}));
}

TEST(ProjectReader, AMaskMovesAsAWhole) {
    const Project project = ReadGood(R"({
      "composition": {"frameRate": 25},
      "layers": [{"masks": [{"vertices": {"keys": [
          {"frame": 50, "value": [{"position": [30, 0]}, {"position": [0, 9], "in": [-4, 2]}]},
          {"frame": 0, "value": [{"position": [10, 0], "out": [8, 0]}, {"position": [0, 5]}], "ease": "hold"},
          {"frame": 25, "value": [{"position": [10, 0]}, {"position": [0, 5]}]}]}}]}]})");
    const std::vector<MaskVertex>& vertices = project.layers[0].masks[0].vertices;
    ASSERT_EQ(vertices.size(), 2U);
    EXPECT_EQ(vertices[0].position.At(1.5), (Components{20, 0, 0, 0}));
    EXPECT_EQ(vertices[0].out.At(0.9), (Components{8, 0, 0, 0})); // held
    EXPECT_EQ(vertices[1].in.At(1.5), (Components{-2, 1, 0, 0}));

    const auto fault = [](const std::string& value) {
        Diagnostics diagnostics;
        EXPECT_FALSE(Read(R"({"layers": [{"masks": [{"vertices": )" + value + "}]}]}", diagnostics));
        return diagnostics.errors.empty() ? std::string() : diagnostics.errors.front();
    };
    EXPECT_THAT(fault(R"({"keys": [{"frame": 0, "value": [{}]}, {"frame": 1, "value": []}]})"),
                testing::HasSubstr("all keyframes of a mask have as many vertices"));
    EXPECT_THAT(
        fault(R"({"keys": [{"frame": 0, "value": [{"in": {"keys": [{"frame": 0, "value": [0, 0]}]}}]}]})"),
        testing::HasSubstr("no keyframes of their own"));
    EXPECT_THAT(fault("7"), testing::HasSubstr("layers[0].masks[0].vertices: expected a list of vertices"));
}

TEST(ProjectReader, FrameRatesAreFractionsWithWholeUnitsBetweenFrames) {
    const std::pair<double, FrameRate> cases[] = {
        {24, {24000, 1000}}, {29.97, {30000, 1001}}, {23.976, {24000, 1001}}, {59.94, {60000, 1001}},
        {25, {25000, 1000}}, {1, {1000, 1000}},      {12.5, {12500, 1000}}};
    for (const auto& [rate, fraction] : cases) EXPECT_EQ(FrameRateFromNumber(rate), fraction) << rate;
}

TEST(ProjectReader, TheDefaultProjectOfModelsReadsBack) {
    const Project one = ReadGood(ProjectTextForModels({"/models/a.obj"}, "/models", 1));
    EXPECT_EQ(one.composition.width, 1280);
    EXPECT_EQ(one.composition.height, 720);
    EXPECT_EQ(one.composition.frameCount(), 24);
    EXPECT_FALSE(one.camera);
    ASSERT_TRUE(one.effects.at(0).scene);
    EXPECT_TRUE(one.effects[0].parameters.empty());
    const Project three = ReadGood(ProjectTextForModels({"/m/a.obj", "/m/b.obj", "/n/c.obj"}, "/m", 5));
    EXPECT_EQ(three.effects[0].parameters.size(), 6U);
    EXPECT_EQ(three.effects[0].parameters[2].key, "2. Position XY");
}

} // namespace
} // namespace velorin::app
