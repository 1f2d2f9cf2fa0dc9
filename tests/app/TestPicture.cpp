#include "app/images/Picture.h"

#include "ImageSamples.h"

#include "services/SafeFile.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <limits>
#include <numeric>

namespace velorin::app {
namespace {

namespace fs = std::filesystem;

class PictureTest : public testing::Test {
protected:
    void SetUp() override {
        std::string name = (fs::temp_directory_path() / "velorin_picture_XXXXXX").string();
        ASSERT_TRUE(mkdtemp(name.data()));
        folder_ = name;
    }
    void TearDown() override { fs::remove_all(folder_); }
    [[nodiscard]] std::string Path(const char* name) const { return (folder_ / name).string(); }

    // Written and read again.
    Picture Back(const Picture& picture, const char* name) {
        std::string text;
        const bool png = fs::path(name).extension() == ".png";
        EXPECT_TRUE(png ? WritePng(Path(name), picture, text) : WriteExr(Path(name), picture, text)) << text;
        Picture back;
        EXPECT_TRUE(ReadPicture(Path(name), back, text)) << text;
        return back;
    }

    fs::path folder_;
};

template <class Value>
Picture PictureOf(int width, int height, const std::vector<Value>& values) {
    Picture picture(width, height, 8 * static_cast<int>(sizeof(Value)));
    std::memcpy(picture.pixels.data(), values.data(), values.size() * sizeof(Value));
    return picture;
}

TEST_F(PictureTest, PngKeepsEveryBitOfItsDepth) {
    std::vector<std::uint8_t> bytes(256);
    std::vector<std::uint16_t> words(65536);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{});
    std::iota(words.begin(), words.end(), std::uint16_t{});
    for (const Picture& picture : {PictureOf(16, 4, bytes), PictureOf(64, 256, words)}) {
        const Picture back = Back(picture, "a.png");
        EXPECT_EQ(back.depth, picture.depth);
        EXPECT_EQ(back.width, picture.width);
        EXPECT_EQ(back.pixels, picture.pixels);
    }
    // Floats are clamped and written with 16.
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<std::uint16_t> expected{0, 32768, 65535, 0};
    EXPECT_EQ(Back(PictureOf<float>(1, 1, {-1, 0.5F, 7, nan}), "a.png").pixels,
              PictureOf(1, 1, expected).pixels);
}

// The file holds colour times alpha; reading divides again. Values above 1 stay.
TEST_F(PictureTest, ExrIsPremultipliedFloat) {
    const Picture floats = PictureOf<float>(2, 1, {0.25F, 3, 90, 0.5F, 0, 1, 2, 1});
    const Picture back = Back(floats, "a.exr");
    EXPECT_EQ(back.depth, 32);
    EXPECT_EQ(back.pixels, floats.pixels);
    const Picture bytes = Back(PictureOf<std::uint8_t>(1, 1, {255, 51, 0, 128}), "a.exr");
    const float expected[] = {1, 0.2F, 0, 128 / 255.0F};
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_NEAR(reinterpret_cast<const float*>(bytes.pixels.data())[i], expected[i], 1e-6) << i;
}

// What lies outside the display window is not seen, what it shows beyond the data is empty.
TEST_F(PictureTest, AnExrShowsItsDisplayWindow) {
    test::ExrOptions options; // a display window of 100 by 100 from 0, 0
    options.minX = -2, options.minY = 97;
    const test::FileBytes file = test::MakeExr(5, 9, options);
    std::string text;
    ASSERT_TRUE(WriteFileSafely(Path("w.exr"), file, text)) << text;
    Picture picture;
    ASSERT_TRUE(ReadPicture(Path("w.exr"), picture, text)) << text;
    ASSERT_EQ(picture.width, 100);
    ASSERT_EQ(picture.height, 100);
    const auto at = [&](int x, int y) { return reinterpret_cast<const float*>(picture.row(y)) + 4 * x; };
    // Colours x and y of the data, divided by their alpha of a half.
    EXPECT_EQ(at(0, 97)[0], 2 * 2.0F);
    EXPECT_EQ(at(2, 99)[0], 2 * 4.0F);
    EXPECT_EQ(at(2, 99)[1], 2 * 2.0F);
    EXPECT_EQ(at(3, 99)[3], 0.0F);
    EXPECT_EQ(at(0, 96)[3], 0.0F);
}

TEST_F(PictureTest, SizesAndKindsThatCannotBeShownAreRefused) {
    const std::pair<const char*, std::string> files[] = {
        {"is not supported",
         "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 30001\n" + std::string(120004, 'x')},
        {"too short for its size", "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 9000 +X 9000\nx"},
        {"no picture that can be read", "hello"},
        {"the file is empty", ""}};
    for (const auto& [says, bytes] : files) {
        std::string reason;
        Picture picture;
        ASSERT_TRUE(WriteFileSafely(Path("f"), std::as_bytes(std::span(bytes)), reason)) << reason;
        EXPECT_FALSE(ReadPicture(Path("f"), picture, reason));
        EXPECT_NE(reason.find(says), std::string::npos) << reason;
    }
}

TEST_F(PictureTest, AFailedWriteLeavesNothing) {
    std::string error;
    EXPECT_FALSE(WritePng(Path("no/such/folder.png"), Picture(1, 1, 8), error));
    EXPECT_NE(error.find("folder.png"), std::string::npos);
    EXPECT_FALSE(WriteExr("/dev/null/x.exr", Picture(1, 1, 32), error));
}

} // namespace
} // namespace velorin::app
