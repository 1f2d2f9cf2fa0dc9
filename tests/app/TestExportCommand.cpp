#include "app/HostFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <sstream>

// What the export of the real plug-in writes.

namespace velorin::app {
namespace {

using testing::HasSubstr;

// Boxes with edges of 100 pixels, a quarter turn apart on a ring around (160, 90, 0) that sinks by 300 pixels
// in ten frames; a set of the textured primitives in group 2; a hidden sphere in group 3.
constexpr const char* kProject = R"({
  "composition": { "width": 320, "height": 180 },
  "effects": [ { "parameters": {
      "1. Replicator Shape": "Ring", "1. Particle Count": 4, "1. Shape Scale": 8, "1. Particle Size": 4,
      "1. Orientation": "Fixed",
      "1. Position Z": { "keys": [ { "frame": 0, "value": 0 }, { "frame": 10, "value": 300 } ] },
      "2. Particle Size": 2, "3. Enable": true },
    "scene": {
      "materials": [
        { "name": "Red", "type": "Standard Shader", "diffuseColor": [255, 0, 0, 255], "specularShininess": 0.5 },
        { "name": "Wood", "type": "Standard Shader", "channels": { "diffuse": { "path": "wood.png", "enabled": true, "uvRepeat": [2, 3] } } } ],
      "models": [
        { "name": "Crate", "type": 6, "primitive": "Box", "box": { "chamfer": 0 }, "groups": [1], "bindings": [0] },
        { "name": "Unseen", "type": 6, "primitive": "Sphere", "groups": [3], "enabled": false },
        { "name": "Set", "type": 8, "groups": [2], "children": [
          { "name": "One", "type": 6, "primitive": "Box", "bindings": [1], "textureMapping": "Box" },
          { "name": "Two", "type": 6, "primitive": "Sphere", "bindings": [1], "textureMapping": "Sphere" },
          { "name": "Three", "type": 6, "primitive": "Cylinder", "bindings": [1], "normalMode": "Auto Normals" },
          { "name": "Four", "type": 6, "primitive": "Tube", "bindings": [1], "optimizeMesh": true },
          { "name": "Five", "type": 6, "primitive": "Torus", "bindings": [1], "edgeMode": "Connected" },
          { "name": "Six", "type": 6, "primitive": "Cone", "bindings": [1], "subdivision": 1 },
          { "name": "Seven", "type": 6, "primitive": "Plane", "bindings": [1] },
          { "name": "Eight", "type": 6, "primitive": "Capsule", "bindings": [1] },
          { "name": "Nine", "type": 6, "primitive": "Star", "bindings": [1] },
          { "name": "Ten", "type": 6, "primitive": "Gear", "bindings": [1] } ] } ] } } ] })";

class ExportCommand : public SessionTest {
protected:
    void SetUp() override {
        SessionTest::SetUp();
        Write("p.json", kProject);
        Write("wood.png", "a picture");
    }
    struct Object {
        std::size_t vertices = 0, triangles = 0;
    };
    struct Exported {
        std::map<std::string, Object> objects;
        std::set<std::string> materials;
        std::array<double, 3> low{1e9, 1e9, 1e9}, high{-1e9, -1e9, -1e9};
    };
    [[nodiscard]] Exported Load(const std::string& name) const {
        Exported file;
        std::istringstream lines(Read(name));
        std::string object, key, material;
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line);
            words >> key;
            if (key == "o") words >> object;
            if (key == "usemtl" && words >> material) file.materials.insert(material);
            if (key == "f") ++file.objects[object].triangles;
            if (key != "v") continue;
            ++file.objects[object].vertices;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                double value = 0;
                words >> value;
                file.low[axis] = std::min(file.low[axis], value);
                file.high[axis] = std::max(file.high[axis], value);
            }
        }
        return file;
    }
};

TEST_F(ExportCommand, AGroupStandsAsAtItsFrame) {
    const Ran ran = Velorin("export p.json -o out/boxes.obj --group 1 --frame 10");
    ASSERT_EQ(ran.status, 0) << ran.error;
    EXPECT_EQ(Out(), (std::set<std::string>{"boxes.mtl", "boxes.obj"}));
    EXPECT_THAT(Read("out/boxes.obj"), HasSubstr("mtllib boxes.mtl\no Crate\ng Box\nv "));
    EXPECT_THAT(Read("out/boxes.mtl"), HasSubstr("newmtl Red\nKa 1.000000 0.000000 0.000000\n"
                                                 "Kd 1.000000 0.000000 0.000000\n"));
    EXPECT_THAT(Read("out/boxes.mtl"), HasSubstr("\nNs 32.000000\n"));
    const Exported file = Load("out/boxes.obj");
    EXPECT_EQ(file.objects.at("Crate").triangles, 4U * 12U);
    EXPECT_EQ(file.materials, std::set<std::string>{"Red"});
    // A ring of 8 * 25.01 pixels and half an edge; y and z turned round.
    constexpr double kReach = 8 * 25.01 + 50;
    const double low[] = {160 - kReach, -140, -300 - kReach}, high[] = {160 + kReach, -40, -300 + kReach};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(file.low[axis], low[axis], 0.01);
        EXPECT_NEAR(file.high[axis], high[axis], 0.01);
    }
}

// What the export reads back from the graphics card is what the inspection of a mesh prints.
TEST_F(ExportCommand, EveryPrimitiveComesAsPreparedWithItsTexture) {
    const Ran ran = Velorin("export p.json -o out/all.obj");
    ASSERT_EQ(ran.status, 0) << ran.error;
    EXPECT_EQ(Out(), (std::set<std::string>{"all.mtl", "all.obj", "wood.png"}));
    EXPECT_EQ(Read("out/wood.png"), "a picture");
    EXPECT_THAT(Read("out/all.mtl"),
                HasSubstr("\nmap_Kd -o 0.000000 0.000000 -s 2.000000 3.000000 wood.png\n"));
    Exported file = Load("out/all.obj");
    EXPECT_EQ(file.objects.size(), 11u) << "the crates and ten primitives";
    EXPECT_EQ(file.materials, (std::set<std::string>{"Red", "Wood"}));
    ASSERT_TRUE(Open("p.json"));
    std::string scene;
    ASSERT_TRUE(
        session_.host->FlatArbitrary(session_.host->instance(0), *session_.host->arbitraryRow(), scene));
    for (const char* name : {"One", "Two", "Three", "Four", "Five", "Six", "Seven", "Eight", "Nine", "Ten"}) {
        const json mesh = Ask({{"do", "mesh"}, {"prepared", true}, {"model", name}}, scene);
        const auto& triangles = mesh["meshes"][0]["groups"][0]["triangles"];
        std::set<std::size_t> used; // the generators make a few vertices that no triangle has
        for (const auto& triangle : triangles)
            for (const auto& index : triangle) used.insert(index.get<std::size_t>());
        EXPECT_EQ(file.objects[name].vertices, used.size()) << name;
        EXPECT_EQ(file.objects[name].triangles, triangles.size()) << name;
    }
}

} // namespace
} // namespace velorin::app
