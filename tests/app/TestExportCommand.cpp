#include "app/CommandRunner.h"

#ifdef VELORIN_ASSIMP
#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#endif
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <set>
#include <sstream>

// What the export of the real plug-in writes, seen by another reader.

namespace velorin::app {
namespace {

using testing::HasSubstr;

// Boxes with edges of 100 pixels, a quarter turn apart on a ring around (160, 90, 0) that sinks by 300 pixels
// in ten frames; a set of the textured
// primitives in group 2; a hidden sphere in group 3.
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
        { "name": "Wood", "channels": { "diffuse": { "path": "wood.png", "enabled": true, "uvRepeat": [2, 3] } } } ],
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

class ExportCommand : public PluginTest {
protected:
    void SetUp() override {
        PluginTest::SetUp();
        Write("p.json", kProject);
        Write("wood.png", "a picture");
        std::filesystem::create_directory(folder_ / "out");
    }
    [[nodiscard]] std::size_t FilesOut() const {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(folder_ / "out"), {}));
    }
#ifdef VELORIN_ASSIMP
    struct Seen {
        std::size_t triangles = 0;
        std::set<std::string> materials;
        aiVector3D low{1e9f, 1e9f, 1e9f}, high{-1e9f, -1e9f, -1e9f};
    };
    [[nodiscard]] Seen Load(const std::string& name) const {
        Seen seen;
        Assimp::Importer importer;
        const aiScene* scene = importer.ReadFile(Path(name), 0);
        EXPECT_TRUE(scene) << importer.GetErrorString();
        for (unsigned m = 0; scene && m < scene->mNumMeshes; ++m) {
            const aiMesh* mesh = scene->mMeshes[m];
            seen.triangles += mesh->mNumFaces;
            aiString material;
            scene->mMaterials[mesh->mMaterialIndex]->Get(AI_MATKEY_NAME, material);
            seen.materials.insert(material.C_Str());
            for (unsigned i = 0; i < mesh->mNumVertices; ++i) {
                const aiVector3D p = mesh->mVertices[i];
                seen.low = {std::min(seen.low.x, p.x), std::min(seen.low.y, p.y), std::min(seen.low.z, p.z)};
                seen.high = {std::max(seen.high.x, p.x), std::max(seen.high.y, p.y),
                             std::max(seen.high.z, p.z)};
            }
        }
        return seen;
    }
#endif
};

TEST_F(ExportCommand, AGroupStandsAsAtItsFrame) {
    const Ran ran = Velorin("export p.json -o out/boxes.obj --group 1 --frame 10");
    ASSERT_EQ(ran.status, 0) << ran.error;
    EXPECT_EQ(FilesOut(), 2u);
    EXPECT_THAT(Read("out/boxes.obj"), HasSubstr("mtllib boxes.mtl\no Crate\ng Box\nv "));
    EXPECT_THAT(Read("out/boxes.mtl"), HasSubstr("newmtl Red\nKa 1.000000 0.000000 0.000000\n"
                                                 "Kd 1.000000 0.000000 0.000000\n"));
    EXPECT_THAT(Read("out/boxes.mtl"), HasSubstr("\nNs 32.000000\n"));
#ifdef VELORIN_ASSIMP
    const Seen seen = Load("out/boxes.obj");
    EXPECT_EQ(seen.triangles, 4u * 12u);
    EXPECT_EQ(seen.materials, std::set<std::string>{"Red"});
    // A ring of 8 * 25.01 pixels and half an edge; y and z turned round.
    constexpr float kReach = 8 * 25.01f + 50;
    EXPECT_NEAR(seen.low.x, 160 - kReach, 0.01f);
    EXPECT_NEAR(seen.high.x, 160 + kReach, 0.01f);
    EXPECT_NEAR(seen.low.y, -140, 0.01f);
    EXPECT_NEAR(seen.high.y, -40, 0.01f);
    EXPECT_NEAR(seen.low.z, -300 - kReach, 0.01f);
    EXPECT_NEAR(seen.high.z, -300 + kReach, 0.01f);
#endif
}

// What the export reads back from the graphics card is what the inspection of a mesh prints.
TEST_F(ExportCommand, EveryPrimitiveComesAsPreparedWithItsTexture) {
    const Ran ran = Velorin("export p.json -o out/all.obj");
    ASSERT_EQ(ran.status, 0) << ran.error;
    EXPECT_EQ(FilesOut(), 3u);
    EXPECT_EQ(Read("out/wood.png"), "a picture");
    EXPECT_THAT(Read("out/all.mtl"),
                HasSubstr("\nmap_Kd -o 0.000000 0.000000 -s 2.000000 3.000000 wood.png\n"));
    struct Counts {
        std::size_t vertices = 0, triangles = 0;
    };
    std::map<std::string, Counts> exported;
    std::size_t total = 0;
    std::istringstream file(Read("out/all.obj"));
    for (std::string line, object; std::getline(file, line);) {
        if (line.starts_with("o ")) object = line.substr(2);
        if (line.starts_with("v ")) ++exported[object].vertices;
        if (line.starts_with("f ")) ++exported[object].triangles, ++total;
    }
    EXPECT_EQ(exported.size(), 11u) << "the crates and ten primitives";
    for (const char* name : {"One", "Two", "Three", "Four", "Five", "Six", "Seven", "Eight", "Nine", "Ten"}) {
        const auto mesh = nlohmann::json::parse(
            Velorin(std::string("inspect mesh p.json --prepared --json --model ") + name).out);
        const auto& triangles = mesh["meshes"][0]["groups"][0]["triangles"];
        std::set<std::size_t> used; // the generators make a few vertices that no triangle has
        for (const auto& triangle : triangles)
            for (const auto& index : triangle) used.insert(index.get<std::size_t>());
        EXPECT_EQ(exported[name].vertices, used.size()) << name;
        EXPECT_EQ(exported[name].triangles, triangles.size()) << name;
    }
#ifdef VELORIN_ASSIMP
    const Seen seen = Load("out/all.obj");
    EXPECT_EQ(seen.triangles, total);
    EXPECT_EQ(seen.materials, (std::set<std::string>{"Red", "Wood"}));
#endif
}

TEST_F(ExportCommand, FailuresAreOneSentenceAndLeaveNoFile) {
    struct Case {
        const char *line, *status, *sentence;
    };
    const Case cases[] = {
        {"$V export p.json -o out/a.obj --group 4", "1", "out/a.obj: is not written: group 4 shows no model"},
        {"$V export p.json -o out/none/a.obj", "1", "out/none/a.obj: cannot be written: No such file"},
        {"$V export p.json -o out/a.stl", "2", "-o out/a.stl: an export is a .obj file"},
        {"$V export p.json -o out/a.obj --frame 9999", "1", "p.json: the composition has 120 frames"},
        {"(ulimit -f 64; $V export p.json -o out/a.obj --group 2)", "1",
         "out/a.obj: cannot be written: File too large"},
    };
    for (const Case& c : cases) {
        const Ran ran = Shell(c.line);
        EXPECT_EQ(std::to_string(ran.status), c.status) << c.line;
        const std::size_t at = ran.error.find("velorin: error: ");
        ASSERT_NE(at, std::string::npos) << c.line << ran.error;
        EXPECT_THAT(ran.error.substr(at, ran.error.find('\n', at) - at), HasSubstr(c.sentence));
        EXPECT_EQ(ran.error.find("velorin: error: ", at + 1), std::string::npos) << ran.error;
        EXPECT_EQ(FilesOut(), 0u) << c.line;
    }
}

} // namespace
} // namespace velorin::app
