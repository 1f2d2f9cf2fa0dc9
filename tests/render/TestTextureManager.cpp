#include "ImageSamples.h"
#include "TextureFixture.h"
#include "services/TemporaryFolder.h"

#include "images/Dds.h"
#include "images/Image.h"
#include "services/Warnings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>

#include <chrono>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace velorin {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::HasSubstr;

const std::string kData = std::string(VELORIN_SOURCE_DIR) + "/../shared/data/";

std::string AsText(const FileBytes& file) {
    return {reinterpret_cast<const char*>(file.data()), file.size()};
}

// An 8-bit RGB picture of a gradient, as a PNG file.
FileBytes GradientPng(std::uint32_t width, std::uint32_t height) {
    std::vector<std::uint8_t> packed;
    for (std::uint32_t y = 0; y < height; ++y)
        for (std::uint32_t x = 0; x < width; ++x)
            for (const std::uint32_t c : {x * 255 / width, y * 255 / height, 40u})
                packed.push_back(static_cast<std::uint8_t>(c));
    return MakePng(width, height, 8, PNG_COLOR_TYPE_RGB, packed);
}

// One block of DXT1 in one colour (5:6:5) repeated.
FileBytes PlainDds(std::uint32_t side, std::uint32_t mips, std::vector<std::uint16_t> coloursByLevel) {
    std::vector<std::uint8_t> data;
    for (std::uint32_t level = 0; level < std::max(mips, 1u); ++level) {
        const std::uint32_t blocks = std::max((std::max(side >> level, 1u) + 3) / 4, 1u);
        const std::uint16_t c = coloursByLevel[std::min<std::size_t>(level, coloursByLevel.size() - 1)];
        for (std::uint32_t i = 0; i < blocks * blocks; ++i)
            data.insert(data.end(),
                        {static_cast<std::uint8_t>(c), static_cast<std::uint8_t>(c >> 8), 0, 0, 0, 0, 0, 0});
    }
    DdsOptions options;
    options.width = options.height = side;
    options.mips = mips;
    return MakeDds(options, data);
}

class TextureManagerTest : public TextureTest {
protected:
    std::string Put(std::string_view name, const FileBytes& file) { return folder.Put(name, AsText(file)); }
    TemporaryFolder folder;
};

TEST_F(TextureManagerTest, OneTextureForOneFileAndFlags) {
    const std::string path = Put("a.png", GradientPng(8, 4)), dot = Put("dot.png", GradientPng(1, 1));
    {
        const Held first = Get(path, kTexturePlain), second = Get(path, kTexturePlain);
        ASSERT_TRUE(first);
        EXPECT_EQ(first->width, 8u);
        EXPECT_EQ(first->height, 4u);
        EXPECT_EQ(second, first);
        EXPECT_EQ(first->refCount, 2);
        EXPECT_EQ(statistics_.textureUploads, 1u);
        // What can be derived from it does not read the file again.
        const Held plain = Get(dot, kTexturePlain), cube = Get(dot, kTexturePlain | kTextureCube),
                   bump = Get(path, kTexturePlain | kTextureCompress | kTextureBump);
        ASSERT_TRUE(plain && cube && bump);
        EXPECT_EQ(statistics_.textureUploads, 2u);
        EXPECT_EQ(bump->width, 8u);
        EXPECT_GT(Read(bump->texture.name())[2], 0.5f) << "a normal";
        EXPECT_EQ(cube->width, kEnvironmentCubeSide);
        EXPECT_EQ(manager().entryCount(), 4u);
    }
    manager().ReleaseTexture(nullptr);
    EXPECT_EQ(manager().entryCount(), 0u);
}

TEST_F(TextureManagerTest, WeakerMatches) {
    const std::string path = Put("a.png", GradientPng(8, 8));
    const auto shares = [&](std::uint32_t made, std::uint32_t wanted) {
        const Held first = Get(path, made), second = Get(path, wanted);
        return first == second;
    };
    EXPECT_TRUE(shares(kTexturePlain, kTexturePlain | kTextureLowResolution));
    EXPECT_TRUE(shares(kTexturePlain, kTexturePlain | kTextureLowResolution | kTextureCompress));
    EXPECT_TRUE(shares(kTextureCompress, kTextureCompress | kTextureLowResolution));
    EXPECT_TRUE(shares(kTexturePlain, kTexturePlain | kTextureCompress));
    EXPECT_FALSE(shares(kTexturePlain | kTextureLowResolution, kTexturePlain));
    EXPECT_FALSE(shares(kTextureCompress, 0));
    EXPECT_FALSE(shares(kTexturePlain, kTexturePlain | kTextureNormalSlot));
}

TEST_F(TextureManagerTest, SixteenBitsStayExact) {
    const std::vector<std::uint8_t> packed = {0x12, 0x34, 0x80, 0x00, 0x00, 0x10, 0x40, 0x00};
    const Held entry = Get(Put("a.png", MakePng(1, 1, 16, PNG_COLOR_TYPE_RGBA, packed)), kTextureCompress);
    ASSERT_TRUE(entry);
    EXPECT_EQ(LevelValue(entry->texture.name(), 0, GL_TEXTURE_INTERNAL_FORMAT), GL_RGBA16F);
    const auto texel = Read(entry->texture.name());
    const double expected[] = {0x1234 / 65535.0, 0x8000 / 65535.0, 0x10 / 65535.0, 0x4000 / 65535.0};
    for (std::size_t c = 0; c < 4; ++c)
        EXPECT_NEAR(texel[c], expected[c], expected[c] / 2048) << c; // half's precision
}

TEST_F(TextureManagerTest, LargePicturesAreHalved) {
    const std::string path = Put("a.png", GradientPng(2400, 300));
    struct Case {
        std::uint32_t detail, flags, width;
    };
    for (const Case& c : {Case{0, kTexturePlain, 600},
                          {1, kTexturePlain, 1200},
                          {2, kTexturePlain, 2400},
                          {2, kTexturePlain | kTextureLowResolution, 600}}) {
        manager().SetTextureDetail(c.detail);
        const Held entry = Get(path, c.flags);
        ASSERT_TRUE(entry);
        EXPECT_EQ(entry->width, c.width) << c.detail << " " << c.flags;
        EXPECT_EQ(entry->height, c.width / 8);
        EXPECT_EQ(LevelValue(entry->texture.name(), 0, GL_TEXTURE_WIDTH), static_cast<int>(c.width));
    }
}

TEST_F(TextureManagerTest, OwnMipChainIsTheHalvedPicture) {
    driver_.isAti = true;
    Image image(13, 6, Image::Format::Rgba8);
    for (std::size_t i = 0; i < image.byteCount(); ++i) image.bytes()[i] = static_cast<std::uint8_t>(i * 37);
    const gl::Texture texture = manager().LoadTexture(image.bytes(), 13, 6, false);
    ASSERT_TRUE(texture);
    EXPECT_EQ(Parameter(texture.name(), GL_TEXTURE_MAX_LEVEL), 3);
    for (int level = 0; level < 4; ++level, image = Halved(image)) {
        const auto texels = Read(texture.name(), level);
        ASSERT_EQ(texels.size(), image.byteCount()) << level;
        for (std::size_t i = 0; i < texels.size(); ++i) EXPECT_NEAR(texels[i] * 255, image.bytes()[i], 0.01);
    }
}

TEST_F(TextureManagerTest, CompressionIsUsedWhereItIsAllowed) {
    if (!GLEW_EXT_texture_compression_s3tc) GTEST_SKIP() << "the driver cannot compress";
    const std::string path = Put("a.png", GradientPng(64, 64));
    const auto compressed = [&](std::uint32_t flags) {
        const Held entry = Get(path, flags);
        const auto texels = Read(entry->texture.name());
        for (const auto& [x, y] : {std::pair{5, 9}, {40, 60}}) {
            const std::size_t i = 4 * static_cast<std::size_t>(y * 64 + x);
            EXPECT_NEAR(texels[i], static_cast<float>(x) / 64, 0.03);
            EXPECT_NEAR(texels[i + 1], static_cast<float>(y) / 64, 0.03);
        }
        return LevelValue(entry->texture.name(), 0, GL_TEXTURE_COMPRESSED) != 0;
    };
    EXPECT_FALSE(compressed(kTexturePlain));
    EXPECT_TRUE(compressed(kTextureCompress));
    EXPECT_FALSE(compressed(kTextureCompress | kTextureNormalSlot));
}

TEST_F(TextureManagerTest, AnisotropyIsTheDrivers) {
    if (!GLEW_EXT_texture_filter_anisotropic) GTEST_SKIP();
    driver_.maxAnisotropy = 4;
    const std::uint8_t pixel[4] = {1, 2, 3, 4};
    const gl::Texture texture = manager().LoadTexture(pixel, 1, 1, false);
    EXPECT_EQ(Parameter(texture.name(), GL_TEXTURE_MAX_ANISOTROPY_EXT), 4);
}

TEST_F(TextureManagerTest, ACompressedSiblingIsPreferred) {
    const std::string path = Put("a.png", GradientPng(16, 16));
    Put("a.DDS", PlainDds(8, 0, {0xF800}));
    const auto widthOf = [&](std::uint32_t flags) {
        const Held entry = Get(path, flags);
        EXPECT_EQ(entry && entry->fromBlocks, entry && entry->width == 8);
        return entry ? entry->width : 0;
    };
    EXPECT_EQ(widthOf(kTexturePlain), 16u);
    EXPECT_EQ(widthOf(kTextureCompress), 8u);
    EXPECT_EQ(widthOf(kTextureLowResolution), 8u);
    Put("a.dds", ToBytes("not a DDS file"));
    EXPECT_EQ(widthOf(kTextureCompress), 0u) << "the small letters come first, and nothing else is tried";
    EXPECT_THAT(TakeWarnings(), ElementsAre(path + ": the texture cannot be used: " + folder.file("a.dds") +
                                            " stands in for it, but it is no DDS file."));
    Put("a.dds", PlainDds(4, 0, {0xF800}));
    TextureList list(manager());
    list.MarkUnused();
    ASSERT_TRUE(list.Find(path, kTextureCompress)) << "the file that failed has changed";
}

TEST_F(TextureManagerTest, DdsLevelsComeAsTheyAreStored) {
    // Red, green, blue from the largest level on; a preview leaves out those above its size.
    const std::string path = Put("a.dds", PlainDds(1024, 3, {0xF800, 0x07E0, 0x001F}));
    for (const std::size_t first : {0u, 1u}) {
        const Held entry = Get(path, first ? kTexturePlain | kTextureLowResolution : kTexturePlain);
        ASSERT_TRUE(entry);
        EXPECT_EQ(entry->width, first ? 512u : 1024u);
        EXPECT_EQ(Parameter(entry->texture.name(), GL_TEXTURE_MAX_LEVEL), first ? 1 : 2);
        for (std::size_t channel = first; channel < 3; ++channel)
            EXPECT_EQ(Read(entry->texture.name(), static_cast<int>(channel - first)).at(channel), 1);
    }
    const Held entry = Get(Put("b.dds", PlainDds(8, 0, {0xFFFF})), kTexturePlain);
    ASSERT_TRUE(entry);
    EXPECT_EQ(Parameter(entry->texture.name(), GL_TEXTURE_MIN_FILTER), GL_LINEAR);
}

TEST_F(TextureManagerTest, OnlyDxt5NormalsHaveTwoChannels) {
    DdsOptions options;
    options.fourCC = "DXT5";
    const std::string dxt5 = Put("five.dds", MakeDds(options, std::vector<std::uint8_t>(16)));
    const std::string dxt1 = Put("one.dds", PlainDds(4, 0, {0x1234}));
    EXPECT_TRUE(Get(dxt5, kTexturePlain | kTextureNormalSlot)->twoChannelNormals);
    EXPECT_FALSE(Get(dxt5, kTexturePlain)->twoChannelNormals);
    EXPECT_FALSE(Get(dxt5, kTexturePlain | kTextureNormalSlot | kTextureBump)->twoChannelNormals);
    EXPECT_FALSE(Get(dxt1, kTexturePlain | kTextureNormalSlot)->twoChannelNormals);
}

TEST_F(TextureManagerTest, EachFaultIsToldOnce) {
    const std::string absent = folder.file("absent.png"),
                      broken = Put("broken.exr", ToBytes("no such thing"));
    FileBytes file = MakeJpeg(256, 256, {200, 100, 50}, false, false);
    file.resize(file.size() - 300);
    const std::string cut = Put("cut.jpg", file);
    const Held held = Get(cut, kTexturePlain);
    ASSERT_TRUE(held);
    EXPECT_NEAR(Read(held->texture.name())[0] * 255, 200, 2);
    for (int i = 0; i < 3; ++i)
        for (const std::uint32_t flags : {1u, 2u, 64u}) {
            EXPECT_FALSE(Get(absent, flags));
            EXPECT_FALSE(Get(broken, flags));
            EXPECT_FALSE(Get("", flags));
            EXPECT_TRUE(Get(cut, kTexturePlain));
        }
    EXPECT_THAT(TakeWarnings(),
                ElementsAre(HasSubstr("what could be read is shown"),
                            absent + ": the texture cannot be used: No such file or directory.",
                            broken + ": the texture cannot be used: the OpenEXR header is damaged."));
    EXPECT_EQ(manager().entryCount(), 1u);
}

TEST_F(TextureManagerTest, BrokenFilesFallBackWithOneWarningEach) {
    if (!std::filesystem::exists(kData)) GTEST_SKIP() << "no shared data";
    std::size_t files = 0;
    for (const auto& file : std::filesystem::directory_iterator(kData + "broken")) {
        const std::string extension = file.path().extension().string();
        if (!std::set<std::string>{".png", ".jpg", ".exr", ".hdr", ".dds"}.contains(extension)) continue;
        ++files;
        for (const std::uint32_t flags : {1u, 3u, 5u})
            EXPECT_EQ(bool(Get(file.path().string(), flags)), extension == ".jpg") << file.path();
        EXPECT_EQ(TakeWarnings().size(), 1u) << file.path();
    }
    EXPECT_EQ(files, 10u);
}

TEST_F(TextureManagerTest, ImpossibleSizesAreRefused) {
    const float pixel[4] = {};
    const auto tooWide = static_cast<std::uint32_t>(driver_.maxTextureSize) + 1;
    for (const auto& [width, height] : {std::pair{0u, 1u}, {1u, 0u}, {tooWide, 1u}})
        EXPECT_FALSE(manager().LoadFloatTexture(pixel, width, height));
}

class TextureListTest : public TextureManagerTest {
protected:
    void SetTime(const std::string& path, double seconds) const {
        using namespace std::chrono;
        std::filesystem::last_write_time(
            path, base_ + duration_cast<file_clock::duration>(duration<double>(seconds)));
    }
    const std::chrono::file_clock::time_point base_ = std::chrono::file_clock::now() - std::chrono::hours(1);
};

TEST_F(TextureListTest, AChangedFileIsLoadedAtTheNextFrame) {
    const std::string path = Put("a.png", GradientPng(8, 8));
    SetTime(path, 0);
    TextureList list(manager());
    list.MarkUnused();
    ASSERT_TRUE(list.Find(path, kTexturePlain));
    EXPECT_EQ(list.Find(path, kTexturePlain)->width, 8u);

    Put("a.png", GradientPng(16, 16));
    SetTime(path, 0.9);
    list.MarkUnused();
    EXPECT_EQ(list.Find(path, kTexturePlain)->width, 8u) << "within a second it is not noticed";
    SetTime(path, 1.5);
    EXPECT_EQ(list.Find(path, kTexturePlain)->width, 8u) << "nor twice in a frame";
    list.MarkUnused();
    EXPECT_EQ(list.Find(path, kTexturePlain)->width, 16u);
    list.ReleaseUnused();
    EXPECT_EQ(manager().entryCount(), 1u) << "the old texture is gone";
    EXPECT_EQ(statistics_.textureUploads, 2u);
}

TEST_F(TextureListTest, AFaultyFileIsTriedAgainWhenItChanges) {
    const std::string path = folder.file("late.png");
    TextureList list(manager());
    list.MarkUnused();
    EXPECT_FALSE(list.Find(path, kTexturePlain));
    Put("late.png", GradientPng(8, 8));
    EXPECT_FALSE(list.Find(path, kTexturePlain)) << "not in this frame";
    list.MarkUnused();
    EXPECT_TRUE(list.Find(path, kTexturePlain));
    // Nor is a texture looked for that nothing shows.
    EXPECT_FALSE(list.Find(path, kTexturePlain, 0));
    EXPECT_TRUE(list.Find(path, kTexturePlain, 0, true)) << "the environment counts without its amount";
    EXPECT_FALSE(list.Find("", kTexturePlain));
    EXPECT_EQ(TakeWarnings().size(), 1u);
}

TEST_F(TextureListTest, UnusedTexturesAreGivenBack) {
    const std::string a = Put("a.png", GradientPng(4, 4)), b = Put("b.png", GradientPng(4, 4));
    TextureList list(manager()), other(manager());
    for (TextureList* l : {&list, &other}) l->MarkUnused();
    ASSERT_TRUE(list.Find(a, kTexturePlain) && list.Find(b, kTexturePlain) && other.Find(b, kTexturePlain));
    EXPECT_EQ(manager().entryCount(), 2u);
    list.MarkUnused();
    other.MarkUnused();
    ASSERT_TRUE(list.Find(a, kTexturePlain));
    list.ReleaseUnused();
    EXPECT_EQ(manager().entryCount(), 2u) << "the other list holds it still";
    other.ReleaseUnused();
    EXPECT_EQ(manager().entryCount(), 1u);
    EXPECT_EQ(statistics_.textureUploads, 2u);
}

TEST_F(TextureListTest, ManyFramesLoadNothingTwice) {
    const std::string path = Put("a.png", GradientPng(4, 4));
    const Held held = Get(path, kTexturePlain);
    {
        TextureList list(manager());
        for (int frame = 0; frame < 50; ++frame) {
            list.MarkUnused();
            // Three requests that one texture serves.
            for (const std::uint32_t flags : {1u, 3u, 17u}) EXPECT_EQ(list.Find(path, flags), held.get());
            list.ReleaseUnused();
            EXPECT_EQ(held->refCount, 2);
        }
    }
    EXPECT_EQ(held->refCount, 1);
    EXPECT_EQ(statistics_.textureUploads, 1u);
}

} // namespace
} // namespace velorin
