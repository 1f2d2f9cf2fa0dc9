#include "core/CoreSamples.h"
#include "core/Rig.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace velorin {
namespace {

using test::ExpectNear;

TEST(RigTables, AreFoundByTheFileName) {
    EXPECT_EQ(RigKey("C:\\Models\\Jet.OBJ"), "jet.obj");
    EXPECT_EQ(RigKey("/lib/Pack.qbndl>air/Jet.obj"), "air/jet.obj");
    EXPECT_EQ(RigKey("jet"), "jet");
    const RigTable& fallback = DefaultRigTable();
    for (std::size_t c = 0; c < 30; ++c) EXPECT_EQ(fallback[c], c < 19 ? -1 : static_cast<int>(c) - 19);
}

TEST(RigTables, ReadTheirFile) {
    RigTables tables;
    const std::size_t unread =
        ReadRigTables("# rigs\n"
                      "Jet.obj: 4 -1, 2 # doors, exhaust, nozzle\r\n"
                      "\n"
                      "no colon 1 2\n"
                      "odd: 1 x\n"
                      "joined: 1 2x\n"
                      "empty:\n"
                      "long: 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24 25 "
                      "26 27 28 29 30\n"
                      "big: 99999999999\n"
                      ": 1\n"
                      "pack.qbndl>Heli: 7",
                      tables);
    EXPECT_EQ(unread, 7u);
    ASSERT_EQ(tables.size(), 2u);
    const RigTable& jet = tables.at("jet.obj");
    EXPECT_EQ(jet[0], 4);
    EXPECT_EQ(jet[1], -1);
    EXPECT_EQ(jet[2], 2);
    EXPECT_EQ(jet[3], -1);
    EXPECT_EQ(tables.at("heli")[0], 7);
}

// A wing that turns about a hinge at (1, 0, 0), with a flap behind it at (2, 0, 0); layer 0 folds the wing by
// a quarter turn over three frames, layer 1 moves the flap.
struct Wing {
    std::vector<AnimationLayer> layers{2};
    std::list<ModelJoint> joints;
    RigTable table = DefaultRigTable();
    std::array<float, kRigChannelCount> values{};

    Wing() {
        joints.push_back({"wing", "body", Matrix::Translation({1, 0, 0})});
        joints.push_back({"flap", "wing", Matrix::Translation({2, 0, 0})});
        layers[0].endFrame = 2;
        layers[1].endFrame = 1;
        layers[0].tracks["wing"] = {
            {Quaternion{}, {}}, {ReadRotation({0, 0, kPi / 4}), {}}, {ReadRotation({0, 0, kPi / 2}), {}}};
        layers[1].tracks["flap"] = {{Quaternion{}, {}}, {Quaternion{}, {0, 0, 4}}};
    }
    [[nodiscard]] Point3 At(const char* mesh, Point3 p) const {
        return TransformPoint(p, RigMatrix(layers, joints, mesh, table, values));
    }
};

TEST(RigMatrix, TurnsJointsAroundTheirPlaces) {
    Wing wing;
    ExpectNear(wing.At("wing", {3, 0, 0}), {3, 0, 0}, 1e-6f, "at rest");
    wing.values[19] = 100;
    ExpectNear(wing.At("wing", {3, 0, 0}), {1, 2, 0}, 1e-5f, "x to y about the hinge");
    ExpectNear(wing.At("flap", {3, 0, 0}), {1, 2, 0}, 1e-5f, "the flap goes with it");
    wing.values[20] = 25;
    ExpectNear(wing.At("flap", {3, 0, 0}), {1, 2, 1}, 1e-5f, "a quarter of the way between its keys");
    ExpectNear(wing.At("wing", {3, 0, 0}), {1, 2, 0}, 1e-5f, "not backwards");
    wing.values[19] = -100;
    ExpectNear(wing.At("wing", {3, 0, 0}), {1, -2, 0}, 1e-5f, "the other way");
    ExpectNear(wing.At("body", {3, 0, 0}), {3, 0, 0}, 1e-6f, "no joint of that name");
    wing.values.fill(0);
    wing.table[18] = 0;
    wing.values[18] = 350; // three turns and a half
    const float h = std::sqrt(2.0f);
    ExpectNear(wing.At("wing", {3, 0, 0}), {1 + h, h, 0}, 1e-5f, "the turbine goes round");
    wing.table.fill(-1);
    ExpectNear(wing.At("wing", {3, 0, 0}), {3, 0, 0}, 1e-6f, "nothing driven");
}

TEST(RigMatrix, SurvivesOddRigs) {
    Wing wing;
    wing.values.fill(50);
    wing.joints.front().parentName = "flap"; // a circle
    const Point3 p = wing.At("flap", {1, 1, 1});
    EXPECT_TRUE(p.x == p.x);
    wing.table.fill(99); // beyond the layers
    ExpectNear(wing.At("wing", {3, 0, 0}), {3, 0, 0}, 1e-5f, "no such layer");
    wing.table = DefaultRigTable();
    wing.layers[0].tracks["wing"].clear();
    wing.values.fill(std::numeric_limits<float>::quiet_NaN());
    ExpectNear(wing.At("wing", {3, 0, 0}), {3, 0, 0}, 1e-5f, "no keys");
    // A single frame at 0 percent is left out, above 0 it acts.
    wing = Wing();
    wing.layers[0].endFrame = 0;
    wing.layers[0].tracks["wing"] = {{Quaternion{}, {0, 5, 0}}};
    ExpectNear(wing.At("wing", {3, 0, 0}), {3, 0, 0}, 1e-5f, "0 percent");
    wing.values[19] = 1;
    ExpectNear(wing.At("wing", {3, 0, 0}), {3, 5, 0}, 1e-5f, "1 percent");
}

} // namespace
} // namespace velorin
