#include "model/obj/LayerFile.h"

#include <gtest/gtest.h>

namespace velorin::obj {
namespace {

// Builds the bytes of a layer file.
class Writer {
public:
    Writer& Number(std::uint32_t value) { return Raw(&value, sizeof value); }
    Writer& Name(const std::string& name) { return Raw(name.c_str(), name.size() + 1); }
    Writer& Text(const std::string& text) { return Raw(text.data(), text.size()); }
    Writer& Floats(std::initializer_list<float> values) {
        for (const float value : values) Raw(&value, sizeof value);
        return *this;
    }
    [[nodiscard]] const std::string& bytes() const { return bytes_; }

private:
    Writer& Raw(const void* data, std::size_t size) {
        bytes_.append(static_cast<const char*>(data), size);
        return *this;
    }
    std::string bytes_;
};

Writer TwoLayers() {
    Writer w;
    w.Number(2);
    w.Name("walk").Number(24).Number(1).Number(10).Number(1);
    w.Name("hip").Number(2).Floats({1, 2, 3, 4, 5, 6, 7}).Floats({-1, -2, -3, -4, -5, -6, -7});
    w.Name("").Number(25).Number(2).Number(20).Number(0);
    w.Number(99); // joints; not what bounds them
    w.Name("hip").Name("").Floats({9, 9, 9, 9, 1, 2, 3});
    w.Name("knee").Name("hip").Floats({9, 9, 9, 9, 4, 5, 6});
    return w;
}

LayerFile Read(const std::string& bytes) {
    // Memory of exactly this size, so that a sanitizer sees a read behind it.
    const std::vector<char> exact(bytes.begin(), bytes.end());
    return ReadLayerFile(std::as_bytes(std::span(exact)));
}

TEST(LayerFile, GoldenBytes) {
    const LayerFile file = Read(TwoLayers().bytes());
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
    const std::string whole = TwoLayers().bytes();
    std::size_t keysBefore = 0, jointsBefore = 0;
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const LayerFile file = Read(whole.substr(0, length));
        std::size_t keys = 0;
        if (!file.layers.empty() && !file.layers[0].tracks.empty())
            keys = file.layers[0].tracks.at("hip").size();
        EXPECT_GE(keys, keysBefore) << length;
        EXPECT_GE(file.joints.size(), jointsBefore) << length;
        keysBefore = keys;
        jointsBefore = file.joints.size();
    }
    EXPECT_EQ(keysBefore, 2u);
    EXPECT_EQ(jointsBefore, 2u);
    EXPECT_EQ(Read(whole + "x").joints.size(), 2u) << "a byte too many";
    EXPECT_EQ(Read(whole.substr(0, whole.size() - 1)).joints.size(), 1u);
}

TEST(LayerFile, HugeCountsTakeNoMemory) {
    constexpr std::uint32_t huge = 0xffffffffu;
    EXPECT_TRUE(Read(Writer().Number(huge).bytes()).layers.empty());
    EXPECT_EQ(Read(Writer().Number(huge).Name("l").Number(1).Number(1).Number(1).Number(huge).bytes())
                  .layers.size(),
              1u);
    const LayerFile keys = Read(Writer()
                                    .Number(1)
                                    .Name("l")
                                    .Number(1)
                                    .Number(1)
                                    .Number(1)
                                    .Number(huge)
                                    .Name("t")
                                    .Number(huge)
                                    .Floats({1, 2, 3, 4, 5, 6, 7, 8})
                                    .bytes());
    ASSERT_EQ(keys.layers.size(), 1u);
    EXPECT_EQ(keys.layers[0].tracks.at("t").size(), 1u);
    EXPECT_LT(keys.layers[0].tracks.at("t").capacity(), 100u);
}

TEST(LayerFile, NamesEndAtTheirRoom) {
    // 254 characters and the zero fit; of a longer name the reader takes 254 and goes on 255 behind its
    // start.
    const std::string longest(254, 'a');
    Writer fits;
    fits.Number(1).Name(longest).Number(7).Number(0).Number(0).Number(0);
    EXPECT_EQ(Read(fits.bytes()).layers.at(0).name, longest);
    EXPECT_EQ(Read(fits.bytes()).layers.at(0).frameRate, 7u);
    Writer tooLong;
    tooLong.Number(1).Text(std::string(255, 'b')).Number(8).Number(0).Number(0).Number(0);
    EXPECT_EQ(Read(tooLong.bytes()).layers.at(0).name, std::string(254, 'b'));
    EXPECT_EQ(Read(tooLong.bytes()).layers.at(0).frameRate, 8u);
}

} // namespace
} // namespace velorin::obj
