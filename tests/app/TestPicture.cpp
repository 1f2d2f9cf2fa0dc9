#include "app/images/Decoders.h"
#include "app/images/Picture.h"

#include "services/MappedFile.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include <fstream>

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
        const Picture picture = Pattern(depth);
        std::string text;
        ASSERT_TRUE(WritePng(Path("a.png"), picture, text)) << text;
        Picture back;
        ASSERT_TRUE(ReadPicture(Path("a.png"), back, text)) << text;
        EXPECT_EQ(back.depth, depth);
        EXPECT_EQ(back.width, 5);
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

TEST_F(PictureTest, EveryCutFileIsRefusedOrReadWithoutHarm) {
    std::string text;
    ASSERT_TRUE(WritePng(Path("a.png"), Pattern(8), text));
    ASSERT_TRUE(WriteExr(Path("a.exr"), Pattern(32), text));
    for (const char* name : {"a.png", "a.exr"}) {
        const MappedFile file = MappedFile::Open(Path(name), FileAccess::Read);
        for (std::size_t length = 0; length < file.bytes().size(); ++length) {
            const std::vector<std::byte> part(file.bytes().begin(),
                                              file.bytes().begin() + static_cast<std::ptrdiff_t>(length));
            Picture picture;
            std::string reason;
            const bool png = std::strcmp(name, "a.png") == 0;
            const bool good = png ? DecodePng(part, picture, reason) : DecodeExr(part, picture, reason);
            EXPECT_EQ(good, reason.empty()) << name << ' ' << length;
        }
    }
}

TEST_F(PictureTest, HugeSizesInSmallFilesAreRefused) {
    std::string text;
    ASSERT_TRUE(WritePng(Path("a.png"), Pattern(8), text));
    std::ifstream in(Path("a.png"), std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), {});
    bytes[18] = '\x70'; // width 28672 + 5, and so the check sum is wrong too
    std::ofstream(Path("big.png"), std::ios::binary) << bytes;
    Picture picture;
    EXPECT_FALSE(ReadPicture(Path("big.png"), picture, text));
    std::string reason;
    EXPECT_FALSE(PlausibleSize(100000, 100000, 1 << 20, 1000, reason));
    EXPECT_FALSE(PlausibleSize(20000, 20000, 1000, 1000, reason));
    EXPECT_TRUE(PlausibleSize(20000, 20000, 1 << 20, 1000, reason));
}

TEST_F(PictureTest, BrokenAndForeignFilesAreOneSentence) {
    const fs::path broken = fs::path(VELORIN_SOURCE_DIR) / "../shared/data/broken";
    if (!fs::exists(broken)) GTEST_SKIP() << "no broken files beside the sources";
    for (const auto& entry : fs::directory_iterator(broken)) {
        Picture picture;
        std::string reason;
        const bool good = ReadPicture(entry.path().string(), picture, reason);
        EXPECT_EQ(good, reason.empty()) << entry.path();
    }
    const fs::path textures = broken.parent_path() / "textures";
    for (const char* kind : {"png", "jpg", "exr"})
        for (const auto& entry : fs::recursive_directory_iterator(textures / kind)) {
            if (!entry.is_regular_file() || entry.path().extension() != std::string(".") + kind) continue;
            Picture picture;
            std::string reason;
            EXPECT_TRUE(ReadPicture(entry.path().string(), picture, reason))
                << entry.path() << ": " << reason;
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
