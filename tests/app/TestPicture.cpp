#include "app/images/Picture.h"

#include "ImageSamples.h"

#include "services/SafeFile.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <limits>

namespace velorin::app {
namespace {

namespace fs = std::filesystem;

class PictureTest : public testing::Test {
protected:
    void SetUp() override {
        folder_ = fs::temp_directory_path() /
                  ("velorin_picture_" +
                   std::to_string(::testing::UnitTest::GetInstance()->random_seed() +
                                  static_cast<int>(reinterpret_cast<std::uintptr_t>(this) % 100000)));
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }
    [[nodiscard]] std::string Path(const char* name) const { return (folder_ / name).string(); }

    fs::path folder_;
};

Picture Pattern(int depth) {
    Picture picture(5, 3, depth);
    for (std::size_t i = 0; i < 60; ++i) {
        if (depth == 8)
            picture.pixels[i] = static_cast<std::byte>(i * 4);
        else if (depth == 16)
            reinterpret_cast<std::uint16_t*>(picture.pixels.data())[i] = static_cast<std::uint16_t>(i * 1111);
        else
            reinterpret_cast<float*>(picture.pixels.data())[i] =
                i % 4 == 3 ? 0.5F : static_cast<float>(i) * 0.25F;
    }
    return picture;
}

TEST_F(PictureTest, PngKeepsEveryBitOfItsDepth) {
    for (const int depth : {8, 16}) {
        Picture picture = Pattern(depth);
        if (depth == 16) { // every value there is
            picture = Picture(128, 128, 16);
            for (std::size_t i = 0; i < 65536; ++i)
                reinterpret_cast<std::uint16_t*>(picture.pixels.data())[i] = static_cast<std::uint16_t>(i);
        }
        std::string text;
        ASSERT_TRUE(WritePng(Path("a.png"), picture, text)) << text;
        Picture back;
        ASSERT_TRUE(ReadPicture(Path("a.png"), back, text)) << text;
        EXPECT_EQ(back.depth, depth);
        EXPECT_EQ(back.width, picture.width);
        EXPECT_EQ(back.pixels, picture.pixels);
    }
}

TEST_F(PictureTest, FloatsGoIntoPngClampedTo16Bits) {
    Picture picture(1, 1, 32);
    const float pixel[] = {-1.0F, 0.5F, 7.0F, std::numeric_limits<float>::quiet_NaN()};
    std::memcpy(picture.pixels.data(), pixel, sizeof pixel);
    std::string text;
    ASSERT_TRUE(WritePng(Path("f.png"), picture, text)) << text;
    Picture back;
    ASSERT_TRUE(ReadPicture(Path("f.png"), back, text)) << text;
    ASSERT_EQ(back.depth, 16);
    const auto* value = reinterpret_cast<const std::uint16_t*>(back.pixels.data());
    EXPECT_EQ(value[0], 0);
    EXPECT_EQ(value[1], 32768);
    EXPECT_EQ(value[2], 65535);
    EXPECT_EQ(value[3], 0);
}

// The file holds colour times alpha; reading divides again. Values above 1 stay.
TEST_F(PictureTest, ExrIsPremultipliedFloat) {
    const Picture picture = Pattern(32);
    std::string text;
    ASSERT_TRUE(WriteExr(Path("a.exr"), picture, text)) << text;
    Picture back;
    ASSERT_TRUE(ReadPicture(Path("a.exr"), back, text)) << text;
    EXPECT_EQ(back.depth, 32);
    EXPECT_EQ(back.pixels, picture.pixels);

    Picture bytes(1, 1, 8);
    const std::uint8_t pixel[] = {255, 51, 0, 128};
    std::memcpy(bytes.pixels.data(), pixel, 4);
    ASSERT_TRUE(WriteExr(Path("b.exr"), bytes, text)) << text;
    ASSERT_TRUE(ReadPicture(Path("b.exr"), back, text)) << text;
    const auto* value = reinterpret_cast<const float*>(back.pixels.data());
    EXPECT_NEAR(value[0], 1.0F, 1e-6);
    EXPECT_NEAR(value[1], 0.2F, 1e-6);
    EXPECT_NEAR(value[3], 128 / 255.0F, 1e-6);
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
    EXPECT_FALSE(WritePng(Path("no/such/folder.png"), Pattern(8), error));
    EXPECT_NE(error.find("folder.png"), std::string::npos);
    EXPECT_FALSE(WriteExr("/dev/null/x.exr", Pattern(32), error));
}

} // namespace
} // namespace velorin::app
