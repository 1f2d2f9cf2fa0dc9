#include "services/TemporaryFolder.h"

#include "model/obj/ModelObj.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

namespace velorin {
namespace {

using test::TemporaryFolder;

constexpr const char* kSquare = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n";

class ModelObjTest : public testing::Test {
protected:
    bool Load(const std::string& text) {
        model_ = ModelObj();
        return model_.Load(folder_.Put("model.obj", text), true, true);
    }
    // File positions of the triangles' corners, by the square's numbering from 1.
    std::string SquareTriangles() const {
        std::string result;
        for (std::uint32_t i = 0; i < model_.VertexCount(); ++i) {
            const Point3 p = model_.Vertices()[i].position;
            const int x = p.x != 0, y = p.y != 0;
            result += std::to_string(y ? (x ? 3 : 4) : (x ? 2 : 1));
            if (i % 3 == 2) result += ' ';
        }
        return result;
    }
    // "mesh[material:triangles material:triangles] ..."
    std::string Outline() const {
        std::string result;
        for (std::uint32_t m = 0; m < model_.MeshCount(); ++m) {
            const FileMesh& mesh = model_.Mesh(m);
            result += mesh.Name() + "[";
            for (std::uint32_t g = 0; g < mesh.GroupCount(); ++g) {
                const FileGroup& group = mesh.Group(g);
                if (g > 0) result += " ";
                result += model_.Material(group.MaterialIndex()).Name() + ":" +
                          std::to_string(group.TriangleCount());
            }
            result += "]";
        }
        return result;
    }

    TemporaryFolder folder_;
    ModelObj model_;
};

TEST_F(ModelObjTest, VerticesAreUnsharedAndTurned) {
    ASSERT_TRUE(Load("v 1 2 3\nv 4 5 6\nv 7 8 9\nvt 0.25 0.75 9\nvt 0.5 1\nvn 0 0 2\nvn 3 4 0\n"
                     "f 1/1/1 2/2/2 3/1/1\nf 3/2/2 2/1/1 1/1/2\n"));
    ASSERT_EQ(model_.VertexCount(), 6u);
    const ModelVertex* v = model_.Vertices();
    EXPECT_EQ(v[0], (ModelVertex{{-1, -2, 3}, {0.25f, 0.25f}, {0, 0, 1}, {0, 0, 0, 0}}));
    EXPECT_EQ(v[1].position, (Point3{-4, -5, 6}));
    EXPECT_EQ(v[1].texCoord, (Point2{0.5f, 0}));
    EXPECT_NEAR(v[1].normal.x, -0.6f, 1e-7f);
    EXPECT_NEAR(v[1].normal.y, -0.8f, 1e-7f);
    EXPECT_EQ(v[5].position, (Point3{-1, -2, 3}));
    const FileGroup& group = model_.Mesh(0).Group(0);
    ASSERT_EQ(group.TriangleCount(), 2u);
    EXPECT_EQ(group.Indices()[0], (Triangle{0, 1, 2}));
    EXPECT_EQ(group.Indices()[1], (Triangle{3, 4, 5}));
    // A list that is absent has one entry, (0, 0, 0).
    ASSERT_TRUE(Load(std::string(kSquare) + "f 1 2 3\n"));
    EXPECT_EQ(model_.Vertices()[0].texCoord, (Point2{0, 1}));
    EXPECT_EQ(LengthSquared(model_.Vertices()[0].normal), 0);
}

TEST_F(ModelObjTest, OddFaces) {
    const std::pair<std::string, const char*> cases[] = {
        // The text, "@" for the square's positions, and the triangles of those.
        {"@f 1 2 3 4", "123 134 "},
        {"@f 1 2\nf 1 2 3", "123 "},
        {"@f 0 1 2\nf 1 2 3", "123 "},
        {"@f 1 2 3 5\nf 2 3 4", "234 "}, // the whole polygon is dropped
        {"@f -5 1 2\nf 1 2 3", "123 "},
        {"@vt 0 0\nf 1/2 2/1 3/1\nf 1/1 2/1 3/1", "123 "},
        {"@f 1//2 2//1 3//1\nf 1//1 2//1 3//1", "123 "},
        {"@f1 2 3", "123 "},
        {"@f 1 2 3\r\nf 2 3 4\rf 3 4 1\n", "123 234 341 "},
        {"@# f 4 3 2\nf 1 2 3 # or so", "123 "},
        {"@f 1 2 3 # f 4", "123 134 "}, // numbers of a comment count
        {"@ f 4 3 2\nF 4 3 2\nf 1 2 3", "123 "},
        {"@f 1 2 3\ns off\nf 2 3 4\no x\n\nf 3 4 1\n", "123 234 341 "},
        {"f 1 2 3\n@", "123 "}, // before its positions
        {"v 0 0 0\nv 1 0 0\nv 1 1 0\nf -3 -2 -1\nv 0 1 0\nf -4 -2 -1\n", "123 134 "},
        // 1023 characters of a comment; the rest of the line is a statement.
        {"@#" + std::string(1022, 'x') + "f 1 2 3\n" + std::string(5000, ' ') + "\n", "123 "},
    };
    for (auto [text, triangles] : cases) {
        if (const std::size_t at = text.find('@'); at != std::string::npos) text.replace(at, 1, kSquare);
        ASSERT_TRUE(Load(text)) << text;
        EXPECT_EQ(SquareTriangles(), triangles) << text;
    }
}

TEST_F(ModelObjTest, Positions) {
    const std::pair<const char*, Point3> cases[] = {
        {"v 1 2 3", {1, 2, 3}},
        {"v1 2 3", {1, 2, 3}},
        {"v\t1\t2\t3", {1, 2, 3}},
        {"v  1  2  3  4", {1, 2, 3}},
        {"v 1 2", {1, 2, 0}},
        {"v", {0, 0, 0}},
        {"v 1 x 3", {1, 0, 0}},
        {"v 1,5 2 3", {1, 0, 0}},
        {"v 1.5-2.5+3", {1.5f, -2.5f, 3}},
        {"v 0.1234567891 12345678.12345678 1.5e-3", {0.1234567891f, 12345678.12345678f, 1.5e-3f}},
    };
    for (const auto& [line, position] : cases)
        for (const std::size_t behind : {0u, 200u}) { // far from the end of the file another way is taken
            ASSERT_TRUE(Load(std::string("f 1 1 1\n") + line + "\n" + std::string(behind, '#')));
            const Point3 p = model_.Vertices()[0].position;
            EXPECT_EQ((Point3{-p.x, -p.y, p.z}), position) << line;
        }
    // A number that the longest line cuts in two, and one that it just holds.
    for (const auto& [blanks, x] : {std::pair<std::size_t, float>{1020, -12.0f}, {1021, -1.0f}}) {
        ASSERT_TRUE(Load("v" + std::string(blanks, ' ') + "12 0 0\nf 1 1 1\n" + std::string(300, '#')));
        EXPECT_EQ(model_.Vertices()[0].position.x, x);
    }
    // A polygon of many corners: its tail is a line without a keyword.
    std::string polygon = "f";
    for (int i = 0; i < 600; ++i) polygon += " 1";
    ASSERT_TRUE(Load(std::string(kSquare) + polygon + "\n" + std::string(200, '#')));
    EXPECT_EQ(model_.VertexCount(), 3u * (511 - 2));
}

TEST_F(ModelObjTest, MeshesGroupsAndMaterials) {
    struct Case {
        const char *name, *text, *outline;
    };
    const Case cases[] = {
        {"no g", "f 1 2 3", "model[Default:1]"},
        {"g", "g a\nf 1 2 3\ng b\nf 1 2 3\nf 2 3 4", "a[Default:1]b[Default:2]"},
        {"g names keep their blanks", "g  two words \nf 1 2 3", " two words [Default:1]"},
        {"g without a name", "g\nf 1 2 3", "[Default:1]"},
        {"usemtl splits a mesh", "g a\nusemtl x\nf 1 2 3\nusemtl y\nf 1 2 3\nusemtl x\nf 1 2 3",
         "a[x:1 y:1 x:1]"},
        {"usemtl before g holds on", "usemtl x\ng a\nf 1 2 3\ng b\nf 1 2 3", "a[x:1]b[x:1]"},
        {"the same material again", "usemtl x\nf 1 2 3\nusemtl x\nf 1 2 3", "model[x:1 x:1]"},
        {"usemtl without faces", "usemtl x\nusemtl y\nf 1 2 3\nusemtl z", "model[y:1]"},
        {"faces before g", "f 1 2 3\ng b\nf 1 2 3", "model[Default:1]b[Default:1]"},
        {"an empty mesh stays", "g a\ng b\nf 1 2 3\ng c", "a[]b[Default:1]c[]"},
        {"a broken face keeps its empty group", "usemtl x\nf 1 2\nusemtl y\nf 1 2 3", "model[x:0 y:1]"},
        {"but not the last", "usemtl x\nf 1 2 3\nusemtl y\nf 1 2", "model[x:1]"},
        {"material names keep their blanks", "usemtl   a b \nf 1 2 3", "model[a b :1]"},
        {"g and a tab", "g\ta\nf 1 2 3", "a[Default:1]"},
        {"unknown statements", "l 1 2\np 1\nvp 1 2\ncurv2 1 2\nf 1 2 3", "model[Default:1]"},
    };
    for (const Case& c : cases) {
        ASSERT_TRUE(Load(std::string(kSquare) + c.text)) << c.name;
        EXPECT_EQ(Outline(), c.outline) << c.name;
    }
}

TEST_F(ModelObjTest, ReadsTheLastMaterialLibraryOfItsFolder) {
    folder_.Put("first.mtl", "newmtl x\nNs 1\n");
    folder_.Put("my second.mtl", "newmtl x\nNs 2\nmap_Kd a.png\n");
    const std::string text =
        std::string("mtllib first.mtl\r\nmtllib  my second.mtl\r\nusemtl x\r\n") + kSquare + "f 1 2 3\n";
    ASSERT_TRUE(Load(text));
    EXPECT_EQ(model_.Material(0).SpecularExponent(), 2);
    EXPECT_EQ(model_.Material(0).MapPath(MapSlot::Diffuse), "a.png");
    EXPECT_EQ(model_.Folder(), folder_.path());
    ModelObj namesOnly;
    ASSERT_TRUE(namesOnly.Load(folder_.path() + "/model.obj", false, true));
    EXPECT_EQ(namesOnly.Material(0).Name(), "x");
    EXPECT_EQ(namesOnly.Material(0).SpecularExponent(), 0);
    ASSERT_TRUE(Load(std::string("mtllib absent.mtl\nusemtl x\n") + kSquare + "f 1 2 3\n"));
    EXPECT_EQ(model_.Material(0).DiffuseColour(), (Point3{1, 1, 1}));
}

TEST_F(ModelObjTest, ReadsTheLayerFileBesideIt) {
    folder_.Put("model.vrd", std::string("\1\0\0\0walk\0\1\0\0\0\2\0\0\0\3\0\0\0\0\0\0\0", 25));
    ASSERT_TRUE(Load(std::string(kSquare) + "f 1 2 3\n"));
    EXPECT_TRUE(model_.HasLayers());
    ASSERT_EQ(model_.Layers().size(), 1u);
    EXPECT_EQ(model_.Layers()[0].endFrame, 3u);
}

TEST_F(ModelObjTest, SaysWhyItFails) {
    EXPECT_FALSE(model_.Load(folder_.path() + "/absent.obj", true, true));
    EXPECT_THAT(model_.Reason(), testing::HasSubstr("cannot be opened"));
    for (const char* text : {"", "v 1 2 3\n", "\n\n\n", "f 1 1 1", "v 0 0 0\nf 1 2 3", "vt 0 0\nvn 0 0 1"}) {
        EXPECT_FALSE(Load(text)) << text;
        EXPECT_FALSE(model_.Reason().empty());
    }
}

// Any truncation of a file gives a shorter model or none, and every index stays in its list.
TEST_F(ModelObjTest, SurvivesEveryTruncationAndRandomDamage) {
    const std::string whole = std::string("mtllib a.mtl\ng a\nusemtl x\n") + kSquare +
                              "vt 0 0\nvn 0 0 1\nf 1/1/1 2/1/1 3/1/1 4/1/1\nf -1//-1 -2//-1 -3//-1\n";
    const auto check = [&](const std::string& text) {
        if (!Load(text)) return 0u;
        std::uint32_t triangles = 0;
        for (std::uint32_t m = 0; m < model_.MeshCount(); ++m)
            for (std::uint32_t g = 0; g < model_.Mesh(m).GroupCount(); ++g) {
                const FileGroup& group = model_.Mesh(m).Group(g);
                EXPECT_LT(group.MaterialIndex(), model_.MaterialCount());
                triangles += group.TriangleCount();
                for (std::uint32_t i = 0; i < group.TriangleCount(); ++i)
                    EXPECT_LT(group.Indices()[i][2], model_.VertexCount());
            }
        EXPECT_EQ(3 * triangles, model_.VertexCount());
        return triangles;
    };
    for (std::size_t length = 0; length <= whole.size(); ++length) (void)check(whole.substr(0, length));
    EXPECT_EQ(check(whole), 3u);
    std::mt19937 random(3);
    const std::string letters = "vfgtnsu 0123456789-/.\n\r#e\t\0x";
    for (int i = 0; i < 300; ++i) {
        std::string damaged = whole + whole;
        for (int k = 0; k < 12; ++k) damaged[random() % damaged.size()] = letters[random() % letters.size()];
        (void)check(damaged);
    }
}

} // namespace
} // namespace velorin
