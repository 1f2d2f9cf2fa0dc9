#include "ImageSamples.h"

#include "images/Dds.h"
#include "images/Image.h"
#include "platform/Process.h"
#include "services/MappedFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

namespace velorin {
namespace {

using namespace test;
using testing::HasSubstr;

const std::string kData = std::string(VELORIN_SOURCE_DIR) + "/../shared/data/";

std::array<double, 4> Pixel(const Image& image, std::uint32_t x, std::uint32_t y) {
    std::array<double, 4> out{};
    const std::size_t first = (std::size_t{y} * image.width() + x) * 4;
    for (std::size_t c = 0; c < 4; ++c)
        out[c] =
            image.format() == Image::Format::Rgba8 ? image.bytes()[first + c] : image.floats()[first + c];
    return out;
}

void ExpectPixel(const Image& image, std::uint32_t x, std::uint32_t y, std::array<double, 4> expected,
                 double tolerance = 0) {
    const auto found = Pixel(image, x, y);
    for (std::size_t c = 0; c < 4; ++c)
        EXPECT_NEAR(found[c], expected[c], tolerance) << "channel " << c << " at " << x << ", " << y;
}

Image Decoded(const FileBytes& file, std::string_view extension) {
    std::string reason;
    auto image = DecodeImage(Span(file), extension, reason);
    EXPECT_TRUE(image) << reason;
    return image ? std::move(*image) : Image();
}
// Why a file is not read.
std::string Refusal(const FileBytes& file, std::string_view extension) {
    std::string reason;
    EXPECT_FALSE(DecodeImage(Span(file), extension, reason));
    EXPECT_FALSE(reason.empty());
    return reason;
}

// The largest level of a DDS.
Image DecodedFile(const std::string& name) {
    const MappedFile file = MappedFile::Open(kData + name, FileAccess::Read);
    std::string reason;
    std::optional<Image> image;
    if (!name.ends_with(".dds")) {
        image = DecodeImage(file.bytes(), std::filesystem::path(name).extension().string(), reason);
    } else if (const auto dds = ReadDds(file.bytes(), reason)) {
        image.emplace(dds->levels[0].width, dds->levels[0].height, Image::Format::Rgba8);
        DecodeBlocks(dds->format, dds->levels[0], image->bytes());
    }
    EXPECT_TRUE(image) << name << ": " << reason;
    return image ? std::move(*image) : Image();
}

// Numbers of `digits` hexadecimal digits each; spaces do not count.
std::vector<unsigned> Hex(std::string_view text, std::size_t digits) {
    std::string packed;
    std::copy_if(text.begin(), text.end(), std::back_inserter(packed), [](char c) { return c != ' '; });
    std::vector<unsigned> numbers;
    for (std::size_t at = 0; at < packed.size(); at += digits)
        numbers.push_back(static_cast<unsigned>(std::stoul(packed.substr(at, digits), nullptr, 16)));
    return numbers;
}
std::vector<std::uint8_t> HexBytes(std::string_view text) {
    const std::vector<unsigned> numbers = Hex(text, 2);
    return {numbers.begin(), numbers.end()};
}

TEST(PngImage, EveryDepthAndColourType) {
    constexpr int kGrey = PNG_COLOR_TYPE_GRAY, kRgb = PNG_COLOR_TYPE_RGB, kPalette = PNG_COLOR_TYPE_PALETTE;
    constexpr int kGreyAlpha = PNG_COLOR_TYPE_GRAY_ALPHA, kRgba = PNG_COLOR_TYPE_RGBA;
    struct Case {
        int depth, type;
        const char *packed, *expected; // two rows of two pixels as stored, and as RGBA
    };
    const Case cases[] = {
        {1, kGrey, "80 40", "FFFFFFFF 000000FF 000000FF FFFFFFFF"},
        {2, kGrey, "10 B0", "000000FF 555555FF AAAAAAFF FFFFFFFF"},
        {4, kGrey, "01 8F", "000000FF 111111FF 888888FF FFFFFFFF"},
        {8, kGrey, "00 01 80 FF", "000000FF 010101FF 808080FF FFFFFFFF"},
        {16, kGrey, "0000 0001 1234 FFFF",
         "00000000 0000FFFF 00010001 0001FFFF 12341234 1234FFFF FFFFFFFF FFFFFFFF"},
        {8, kRgb, "010203 040506 070809 0A0B0C", "010203FF 040506FF 070809FF 0A0B0CFF"},
        {16, kRgb, "000100020003 000400050006 000700080009 010002000300",
         "000100020003FFFF 000400050006FFFF 000700080009FFFF 010002000300FFFF"},
        {2, kPalette, "10 B0", "00000000 0A141E80 14283CFF 1E3C5AFF"},
        {8, kPalette, "03 02 01 00", "1E3C5AFF 14283CFF 0A141E80 00000000"},
        {8, kGreyAlpha, "0102 0304 0506 0708", "01010102 03030304 05050506 07070708"},
        {16, kGreyAlpha, "00010002 00030004 00050006 FFFF0000",
         "0001000100010002 0003000300030004 0005000500050006 FFFFFFFFFFFF0000"},
        {8, kRgba, "01020304 05060708 090A0B0C 0D0E0F10", "01020304 05060708 090A0B0C 0D0E0F10"},
        {16, kRgba, "0100020003000400 0500060007000800 090A0B0C0D0E0F10 1112131415161718",
         "0100020003000400 0500060007000800 090A0B0C0D0E0F10 1112131415161718"},
    };
    for (const Case& c : cases)
        for (const bool interlaced : {false, true}) {
            SCOPED_TRACE(std::to_string(c.depth) + " bits of type " + std::to_string(c.type));
            const bool deep = c.depth == 16;
            const Image image =
                Decoded(MakePng(2, 2, c.depth, c.type, HexBytes(c.packed), interlaced), ".PNG");
            ASSERT_EQ(image.width(), 2u);
            ASSERT_EQ(image.format(), deep ? Image::Format::RgbaFloat : Image::Format::Rgba8);
            const std::vector<unsigned> expected = Hex(c.expected, deep ? 4 : 2);
            ASSERT_EQ(expected.size(), 16u);
            for (std::uint32_t i = 0; i < 16; ++i)
                EXPECT_NEAR(Pixel(image, i / 4 % 2, i / 8)[i % 4], expected[i] / (deep ? 65535.0 : 1), 1e-7)
                    << i;
        }
}

TEST(JpegImage, ColoursOfEverySpace) {
    struct Case {
        const char* what;
        std::vector<std::uint8_t> colour;
        bool adobe;
        std::array<double, 4> expected;
    };
    // Ink of CMYK: red = 255 (1 - c)(1 - k); Adobe's values count what is left white.
    const Case cases[] = {
        {"grey", {100}, false, {100, 100, 100, 255}},
        {"RGB", {200, 100, 50}, false, {200, 100, 50, 255}},
        {"plain CMYK", {0, 51, 102, 51}, false, {204, 163.2, 122.4, 255}},
        {"Adobe CMYK", {255, 204, 153, 204}, true, {204, 163.2, 122.4, 255}},
    };
    for (const Case& c : cases)
        for (const bool progressive : {false, true}) {
            SCOPED_TRACE(c.what);
            const Image image = Decoded(MakeJpeg(37, 21, c.colour, progressive, c.adobe), ".jpg");
            ASSERT_EQ(image.width(), 37u);
            ASSERT_EQ(image.height(), 21u);
            for (const auto& [x, y] : {std::pair{0u, 0u}, {36u, 20u}, {17u, 9u}})
                ExpectPixel(image, x, y, c.expected, 2);
        }
}

std::string RadianceFile(std::string_view resolution, std::string_view pixels,
                         std::string_view format = "rgbe") {
    return "#?RADIANCE\n# made by hand\nEXPOSURE=2\nFORMAT=32-bit_rle_" + std::string(format) + "\n\n" +
           std::string(resolution) + "\n" + std::string(pixels);
}

TEST(RadianceImage, PixelFormsGiveTheSamePicture) {
    // 10 pixels of (128, 64, 32) * 2^-7 = (1, 0.5, 0.25), the last one of twice that.
    const std::string pixel("\x80\x40\x20\x81", 4), last("\x80\x40\x20\x82", 4);
    std::string flat;
    for (int i = 0; i < 9; ++i) flat += pixel;
    const std::string old = pixel + std::string("\x01\x01\x01\x08", 4);
    const std::string oldTwoCodes = pixel + std::string("\x01\x01\x01\x08\x01\x01\x01\x00", 8);
    const std::string fresh = std::string("\x02\x02\x00\x0A", 4) + std::string("\x8A\x80", 2) +
                              "\x83\x40\x07" + "\x40\x40\x40\x40\x40\x40\x40" + "\x8A\x20" +
                              "\x89\x81\x01\x82";
    const std::pair<const char*, std::string> forms[] = {{"flat", flat + last},
                                                         {"old runs", old + last},
                                                         {"old runs of two codes", oldTwoCodes + last},
                                                         {"new runs", fresh}};
    for (const auto& [what, pixels] : forms) {
        SCOPED_TRACE(what);
        const Image image = Decoded(ToBytes(RadianceFile("-Y 1 +X 10", pixels)), ".hdr");
        ASSERT_EQ(image.width(), 10u);
        for (std::uint32_t x = 0; x < 9; ++x) ExpectPixel(image, x, 0, {1, 0.5, 0.25, 1});
        ExpectPixel(image, 9, 0, {2, 1, 0.5, 1});
    }
    // 1 + 2 + 256 pixels.
    const std::string runs = pixel + std::string("\x01\x01\x01\x02\x01\x01\x01\x01", 8);
    ExpectPixel(Decoded(ToBytes(RadianceFile("-Y 1 +X 259", runs)), ".hdr"), 258, 0, {1, 0.5, 0.25, 1});
}

TEST(RadianceImage, AllOrientations) {
    // Six pixels in file order with red 1 to 6 (times 2^-7 at exponent 129, so value n / 128).
    std::string pixels;
    for (int i = 1; i <= 6; ++i) pixels += {static_cast<char>(i), 0, 0, static_cast<char>(0x81)};
    struct Case {
        const char* resolution;
        std::uint32_t width;
        std::array<int, 6> rows; // what must stand there, row by row from the top left
    };
    const Case cases[] = {
        {"-Y 2 +X 3", 3, {1, 2, 3, 4, 5, 6}}, {"-Y 2 -X 3", 3, {3, 2, 1, 6, 5, 4}},
        {"+Y 2 +X 3", 3, {4, 5, 6, 1, 2, 3}}, {"+Y 2 -X 3", 3, {6, 5, 4, 3, 2, 1}},
        {"+X 2 -Y 3", 2, {1, 4, 2, 5, 3, 6}}, {"+X 2 +Y 3", 2, {3, 6, 2, 5, 1, 4}},
        {"-X 2 -Y 3", 2, {4, 1, 5, 2, 6, 3}}, {"-X 2 +Y 3", 2, {6, 3, 5, 2, 4, 1}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.resolution);
        const Image image = Decoded(ToBytes(RadianceFile(c.resolution, pixels)), ".pic");
        ASSERT_EQ(image.width(), c.width);
        ASSERT_EQ(image.height(), 6 / c.width);
        for (std::uint32_t i = 0; i < 6; ++i)
            EXPECT_EQ(Pixel(image, i % c.width, i / c.width)[0] * 128, c.rows[i]) << i;
    }
}

TEST(RadianceImage, XyzWhiteIsWhite) {
    // The equal-energy white, and the colour of Radiance's red primary (0.64, 0.33, 0.03) of luminance 0.33.
    const std::string pixels = std::string("\x80\x80\x80\x81\x80\x42\x06\x80", 8);
    const Image image = Decoded(ToBytes(RadianceFile("-Y 1 +X 2", pixels, "xyze")), ".hdr");
    ExpectPixel(image, 0, 0, {1, 1, 1, 1}, 2e-3);
    const auto red = Pixel(image, 1, 0);
    EXPECT_NEAR(red[0], 0.5 / 0.514, 0.01); // of full red, X is 0.514
    EXPECT_NEAR(red[1], 0, 0.01);
    EXPECT_NEAR(red[2], 0, 0.01);
}

TEST(RadianceImage, DamagedLinesAreRefused) {
    const std::string pixel("\x80\x40\x20\x81", 4);
    const std::pair<const char*, std::string> cases[] = {
        {"repeat without a pixel", RadianceFile("-Y 1 +X 2", "\x01\x01\x01\x02")},
        {"run past the end", RadianceFile("-Y 1 +X 3", pixel + "\x01\x01\x01\x03")},
        {"new run past the end",
         RadianceFile("-Y 1 +X 8", std::string("\x02\x02\x00\x08", 4) + "\x87\x01\x82\x01\x87\x01\x82\x01" +
                                       "\x87\x01\x82\x01\x87\x01\x82\x01")},
        {"empty span",
         RadianceFile("-Y 1 +X 8", std::string("\x02\x02\x00\x08\x00\x00", 6) + std::string(40, 'x'))},
        {"wrong line length",
         RadianceFile("-Y 1 +X 8", std::string("\x02\x02\x00\x09", 4) + std::string(40, 'x'))},
        {"same axis twice", RadianceFile("-Y 1 +Y 2", pixel + pixel)},
        {"no size", RadianceFile("-Y +X 2", pixel + pixel)},
        {"size that wraps", RadianceFile("-Y 4294967297 +X 2", pixel + pixel)},
        {"no header end", "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n"},
        {"other format", RadianceFile("-Y 1 +X 1", pixel, "yuv")},
        {"no format at all", "some text\n\n-Y 1 +X 1\n" + pixel},
    };
    for (const auto& [what, file] : cases) {
        SCOPED_TRACE(what);
        (void)Refusal(ToBytes(file), ".hdr");
    }
}

TEST(ExrImage, LayoutsGiveTheSamePicture) {
    std::vector<ExrOptions> layouts;
    for (const bool tiled : {false, true})
        for (const bool half : {false, true})
            for (const int compression : {0, 1, 2, 3, 4}) {
                ExrOptions& o = layouts.emplace_back();
                o.tiled = tiled, o.half = half, o.compression = compression;
                o.minX = compression == 3 ? -7 : 0, o.minY = compression == 3 ? 1000 : 0;
                o.bottomUp = compression == 4 && !tiled;
            }
    for (const ExrOptions& o : layouts) {
        SCOPED_TRACE(std::string(o.tiled ? "tiled" : "lines") + (o.half ? ", half, " : ", float, ") +
                     std::to_string(o.compression));
        const Image image = Decoded(MakeExr(19, 11, o), ".exr");
        ASSERT_EQ(image.format(), Image::Format::RgbaFloat);
        ASSERT_EQ(image.width(), 19u);
        ASSERT_EQ(image.height(), 11u);
        for (std::uint32_t y = 0; y < 11; ++y)
            for (std::uint32_t x = 0; x < 19; ++x)
                ExpectPixel(image, x, y, {double(x), double(y), double(x * y), 0.5});
    }
}

TEST(ExrImage, MissingChannels) {
    const std::pair<const char*, std::array<double, 4>> cases[] = {
        {"RGB", {3, 2, 6, 1}}, {"R", {3, 0, 0, 1}}, {"Y", {5, 5, 5, 1}}, {"YA", {5, 5, 5, 0.5}}};
    ExrOptions options;
    for (const auto& [channels, expected] : cases) {
        options.channels = channels;
        ExpectPixel(Decoded(MakeExr(5, 4, options), ".exr"), 3, 2, expected);
    }
    options.channels = "Z";
    EXPECT_THAT(Refusal(MakeExr(5, 4, options), ".exr"), HasSubstr("no colour channels"));
}

// Blocks of the two colours red (5:6:5 0xF800) and blue (0x001F), whose indices count 0 1 2 3 along each row.
const std::vector<std::uint8_t> kFourColours = HexBytes("00F8 1F00 E4E4E4E4");
constexpr const char* kThreeColours = "1F00 00F8 E4E4E4E4";

TEST(Dds, BlocksUnpackToTheirColours) {
    struct Case {
        const char *fourCC, *alpha, *colours, *row;
    };
    const Case cases[] = {
        {"DXT1", "", "00F8 1F00 E4E4E4E4", "FF0000FF 0000FFFF AA0055FF 5500AAFF"},
        {"DXT1", "", kThreeColours, "0000FFFF FF0000FF 7F007FFF 00000000"}, // three colours and none
        // Explicit alpha: 0, 5, 10 and 15 along each row.
        {"DXT3", "50FA 50FA 50FA 50FA", "00F8 1F00 E4E4E4E4", "FF000000 0000FF55 AA0055AA 5500AAFF"},
        // Indices 0 1 2 7 into the ramp between 240 and 30, then between 30 and 240: of eight and of six.
        {"DXT5", "F01E 888EE8 888EE8", "00F8 1F00 E4E4E4E4", "FF0000F0 0000FF1E AA0055D2 5500AA3C"},
        {"DXT5", "1E1E 888EE8 888EE8", kThreeColours, "0000FF1E FF0000 1E 5500AA1E AA0055FF"},
        {"DXT5", "1EF0 888EE8 888EE8", kThreeColours, "0000FF1E FF0000F0 5500AA48 AA0055FF"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.fourCC) + c.alpha);
        DdsOptions options;
        options.fourCC = c.fourCC;
        const FileBytes file = MakeDds(options, HexBytes(std::string(c.alpha) + c.colours));
        std::string reason;
        const auto dds = ReadDds(Span(file), reason);
        ASSERT_TRUE(dds) << reason;
        std::vector<std::uint8_t> rgba(64), expected;
        DecodeBlocks(dds->format, dds->levels[0], rgba.data());
        const std::vector<std::uint8_t> row = HexBytes(c.row);
        for (int y = 0; y < 4; ++y) expected.insert(expected.end(), row.begin(), row.end());
        EXPECT_EQ(rgba, expected);
    }
}

TEST(Dds, LevelsFollowEachOther) {
    // 13 by 7: levels of 4x2, 2x1, 1x1 and 1x1 blocks.
    DdsOptions options;
    options.width = 13, options.height = 7, options.mips = 4, options.fourCC = "DXT5";
    std::vector<std::uint8_t> data(16 * (8 + 2 + 1 + 1));
    for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<std::uint8_t>(i);
    const FileBytes file = MakeDds(options, data);
    std::string reason;
    const auto dds = ReadDds(Span(file), reason);
    ASSERT_TRUE(dds);
    ASSERT_EQ(dds->levels.size(), 4u);
    const std::array<std::array<std::uint32_t, 3>, 4> expected{
        {{13, 7, 0}, {6, 3, 128}, {3, 1, 160}, {1, 1, 176}}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(dds->levels[i].width, expected[i][0]);
        EXPECT_EQ(dds->levels[i].height, expected[i][1]);
        EXPECT_EQ(dds->levels[i].blocks.data() - file.data(), 128 + expected[i][2]);
    }
    // A file that ends in the third level has two; one that ends in the first is refused.
    EXPECT_EQ(ReadDds(Span(file).first(128 + 160 + 3), reason)->levels.size(), 2u);
    EXPECT_FALSE(ReadDds(Span(file).first(128 + 127), reason));
}

TEST(Dds, WhatIsRefused) {
    std::string reason;
    ASSERT_TRUE(ReadDds(Span(MakeDds({}, kFourColours)), reason));
    const std::pair<const char*, DdsOptions> cases[] = {
        {"header size", {.size = 123}},       {"no pixel format flag", {.flags = 7}},
        {"no texture flag", {.caps = 0}},     {"DXT2", {.fourCC = "DXT2"}},
        {"DX10", {.fourCC = "DX10"}},         {"no FourCC", {.fourCC = ""}},
        {"no width", {.width = 0}},           {"no height", {.height = 0}},
        {"more than is there", {.width = 5}}, {"size that wraps", {0xFFFFFFFF, 0xFFFFFFFF}}};
    for (const auto& [what, options] : cases) {
        reason.clear();
        EXPECT_FALSE(ReadDds(Span(MakeDds(options, kFourColours)), reason)) << what;
        EXPECT_FALSE(reason.empty()) << what;
    }
    EXPECT_FALSE(ReadDds(Span(ToBytes("DDX ")), reason));
}

TEST(Image, HalvingRoundsUpTwice) {
    // An odd last column and row are left out.
    const std::vector<std::uint8_t> rows = HexBytes("00000AFF 000114FF FF070000 FF07FF00 63636363"
                                                    "00001EFF 010029FE 00070000 0007FF03 63636363"
                                                    "63636363 63636363 63636363 63636363 63636363");
    Image image(5, 3, Image::Format::Rgba8);
    std::copy(rows.begin(), rows.end(), image.bytes());
    const Image half = Halved(image);
    ASSERT_EQ(half.width(), 2u);
    ASSERT_EQ(half.height(), 1u);
    // Pairs in a row first: (0, 1, 15, 255) and (1, 0, 36, 255), each rounded up, then the two.
    ExpectPixel(half, 0, 0, {1, 1, 26, 255});
    ExpectPixel(half, 1, 0, {128, 7, 128, 1});

    Image line(1, 4, Image::Format::RgbaFloat);
    std::iota(line.floats(), line.floats() + 16, 0.0f);
    const Image shorter = Halved(line);
    ASSERT_EQ(shorter.width(), 1u);
    ASSERT_EQ(shorter.height(), 2u);
    ExpectPixel(shorter, 0, 1, {10, 11, 12, 13});
}

TEST(Image, TheLimitHalvesUntilASideIsShort) {
    struct Case {
        std::uint32_t width, height, limit, newWidth, newHeight;
    };
    const Case cases[] = {
        {2048, 1024, 1024, 1024, 512}, {1024, 1024, 1024, 1024, 1024}, {1025, 300, 1024, 512, 150},
        {100, 5000, 1024, 100, 5000},  {300, 5000, 1024, 75, 1250},    {128, 1025, 1024, 128, 1025},
        {2048, 2048, 512, 512, 512},   {5000, 100, 1024, 5000, 100},
    };
    for (const Case& c : cases) {
        const Image image = LimitedTo(Image(c.width, c.height, Image::Format::Rgba8), c.limit);
        EXPECT_EQ(image.width(), c.newWidth) << c.width << " by " << c.height;
        EXPECT_EQ(image.height(), c.newHeight) << c.width << " by " << c.height;
    }
}

TEST(Image, UnknownExtensionsGoByTheContent) {
    const FileBytes png = MakePng(1, 1, 8, PNG_COLOR_TYPE_GRAY, {7});
    for (const char* extension : {".jpg", "", ".tga"})
        ExpectPixel(Decoded(png, extension), 0, 0, {7, 7, 7, 255});
    EXPECT_THAT(Refusal(ToBytes("GIF89a..."), ".gif"), HasSubstr("PNG, JPEG, OpenEXR, Radiance or DDS"));
    EXPECT_EQ(Refusal({}, ".jpg"), "the file is empty");
}

// ----- Files from elsewhere. The values were read with ImageMagick, those of Radiance files with a program
// of a few lines that follows the format's description.

struct KnownPixel {
    const char* file;
    std::uint32_t width, height, x, y;
    std::array<double, 4> rgba;
    double tolerance;
};

TEST(ImageFiles, KnownPixels) {
    if (!std::filesystem::exists(kData)) GTEST_SKIP() << "no shared data";
    const KnownPixel pixels[] = {
        {"textures/png/basi2c08.png", 32, 32, 13, 5, {255, 255, 82, 255}, 0},
        {"textures/png/basn6a16.png", 32, 32, 20, 9, {0.153841, 1, 0, 0.580652}, 1e-5},
        {"textures/png/kueken7_srgb8.png", 256, 256, 20, 9, {142, 137, 71, 255}, 0},
        {"textures/png/tbbn3p08.png", 32, 32, 20, 9, {121, 121, 121, 255}, 0},
        {"textures/jpg/hopper_gray.jpg", 128, 128, 64, 64, {99, 99, 99, 255}, 1},
        {"textures/jpg/tower_progressive.jpg", 512, 512, 300, 200, {94, 159, 213, 255}, 1},
        {"textures/jpg/testorig.jpg", 227, 149, 100, 70, {216, 51, 55, 255}, 2},
        {"textures/jpg/pil_sample_cmyk.jpg", 100, 100, 30, 40, {255, 12, 25, 255}, 1},
        {"textures/jpg/land_shallow_topo_2048.jpg", 2048, 1024, 1000, 300, {150, 133, 89, 255}, 2},
        {"textures/exr/v1.7.test.1.exr", 178, 155, 60, 70, {0.458740234, 0.458740234, 0.458740234, 1}, 1e-8},
        {"textures/exr/lineOrder_decreasing.exr",
         237,
         119,
         120,
         60,
         {6020, 0.0372009277, -0.00401687622, 0},
         1e-8},
        {"textures/exr/t08.exr", 400, 300, 10, 10, {1, 1, 0, 1}, 0},
        {"textures/hdr/venice_sunset_1k.hdr", 1024, 512, 512, 256, {1.359375, 0.9609375, 0.7890625, 1}, 0},
        {"textures/dds/kueken7_rgba_dxt1_unorm.dds", 256, 256, 20, 9, {0x8C, 0x85, 0x39, 255}, 0},
        {"textures/dds/fieldstone-rgba.dds", 512, 512, 100, 200, {0x70, 0x72, 0x78, 255}, 0},
        {"textures/dds/kueken7_rgba_dxt5_unorm.dds", 256, 256, 100, 50, {0x15, 0x19, 0x05, 255}, 0},
        {"textures/dds/dds_npot_bc3_mips.dds", 13, 7, 12, 6, {0x4A, 0x82, 0x29, 0x25}, 0},
        {"textures/pic/Earth128.pic", 128, 128, 64, 64, {0, 0.0625, 1.296875, 1}, 0},
    };
    for (const KnownPixel& p : pixels) {
        SCOPED_TRACE(p.file);
        const Image image = DecodedFile(p.file);
        ASSERT_EQ(image.width(), p.width);
        ASSERT_EQ(image.height(), p.height);
        ExpectPixel(image, p.x, p.y, p.rgba, p.tolerance);
    }
}

TEST(ImageFiles, BrokenOnesAskForNoMemory) {
    if (!std::filesystem::exists(kData)) GTEST_SKIP() << "no shared data";
    const std::uint64_t before = PeakMemory();
    std::size_t decoded = 0;
    for (const auto& entry : std::filesystem::directory_iterator(kData + "broken")) {
        const MappedFile file = MappedFile::Open(entry.path().string(), FileAccess::Read);
        const std::string extension = entry.path().extension().string();
        std::string reason;
        const bool good = extension == ".dds" ? ReadDds(file.bytes(), reason).has_value()
                                              : DecodeImage(file.bytes(), extension, reason).has_value();
        EXPECT_TRUE(good || !reason.empty()) << entry.path();
        decoded += good;
    }
    EXPECT_EQ(decoded, 1u) << "the JPEG that is cut short";
    EXPECT_LT(PeakMemory() - before, 64u << 20);
}

// ----- Hostile input.

// A well-formed file of each kind whose header then claims the given size.
FileBytes WithClaimedSize(const std::string& kind, std::uint32_t width, std::uint32_t height) {
    const auto put = [](FileBytes& file, std::size_t at, std::uint64_t value, int bytes, bool bigEndian) {
        for (int i = 0; i < bytes; ++i)
            file[at + static_cast<std::size_t>(bigEndian ? bytes - 1 - i : i)] =
                static_cast<std::byte>(value >> (8 * i));
    };
    if (kind == ".png") {
        FileBytes file = MakePng(1, 1, 8, PNG_COLOR_TYPE_RGB, {1, 2, 3});
        put(file, 16, width, 4, true);
        put(file, 20, height, 4, true);
        // The header's checksum, over its type and data.
        std::uint32_t crc = 0xFFFFFFFF;
        for (std::size_t i = 12; i < 29; ++i) {
            crc ^= static_cast<std::uint8_t>(file[i]);
            for (int bit = 0; bit < 8; ++bit) crc = crc & 1 ? crc >> 1 ^ 0xEDB88320u : crc >> 1;
        }
        put(file, 29, ~crc, 4, true);
        return file;
    }
    if (kind == ".jpg" || kind == ".jpeg") {
        FileBytes file = MakeJpeg(8, 8, {1, 2, 3}, kind == ".jpeg", false);
        for (std::size_t i = 0; i + 9 < file.size(); ++i)
            if (file[i] == std::byte{0xFF} &&
                (file[i + 1] == std::byte{0xC0} || file[i + 1] == std::byte{0xC2})) {
                put(file, i + 5, std::min(height, 65500u), 2, true);
                put(file, i + 7, std::min(width, 65500u), 2, true);
            }
        return file;
    }
    if (kind == ".hdr")
        return ToBytes(RadianceFile("-Y " + std::to_string(height) + " +X " + std::to_string(width),
                                    "\x80\x40\x20\x81"));
    ExrOptions options;
    options.tiled = kind == ".exr tiled";
    FileBytes file = MakeExr(8, 8, options);
    const std::string name("dataWindow\0box2i\0", 17);
    const auto* text = reinterpret_cast<const char*>(file.data());
    const std::size_t at = std::string_view(text, file.size()).find(name) + name.size() + 4;
    put(file, at + 8, width - 1, 4, false);
    put(file, at + 12, height - 1, 4, false);
    return file;
}

TEST(HostileImages, AHugeHeaderAsksForNoMemory) {
    const std::uint64_t before = PeakMemory();
    for (const std::string kind : {".png", ".jpg", ".jpeg", ".hdr", ".exr", ".exr tiled"})
        for (const auto& [width, height] :
             {std::pair{100000u, 100000u}, {1u, 4000000000u}, {16384u, 16384u}}) {
            if (width == 1 && kind.starts_with(".jp")) continue; // at most 65500, which is little
            SCOPED_TRACE(kind + std::to_string(width));
            (void)Refusal(WithClaimedSize(kind, width, height), kind.substr(0, kind.find(' ')));
        }
    // One line that is far longer than the bytes behind the header could fill.
    (void)Refusal(ToBytes(RadianceFile("-Y 1 +X 268435456", std::string(32000, '\x40'))), ".hdr");
    EXPECT_LT(PeakMemory() - before, 32u << 20);
}

// Of every prefix of small files of each kind, in an allocation of its own so that a tool sees a read past
// the end, and of each file with one byte replaced: a picture or a reason.
TEST(HostileImages, EveryTruncationAndFlippedByteEnds) {
    ExrOptions tiled;
    tiled.tiled = true;
    std::vector<std::uint8_t> gradient;
    for (int i = 0; i < 12 * 9 * 3; ++i) gradient.push_back(static_cast<std::uint8_t>(i * 7));
    const std::pair<const char*, FileBytes> files[] = {
        {".png", MakePng(12, 9, 8, PNG_COLOR_TYPE_RGB, gradient)},
        {".png", MakePng(4, 1, 2, PNG_COLOR_TYPE_PALETTE, {0x1B})},
        {".jpg", MakeJpeg(20, 20, {1, 2, 3}, true, false)},
        {".jpg", MakeJpeg(20, 20, {1, 2, 3, 4}, true, true)},
        {".hdr", ToBytes(RadianceFile("-Y 2 +X 3", std::string(24, 'x')))},
        {".hdr", ToBytes(RadianceFile("-Y 2 +X 8", std::string(64, '\x02')))},
        {".exr", MakeExr(5, 4, {})},
        {".exr", MakeExr(9, 5, tiled)},
        {".dds", MakeDds({}, kFourColours)},
    };
    std::size_t read = 0;
    const auto decode = [&](const FileBytes& file, std::string_view extension) {
        std::string reason;
        const bool dds = extension == ".dds";
        const bool good = dds ? ReadDds(Span(file), reason).has_value()
                              : DecodeImage(Span(file), extension, reason).has_value();
        EXPECT_TRUE(good || !reason.empty()) << extension << " " << file.size();
        read += good;
        return good;
    };
    for (const auto& [extension, file] : files)
        for (std::size_t i = 0; i < file.size(); ++i) {
            const bool good =
                decode(FileBytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(i)), extension);
            EXPECT_FALSE(good && std::string_view(extension) == ".dds") << i;
            FileBytes changed = file;
            for (const std::byte value : {std::byte{0x00}, std::byte{0x7F}, std::byte{0xFF}}) {
                changed[i] = value;
                (void)decode(changed, extension);
            }
        }
    EXPECT_GT(read, 0u);
}

} // namespace
} // namespace velorin
