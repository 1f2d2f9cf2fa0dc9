#include "FormatChecks.h"
#include "model/obj/LayerFile.h"

#include <gtest/gtest.h>

namespace velorin::obj {
namespace {

using namespace test;

Buffer Numbers(std::initializer_list<std::uint32_t> values) {
    Buffer bytes;
    for (const std::uint32_t value : values) bytes += U32(value);
    return bytes;
}

const Buffer kTwoLayers = Numbers({2}) + Zero("walk") + Numbers({24, 1, 10, 1}) + Zero("hip") + Numbers({2}) +
                          F32({1, 2, 3, 4, 5, 6, 7, -1, -2, -3, -4, -5, -6, -7}) + Zero("") +
                          Numbers({25, 2, 20, 0}) + Numbers({99}) + // joints; not what bounds them
                          Zero("hip") + Zero("") + F32({9, 9, 9, 9, 1, 2, 3}) + Zero("knee") + Zero("hip") +
                          F32({9, 9, 9, 9, 4, 5, 6});

TEST(LayerFile, GoldenBytes) {
    const LayerFile file = ReadLayerFile(kTwoLayers);
    ASSERT_EQ(file.layers.size(), 2u);
    const AnimationLayer& walk = file.layers[0];
    EXPECT_EQ(walk.name, "walk");
    EXPECT_EQ(walk.frameRate, 24u);
    EXPECT_EQ(walk.startFrame, 1u);
    EXPECT_EQ(walk.endFrame, 10u);
    ASSERT_EQ(walk.tracks.size(), 1u);
    const LayerKeys& keys = walk.tracks.at("hip");
    ASSERT_EQ(keys.size(), 2u);
    EXPECT_EQ(keys[0], (LayerKey{{1, 3, 2, 4}, {-5, -7, -6}}));
    EXPECT_EQ(keys[1], (LayerKey{{-1, -3, -2, -4}, {5, 7, 6}}));
    EXPECT_EQ(file.layers[1].name, "");
    EXPECT_EQ(file.layers[1].frameRate, 25u);
    EXPECT_TRUE(file.layers[1].tracks.empty());
    ASSERT_EQ(file.joints.size(), 2u);
    const ModelJoint& knee = file.joints.back();
    EXPECT_EQ(knee.name, "knee");
    EXPECT_EQ(knee.parentName, "hip");
    EXPECT_EQ(knee.matrix, Matrix::Translation({-4, -5, -6}));
    EXPECT_EQ(file.joints.front().parentName, "");
}

// What was complete before the end is kept, whatever is missing.
TEST(LayerFile, EveryTruncatedLength) {
    std::size_t keysBefore = 0, jointsBefore = 0;
    const auto check = [&](Bytes part) {
        const LayerFile file = ReadLayerFile(part);
        const bool hasTrack = !file.layers.empty() && !file.layers[0].tracks.empty();
        const std::size_t keys = hasTrack ? file.layers[0].tracks.at("hip").size() : 0;
        EXPECT_GE(keys, keysBefore) << part.size();
        EXPECT_GE(file.joints.size(), jointsBefore) << part.size();
        keysBefore = keys;
        jointsBefore = file.joints.size();
    };
    ForEachTruncation(kTwoLayers, check);
    EXPECT_EQ(jointsBefore, 1u);
    check(kTwoLayers + Text("x")); // a byte too many
    EXPECT_EQ(keysBefore, 2u);
    EXPECT_EQ(jointsBefore, 2u);
}

TEST(LayerFile, HugeCountsAndLongNames) {
    constexpr std::uint32_t huge = 0xffffffffu;
    EXPECT_TRUE(ReadLayerFile(Numbers({huge})).layers.empty());
    EXPECT_EQ(ReadLayerFile(Numbers({huge}) + Zero("l") + Numbers({1, 1, 1, huge})).layers.size(), 1u);
    const LayerFile keys = ReadLayerFile(Numbers({1}) + Zero("l") + Numbers({1, 1, 1, huge}) + Zero("t") +
                                         Numbers({huge}) + F32({1, 2, 3, 4, 5, 6, 7, 8}));
    ASSERT_EQ(keys.layers.size(), 1u);
    EXPECT_EQ(keys.layers[0].tracks.at("t").size(), 1u);
    EXPECT_LT(keys.layers[0].tracks.at("t").capacity(), 100u);
    // 254 characters and the zero fit; of a longer name the reader takes 254 and goes on 255 behind its
    // start.
    for (const Buffer& name : {Zero(std::string(254, 'a')), Text(std::string(255, 'a'))}) {
        const LayerFile file = ReadLayerFile(Numbers({1}) + name + Numbers({7, 0, 0, 0}));
        EXPECT_EQ(file.layers.at(0).name, std::string(254, 'a'));
        EXPECT_EQ(file.layers.at(0).frameRate, 7u);
    }
}

} // namespace
} // namespace velorin::obj
